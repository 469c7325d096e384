// The XPS Document API's object model. The stand-in's objects read a package, walk its documents and
// pages, change page sizes and write the package again; their interfaces still carry every method
// Windows declares, in Windows' order, so code built against this header builds against Windows'
// too. What the objects leave out answers E_NOTIMPL (platform/xpsnotimplemented.h).
#pragma once

#include <cstdint>

#include "objbase.h"

using UINT8 = std::uint8_t;
using UINT32 = std::uint32_t;
using FLOAT = float;

// The packaging layer's part names; nothing here reads one, so they stay opaque.
struct IOpcPartUri;

struct IXpsOMPart;
struct IXpsOMResource;
struct IXpsOMPrintTicketResource;
struct IXpsOMFontResource;
struct IXpsOMImageResource;
struct IXpsOMColorProfileResource;
struct IXpsOMRemoteDictionaryResource;
struct IXpsOMDocumentStructureResource;
struct IXpsOMStoryFragmentsResource;
struct IXpsOMSignatureBlockResource;
struct IXpsOMSignatureBlockResourceCollection;
struct IXpsOMPartResources;
struct IXpsOMPartUriCollection;
struct IXpsOMNameCollection;
struct IXpsOMDictionary;
struct IXpsOMCoreProperties;
struct IXpsOMPackage;
struct IXpsOMPackageWriter;
struct IXpsOMDocumentSequence;
struct IXpsOMDocumentCollection;
struct IXpsOMDocument;
struct IXpsOMPageReferenceCollection;
struct IXpsOMPageReference;
struct IXpsOMPage;
struct IXpsOMVisualCollection;
struct IXpsOMCanvas;
struct IXpsOMGlyphs;
struct IXpsOMPath;
struct IXpsOMGeometry;
struct IXpsOMGeometryFigure;
struct IXpsOMMatrixTransform;
struct IXpsOMSolidColorBrush;
struct IXpsOMImageBrush;
struct IXpsOMVisualBrush;
struct IXpsOMGradientStop;
struct IXpsOMLinearGradientBrush;
struct IXpsOMRadialGradientBrush;

enum XPS_COLOR_TYPE {
    XPS_COLOR_TYPE_SRGB = 1,
    XPS_COLOR_TYPE_SCRGB = 2,
    XPS_COLOR_TYPE_CONTEXT = 3,
};

enum XPS_FONT_EMBEDDING {
    XPS_FONT_EMBEDDING_NORMAL = 1,
    XPS_FONT_EMBEDDING_OBFUSCATED = 2,
    XPS_FONT_EMBEDDING_RESTRICTED = 3,
    XPS_FONT_EMBEDDING_RESTRICTED_UNOBFUSCATED = 4,
};

enum XPS_IMAGE_TYPE {
    XPS_IMAGE_TYPE_JPEG = 1,
    XPS_IMAGE_TYPE_PNG = 2,
    XPS_IMAGE_TYPE_TIFF = 3,
    XPS_IMAGE_TYPE_WDP = 4,
    XPS_IMAGE_TYPE_JXR = 5,
};

enum XPS_INTERLEAVING {
    XPS_INTERLEAVING_OFF = 1,
    XPS_INTERLEAVING_ON = 2,
};

enum XPS_OBJECT_TYPE {
    XPS_OBJECT_TYPE_CANVAS = 1,
    XPS_OBJECT_TYPE_GLYPHS = 2,
    XPS_OBJECT_TYPE_PATH = 3,
    XPS_OBJECT_TYPE_MATRIX_TRANSFORM = 4,
    XPS_OBJECT_TYPE_GEOMETRY = 5,
    XPS_OBJECT_TYPE_SOLID_COLOR_BRUSH = 6,
    XPS_OBJECT_TYPE_IMAGE_BRUSH = 7,
    XPS_OBJECT_TYPE_LINEAR_GRADIENT_BRUSH = 8,
    XPS_OBJECT_TYPE_RADIAL_GRADIENT_BRUSH = 9,
    XPS_OBJECT_TYPE_VISUAL_BRUSH = 10,
};

struct XPS_COLOR {
    XPS_COLOR_TYPE colorType;
    union {
        struct {
            UINT8 alpha;
            UINT8 red;
            UINT8 green;
            UINT8 blue;
        } sRGB;
        struct {
            FLOAT alpha;
            FLOAT red;
            FLOAT green;
            FLOAT blue;
        } scRGB;
        struct {
            UINT8 channelCount;
            FLOAT channels[9];
        } context;
    } value;
};

struct XPS_MATRIX {
    FLOAT m11;
    FLOAT m12;
    FLOAT m21;
    FLOAT m22;
    FLOAT m31;
    FLOAT m32;
};

struct XPS_POINT {
    FLOAT x;
    FLOAT y;
};

struct XPS_RECT {
    FLOAT x;
    FLOAT y;
    FLOAT width;
    FLOAT height;
};

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
#define OPC_E_DUPLICATE_PIECE _HRESULT_TYPEDEF_(0x80510015L)
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
// - a part stored in pieces ([0].piece ... [n].last.piece) is read as their concatenation: a piece
//   missing or no last piece gives OPC_E_MISSING_PIECE, a piece after the last OPC_E_INVALID_PIECE,
//   a piece number twice OPC_E_DUPLICATE_PIECE, each when the part is read; a part both whole and
//   in pieces OPC_E_DUPLICATE_PART, from CreatePackageFrom...;
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
    virtual HRESULT GetPartName(IOpcPartUri** partUri) = 0;
    virtual HRESULT SetPartName(IOpcPartUri* partUri) = 0;
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
    virtual HRESULT SetContent(IStream* sourceStream, IOpcPartUri* partName) = 0;
};

struct IXpsOMPageReference : IUnknown {
    static constexpr IID iid = {0xED360180, 0x6F92, 0x4998, {0x89, 0x0D, 0x2F, 0x20, 0x85, 0x31, 0xA0, 0xA0}};
    virtual HRESULT GetOwner(IXpsOMDocument** document) = 0;
    // Loads the page on first use; later calls give the same page.
    virtual HRESULT GetPage(IXpsOMPage** page) = 0;
    virtual HRESULT SetPage(IXpsOMPage* page) = 0;
    virtual HRESULT DiscardPage() = 0;
    virtual HRESULT IsPageLoaded(BOOL* isPageLoaded) = 0;
    // A dimension the document does not give reads -1.0.
    virtual HRESULT GetAdvisoryPageDimensions(XPS_SIZE* pageDimensions) = 0;
    virtual HRESULT SetAdvisoryPageDimensions(const XPS_SIZE* pageDimensions) = 0;
    virtual HRESULT GetStoryFragmentsResource(IXpsOMStoryFragmentsResource** storyFragmentsResource) = 0;
    virtual HRESULT SetStoryFragmentsResource(IXpsOMStoryFragmentsResource* storyFragmentsResource) = 0;
    virtual HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource) = 0;
    virtual HRESULT SetPrintTicketResource(IXpsOMPrintTicketResource* printTicketResource) = 0;
    virtual HRESULT GetThumbnailResource(IXpsOMImageResource** imageResource) = 0;
    virtual HRESULT SetThumbnailResource(IXpsOMImageResource* imageResource) = 0;
    virtual HRESULT CollectLinkTargets(IXpsOMNameCollection** linkTargets) = 0;
    virtual HRESULT CollectPartResources(IXpsOMPartResources** partResources) = 0;
    virtual HRESULT HasRestrictedFonts(BOOL* restrictedFonts) = 0;
    virtual HRESULT Clone(IXpsOMPageReference** pageReference) = 0;
};

struct IXpsOMPageReferenceCollection : IUnknown {
    static constexpr IID iid = {0xCA16BA4D, 0xE7B9, 0x45C5, {0x95, 0x8B, 0xF9, 0x80, 0x22, 0x47, 0x37, 0x45}};
    virtual HRESULT GetCount(UINT32* count) = 0;
    virtual HRESULT GetAt(UINT32 index, IXpsOMPageReference** pageReference) = 0;
    virtual HRESULT InsertAt(UINT32 index, IXpsOMPageReference* pageReference) = 0;
    virtual HRESULT RemoveAt(UINT32 index) = 0;
    virtual HRESULT SetAt(UINT32 index, IXpsOMPageReference* pageReference) = 0;
    virtual HRESULT Append(IXpsOMPageReference* pageReference) = 0;
};

struct IXpsOMDocumentCollection : IUnknown {
    static constexpr IID iid = {0xD1C87F0D, 0xE947, 0x4754, {0x8A, 0x25, 0x97, 0x14, 0x78, 0xF7, 0xE8, 0x3E}};
    virtual HRESULT GetCount(UINT32* count) = 0;
    virtual HRESULT GetAt(UINT32 index, IXpsOMDocument** document) = 0;
    virtual HRESULT InsertAt(UINT32 index, IXpsOMDocument* document) = 0;
    virtual HRESULT RemoveAt(UINT32 index) = 0;
    virtual HRESULT SetAt(UINT32 index, IXpsOMDocument* document) = 0;
    virtual HRESULT Append(IXpsOMDocument* document) = 0;
};

struct IXpsOMPackage : IUnknown {
    static constexpr IID iid = {0x18C3DF65, 0x81E1, 0x4674, {0x91, 0xDC, 0xFC, 0x45, 0x2F, 0x5A, 0x41, 0x6F}};
    virtual HRESULT GetDocumentSequence(IXpsOMDocumentSequence** documentSequence) = 0;
    virtual HRESULT SetDocumentSequence(IXpsOMDocumentSequence* documentSequence) = 0;
    virtual HRESULT GetCoreProperties(IXpsOMCoreProperties** coreProperties) = 0;
    virtual HRESULT SetCoreProperties(IXpsOMCoreProperties* coreProperties) = 0;
    virtual HRESULT GetDiscardControlPartName(IOpcPartUri** discardControlPartUri) = 0;
    virtual HRESULT SetDiscardControlPartName(IOpcPartUri* discardControlPartUri) = 0;
    virtual HRESULT GetThumbnailResource(IXpsOMImageResource** imageResource) = 0;
    virtual HRESULT SetThumbnailResource(IXpsOMImageResource* imageResource) = 0;
    // Writes the package with the pages' current dimensions. A file name is a Windows path; the file is
    // created or truncated, and FILE_ATTRIBUTE_READONLY in flagsAndAttributes leaves it read-only.
    virtual HRESULT WriteToFile(LPCWSTR fileName, LPSECURITY_ATTRIBUTES securityAttributes, DWORD flagsAndAttributes,
                                BOOL optimizeMarkupSize) = 0;
    virtual HRESULT WriteToStream(ISequentialStream* stream, BOOL optimizeMarkupSize) = 0;
};

struct IXpsOMObjectFactory : IUnknown {
    static constexpr IID iid = {0xF9B2A685, 0xA50D, 0x4FC2, {0xB7, 0x64, 0xB5, 0x6E, 0x09, 0x3E, 0xA0, 0xCA}};
    virtual HRESULT CreatePackage(IXpsOMPackage** package) = 0;
    virtual HRESULT CreatePackageFromFile(LPCWSTR filename, BOOL reuseObjects, IXpsOMPackage** package) = 0;
    // Reads the package from the stream as it is needed; the package keeps a reference on the stream.
    virtual HRESULT CreatePackageFromStream(IStream* stream, BOOL reuseObjects, IXpsOMPackage** package) = 0;
    virtual HRESULT CreateStoryFragmentsResource(IStream* acquiredStream, IOpcPartUri* partUri,
                                                 IXpsOMStoryFragmentsResource** storyFragmentsResource) = 0;
    virtual HRESULT CreateDocumentStructureResource(IStream* acquiredStream, IOpcPartUri* partUri,
                                                    IXpsOMDocumentStructureResource** documentStructureResource) = 0;
    virtual HRESULT CreateSignatureBlockResource(IStream* acquiredStream, IOpcPartUri* partUri,
                                                 IXpsOMSignatureBlockResource** signatureBlockResource) = 0;
    virtual HRESULT CreateRemoteDictionaryResource(IXpsOMDictionary* dictionary, IOpcPartUri* partUri,
                                                   IXpsOMRemoteDictionaryResource** remoteDictionaryResource) = 0;
    virtual HRESULT CreateRemoteDictionaryResourceFromStream(IStream* dictionaryMarkupStream,
                                                             IOpcPartUri* dictionaryPartUri,
                                                             IXpsOMPartResources* resources,
                                                             IXpsOMRemoteDictionaryResource** dictionaryResource) = 0;
    virtual HRESULT CreatePartResources(IXpsOMPartResources** partResources) = 0;
    virtual HRESULT CreateDocumentSequence(IOpcPartUri* partUri, IXpsOMDocumentSequence** documentSequence) = 0;
    virtual HRESULT CreateDocument(IOpcPartUri* partUri, IXpsOMDocument** document) = 0;
    virtual HRESULT CreatePageReference(const XPS_SIZE* advisoryPageDimensions,
                                        IXpsOMPageReference** pageReference) = 0;
    virtual HRESULT CreatePage(const XPS_SIZE* pageDimensions, LPCWSTR language, IOpcPartUri* partUri,
                               IXpsOMPage** page) = 0;
    virtual HRESULT CreatePageFromStream(IStream* pageMarkupStream, IOpcPartUri* partUri,
                                         IXpsOMPartResources* resources, BOOL reuseObjects, IXpsOMPage** page) = 0;
    virtual HRESULT CreateCanvas(IXpsOMCanvas** canvas) = 0;
    virtual HRESULT CreateGlyphs(IXpsOMFontResource* fontResource, IXpsOMGlyphs** glyphs) = 0;
    virtual HRESULT CreatePath(IXpsOMPath** path) = 0;
    virtual HRESULT CreateGeometry(IXpsOMGeometry** geometry) = 0;
    virtual HRESULT CreateGeometryFigure(const XPS_POINT* startPoint, IXpsOMGeometryFigure** figure) = 0;
    virtual HRESULT CreateMatrixTransform(const XPS_MATRIX* matrix, IXpsOMMatrixTransform** transform) = 0;
    virtual HRESULT CreateSolidColorBrush(const XPS_COLOR* color, IXpsOMColorProfileResource* colorProfile,
                                          IXpsOMSolidColorBrush** solidColorBrush) = 0;
    virtual HRESULT CreateColorProfileResource(IStream* acquiredStream, IOpcPartUri* partUri,
                                               IXpsOMColorProfileResource** colorProfileResource) = 0;
    virtual HRESULT CreateImageBrush(IXpsOMImageResource* image, const XPS_RECT* viewBox, const XPS_RECT* viewPort,
                                     IXpsOMImageBrush** imageBrush) = 0;
    virtual HRESULT CreateVisualBrush(const XPS_RECT* viewBox, const XPS_RECT* viewPort,
                                      IXpsOMVisualBrush** visualBrush) = 0;
    virtual HRESULT CreateImageResource(IStream* acquiredStream, XPS_IMAGE_TYPE contentType, IOpcPartUri* partUri,
                                        IXpsOMImageResource** imageResource) = 0;
    virtual HRESULT CreatePrintTicketResource(IStream* acquiredStream, IOpcPartUri* partUri,
                                              IXpsOMPrintTicketResource** printTicketResource) = 0;
    virtual HRESULT CreateFontResource(IStream* acquiredStream, XPS_FONT_EMBEDDING fontEmbedding,
                                       IOpcPartUri* partUri, BOOL isObfSourceStream,
                                       IXpsOMFontResource** fontResource) = 0;
    virtual HRESULT CreateGradientStop(const XPS_COLOR* color, IXpsOMColorProfileResource* colorProfile,
                                       FLOAT offset, IXpsOMGradientStop** gradientStop) = 0;
    virtual HRESULT CreateLinearGradientBrush(IXpsOMGradientStop* gradStop1, IXpsOMGradientStop* gradStop2,
                                              const XPS_POINT* startPoint, const XPS_POINT* endPoint,
                                              IXpsOMLinearGradientBrush** linearGradientBrush) = 0;
    virtual HRESULT CreateRadialGradientBrush(IXpsOMGradientStop* gradStop1, IXpsOMGradientStop* gradStop2,
                                              const XPS_POINT* centerPoint, const XPS_POINT* gradientOrigin,
                                              const XPS_SIZE* radiiSizes,
                                              IXpsOMRadialGradientBrush** radialGradientBrush) = 0;
    virtual HRESULT CreateCoreProperties(IOpcPartUri* partUri, IXpsOMCoreProperties** coreProperties) = 0;
    virtual HRESULT CreateDictionary(IXpsOMDictionary** dictionary) = 0;
    virtual HRESULT CreatePartUriCollection(IXpsOMPartUriCollection** partUriCollection) = 0;
    virtual HRESULT CreatePackageWriterOnFile(LPCWSTR fileName, LPSECURITY_ATTRIBUTES securityAttributes,
                                              DWORD flagsAndAttributes, BOOL optimizeMarkupSize,
                                              XPS_INTERLEAVING interleaving, IOpcPartUri* documentSequencePartName,
                                              IXpsOMCoreProperties* coreProperties,
                                              IXpsOMImageResource* packageThumbnail,
                                              IXpsOMPrintTicketResource* documentSequencePrintTicket,
                                              IOpcPartUri* discardControlPartName,
                                              IXpsOMPackageWriter** packageWriter) = 0;
    virtual HRESULT CreatePackageWriterOnStream(ISequentialStream* outputStream, BOOL optimizeMarkupSize,
                                                XPS_INTERLEAVING interleaving, IOpcPartUri* documentSequencePartName,
                                                IXpsOMCoreProperties* coreProperties,
                                                IXpsOMImageResource* packageThumbnail,
                                                IXpsOMPrintTicketResource* documentSequencePrintTicket,
                                                IOpcPartUri* discardControlPartName,
                                                IXpsOMPackageWriter** packageWriter) = 0;
    virtual HRESULT CreatePartUri(LPCWSTR uri, IOpcPartUri** partUri) = 0;
    virtual HRESULT CreateReadOnlyStreamOnFile(LPCWSTR filename, IStream** stream) = 0;
};

struct IXpsOMPage : IXpsOMPart {
    using BaseInterface = IXpsOMPart;
    static constexpr IID iid = {0xD3E18888, 0xF120, 0x4FEE, {0x8C, 0x68, 0x35, 0x29, 0x6E, 0xAE, 0x91, 0xD4}};
    virtual HRESULT GetOwner(IXpsOMPageReference** pageReference) = 0;
    virtual HRESULT GetVisuals(IXpsOMVisualCollection** visuals) = 0;
    virtual HRESULT GetPageDimensions(XPS_SIZE* pageDimensions) = 0;
    // Both dimensions at least 1.0, else XPS_E_INVALID_PAGE_SIZE.
    virtual HRESULT SetPageDimensions(const XPS_SIZE* pageDimensions) = 0;
    virtual HRESULT GetContentBox(XPS_RECT* contentBox) = 0;
    virtual HRESULT SetContentBox(const XPS_RECT* contentBox) = 0;
    virtual HRESULT GetBleedBox(XPS_RECT* bleedBox) = 0;
    virtual HRESULT SetBleedBox(const XPS_RECT* bleedBox) = 0;
    virtual HRESULT GetLanguage(LPWSTR* language) = 0;
    virtual HRESULT SetLanguage(LPCWSTR language) = 0;
    virtual HRESULT GetName(LPWSTR* name) = 0;
    virtual HRESULT SetName(LPCWSTR name) = 0;
    virtual HRESULT GetIsHyperlinkTarget(BOOL* isHyperlinkTarget) = 0;
    virtual HRESULT SetIsHyperlinkTarget(BOOL isHyperlinkTarget) = 0;
    virtual HRESULT GetDictionary(IXpsOMDictionary** resourceDictionary) = 0;
    virtual HRESULT GetDictionaryLocal(IXpsOMDictionary** resourceDictionary) = 0;
    virtual HRESULT SetDictionaryLocal(IXpsOMDictionary* resourceDictionary) = 0;
    virtual HRESULT GetDictionaryResource(IXpsOMRemoteDictionaryResource** remoteDictionaryResource) = 0;
    virtual HRESULT SetDictionaryResource(IXpsOMRemoteDictionaryResource* remoteDictionaryResource) = 0;
    virtual HRESULT Write(ISequentialStream* stream, BOOL optimizeMarkupSize) = 0;
    virtual HRESULT GenerateUnusedLookupKey(XPS_OBJECT_TYPE type, LPWSTR* key) = 0;
    virtual HRESULT Clone(IXpsOMPage** page) = 0;
};

struct IXpsOMDocument : IXpsOMPart {
    using BaseInterface = IXpsOMPart;
    static constexpr IID iid = {0x2C2C94CB, 0xAC5F, 0x4254, {0x8E, 0xE9, 0x23, 0x94, 0x83, 0x09, 0xD9, 0xF0}};
    virtual HRESULT GetOwner(IXpsOMDocumentSequence** documentSequence) = 0;
    virtual HRESULT GetPageReferences(IXpsOMPageReferenceCollection** pageReferences) = 0;
    // S_OK with null when the document has no print ticket.
    virtual HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource) = 0;
    virtual HRESULT SetPrintTicketResource(IXpsOMPrintTicketResource* printTicketResource) = 0;
    virtual HRESULT GetDocumentStructureResource(IXpsOMDocumentStructureResource** documentStructureResource) = 0;
    virtual HRESULT SetDocumentStructureResource(IXpsOMDocumentStructureResource* documentStructureResource) = 0;
    virtual HRESULT GetSignatureBlockResources(IXpsOMSignatureBlockResourceCollection** signatureBlockResources) = 0;
    virtual HRESULT Clone(IXpsOMDocument** document) = 0;
};

struct IXpsOMDocumentSequence : IXpsOMPart {
    using BaseInterface = IXpsOMPart;
    static constexpr IID iid = {0x56492EB4, 0xD8D5, 0x425E, {0x82, 0x56, 0x4C, 0x2B, 0x64, 0xAD, 0x02, 0x64}};
    virtual HRESULT GetOwner(IXpsOMPackage** package) = 0;
    virtual HRESULT GetDocuments(IXpsOMDocumentCollection** documents) = 0;
    // The job-level ticket; S_OK with null when the sequence has none.
    virtual HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource) = 0;
    virtual HRESULT SetPrintTicketResource(IXpsOMPrintTicketResource* printTicketResource) = 0;
};

// Named by the methods above and given their place and IID, but not their own methods: nothing on
// this platform makes or reads one, and a caller needs no more than an opaque pointer to pass on.
struct IXpsOMCoreProperties : IXpsOMPart {
    using BaseInterface = IXpsOMPart;
    static constexpr IID iid = {0x3340FE8F, 0x4027, 0x4AA1, {0x8F, 0x5F, 0xD3, 0x5A, 0xE4, 0x5F, 0xE5, 0x97}};
};

struct IXpsOMFontResource : IXpsOMResource {
    using BaseInterface = IXpsOMResource;
    static constexpr IID iid = {0xA8C45708, 0x47D9, 0x4AF4, {0x8D, 0x20, 0x33, 0xB4, 0x8C, 0x9B, 0x84, 0x85}};
};

struct IXpsOMImageResource : IXpsOMResource {
    using BaseInterface = IXpsOMResource;
    static constexpr IID iid = {0x3DB8417D, 0xAE50, 0x485E, {0x9A, 0x44, 0xD7, 0x75, 0x8F, 0x78, 0xA2, 0x3F}};
};

struct IXpsOMColorProfileResource : IXpsOMResource {
    using BaseInterface = IXpsOMResource;
    static constexpr IID iid = {0x67BD7D69, 0x1EEF, 0x4BB1, {0xB5, 0xE7, 0x6F, 0x4F, 0x87, 0xBE, 0x8A, 0xBE}};
};

struct IXpsOMRemoteDictionaryResource : IXpsOMResource {
    using BaseInterface = IXpsOMResource;
    static constexpr IID iid = {0xC9BD7CD4, 0xE16A, 0x4BF8, {0x8C, 0x84, 0xC9, 0x50, 0xAF, 0x7A, 0x30, 0x61}};
};

struct IXpsOMDocumentStructureResource : IXpsOMResource {
    using BaseInterface = IXpsOMResource;
    static constexpr IID iid = {0x85FEBC8A, 0x6B63, 0x48A9, {0xAF, 0x07, 0x70, 0x64, 0xE4, 0xEC, 0xFF, 0x30}};
};

struct IXpsOMStoryFragmentsResource : IXpsOMResource {
    using BaseInterface = IXpsOMResource;
    static constexpr IID iid = {0xC2B3CA09, 0x0473, 0x4282, {0x87, 0xAE, 0x17, 0x80, 0x86, 0x32, 0x23, 0xF0}};
};

struct IXpsOMSignatureBlockResource : IXpsOMResource {
    using BaseInterface = IXpsOMResource;
    static constexpr IID iid = {0x4776AD35, 0x2E04, 0x4357, {0x87, 0x43, 0xEB, 0xF6, 0xC1, 0x71, 0xA9, 0x05}};
};

struct IXpsOMSignatureBlockResourceCollection : IUnknown {
    static constexpr IID iid = {0xAB8F5D8E, 0x351B, 0x4D33, {0xAA, 0xED, 0xFA, 0x56, 0xF0, 0x02, 0x29, 0x31}};
};

struct IXpsOMPartResources : IUnknown {
    static constexpr IID iid = {0xF4CF7729, 0x4864, 0x4275, {0x99, 0xB3, 0xA8, 0x71, 0x71, 0x63, 0xEC, 0xAF}};
};

struct IXpsOMPartUriCollection : IUnknown {
    static constexpr IID iid = {0x57C650D4, 0x067C, 0x4893, {0x8C, 0x33, 0xF6, 0x2A, 0x06, 0x33, 0x73, 0x0F}};
};

struct IXpsOMNameCollection : IUnknown {
    static constexpr IID iid = {0x4BDDF8EC, 0xC915, 0x421B, {0xA1, 0x66, 0xD1, 0x73, 0xD2, 0x56, 0x53, 0xD2}};
};

struct IXpsOMDictionary : IUnknown {
    static constexpr IID iid = {0x897C86B8, 0x8EAF, 0x4AE3, {0xBD, 0xDE, 0x56, 0x41, 0x9F, 0xCF, 0x42, 0x36}};
};

struct IXpsOMVisualCollection : IUnknown {
    static constexpr IID iid = {0x94D8ABDE, 0xAB91, 0x46A8, {0x82, 0xB7, 0xF5, 0xB0, 0x5E, 0xF0, 0x1A, 0x96}};
};

struct IXpsOMGeometryFigure : IUnknown {
    static constexpr IID iid = {0xD410DC83, 0x908C, 0x443E, {0x89, 0x47, 0xB1, 0x79, 0x5D, 0x3C, 0x16, 0x5A}};
};

struct IXpsOMGradientStop : IUnknown {
    static constexpr IID iid = {0x5CF4F5CC, 0x3969, 0x49B5, {0xA7, 0x0A, 0x55, 0x50, 0xB6, 0x18, 0xFE, 0x49}};
};

struct IXpsOMPackageWriter : IUnknown {
    static constexpr IID iid = {0x4E2AA182, 0xA443, 0x42C6, {0xB4, 0x1B, 0x4F, 0x8E, 0x9D, 0xE7, 0x3F, 0xF9}};
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
