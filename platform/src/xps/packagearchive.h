// The ZIP archive under an XPS package, read in place. Opening reads only the central directory;
// a part is inflated when someone asks for it, within limits that keep a hostile job from
// exhausting memory or time.
#pragma once

#include <sys/types.h>

#include <map>
#include <set>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <zip.h>

#include <objidl.h>

#include "xps/markupreader.h"
#include "xps/zipstreamsource.h"

namespace platform::xps {

// No part inflates to more than this.
inline constexpr zip_uint64_t kMaxPartBytes = 256ull << 20;
// Deflate never shrinks data more than about 1032:1; a declared size beyond that is a lie.
inline constexpr zip_uint64_t kMaxDeflateRatio = 1032;
inline constexpr zip_int64_t kMaxArchiveEntries = 200000;

struct PartEntry {
    std::string name;                 // the part name, "/Documents/1/FixedDocument.fdoc"
    std::string itemName;             // the ZIP item name that holds it (for pieces, their common prefix)
    std::vector<zip_uint64_t> items;  // the archive entries with its data, in order
    bool interleaved = false;
    HRESULT defect = S_OK;  // a piece missing, doubled or out of place
};

struct Relationship {
    std::string type;
    std::optional<std::string> target;  // the part it names; none for an external target
};

// What one archive entry is to the package, for writing the package again.
struct ArchiveItem {
    std::string rawName;              // the entry's name as stored
    const PartEntry* part = nullptr;  // null for a folder entry and for [Content_Types].xml
    bool firstPiece = true;           // the first of its part's pieces met in the archive, or not a piece
};

class PackageArchive {
public:
    // Both throw XpsFailure; the archive keeps a reference on the stream, or the file open.
    static std::shared_ptr<PackageArchive> FromStream(IStream* stream);
    static std::shared_ptr<PackageArchive> FromFile(const std::string& hostPath);
    ~PackageArchive();
    PackageArchive(const PackageArchive&) = delete;
    PackageArchive& operator=(const PackageArchive&) = delete;

    const PartEntry* Find(std::string_view partName) const;
    // The part's content type by [Content_Types].xml, which is read on first use.
    std::string ContentTypeOf(const PartEntry& part);
    void RequireContentType(const PartEntry& part, std::string_view contentType);
    // The relationships of one of the types whose source is the part ("/" for the package); none
    // when it has no relationships part. At most two: callers tell none, one and several apart.
    std::vector<Relationship> RelationshipsOf(std::string_view sourcePart, std::vector<std::string_view> types);
    size_t PartCount() const { return parts_.size(); }

    std::string ReadAll(const PartEntry& part) const;
    void ReadMarkupOf(const PartEntry& part, MarkupHandler& handler, HRESULT markupError) const;

    zip_t* Zip() const { return zip_; }
    const std::vector<ArchiveItem>& Items() const { return items_; }
    // The HRESULT for a libzip error met while reading the archive.
    HRESULT ReadErrorOf(const zip_error_t* error) const;
    // The device and inode of the file the archive was opened from.
    std::optional<std::pair<dev_t, ino_t>> SourceFile() const { return sourceFile_; }

private:
    PackageArchive() = default;
    static std::shared_ptr<PackageArchive> Open(zip_source_t* source, std::shared_ptr<SourceStatus> status);
    void Index();
    void LoadContentTypes();

    zip_t* zip_ = nullptr;
    std::shared_ptr<SourceStatus> status_;
    std::optional<std::pair<dev_t, ino_t>> sourceFile_;
    std::map<std::string, PartEntry> parts_;  // by part key
    std::set<std::string> extensions_;        // of the part names, lower-cased
    std::vector<ArchiveItem> items_;          // by archive index
    std::optional<PartEntry> contentTypesItem_;
    bool contentTypesLoaded_ = false;
    std::map<std::string, std::string> defaults_;   // extension -> content type
    std::map<std::string, std::string> overrides_;  // part key -> content type
};

// Reads one part from its start, piece after piece, checking each entry's declared sizes as it goes.
class PartReader {
public:
    // Throws XpsFailure when the part is damaged or would be too large before inflating anything.
    PartReader(const PackageArchive& archive, const PartEntry& part);
    ~PartReader();
    PartReader(const PartReader&) = delete;
    PartReader& operator=(const PartReader&) = delete;

    // Fills the buffer with the next bytes; 0 at the end. Throws XpsFailure.
    size_t Read(char* buffer, size_t size);
    zip_uint64_t Size() const { return total_; }

private:
    void CloseItem();

    const PackageArchive& archive_;
    const PartEntry& part_;
    std::vector<zip_uint64_t> sizes_;
    zip_uint64_t total_ = 0;
    size_t item_ = 0;
    zip_file_t* file_ = nullptr;
    zip_uint64_t itemRead_ = 0;
};

}  // namespace platform::xps
