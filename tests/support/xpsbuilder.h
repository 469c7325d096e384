// XPS jobs for tests, built in memory: N documents of M pages of chosen sizes, a job ticket on the
// sequence, XPS 1.0 or OpenXPS, relative or absolute part references, interleaved pages, extra
// resource parts. The parts stay editable before they are zipped, so a test can break a package in
// exactly one place.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <objidl.h>
#include <wrl/client.h>

namespace testsupport {

enum class XpsFlavor { Xps, OpenXps };

struct XpsPagePlan {
    float width = 816;  // 1/96 inch: 8.5 x 11 in
    float height = 1056;
    // PageContent Width and Height in the document, when given.
    std::optional<float> advisoryWidth;
    std::optional<float> advisoryHeight;
    // The FixedPage's children; a filled rectangle when empty.
    std::string content;
    // The part's item name below its document's folder ("Pages/1.fpage" when empty) and the
    // PageContent Source that refers to it (derived from the name when empty).
    std::string name;
    std::string source;
};

struct XpsDocumentPlan {
    std::vector<XpsPagePlan> pages;
    std::optional<std::string> ticket;  // a document-level print ticket's XML text
};

struct XpsExtraPart {
    std::string name;  // item name, "Resources/image.jpg"
    std::string data;
    std::string contentType;
    bool deflate = false;
};

struct XpsJobPlan {
    XpsFlavor flavor = XpsFlavor::Xps;
    std::vector<XpsDocumentPlan> documents;
    std::optional<std::string> jobTicket;  // the sequence's print ticket's XML text
    bool absoluteReferences = false;       // "/Documents/1/Pages/1.fpage" rather than "Pages/1.fpage"
    size_t interleaveBytes = 0;            // > 0: page parts stored as pieces of this size, interleaved
    std::vector<XpsExtraPart> extraParts;

    // documents x pages, every page width x height.
    static XpsJobPlan Pages(size_t documents, size_t pagesPerDocument, float width = 816, float height = 1056);
};

struct ZipEntry {
    std::string name;
    std::string data;
    bool deflate = true;
};

// The entries of an archive, in order, still to be zipped.
class ZipParts {
public:
    std::vector<ZipEntry> entries;

    ZipEntry* Find(const std::string& name);
    ZipEntry& Get(const std::string& name);  // fails the test when absent
    void Remove(const std::string& name);
    // Replaces the entry's data, or appends the entry.
    void Set(const std::string& name, std::string data, bool deflate = true);
    std::string Zip() const;
    void WriteTo(const std::filesystem::path& file) const;
};

ZipParts BuildXpsParts(const XpsJobPlan& plan);
std::string BuildXps(const XpsJobPlan& plan);

// The standard item names the builder uses.
std::string XpsPageItem(size_t document, size_t page);  // "Documents/1/Pages/1.fpage", from 0-based indexes
std::string XpsDocumentItem(size_t document);           // "Documents/1/FixedDocument.fdoc"
inline const std::string kXpsSequenceItem = "FixedDocumentSequence.fdseq";
inline const std::string kXpsJobTicketItem = "Metadata/Job_PT.xml";
inline const std::string kXpsSequenceRelsItem = "_rels/FixedDocumentSequence.fdseq.rels";

// A minimal Print Schema ticket holding the text in a parameter, so tests can tell tickets apart.
std::string SampleTicket(const std::string& marker);

// An IStream over a copy of the bytes, in global memory, positioned at 0.
Microsoft::WRL::ComPtr<IStream> MemoryStream(const std::string& bytes);
std::string StreamBytes(IStream* stream);  // from the current position to the end

// An archive as a reader sees it.
struct ZipItem {
    std::string name;
    std::string data;        // inflated
    std::string compressed;  // as stored
    std::int32_t method = 0;
    std::uint32_t crc = 0;
};
std::vector<ZipItem> ReadZip(const std::string& bytes);
std::string ReadFile(const std::filesystem::path& file);

}  // namespace testsupport
