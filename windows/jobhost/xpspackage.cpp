// The XPS Document API as far as the filter uses it, for a Wine that has none: a package read from
// its ZIP bytes, its document sequence and that sequence's job print ticket, the sequence's
// documents, their page references and pages with their dimensions (read and set), and the
// package written back to a file. Every other method of the SDK's interfaces answers E_NOTIMPL.
//
// This is not the SDK's object model: a page is never parsed beyond its FixedPage element's Width
// and Height, and writing the package does not serialize objects. An unchanged package is written
// as the very bytes it was read from; a package with changed page dimensions is written as a new
// ZIP of the same parts (stored, not deflated), each changed page's Width and Height attributes
// rewritten in its markup and every other byte of every part as read. The SDK would write its own
// markup, and a different but equivalent archive.
#include "xpspackage.h"

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
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
#ifndef E_BOUNDS
#define E_BOUNDS static_cast<HRESULT>(0x8000000BL)
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
HRESULT ReadParts(const std::vector<BYTE>& zip, std::map<std::string, std::vector<BYTE>>& parts,
                  std::vector<std::string>& names)
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
        names.push_back(name);
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


// What every object of one package shares: the parts as read, and the page sizes set since.
struct PackageContent {
    std::vector<BYTE> zip;                            // the bytes the package was read from
    std::vector<std::string> names;                   // the archive's entry names, in its order
    std::map<std::string, std::vector<BYTE>> parts;   // by PartKey
    std::map<std::string, XPS_SIZE> changedPages;     // by PartKey of the page part
};

std::string Resolve(const std::string& source, const std::string& target)
{
    if (target.empty() || target[0] == '/') {
        return target;
    }
    return source.substr(0, source.rfind('/') + 1) + target;
}

// The Source of each element `tag` of a part, resolved against the part, in document order.
std::vector<std::string> SourcesOf(const PackageContent& content, const std::string& part, const char* tag)
{
    std::vector<std::string> sources;
    const auto found = content.parts.find(PartKey(part));
    if (found == content.parts.end()) {
        return sources;
    }
    const std::string text(found->second.begin(), found->second.end());
    const std::string open = std::string("<") + tag;
    for (size_t at = text.find(open); at != std::string::npos; at = text.find(open, at + 1)) {
        const char after = at + open.size() < text.size() ? text[at + open.size()] : '>';
        if (after != ' ' && after != '\t' && after != '\r' && after != '\n' && after != '/' && after != '>') {
            continue;
        }
        const std::string element = " " + text.substr(at + open.size(), text.find('>', at) - at - open.size());
        const std::string source = AttributeOf(element, "Source");
        if (!source.empty()) {
            sources.push_back(Resolve(part, source));
        }
    }
    return sources;
}

// The span of the FixedPage start tag in a page's markup; npos when there is none.
size_t FixedPageTag(const std::string& markup, size_t& end)
{
    const size_t at = markup.find("<FixedPage");
    end = at == std::string::npos ? std::string::npos : markup.find('>', at);
    return end == std::string::npos ? std::string::npos : at;
}

// The value of attribute `name` in a start tag, as [start, stop) of the markup; false without it.
bool AttributeSpan(const std::string& markup, size_t tag, size_t end, const char* name, size_t& start, size_t& stop)
{
    const std::string key = std::string(name) + "=";
    for (size_t at = markup.find(key, tag); at != std::string::npos && at < end; at = markup.find(key, at + 1)) {
        const char before = markup[at - 1];
        if (before != ' ' && before != '\t' && before != '\r' && before != '\n') {
            continue;
        }
        const char quote = markup[at + key.size()];
        if (quote != '"' && quote != '\'') {
            return false;
        }
        start = at + key.size() + 1;
        stop = markup.find(quote, start);
        return stop != std::string::npos && stop < end;
    }
    return false;
}

std::string SizeText(FLOAT value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.4f", static_cast<double>(value));
    std::string trimmed = text;
    while (!trimmed.empty() && trimmed.back() == '0') {
        trimmed.pop_back();
    }
    if (!trimmed.empty() && trimmed.back() == '.') {
        trimmed.pop_back();
    }
    return trimmed;
}

// A page's markup with its FixedPage Width and Height replaced.
std::vector<BYTE> WithPageSize(const std::vector<BYTE>& part, const XPS_SIZE& size)
{
    std::string markup(part.begin(), part.end());
    size_t end = 0;
    const size_t tag = FixedPageTag(markup, end);
    if (tag == std::string::npos) {
        return part;
    }
    size_t start = 0;
    size_t stop = 0;
    // Height first: replacing it cannot move Width's span when Height comes after it, and the
    // spans are found again for Width in any case.
    if (AttributeSpan(markup, tag, end, "Height", start, stop)) {
        markup.replace(start, stop - start, SizeText(size.height));
    }
    FixedPageTag(markup, end);
    if (AttributeSpan(markup, tag, end, "Width", start, stop)) {
        markup.replace(start, stop - start, SizeText(size.width));
    }
    return std::vector<BYTE>(markup.begin(), markup.end());
}

void Put16(std::vector<BYTE>& out, std::uint32_t value)
{
    out.push_back(static_cast<BYTE>(value));
    out.push_back(static_cast<BYTE>(value >> 8));
}

void Put32(std::vector<BYTE>& out, std::uint32_t value)
{
    Put16(out, value & 0xffff);
    Put16(out, value >> 16);
}

// The package as a ZIP of stored entries, in the order it was read, changed pages rewritten.
std::vector<BYTE> WriteArchive(const PackageContent& content)
{
    std::vector<BYTE> out;
    std::vector<BYTE> directory;
    for (const std::string& name : content.names) {
        const std::string key = PartKey(name);
        std::vector<BYTE> data = content.parts.at(key);
        const auto changed = content.changedPages.find(key);
        if (changed != content.changedPages.end()) {
            data = WithPageSize(data, changed->second);
        }
        const std::uint32_t crc = static_cast<std::uint32_t>(
            crc32(crc32(0L, Z_NULL, 0), data.empty() ? Z_NULL : data.data(), static_cast<uInt>(data.size())));
        const std::uint32_t offset = static_cast<std::uint32_t>(out.size());
        Put32(out, 0x04034b50);
        Put16(out, 20);
        Put16(out, 0);
        Put16(out, 0);
        Put16(out, 0);
        Put16(out, 0x21);  // 1980-01-01, as the jobs we read carry
        Put32(out, crc);
        Put32(out, static_cast<std::uint32_t>(data.size()));
        Put32(out, static_cast<std::uint32_t>(data.size()));
        Put16(out, static_cast<std::uint32_t>(name.size()));
        Put16(out, 0);
        out.insert(out.end(), name.begin(), name.end());
        out.insert(out.end(), data.begin(), data.end());

        Put32(directory, 0x02014b50);
        Put16(directory, 20);
        Put16(directory, 20);
        Put16(directory, 0);
        Put16(directory, 0);
        Put16(directory, 0);
        Put16(directory, 0x21);
        Put32(directory, crc);
        Put32(directory, static_cast<std::uint32_t>(data.size()));
        Put32(directory, static_cast<std::uint32_t>(data.size()));
        Put16(directory, static_cast<std::uint32_t>(name.size()));
        Put16(directory, 0);
        Put16(directory, 0);
        Put16(directory, 0);
        Put16(directory, 0);
        Put32(directory, 0);
        Put32(directory, offset);
        directory.insert(directory.end(), name.begin(), name.end());
    }
    const std::uint32_t directoryOffset = static_cast<std::uint32_t>(out.size());
    out.insert(out.end(), directory.begin(), directory.end());
    Put32(out, 0x06054b50);
    Put16(out, 0);
    Put16(out, 0);
    Put16(out, static_cast<std::uint32_t>(content.names.size()));
    Put16(out, static_cast<std::uint32_t>(content.names.size()));
    Put32(out, static_cast<std::uint32_t>(directory.size()));
    Put32(out, directoryOffset);
    Put16(out, 0);
    return out;
}

class Page : public ComObject<IXpsOMPage> {
public:
    Page(std::shared_ptr<PackageContent> content, std::string part) : m_content(std::move(content)), m_part(std::move(part)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, static_cast<IXpsOMPage*>(this), {&__uuidof(IXpsOMPart), &__uuidof(IXpsOMPage)});
    }

    HRESULT STDMETHODCALLTYPE GetPageDimensions(XPS_SIZE* pageDimensions) override
    {
        if (pageDimensions == nullptr) {
            return E_POINTER;
        }
        const std::string key = PartKey(m_part);
        const auto changed = m_content->changedPages.find(key);
        if (changed != m_content->changedPages.end()) {
            *pageDimensions = changed->second;
            return S_OK;
        }
        const std::string markup(m_content->parts.at(key).begin(), m_content->parts.at(key).end());
        size_t end = 0;
        const size_t tag = FixedPageTag(markup, end);
        size_t start = 0;
        size_t stop = 0;
        if (tag == std::string::npos) {
            return XPS_E_INVALID_MARKUP;
        }
        XPS_SIZE size{};
        if (!AttributeSpan(markup, tag, end, "Width", start, stop)) {
            return XPS_E_INVALID_MARKUP;
        }
        size.width = std::strtof(markup.substr(start, stop - start).c_str(), nullptr);
        if (!AttributeSpan(markup, tag, end, "Height", start, stop)) {
            return XPS_E_INVALID_MARKUP;
        }
        size.height = std::strtof(markup.substr(start, stop - start).c_str(), nullptr);
        *pageDimensions = size;
        return S_OK;
    }

    // Kept with the package's content, so the size outlives this object and reaches WriteToFile.
    HRESULT STDMETHODCALLTYPE SetPageDimensions(const XPS_SIZE* pageDimensions) override
    {
        if (pageDimensions == nullptr) {
            return E_POINTER;
        }
        if (!(pageDimensions->width > 0) || !(pageDimensions->height > 0)) {
            return E_INVALIDARG;
        }
        m_content->changedPages[PartKey(m_part)] = *pageDimensions;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetPartName(IOpcPartUri **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPartName(IOpcPartUri *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetOwner(IXpsOMPageReference **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetVisuals(IXpsOMVisualCollection **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetContentBox(XPS_RECT *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetContentBox(const XPS_RECT *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetBleedBox(XPS_RECT *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetBleedBox(const XPS_RECT *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetLanguage(LPWSTR *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetLanguage(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetName(LPWSTR *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetName(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIsHyperlinkTarget(WINBOOL *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetIsHyperlinkTarget(WINBOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDictionary(IXpsOMDictionary **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDictionaryLocal(IXpsOMDictionary **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDictionaryLocal(IXpsOMDictionary *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDictionaryResource(IXpsOMRemoteDictionaryResource **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDictionaryResource(IXpsOMRemoteDictionaryResource *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Write(ISequentialStream *, WINBOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GenerateUnusedLookupKey(XPS_OBJECT_TYPE, LPWSTR *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IXpsOMPage **) override { return E_NOTIMPL; }

private:
    std::shared_ptr<PackageContent> m_content;
    std::string m_part;
};

class PageReference : public ComObject<IXpsOMPageReference> {
public:
    PageReference(std::shared_ptr<PackageContent> content, std::string part) : m_content(std::move(content)), m_part(std::move(part)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, static_cast<IXpsOMPageReference*>(this), {&__uuidof(IXpsOMPageReference)});
    }

    HRESULT STDMETHODCALLTYPE GetPage(IXpsOMPage** page) override
    {
        if (page == nullptr) {
            return E_POINTER;
        }
        *page = nullptr;
        if (m_content->parts.find(PartKey(m_part)) == m_content->parts.end()) {
            return XPS_E_MISSING_PART_REFERENCE;
        }
        *page = new Page(m_content, m_part);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetOwner(IXpsOMDocument **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPage(IXpsOMPage *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DiscardPage() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsPageLoaded(WINBOOL *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAdvisoryPageDimensions(XPS_SIZE *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetAdvisoryPageDimensions(const XPS_SIZE *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStoryFragmentsResource(IXpsOMStoryFragmentsResource **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetStoryFragmentsResource(IXpsOMStoryFragmentsResource *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPrintTicketResource(IXpsOMPrintTicketResource **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPrintTicketResource(IXpsOMPrintTicketResource *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetThumbnailResource(IXpsOMImageResource **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetThumbnailResource(IXpsOMImageResource *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CollectLinkTargets(IXpsOMNameCollection **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE CollectPartResources(IXpsOMPartResources **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE HasRestrictedFonts(WINBOOL *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IXpsOMPageReference **) override { return E_NOTIMPL; }

private:
    std::shared_ptr<PackageContent> m_content;
    std::string m_part;
};

// A read-only collection of the parts named by a sequence or a document; Element makes the object
// of each on demand.
template <class Collection, class Item, class Element>
class PartCollection : public ComObject<Collection> {
public:
    PartCollection(std::shared_ptr<PackageContent> content, std::vector<std::string> items)
        : m_content(std::move(content)), m_items(std::move(items)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return this->Answer(iid, out, static_cast<Collection*>(this), {&__uuidof(Collection)});
    }

    HRESULT STDMETHODCALLTYPE GetCount(UINT32* count) override
    {
        if (count == nullptr) {
            return E_POINTER;
        }
        *count = static_cast<UINT32>(m_items.size());
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetAt(UINT32 index, Item** item) override
    {
        if (item == nullptr) {
            return E_POINTER;
        }
        *item = nullptr;
        if (index >= m_items.size()) {
            return E_BOUNDS;
        }
        *item = new Element(m_content, m_items[index]);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE InsertAt(UINT32, Item*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RemoveAt(UINT32) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetAt(UINT32, Item*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Append(Item*) override { return E_NOTIMPL; }

private:
    std::shared_ptr<PackageContent> m_content;
    std::vector<std::string> m_items;
};

using PageReferenceCollection = PartCollection<IXpsOMPageReferenceCollection, IXpsOMPageReference, PageReference>;

class Document : public ComObject<IXpsOMDocument> {
public:
    Document(std::shared_ptr<PackageContent> content, std::string part) : m_content(std::move(content)), m_part(std::move(part)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, static_cast<IXpsOMDocument*>(this), {&__uuidof(IXpsOMPart), &__uuidof(IXpsOMDocument)});
    }

    HRESULT STDMETHODCALLTYPE GetPageReferences(IXpsOMPageReferenceCollection** pageReferences) override
    {
        if (pageReferences == nullptr) {
            return E_POINTER;
        }
        *pageReferences = nullptr;
        if (m_content->parts.find(PartKey(m_part)) == m_content->parts.end()) {
            return XPS_E_MISSING_PART_REFERENCE;
        }
        *pageReferences = new PageReferenceCollection(m_content, SourcesOf(*m_content, m_part, "PageContent"));
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetPartName(IOpcPartUri **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPartName(IOpcPartUri *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetOwner(IXpsOMDocumentSequence **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetPrintTicketResource(IXpsOMPrintTicketResource **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPrintTicketResource(IXpsOMPrintTicketResource *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDocumentStructureResource(IXpsOMDocumentStructureResource **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDocumentStructureResource(IXpsOMDocumentStructureResource *) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSignatureBlockResources(IXpsOMSignatureBlockResourceCollection **) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(IXpsOMDocument **) override { return E_NOTIMPL; }

private:
    std::shared_ptr<PackageContent> m_content;
    std::string m_part;
};

using DocumentCollection = PartCollection<IXpsOMDocumentCollection, IXpsOMDocument, Document>;

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
    DocumentSequence(IXpsOMPackage* owner, IXpsOMPrintTicketResource* ticket, std::shared_ptr<PackageContent> content,
                     std::string part)
        : m_owner(owner), m_ticket(ticket), m_content(std::move(content)), m_part(std::move(part))
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

    HRESULT STDMETHODCALLTYPE GetDocuments(IXpsOMDocumentCollection** documents) override
    {
        if (documents == nullptr) {
            return E_POINTER;
        }
        *documents = new DocumentCollection(m_content, SourcesOf(*m_content, m_part, "DocumentReference"));
        return S_OK;
    }

    void Detach() { m_owner = nullptr; }

    HRESULT STDMETHODCALLTYPE GetPartName(IOpcPartUri **/*partUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPartName(IOpcPartUri */*partUri*/) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPrintTicketResource(IXpsOMPrintTicketResource */*printTicketResource*/) override { return E_NOTIMPL; }

private:
    IXpsOMPackage* m_owner;  // not held: the package holds its sequence
    IXpsOMPrintTicketResource* m_ticket;
    std::shared_ptr<PackageContent> m_content;
    std::string m_part;
};

class Package : public ComObject<IXpsOMPackage> {
public:
    Package(IXpsOMPrintTicketResource* ticket, std::shared_ptr<PackageContent> content, const std::string& sequence)
        : m_content(content), m_sequence(new DocumentSequence(this, ticket, std::move(content), sequence)) {}
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
    // The package's bytes as read when no page changed, else the archive WriteArchive makes; see the
    // file's head. The file is created or replaced, as the SDK does.
    HRESULT STDMETHODCALLTYPE WriteToFile(LPCWSTR fileName, LPSECURITY_ATTRIBUTES securityAttributes, DWORD flagsAndAttributes,
                                          WINBOOL /*optimizeMarkupSize*/) override
    {
        if (fileName == nullptr) {
            return E_POINTER;
        }
        const std::vector<BYTE> bytes = m_content->changedPages.empty() ? m_content->zip : WriteArchive(*m_content);
        const HANDLE file = CreateFileW(fileName, GENERIC_WRITE, 0, securityAttributes, CREATE_ALWAYS,
                                        flagsAndAttributes == 0 ? FILE_ATTRIBUTE_NORMAL : flagsAndAttributes, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            return HRESULT_FROM_WIN32(GetLastError());
        }
        size_t at = 0;
        while (at < bytes.size()) {
            DWORD written = 0;
            const DWORD chunk = static_cast<DWORD>(bytes.size() - at > (1u << 20) ? (1u << 20) : bytes.size() - at);
            if (!WriteFile(file, bytes.data() + at, chunk, &written, nullptr) || written == 0) {
                const DWORD error = GetLastError();
                CloseHandle(file);
                return HRESULT_FROM_WIN32(error == 0 ? ERROR_WRITE_FAULT : error);
            }
            at += written;
        }
        if (!CloseHandle(file)) {
            return HRESULT_FROM_WIN32(GetLastError());
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE WriteToStream(ISequentialStream */*stream*/, WINBOOL /*optimizeMarkupSize*/) override { return E_NOTIMPL; }

private:
    std::shared_ptr<PackageContent> m_content;
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
        auto content = std::make_shared<PackageContent>();
        HRESULT hr = ReadParts(zip, content->parts, content->names);
        if (FAILED(hr)) {
            return hr;
        }
        const std::map<std::string, std::vector<BYTE>>& parts = content->parts;
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
        content->zip = std::move(zip);
        *package = new Package(ticket, std::move(content), sequence);
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
