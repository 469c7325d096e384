// The XPS Document API as far as the filter uses it, for a Wine that has none: a package read from
// its ZIP bytes, its document sequence and that sequence's job print ticket. Every other method of
// the SDK's interfaces answers E_NOTIMPL.
#include "xpspackage.h"

#include <zlib.h>

#include <cstring>
#include <cwctype>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "comobject.h"

// mingw-w64 10 declares the OPC and XPS codes but not their facilities.
#ifndef FACILITY_OPC
#define FACILITY_OPC 81
#endif
#ifndef FACILITY_XPS
#define FACILITY_XPS 82
#endif

namespace {

const char kFixedRepresentation[] = "http://schemas.microsoft.com/xps/2005/06/fixedrepresentation";
const char kOpenXpsFixedRepresentation[] = "http://schemas.openxps.org/oxps/v1.0/fixedrepresentation";
const char kPrintTicket[] = "http://schemas.microsoft.com/xps/2005/06/printticket";
const char kOpenXpsPrintTicket[] = "http://schemas.openxps.org/oxps/v1.0/printticket";

std::uint32_t Read16(const std::vector<BYTE>& bytes, size_t at)
{
    return bytes[at] | (bytes[at + 1] << 8);
}

std::uint32_t Read32(const std::vector<BYTE>& bytes, size_t at)
{
    return bytes[at] | (bytes[at + 1] << 8) | (bytes[at + 2] << 16) | (static_cast<std::uint32_t>(bytes[at + 3]) << 24);
}

// Part names compare without case, as OPC says; the map keys are lower case, with a leading slash.
std::string PartKey(std::string name)
{
    if (name.empty() || name[0] != '/') {
        name.insert(name.begin(), '/');
    }
    for (char& c : name) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return name;
}

// The parts of a ZIP archive by name, read from its central directory. Interleaved parts
// (name/[0].piece ...) are not joined: no job of ours is written that way.
HRESULT ReadParts(const std::vector<BYTE>& zip, std::map<std::string, std::vector<BYTE>>& parts)
{
    if (zip.size() < 22) {
        return OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY;
    }
    size_t end = zip.size() - 22;
    const size_t lowest = zip.size() > 22 + 65535 ? zip.size() - 22 - 65535 : 0;
    while (Read32(zip, end) != 0x06054b50) {
        if (end == lowest) {
            return OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY;
        }
        --end;
    }
    const std::uint32_t entries = Read16(zip, end + 10);
    size_t at = Read32(zip, end + 16);
    for (std::uint32_t index = 0; index < entries; ++index) {
        if (at + 46 > zip.size() || Read32(zip, at) != 0x02014b50) {
            return OPC_E_ZIP_CORRUPTED_ARCHIVE;
        }
        const std::uint32_t method = Read16(zip, at + 10);
        const std::uint32_t packedSize = Read32(zip, at + 20);
        const std::uint32_t size = Read32(zip, at + 24);
        const std::uint32_t nameLength = Read16(zip, at + 28);
        const size_t next = at + 46 + nameLength + Read16(zip, at + 30) + Read16(zip, at + 32);
        const size_t local = Read32(zip, at + 42);
        if (at + 46 + nameLength > zip.size() || local + 30 > zip.size() || Read32(zip, local) != 0x04034b50) {
            return OPC_E_ZIP_CORRUPTED_ARCHIVE;
        }
        const std::string name(reinterpret_cast<const char*>(&zip[at + 46]), nameLength);
        const size_t data = local + 30 + Read16(zip, local + 26) + Read16(zip, local + 28);
        if (data > zip.size() || zip.size() - data < packedSize) {
            return OPC_E_ZIP_CORRUPTED_ARCHIVE;
        }
        std::vector<BYTE> content(size);
        if (method == 0) {
            if (packedSize != size) {
                return OPC_E_ZIP_CORRUPTED_ARCHIVE;
            }
            if (size > 0) {
                std::memcpy(content.data(), &zip[data], size);
            }
        } else if (method == 8) {
            z_stream inflater{};
            if (inflateInit2(&inflater, -MAX_WBITS) != Z_OK) {
                return E_OUTOFMEMORY;
            }
            inflater.next_in = const_cast<Bytef*>(&zip[data]);
            inflater.avail_in = packedSize;
            inflater.next_out = content.data();
            inflater.avail_out = size;
            const int status = inflate(&inflater, Z_FINISH);
            const bool whole = status == Z_STREAM_END && inflater.total_out == size;
            inflateEnd(&inflater);
            if (!whole) {
                return OPC_E_ZIP_DECOMPRESSION_FAILED;
            }
        } else {
            return OPC_E_ZIP_COMPRESSION_FAILED;
        }
        parts[PartKey(name)] = std::move(content);
        at = next;
    }
    return S_OK;
}

std::string AttributeOf(const std::string& element, const char* name)
{
    const std::string key = std::string(" ") + name + "=";
    const size_t found = element.find(key);
    if (found == std::string::npos || found + key.size() >= element.size()) {
        return {};
    }
    const char quote = element[found + key.size()];
    const size_t start = found + key.size() + 1;
    const size_t stop = element.find(quote, start);
    return stop == std::string::npos ? std::string() : element.substr(start, stop - start);
}

// The target part of the first relationship of the given types from a part ("/" for the package),
// resolved against the source part's folder.
std::string RelationshipTarget(const std::map<std::string, std::vector<BYTE>>& parts, const std::string& source,
                               std::initializer_list<const char*> types)
{
    const size_t slash = source.rfind('/');
    const std::string folder = source.substr(0, slash + 1);
    const std::string relationships = folder + "_rels/" + source.substr(slash + 1) + ".rels";
    const auto found = parts.find(PartKey(relationships));
    if (found == parts.end()) {
        return {};
    }
    const std::string text(found->second.begin(), found->second.end());
    for (size_t at = text.find("<Relationship "); at != std::string::npos; at = text.find("<Relationship ", at + 1)) {
        const std::string element = text.substr(at, text.find('>', at) - at);
        const std::string type = AttributeOf(element, "Type");
        for (const char* wanted : types) {
            if (type == wanted) {
                const std::string target = AttributeOf(element, "Target");
                return target.empty() || target[0] == '/' ? target : folder + target;
            }
        }
    }
    return {};
}

class PrintTicketResource : public ComObject<IXpsOMPrintTicketResource> {
public:
    explicit PrintTicketResource(std::vector<BYTE> content) : m_content(std::move(content)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, static_cast<IXpsOMPrintTicketResource*>(this),
                      {&__uuidof(IXpsOMPart), &__uuidof(IXpsOMResource), &__uuidof(IXpsOMPrintTicketResource)});
    }

    // A stream of its own over a copy of the part, at its start, as the SDK's clone is.
    HRESULT STDMETHODCALLTYPE GetStream(IStream** stream) override
    {
        if (stream == nullptr) {
            return E_POINTER;
        }
        *stream = nullptr;
        HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, m_content.size() == 0 ? 1 : m_content.size());
        if (memory == nullptr) {
            return E_OUTOFMEMORY;
        }
        void* bytes = GlobalLock(memory);
        if (!m_content.empty()) {
            std::memcpy(bytes, m_content.data(), m_content.size());
        }
        GlobalUnlock(memory);
        IStream* created = nullptr;
        const HRESULT hr = CreateStreamOnHGlobal(memory, TRUE, &created);
        if (FAILED(hr)) {
            GlobalFree(memory);
            return hr;
        }
        ULARGE_INTEGER size;
        size.QuadPart = m_content.size();
        created->SetSize(size);
        *stream = created;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetPartName(IOpcPartUri **/*partUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPartName(IOpcPartUri */*partUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetContent(IStream */*sourceStream*/, IOpcPartUri */*partName*/) override { return E_NOTIMPL; }

private:
    std::vector<BYTE> m_content;
};

class DocumentSequence : public ComObject<IXpsOMDocumentSequence> {
public:
    DocumentSequence(IXpsOMPackage* owner, IXpsOMPrintTicketResource* ticket) : m_owner(owner), m_ticket(ticket)
    {
        if (m_ticket != nullptr) {
            m_ticket->AddRef();
        }
    }
    ~DocumentSequence() override
    {
        if (m_ticket != nullptr) {
            m_ticket->Release();
        }
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, static_cast<IXpsOMDocumentSequence*>(this), {&__uuidof(IXpsOMPart), &__uuidof(IXpsOMDocumentSequence)});
    }

    HRESULT STDMETHODCALLTYPE GetOwner(IXpsOMPackage** package) override
    {
        if (package == nullptr) {
            return E_POINTER;
        }
        *package = m_owner;
        if (m_owner != nullptr) {
            m_owner->AddRef();
        }
        return S_OK;
    }

    // No ticket: S_OK and a null resource, as the SDK answers.
    HRESULT STDMETHODCALLTYPE GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource) override
    {
        if (printTicketResource == nullptr) {
            return E_POINTER;
        }
        *printTicketResource = m_ticket;
        if (m_ticket != nullptr) {
            m_ticket->AddRef();
        }
        return S_OK;
    }

    void Detach() { m_owner = nullptr; }

    HRESULT STDMETHODCALLTYPE GetPartName(IOpcPartUri **/*partUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPartName(IOpcPartUri */*partUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDocuments(IXpsOMDocumentCollection **/*documents*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPrintTicketResource(IXpsOMPrintTicketResource */*printTicketResource*/) override { return E_NOTIMPL; }

private:
    IXpsOMPackage* m_owner;  // not held: the package holds its sequence
    IXpsOMPrintTicketResource* m_ticket;
};

class Package : public ComObject<IXpsOMPackage> {
public:
    explicit Package(IXpsOMPrintTicketResource* ticket) : m_sequence(new DocumentSequence(this, ticket)) {}
    ~Package() override
    {
        m_sequence->Detach();
        m_sequence->Release();
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, static_cast<IXpsOMPackage*>(this), {&__uuidof(IXpsOMPackage)});
    }

    HRESULT STDMETHODCALLTYPE GetDocumentSequence(IXpsOMDocumentSequence** documentSequence) override
    {
        if (documentSequence == nullptr) {
            return E_POINTER;
        }
        m_sequence->AddRef();
        *documentSequence = m_sequence;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE SetDocumentSequence(IXpsOMDocumentSequence */*documentSequence*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCoreProperties(IXpsOMCoreProperties **/*coreProperties*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetCoreProperties(IXpsOMCoreProperties */*coreProperties*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDiscardControlPartName(IOpcPartUri **/*discardControlPartUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDiscardControlPartName(IOpcPartUri */*discardControlPartUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetThumbnailResource(IXpsOMImageResource **/*imageResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetThumbnailResource(IXpsOMImageResource */*imageResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE WriteToFile(LPCWSTR /*fileName*/, LPSECURITY_ATTRIBUTES /*securityAttributes*/, DWORD /*flagsAndAttributes*/, WINBOOL /*optimizeMarkupSize*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE WriteToStream(ISequentialStream */*stream*/, WINBOOL /*optimizeMarkupSize*/) override { return E_NOTIMPL; }

private:
    DocumentSequence* m_sequence;
};

class ObjectFactory : public ComObject<IXpsOMObjectFactory> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, static_cast<IXpsOMObjectFactory*>(this), {&__uuidof(IXpsOMObjectFactory)});
    }

    HRESULT STDMETHODCALLTYPE CreatePackageFromStream(IStream* stream, WINBOOL, IXpsOMPackage** package) override
    {
        if (stream == nullptr || package == nullptr) {
            return E_POINTER;
        }
        *package = nullptr;
        std::vector<BYTE> zip;
        for (;;) {
            BYTE chunk[65536];
            ULONG read = 0;
            const HRESULT hr = stream->Read(chunk, sizeof chunk, &read);
            if (FAILED(hr)) {
                return hr;
            }
            zip.insert(zip.end(), chunk, chunk + read);
            if (read == 0 || hr == S_FALSE) {
                break;
            }
        }
        std::map<std::string, std::vector<BYTE>> parts;
        HRESULT hr = ReadParts(zip, parts);
        if (FAILED(hr)) {
            return hr;
        }
        const std::string sequence = RelationshipTarget(parts, "/", {kFixedRepresentation, kOpenXpsFixedRepresentation});
        if (sequence.empty() || parts.find(PartKey(sequence)) == parts.end()) {
            return XPS_E_MISSING_DOCUMENTSEQUENCE_RELATIONSHIP;
        }
        IXpsOMPrintTicketResource* ticket = nullptr;
        const std::string ticketPart = RelationshipTarget(parts, sequence, {kPrintTicket, kOpenXpsPrintTicket});
        if (!ticketPart.empty()) {
            const auto found = parts.find(PartKey(ticketPart));
            if (found == parts.end()) {
                return XPS_E_MISSING_RESOURCE_RELATIONSHIP;
            }
            ticket = new PrintTicketResource(found->second);
        }
        *package = new Package(ticket);
        if (ticket != nullptr) {
            ticket->Release();
        }
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE CreatePackage(IXpsOMPackage **/*package*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePackageFromFile(LPCWSTR /*filename*/, WINBOOL /*reuseObjects*/, IXpsOMPackage **/*package*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateStoryFragmentsResource(IStream */*acquiredStream*/, IOpcPartUri */*partUri*/, IXpsOMStoryFragmentsResource **/*storyFragmentsResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateDocumentStructureResource(IStream */*acquiredStream*/, IOpcPartUri */*partUri*/, IXpsOMDocumentStructureResource **/*documentStructureResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateSignatureBlockResource(IStream */*acquiredStream*/, IOpcPartUri */*partUri*/, IXpsOMSignatureBlockResource **/*signatureBlockResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateRemoteDictionaryResource(IXpsOMDictionary */*dictionary*/, IOpcPartUri */*partUri*/, IXpsOMRemoteDictionaryResource **/*remoteDictionaryResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateRemoteDictionaryResourceFromStream(IStream */*dictionaryMarkupStream*/, IOpcPartUri */*dictionaryPartUri*/, IXpsOMPartResources */*resources*/, IXpsOMRemoteDictionaryResource **/*dictionaryResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePartResources(IXpsOMPartResources **/*partResources*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateDocumentSequence(IOpcPartUri */*partUri*/, IXpsOMDocumentSequence **/*documentSequence*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateDocument(IOpcPartUri */*partUri*/, IXpsOMDocument **/*document*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePageReference(const XPS_SIZE */*advisoryPageDimensions*/, IXpsOMPageReference **/*pageReference*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePage(const XPS_SIZE */*pageDimensions*/, LPCWSTR /*language*/, IOpcPartUri */*partUri*/, IXpsOMPage **/*page*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePageFromStream(IStream */*pageMarkupStream*/, IOpcPartUri */*partUri*/, IXpsOMPartResources */*resources*/, WINBOOL /*reuseObjects*/, IXpsOMPage **/*page*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateCanvas(IXpsOMCanvas **/*canvas*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateGlyphs(IXpsOMFontResource */*fontResource*/, IXpsOMGlyphs **/*glyphs*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePath(IXpsOMPath **/*path*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateGeometry(IXpsOMGeometry **/*geometry*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateGeometryFigure(const XPS_POINT */*startPoint*/, IXpsOMGeometryFigure **/*figure*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateMatrixTransform(const XPS_MATRIX */*matrix*/, IXpsOMMatrixTransform **/*transform*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateSolidColorBrush(const XPS_COLOR */*color*/, IXpsOMColorProfileResource */*colorProfile*/, IXpsOMSolidColorBrush **/*solidColorBrush*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateColorProfileResource(IStream */*acquiredStream*/, IOpcPartUri */*partUri*/, IXpsOMColorProfileResource **/*colorProfileResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateImageBrush(IXpsOMImageResource */*image*/, const XPS_RECT */*viewBox*/, const XPS_RECT */*viewPort*/, IXpsOMImageBrush **/*imageBrush*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateVisualBrush(const XPS_RECT */*viewBox*/, const XPS_RECT */*viewPort*/, IXpsOMVisualBrush **/*visualBrush*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateImageResource(IStream */*acquiredStream*/, XPS_IMAGE_TYPE /*contentType*/, IOpcPartUri */*partUri*/, IXpsOMImageResource **/*imageResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePrintTicketResource(IStream */*acquiredStream*/, IOpcPartUri */*partUri*/, IXpsOMPrintTicketResource **/*printTicketResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateFontResource(IStream */*acquiredStream*/, XPS_FONT_EMBEDDING /*fontEmbedding*/, IOpcPartUri */*partUri*/, WINBOOL /*isObfSourceStream*/, IXpsOMFontResource **/*fontResource*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateGradientStop(const XPS_COLOR */*color*/, IXpsOMColorProfileResource */*colorProfile*/, FLOAT /*offset*/, IXpsOMGradientStop **/*gradientStop*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateLinearGradientBrush(IXpsOMGradientStop */*gradStop1*/, IXpsOMGradientStop */*gradStop2*/, const XPS_POINT */*startPoint*/, const XPS_POINT */*endPoint*/, IXpsOMLinearGradientBrush **/*linearGradientBrush*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateRadialGradientBrush(IXpsOMGradientStop */*gradStop1*/, IXpsOMGradientStop */*gradStop2*/, const XPS_POINT */*centerPoint*/, const XPS_POINT */*gradientOrigin*/, const XPS_SIZE */*radiiSizes*/, IXpsOMRadialGradientBrush **/*radialGradientBrush*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateCoreProperties(IOpcPartUri */*partUri*/, IXpsOMCoreProperties **/*coreProperties*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateDictionary(IXpsOMDictionary **/*dictionary*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePartUriCollection(IXpsOMPartUriCollection **/*partUriCollection*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePackageWriterOnFile(LPCWSTR /*fileName*/, LPSECURITY_ATTRIBUTES /*securityAttributes*/, DWORD /*flagsAndAttributes*/, WINBOOL /*optimizeMarkupSize*/, XPS_INTERLEAVING /*interleaving*/, IOpcPartUri */*documentSequencePartName*/, IXpsOMCoreProperties */*coreProperties*/, IXpsOMImageResource */*packageThumbnail*/, IXpsOMPrintTicketResource */*documentSequencePrintTicket*/, IOpcPartUri */*discardControlPartName*/, IXpsOMPackageWriter **/*packageWriter*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePackageWriterOnStream(ISequentialStream */*outputStream*/, WINBOOL /*optimizeMarkupSize*/, XPS_INTERLEAVING /*interleaving*/, IOpcPartUri */*documentSequencePartName*/, IXpsOMCoreProperties */*coreProperties*/, IXpsOMImageResource */*packageThumbnail*/, IXpsOMPrintTicketResource */*documentSequencePrintTicket*/, IOpcPartUri */*discardControlPartName*/, IXpsOMPackageWriter **/*packageWriter*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreatePartUri(LPCWSTR /*uri*/, IOpcPartUri **/*partUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CreateReadOnlyStreamOnFile(LPCWSTR /*filename*/, IStream **/*stream*/) override { return E_NOTIMPL; }
};

class ObjectFactoryClass : public ComObject<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, static_cast<IClassFactory*>(this), {&IID_IClassFactory});
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override
    {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        ObjectFactory* factory = new ObjectFactory;
        const HRESULT hr = factory->QueryInterface(iid, out);
        factory->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(WINBOOL) override { return S_OK; }
};

}  // namespace

IClassFactory* NewXpsObjectFactoryClass()
{
    return new ObjectFactoryClass;
}
