// The XPS Document API's object model: the part of it that reads a package, walks its documents and
// pages, changes page sizes and writes the package again.
#pragma once

#include <cstdint>

#include "objbase.h"

using UINT32 = std::uint32_t;
using FLOAT = float;

// Page sizes are in XPS units, 1/96 inch.
struct XPS_SIZE {
    FLOAT width;
    FLOAT height;
};

// Errors of the XPS Document API and of the packaging layer under it, with the Windows values.
#define XPS_E_INVALID_PAGE_SIZE _HRESULT_TYPEDEF_(0x80520003L)
#define XPS_E_INVALID_FLOAT _HRESULT_TYPEDEF_(0x80520007L)
#define XPS_E_UNEXPECTED_CONTENT_TYPE _HRESULT_TYPEDEF_(0x80520008L)
#define XPS_E_INVALID_MARKUP _HRESULT_TYPEDEF_(0x8052000CL)
#define XPS_E_MISSING_DOCUMENTSEQUENCE_RELATIONSHIP _HRESULT_TYPEDEF_(0x80520108L)
#define XPS_E_MISSING_REFERRED_DOCUMENT _HRESULT_TYPEDEF_(0x8052010AL)
#define XPS_E_MISSING_REFERRED_PAGE _HRESULT_TYPEDEF_(0x8052010BL)
#define XPS_E_MULTIPLE_DOCUMENTSEQUENCE_RELATIONSHIPS _HRESULT_TYPEDEF_(0x80520202L)
#define XPS_E_MULTIPLE_PRINTTICKETS_ON_DOCUMENT _HRESULT_TYPEDEF_(0x80520206L)
#define XPS_E_MULTIPLE_PRINTTICKETS_ON_DOCUMENTSEQUENCE _HRESULT_TYPEDEF_(0x80520207L)
#define XPS_E_MULTIPLE_REFERENCES_TO_PART _HRESULT_TYPEDEF_(0x80520208L)
#define XPS_E_INDEX_OUT_OF_RANGE _HRESULT_TYPEDEF_(0x80520500L)

#define OPC_E_INVALID_CONTENT_TYPE_XML _HRESULT_TYPEDEF_(0x80510006L)
#define OPC_E_MISSING_CONTENT_TYPES _HRESULT_TYPEDEF_(0x80510007L)
#define OPC_E_INVALID_RELS_XML _HRESULT_TYPEDEF_(0x8051000AL)
#define OPC_E_DUPLICATE_PART _HRESULT_TYPEDEF_(0x8051000BL)
#define OPC_E_INVALID_PIECE _HRESULT_TYPEDEF_(0x80510016L)
#define OPC_E_MISSING_PIECE _HRESULT_TYPEDEF_(0x80510017L)
#define OPC_E_NO_SUCH_PART _HRESULT_TYPEDEF_(0x80510018L)
#define OPC_E_ZIP_INCORRECT_DATA_SIZE _HRESULT_TYPEDEF_(0x80511001L)
#define OPC_E_ZIP_CORRUPTED_ARCHIVE _HRESULT_TYPEDEF_(0x80511002L)
#define OPC_E_ZIP_COMPRESSION_FAILED _HRESULT_TYPEDEF_(0x80511003L)
#define OPC_E_ZIP_DECOMPRESSION_FAILED _HRESULT_TYPEDEF_(0x80511004L)
#define OPC_E_ZIP_INCONSISTENT_FILEITEM _HRESULT_TYPEDEF_(0x80511005L)
#define OPC_E_ZIP_UNSUPPORTEDARCHIVE _HRESULT_TYPEDEF_(0x80511008L)
#define OPC_E_ZIP_CENTRAL_DIRECTORY_TOO_LARGE _HRESULT_TYPEDEF_(0x80511009L)
#define OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY _HRESULT_TYPEDEF_(0x8051100FL)

// What the stand-in answers where Windows leaves the choice open:
// - a stream or file that is not a ZIP archive: OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY, from
//   CreatePackageFrom...; a central directory that does not fit the archive:
//   OPC_E_ZIP_CORRUPTED_ARCHIVE; more than 200 000 entries: OPC_E_ZIP_CENTRAL_DIRECTORY_TOO_LARGE;
// - parts are read when first asked for, so a missing or broken part fails the call that needs it:
//   GetDocumentSequence (content types, package relationships, the sequence markup and the
//   existence of the documents it refers to), IXpsOMDocument::GetPageReferences (the document
//   markup and the existence of its pages), IXpsOMPageReference::GetPage (the page markup),
//   GetPrintTicketResource (the relationships of the sequence or document) and
//   IXpsOMPrintTicketResource::GetStream (the ticket's bytes);
// - a relationship whose target part is missing: OPC_E_NO_SUCH_PART; a document or page referred to
//   twice: XPS_E_MULTIPLE_REFERENCES_TO_PART;
// - markup that is not well-formed XML, has a DTD, or lacks a required element or attribute:
//   XPS_E_INVALID_MARKUP (OPC_E_INVALID_RELS_XML and OPC_E_INVALID_CONTENT_TYPE_XML for the
//   packaging parts);
// - a part that would inflate to more than 256 MB: HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE); a part
//   whose data disagrees with its declared size, or claims more than deflate can produce:
//   OPC_E_ZIP_INCORRECT_DATA_SIZE; damaged compressed data: OPC_E_ZIP_DECOMPRESSION_FAILED; a
//   compression method other than stored or deflated: OPC_E_ZIP_UNSUPPORTEDARCHIVE;
// - WriteToFile: the Win32 error of creating the file (E_ACCESSDENIED,
//   HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), ...), as CreateFileW with CREATE_ALWAYS reports it.

struct IXpsOMPart : IUnknown {
    static constexpr IID iid = {0x74EB2F0B, 0xA91E, 0x4486, {0xAF, 0xAC, 0x0F, 0xAB, 0xEC, 0xA3, 0xDF, 0xC6}};
};

struct IXpsOMResource : IXpsOMPart {
    using BaseInterface = IXpsOMPart;
    static constexpr IID iid = {0xDA2AC0A2, 0x73A2, 0x4975, {0xAD, 0x14, 0x74, 0x09, 0x7C, 0x3F, 0xF3, 0xA5}};
};

struct IXpsOMPrintTicketResource : IXpsOMResource {
    using BaseInterface = IXpsOMResource;
    static constexpr IID iid = {0xE7FF32D2, 0x34AA, 0x499B, {0xBB, 0xE9, 0x9C, 0xD4, 0xEE, 0x6C, 0x59, 0xF7}};
    // A new stream over the ticket's bytes, positioned at the start.
    virtual HRESULT GetStream(IStream** stream) = 0;
};

struct IXpsOMPage : IXpsOMPart {
    using BaseInterface = IXpsOMPart;
    static constexpr IID iid = {0xD3E18888, 0xF120, 0x4FEE, {0x8C, 0x68, 0x35, 0x29, 0x6E, 0xAE, 0x91, 0xD4}};
    virtual HRESULT GetPageDimensions(XPS_SIZE* pageDimensions) = 0;
    // Both dimensions at least 1.0, else XPS_E_INVALID_PAGE_SIZE.
    virtual HRESULT SetPageDimensions(const XPS_SIZE* pageDimensions) = 0;
};

struct IXpsOMPageReference : IUnknown {
    static constexpr IID iid = {0xED360180, 0x6F92, 0x4998, {0x89, 0x0D, 0x2F, 0x20, 0x85, 0x31, 0xA0, 0xA0}};
    // Loads the page on first use; later calls give the same page.
    virtual HRESULT GetPage(IXpsOMPage** page) = 0;
    virtual HRESULT IsPageLoaded(BOOL* isPageLoaded) = 0;
    // A dimension the document does not give reads -1.0.
    virtual HRESULT GetAdvisoryPageDimensions(XPS_SIZE* pageDimensions) = 0;
};

struct IXpsOMPageReferenceCollection : IUnknown {
    static constexpr IID iid = {0xCA16BA4D, 0xE7B9, 0x45C5, {0x95, 0x8B, 0xF9, 0x80, 0x22, 0x47, 0x37, 0x45}};
    virtual HRESULT GetCount(UINT32* count) = 0;
    virtual HRESULT GetAt(UINT32 index, IXpsOMPageReference** pageReference) = 0;
};

struct IXpsOMDocument : IXpsOMPart {
    using BaseInterface = IXpsOMPart;
    static constexpr IID iid = {0x2C2C94CB, 0xAC5F, 0x4254, {0x8E, 0xE9, 0x23, 0x94, 0x83, 0x09, 0xD9, 0xF0}};
    virtual HRESULT GetPageReferences(IXpsOMPageReferenceCollection** pageReferences) = 0;
    // S_OK with null when the document has no print ticket.
    virtual HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource) = 0;
};

struct IXpsOMDocumentCollection : IUnknown {
    static constexpr IID iid = {0xD1C87F0D, 0xE947, 0x4754, {0x8A, 0x25, 0x97, 0x14, 0x78, 0xF7, 0xE8, 0x3E}};
    virtual HRESULT GetCount(UINT32* count) = 0;
    virtual HRESULT GetAt(UINT32 index, IXpsOMDocument** document) = 0;
};

struct IXpsOMDocumentSequence : IXpsOMPart {
    using BaseInterface = IXpsOMPart;
    static constexpr IID iid = {0x56492EB4, 0xD8D5, 0x425E, {0x82, 0x56, 0x4C, 0x2B, 0x64, 0xAD, 0x02, 0x64}};
    virtual HRESULT GetDocuments(IXpsOMDocumentCollection** documents) = 0;
    // The job-level ticket; S_OK with null when the sequence has none.
    virtual HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource) = 0;
};

struct IXpsOMPackage : IUnknown {
    static constexpr IID iid = {0x18C3DF65, 0x81E1, 0x4674, {0x91, 0xDC, 0xFC, 0x45, 0x2F, 0x5A, 0x41, 0x6F}};
    virtual HRESULT GetDocumentSequence(IXpsOMDocumentSequence** documentSequence) = 0;
    // Writes the package with the pages' current dimensions. A file name is a Windows path; the file is
    // created or truncated, and FILE_ATTRIBUTE_READONLY in flagsAndAttributes leaves it read-only.
    virtual HRESULT WriteToFile(LPCWSTR fileName, LPSECURITY_ATTRIBUTES securityAttributes, DWORD flagsAndAttributes,
                                BOOL optimizeMarkupSize) = 0;
    virtual HRESULT WriteToStream(ISequentialStream* stream, BOOL optimizeMarkupSize) = 0;
};

struct IXpsOMObjectFactory : IUnknown {
    static constexpr IID iid = {0xF9B2A685, 0xA50D, 0x4FC2, {0xB7, 0x64, 0xB5, 0x6E, 0x09, 0x3E, 0xA0, 0xCA}};
    virtual HRESULT CreatePackageFromFile(LPCWSTR filename, BOOL reuseObjects, IXpsOMPackage** package) = 0;
    // Reads the package from the stream as it is needed; the package keeps a reference on the stream.
    virtual HRESULT CreatePackageFromStream(IStream* stream, BOOL reuseObjects, IXpsOMPackage** package) = 0;
};

inline constexpr CLSID CLSID_XpsOMObjectFactory = {
    0xE974D26D, 0x3D9B, 0x4D47, {0x88, 0xCC, 0x38, 0x72, 0xF2, 0xDC, 0x35, 0x85}};
inline constexpr const IID& IID_IXpsOMObjectFactory = IXpsOMObjectFactory::iid;
inline constexpr const IID& IID_IXpsOMPackage = IXpsOMPackage::iid;
inline constexpr const IID& IID_IXpsOMDocumentSequence = IXpsOMDocumentSequence::iid;
inline constexpr const IID& IID_IXpsOMDocumentCollection = IXpsOMDocumentCollection::iid;
inline constexpr const IID& IID_IXpsOMDocument = IXpsOMDocument::iid;
inline constexpr const IID& IID_IXpsOMPageReferenceCollection = IXpsOMPageReferenceCollection::iid;
inline constexpr const IID& IID_IXpsOMPageReference = IXpsOMPageReference::iid;
inline constexpr const IID& IID_IXpsOMPage = IXpsOMPage::iid;
inline constexpr const IID& IID_IXpsOMPart = IXpsOMPart::iid;
inline constexpr const IID& IID_IXpsOMResource = IXpsOMResource::iid;
inline constexpr const IID& IID_IXpsOMPrintTicketResource = IXpsOMPrintTicketResource::iid;
