#include "xpsbuilder.h"

#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <gtest/gtest.h>
#include <zip.h>

#include <objbase.h>

namespace testsupport {
namespace {

const char* const kContentTypesNs = "http://schemas.openxmlformats.org/package/2006/content-types";
const char* const kRelationshipsNs = "http://schemas.openxmlformats.org/package/2006/relationships";

struct Flavor {
    const char* ns;
    const char* fixedRepresentation;
    const char* printTicket;
};

Flavor FlavorOf(XpsFlavor flavor)
{
    if (flavor == XpsFlavor::OpenXps) {
        return {"http://schemas.openxps.org/oxps/v1.0", "http://schemas.openxps.org/oxps/v1.0/fixedrepresentation",
                "http://schemas.openxps.org/oxps/v1.0/printticket"};
    }
    return {"http://schemas.microsoft.com/xps/2005/06", "http://schemas.microsoft.com/xps/2005/06/fixedrepresentation",
            "http://schemas.microsoft.com/xps/2005/06/printticket"};
}

std::string Number(float value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return std::string(buffer, result.ptr);
}

std::string Relationships(const std::string& type, const std::string& target)
{
    return std::string("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Relationships xmlns=\"") + kRelationshipsNs +
           "\">\n  <Relationship Id=\"R1\" Type=\"" + type + "\" Target=\"" + target + "\"/>\n</Relationships>\n";
}

// The reference from a part in `folder` (no leading or trailing slash) to the item.
std::string Reference(bool absolute, const std::string& folder, const std::string& item)
{
    if (absolute) {
        return "/" + item;
    }
    if (!folder.empty() && item.rfind(folder + "/", 0) == 0) {
        return item.substr(folder.size() + 1);
    }
    return item;
}

std::vector<std::string> Pieces(const std::string& data, size_t size)
{
    std::vector<std::string> pieces;
    for (size_t at = 0; at < data.size() || pieces.empty(); at += size) {
        pieces.push_back(data.substr(at, size));
    }
    return pieces;
}

struct ZipArchive {
    zip_t* zip = nullptr;
    ~ZipArchive()
    {
        if (zip != nullptr) {
            zip_discard(zip);
        }
    }
};

}  // namespace

XpsJobPlan XpsJobPlan::Pages(size_t documents, size_t pagesPerDocument, float width, float height)
{
    XpsJobPlan plan;
    for (size_t d = 0; d < documents; ++d) {
        XpsDocumentPlan document;
        for (size_t p = 0; p < pagesPerDocument; ++p) {
            XpsPagePlan page;
            page.width = width;
            page.height = height;
            document.pages.push_back(page);
        }
        plan.documents.push_back(document);
    }
    return plan;
}

std::string XpsPageItem(size_t document, size_t page)
{
    return "Documents/" + std::to_string(document + 1) + "/Pages/" + std::to_string(page + 1) + ".fpage";
}

std::string XpsDocumentItem(size_t document)
{
    return "Documents/" + std::to_string(document + 1) + "/FixedDocument.fdoc";
}

std::string SampleTicket(const std::string& marker)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<psf:PrintTicket xmlns:psf=\"http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework\" "
           "xmlns:psk=\"http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords\" "
           "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
           "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" version=\"1\">\n"
           "  <psf:ParameterInit name=\"psk:JobComment\">\n"
           "    <psf:Value xsi:type=\"xsd:string\">" +
           marker +
           "</psf:Value>\n"
           "  </psf:ParameterInit>\n"
           "</psf:PrintTicket>\n";
}

ZipParts BuildXpsParts(const XpsJobPlan& plan)
{
    const Flavor flavor = FlavorOf(plan.flavor);
    const bool absolute = plan.absoluteReferences;
    ZipParts parts;
    std::string overrides;
    const auto override = [&](const std::string& item, const std::string& type) {
        overrides += "  <Override PartName=\"/" + item + "\" ContentType=\"" + type + "\"/>\n";
    };
    const std::string ticketType = "application/vnd.ms-printing.printticket+xml";

    parts.Set("_rels/.rels", Relationships(flavor.fixedRepresentation, Reference(absolute, "", kXpsSequenceItem)));

    std::string sequence = std::string("<FixedDocumentSequence xmlns=\"") + flavor.ns + "\">\n";
    for (size_t d = 0; d < plan.documents.size(); ++d) {
        sequence += "  <DocumentReference Source=\"" + Reference(absolute, "", XpsDocumentItem(d)) + "\"/>\n";
    }
    sequence += "</FixedDocumentSequence>\n";
    parts.Set(kXpsSequenceItem, sequence);
    if (plan.jobTicket) {
        parts.Set(kXpsSequenceRelsItem, Relationships(flavor.printTicket, Reference(absolute, "", kXpsJobTicketItem)));
        parts.Set(kXpsJobTicketItem, *plan.jobTicket);
        override(kXpsJobTicketItem, ticketType);
    }

    std::vector<std::vector<ZipEntry>> pieces;  // per interleaved page
    for (size_t d = 0; d < plan.documents.size(); ++d) {
        const XpsDocumentPlan& documentPlan = plan.documents[d];
        const std::string folder = "Documents/" + std::to_string(d + 1);
        std::string document = std::string("<FixedDocument xmlns=\"") + flavor.ns + "\">\n";
        std::vector<ZipEntry> pages;
        for (size_t p = 0; p < documentPlan.pages.size(); ++p) {
            const XpsPagePlan& page = documentPlan.pages[p];
            const std::string item = page.name.empty() ? XpsPageItem(d, p) : folder + "/" + page.name;
            const std::string source = page.source.empty() ? Reference(absolute, folder, item) : page.source;
            document += "  <PageContent Source=\"" + source + "\"";
            if (page.advisoryWidth) {
                document += " Width=\"" + Number(*page.advisoryWidth) + "\"";
            }
            if (page.advisoryHeight) {
                document += " Height=\"" + Number(*page.advisoryHeight) + "\"";
            }
            document += "/>\n";
            const std::string content =
                page.content.empty() ? "  <Path Data=\"M 48,48 L 240,48 240,240 48,240 Z\" Fill=\"#FF336699\"/>\n"
                                     : page.content;
            pages.push_back(ZipEntry{item,
                                     std::string("<FixedPage xmlns=\"") + flavor.ns + "\" Width=\"" +
                                         Number(page.width) + "\" Height=\"" + Number(page.height) +
                                         "\" xml:lang=\"en-US\">\n" + content + "</FixedPage>\n",
                                     true});
        }
        document += "</FixedDocument>\n";
        parts.Set(XpsDocumentItem(d), document);
        if (documentPlan.ticket) {
            const std::string ticketItem = folder + "/Metadata/Document_PT.xml";
            parts.Set(folder + "/_rels/FixedDocument.fdoc.rels",
                      Relationships(flavor.printTicket, Reference(absolute, folder, ticketItem)));
            parts.Set(ticketItem, *documentPlan.ticket);
            override(ticketItem, ticketType);
        }
        for (auto& page : pages) {
            if (plan.interleaveBytes == 0) {
                parts.entries.push_back(std::move(page));
                continue;
            }
            const auto split = Pieces(page.data, plan.interleaveBytes);
            std::vector<ZipEntry> entries;
            for (size_t i = 0; i < split.size(); ++i) {
                const std::string suffix = i + 1 == split.size() ? "].last.piece" : "].piece";
                entries.push_back(ZipEntry{page.name + "/[" + std::to_string(i) + suffix, split[i], true});
            }
            pieces.push_back(std::move(entries));
        }
    }
    // Interleaved producers write a little of each page in turn.
    for (size_t round = 0;; ++round) {
        bool any = false;
        for (auto& entries : pieces) {
            if (round < entries.size()) {
                parts.entries.push_back(entries[round]);
                any = true;
            }
        }
        if (!any) {
            break;
        }
    }
    for (const auto& extra : plan.extraParts) {
        parts.Set(extra.name, extra.data, extra.deflate);
        override(extra.name, extra.contentType);
    }

    const std::string contentTypes =
        std::string("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Types xmlns=\"") + kContentTypesNs + "\">\n" +
        "  <Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>\n"
        "  <Default Extension=\"fdseq\" ContentType=\"application/vnd.ms-package.xps-fixeddocumentsequence+xml\"/>\n"
        "  <Default Extension=\"fdoc\" ContentType=\"application/vnd.ms-package.xps-fixeddocument+xml\"/>\n"
        "  <Default Extension=\"fpage\" ContentType=\"application/vnd.ms-package.xps-fixedpage+xml\"/>\n" +
        overrides + "</Types>\n";
    parts.entries.insert(parts.entries.begin(), ZipEntry{"[Content_Types].xml", contentTypes, true});
    return parts;
}

std::string BuildXps(const XpsJobPlan& plan)
{
    return BuildXpsParts(plan).Zip();
}

ZipEntry* ZipParts::Find(const std::string& name)
{
    for (auto& entry : entries) {
        if (entry.name == name) {
            return &entry;
        }
    }
    return nullptr;
}

ZipEntry& ZipParts::Get(const std::string& name)
{
    ZipEntry* entry = Find(name);
    if (entry == nullptr) {
        ADD_FAILURE() << "no entry " << name;
        throw std::runtime_error("no entry " + name);
    }
    return *entry;
}

void ZipParts::Remove(const std::string& name)
{
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if (entry->name == name) {
            entries.erase(entry);
            return;
        }
    }
    ADD_FAILURE() << "no entry " << name;
}

void ZipParts::Set(const std::string& name, std::string data, bool deflate)
{
    if (ZipEntry* entry = Find(name)) {
        entry->data = std::move(data);
        entry->deflate = deflate;
        return;
    }
    entries.push_back(ZipEntry{name, std::move(data), deflate});
}

std::string ZipParts::Zip() const
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* buffer = zip_source_buffer_create(nullptr, 0, 0, &error);
    if (buffer == nullptr) {
        throw std::runtime_error("zip_source_buffer_create");
    }
    zip_t* zip = zip_open_from_source(buffer, ZIP_TRUNCATE, &error);
    if (zip == nullptr) {
        zip_source_free(buffer);
        throw std::runtime_error("zip_open_from_source");
    }
    zip_source_keep(buffer);
    for (const auto& entry : entries) {
        zip_source_t* data = zip_source_buffer(zip, entry.data.data(), entry.data.size(), 0);
        const zip_int64_t index = data == nullptr ? -1 : zip_file_add(zip, entry.name.c_str(), data, ZIP_FL_ENC_UTF_8);
        if (index < 0 || zip_set_file_compression(zip, static_cast<zip_uint64_t>(index),
                                                  entry.deflate ? ZIP_CM_DEFLATE : ZIP_CM_STORE, 0) != 0) {
            zip_discard(zip);
            zip_source_free(buffer);
            throw std::runtime_error("cannot add " + entry.name);
        }
    }
    if (zip_close(zip) != 0) {
        zip_discard(zip);
        zip_source_free(buffer);
        throw std::runtime_error("zip_close");
    }
    std::string bytes;
    zip_stat_t stat;
    if (zip_source_stat(buffer, &stat) == 0 && zip_source_open(buffer) == 0) {
        bytes.resize(stat.size);
        const zip_int64_t read = zip_source_read(buffer, bytes.data(), bytes.size());
        bytes.resize(read < 0 ? 0 : static_cast<size_t>(read));
        zip_source_close(buffer);
    }
    zip_source_free(buffer);
    zip_error_fini(&error);
    return bytes;
}

void ZipParts::WriteTo(const std::filesystem::path& file) const
{
    const std::string bytes = Zip();
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

Microsoft::WRL::ComPtr<IStream> MemoryStream(const std::string& bytes)
{
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    void* data = GlobalLock(memory);
    if (!bytes.empty()) {
        std::memcpy(data, bytes.data(), bytes.size());
    }
    GlobalUnlock(memory);
    Microsoft::WRL::ComPtr<IStream> stream;
    if (FAILED(CreateStreamOnHGlobal(memory, TRUE, &stream))) {
        GlobalFree(memory);
        throw std::runtime_error("CreateStreamOnHGlobal");
    }
    return stream;
}

std::string StreamBytes(IStream* stream)
{
    std::string bytes;
    char buffer[4096];
    ULONG read = 0;
    while (SUCCEEDED(stream->Read(buffer, sizeof buffer, &read)) && read > 0) {
        bytes.append(buffer, read);
    }
    return bytes;
}

std::vector<ZipItem> ReadZip(const std::string& bytes)
{
    std::vector<ZipItem> items;
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error);
    ZipArchive archive;
    archive.zip = source == nullptr ? nullptr : zip_open_from_source(source, ZIP_RDONLY, &error);
    if (archive.zip == nullptr) {
        if (source != nullptr) {
            zip_source_free(source);
        }
        ADD_FAILURE() << "not a readable archive: " << zip_error_strerror(&error);
        zip_error_fini(&error);
        return items;
    }
    zip_error_fini(&error);
    const auto read = [&](zip_uint64_t index, zip_flags_t flags, zip_uint64_t size) {
        std::string data(size, '\0');
        zip_file_t* file = zip_fopen_index(archive.zip, index, flags);
        const zip_int64_t count = file == nullptr ? -1 : zip_fread(file, data.data(), size);
        if (file == nullptr || count != static_cast<zip_int64_t>(size)) {
            ADD_FAILURE() << "cannot read entry " << index << ": " << zip_strerror(archive.zip);
        }
        if (file != nullptr) {
            zip_fclose(file);
        }
        return data;
    };
    for (zip_int64_t index = 0; index < zip_get_num_entries(archive.zip, 0); ++index) {
        zip_stat_t stat;
        zip_stat_index(archive.zip, static_cast<zip_uint64_t>(index), 0, &stat);
        ZipItem item;
        item.name = stat.name;
        item.method = stat.comp_method;
        item.crc = stat.crc;
        item.data = read(static_cast<zip_uint64_t>(index), 0, stat.size);
        item.compressed = read(static_cast<zip_uint64_t>(index), ZIP_FL_COMPRESSED, stat.comp_size);
        items.push_back(std::move(item));
    }
    return items;
}

std::string ReadFile(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace testsupport
