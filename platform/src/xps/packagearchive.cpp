#include "xps/packagearchive.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "xps/markupreader.h"
#include "xps/partname.h"
#include "xps/xpsfailure.h"
#include "xps/xpsnames.h"

namespace platform::xps {
namespace {

constexpr std::string_view kContentTypesItem = "[Content_Types].xml";

std::uint16_t Le16(const unsigned char* p)
{
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
std::uint32_t Le32(const unsigned char* p)
{
    return static_cast<std::uint32_t>(Le16(p)) | (static_cast<std::uint32_t>(Le16(p + 2)) << 16);
}
std::uint64_t Le64(const unsigned char* p)
{
    return static_cast<std::uint64_t>(Le32(p)) | (static_cast<std::uint64_t>(Le32(p + 4)) << 32);
}

HRESULT OpenErrorOf(const zip_error_t* error, const SourceStatus& status)
{
    switch (zip_error_code_zip(error)) {
    case ZIP_ER_READ:
    case ZIP_ER_SEEK:
    case ZIP_ER_TELL:
        return FAILED(status.streamFailure) ? status.streamFailure : OPC_E_ZIP_CORRUPTED_ARCHIVE;
    case ZIP_ER_NOZIP:
        return OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY;
    case ZIP_ER_MULTIDISK:
        return OPC_E_ZIP_UNSUPPORTEDARCHIVE;
    case ZIP_ER_MEMORY:
        return E_OUTOFMEMORY;
    default:
        return OPC_E_ZIP_CORRUPTED_ARCHIVE;
    }
}

// Reads the end of central directory record before libzip does, because libzip allocates an entry
// for every one the record announces: a few bytes could otherwise claim millions.
void CheckEntryCount(zip_source_t* source, const SourceStatus& status)
{
    const auto failed = [&] { Fail(OpenErrorOf(zip_source_error(source), status)); };
    if (zip_source_open(source) < 0) {
        failed();
    }
    struct Closer {
        zip_source_t* source;
        ~Closer() { zip_source_close(source); }
    } closer{source};

    zip_stat_t stat;
    if (zip_source_stat(source, &stat) < 0 || (stat.valid & ZIP_STAT_SIZE) == 0) {
        failed();
    }
    constexpr zip_uint64_t kRecord = 22;
    constexpr zip_uint64_t kLocator = 20;
    // Most archives end with the record itself; only one with an archive comment needs the search
    // through the last 64 KB.
    std::vector<unsigned char> bytes;
    std::optional<zip_uint64_t> record;
    for (const zip_uint64_t wanted : {kRecord + kLocator, kRecord + 0xFFFF}) {
        const zip_uint64_t tail = std::min<zip_uint64_t>(stat.size, wanted);
        bytes.resize(tail);
        if (tail > 0 && (zip_source_seek(source, static_cast<zip_int64_t>(stat.size - tail), SEEK_SET) < 0 ||
                         zip_source_read(source, bytes.data(), tail) != static_cast<zip_int64_t>(tail))) {
            failed();
        }
        for (zip_uint64_t at = tail >= kRecord ? tail - kRecord + 1 : 0; at-- > 0;) {
            if (Le32(&bytes[at]) == 0x06054b50u) {
                record = at;
                break;
            }
        }
        if (record || tail == stat.size) {
            break;
        }
    }
    if (!record) {
        Fail(OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY);
    }
    zip_uint64_t entries = Le16(&bytes[*record + 10]);
    if (entries == 0xFFFF && *record >= kLocator && Le32(&bytes[*record - kLocator]) == 0x07064b50u) {
        const zip_uint64_t zip64Record = Le64(&bytes[*record - kLocator + 8]);
        unsigned char record64[56];
        if (zip_source_seek(source, static_cast<zip_int64_t>(zip64Record), SEEK_SET) < 0 ||
            zip_source_read(source, record64, sizeof record64) != static_cast<zip_int64_t>(sizeof record64) ||
            Le32(record64) != 0x06064b50u) {
            Fail(OPC_E_ZIP_CORRUPTED_ARCHIVE);
        }
        entries = Le64(record64 + 32);
    }
    if (entries > static_cast<zip_uint64_t>(kMaxArchiveEntries)) {
        Fail(OPC_E_ZIP_CENTRAL_DIRECTORY_TOO_LARGE);
    }
}

// "Documents/1/Pages/1.fpage/[3].piece" or ".../[7].last.piece": the number and whether it is last.
std::optional<std::pair<unsigned long, bool>> PieceOf(std::string_view segment)
{
    std::string lower(segment);
    for (char& c : lower) {
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
    if (lower.size() < 3 || lower.front() != '[') {
        return std::nullopt;
    }
    const size_t close = lower.find(']');
    if (close == std::string::npos || close == 1 || close > 10) {
        return std::nullopt;
    }
    // "[01]" would give piece 1 a second name.
    if (close > 2 && lower[1] == '0') {
        return std::nullopt;
    }
    unsigned long number = 0;
    for (size_t i = 1; i < close; ++i) {
        if (lower[i] < '0' || lower[i] > '9') {
            return std::nullopt;
        }
        number = number * 10 + static_cast<unsigned long>(lower[i] - '0');
    }
    const std::string_view suffix = std::string_view(lower).substr(close + 1);
    if (suffix == ".piece") {
        return std::make_pair(number, false);
    }
    if (suffix == ".last.piece") {
        return std::make_pair(number, true);
    }
    return std::nullopt;
}

// Keeps only what can apply to a part of this archive, so that a hostile list costs no memory.
class ContentTypesReader : public MarkupHandler {
public:
    ContentTypesReader(const std::map<std::string, PartEntry>& parts, const std::set<std::string>& extensions)
        : parts_(parts), extensions_(extensions)
    {
    }

    HRESULT StartElement(int depth, std::string_view uri, std::string_view localName,
                         const std::vector<MarkupAttribute>& attributes) override
    {
        if (depth == 0) {
            return uri == kContentTypesNamespace && localName == "Types" ? S_OK : OPC_E_INVALID_CONTENT_TYPE_XML;
        }
        if (depth > 1 || uri != kContentTypesNamespace) {
            return OPC_E_INVALID_CONTENT_TYPE_XML;
        }
        const std::string* type = FindAttribute(attributes, "ContentType");
        if (localName == "Default") {
            const std::string* extension = FindAttribute(attributes, "Extension");
            if (extension == nullptr || type == nullptr) {
                return OPC_E_INVALID_CONTENT_TYPE_XML;
            }
            std::string key = PartKey(*extension);
            if (extensions_.count(key) != 0) {
                defaults[std::move(key)] = *type;
            }
            return S_OK;
        }
        if (localName == "Override") {
            const std::string* partName = FindAttribute(attributes, "PartName");
            if (partName == nullptr || type == nullptr || partName->empty() || partName->front() != '/') {
                return OPC_E_INVALID_CONTENT_TYPE_XML;
            }
            std::string key = PartKey(*partName);
            if (parts_.count(key) != 0) {
                overrides[std::move(key)] = *type;
            }
            return S_OK;
        }
        return OPC_E_INVALID_CONTENT_TYPE_XML;
    }

    std::map<std::string, std::string> defaults;
    std::map<std::string, std::string> overrides;

private:
    const std::map<std::string, PartEntry>& parts_;
    const std::set<std::string>& extensions_;
};

class RelationshipsReader : public MarkupHandler {
public:
    RelationshipsReader(std::string_view source, const std::vector<std::string_view>& types)
        : source_(source), types_(types)
    {
    }

    HRESULT StartElement(int depth, std::string_view uri, std::string_view localName,
                         const std::vector<MarkupAttribute>& attributes) override
    {
        if (depth == 0) {
            return uri == kRelationshipsNamespace && localName == "Relationships" ? S_OK : OPC_E_INVALID_RELS_XML;
        }
        if (depth > 1 || uri != kRelationshipsNamespace || localName != "Relationship") {
            return OPC_E_INVALID_RELS_XML;
        }
        const std::string* id = FindAttribute(attributes, "Id");
        const std::string* type = FindAttribute(attributes, "Type");
        const std::string* target = FindAttribute(attributes, "Target");
        const std::string* mode = FindAttribute(attributes, "TargetMode");
        if (id == nullptr || type == nullptr || target == nullptr) {
            return OPC_E_INVALID_RELS_XML;
        }
        if (mode != nullptr && *mode != "Internal" && *mode != "External") {
            return OPC_E_INVALID_RELS_XML;
        }
        const bool wanted = std::any_of(types_.begin(), types_.end(), [&](std::string_view wantedType) {
            return EqualsIgnoringAsciiCase(*type, wantedType);
        });
        if (!wanted) {
            return S_OK;
        }
        Relationship relationship{*type, std::nullopt};
        if (mode == nullptr || *mode == "Internal") {
            relationship.target = ResolvePartReference(source_, *target);
        }
        relationships.push_back(std::move(relationship));
        return relationships.size() > 1 ? kEnough : S_OK;
    }

    // Stops the reading once a second relationship of the types is found; not a failure.
    static constexpr HRESULT kEnough = _HRESULT_TYPEDEF_(0x8000FFFEL);
    std::vector<Relationship> relationships;

private:
    std::string_view source_;
    const std::vector<std::string_view>& types_;
};

}  // namespace

std::shared_ptr<PackageArchive> PackageArchive::FromStream(IStream* stream)
{
    auto status = std::make_shared<SourceStatus>();
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = CreateStreamZipSource(stream, status, &error);
    zip_error_fini(&error);
    if (source == nullptr) {
        Fail(FAILED(status->streamFailure) ? status->streamFailure : E_OUTOFMEMORY);
    }
    return Open(source, status);
}

std::shared_ptr<PackageArchive> PackageArchive::FromFile(const std::string& hostPath)
{
    FILE* file = std::fopen(hostPath.c_str(), "rb");
    if (file == nullptr) {
        Fail(HRESULT_FROM_WIN32(errno == ENOENT ? ERROR_FILE_NOT_FOUND : Win32ErrorOfErrno(errno)));
    }
    struct stat status {};
    if (::fstat(fileno(file), &status) != 0 || S_ISDIR(status.st_mode)) {
        std::fclose(file);
        Fail(E_ACCESSDENIED);
    }
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_filep_create(file, 0, -1, &error);
    zip_error_fini(&error);
    if (source == nullptr) {
        std::fclose(file);
        Fail(E_OUTOFMEMORY);
    }
    auto archive = Open(source, std::make_shared<SourceStatus>());
    archive->sourceFile_ = std::make_pair(status.st_dev, status.st_ino);
    return archive;
}

std::shared_ptr<PackageArchive> PackageArchive::Open(zip_source_t* source, std::shared_ptr<SourceStatus> status)
{
    try {
        CheckEntryCount(source, *status);
    } catch (...) {
        zip_source_free(source);
        throw;
    }
    zip_error_t error;
    zip_error_init(&error);
    zip_t* zip = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (zip == nullptr) {
        const HRESULT hr = OpenErrorOf(&error, *status);
        zip_error_fini(&error);
        zip_source_free(source);
        Fail(hr);
    }
    zip_error_fini(&error);
    std::shared_ptr<PackageArchive> archive(new PackageArchive);
    archive->zip_ = zip;
    archive->status_ = std::move(status);
    archive->Index();
    return archive;
}

PackageArchive::~PackageArchive()
{
    if (zip_ != nullptr) {
        zip_discard(zip_);
    }
}

void PackageArchive::Index()
{
    struct Piece {
        unsigned long number;
        bool last;
        zip_uint64_t index;
    };
    // Keyed by the entry they make up; parts_ is a map, so the entries stay where they are.
    std::map<PartEntry*, std::vector<Piece>> pieces;
    const zip_int64_t count = zip_get_num_entries(zip_, 0);
    items_.resize(static_cast<size_t>(std::max<zip_int64_t>(count, 0)));
    std::vector<std::string> keys(items_.size());
    for (zip_uint64_t index = 0; index < items_.size(); ++index) {
        const char* raw = zip_get_name(zip_, index, ZIP_FL_ENC_RAW);
        const char* decoded = zip_get_name(zip_, index, 0);
        if (raw == nullptr || decoded == nullptr) {
            Fail(ReadErrorOf(zip_get_error(zip_)));
        }
        items_[index].rawName = raw;
        const std::string_view name = decoded;
        if (name.empty() || name.back() == '/') {
            continue;
        }
        const size_t slash = name.rfind('/');
        const auto piece =
            slash == std::string_view::npos || slash == 0 ? std::nullopt : PieceOf(name.substr(slash + 1));
        const std::string_view itemName = piece ? name.substr(0, slash) : name;
        const std::string_view rawName = raw;
        const std::string_view rawItemName = piece ? rawName.substr(0, rawName.rfind('/')) : rawName;
        PartEntry* entry = nullptr;
        bool added = false;
        // The content types stream is no part, but a producer may interleave it all the same.
        if (EqualsIgnoringAsciiCase(itemName, kContentTypesItem)) {
            added = !contentTypesItem_;
            if (added) {
                contentTypesItem_.emplace().name = "/" + std::string(kContentTypesItem);
            }
            entry = &*contentTypesItem_;
        } else {
            const std::string partName = "/" + std::string(itemName);
            keys[index] = PartKey(partName);
            extensions_.insert(ExtensionOf(partName));
            const auto inserted = parts_.try_emplace(keys[index]);
            entry = &inserted.first->second;
            added = inserted.second;
            if (added) {
                entry->name = partName;
            }
        }
        if (!added && (!piece || !entry->interleaved)) {
            Fail(OPC_E_DUPLICATE_PART);
        }
        if (added) {
            entry->interleaved = piece.has_value();
            entry->itemName = std::string(rawItemName);
        }
        if (piece) {
            pieces[entry].push_back(Piece{piece->first, piece->second, index});
        } else {
            entry->items.push_back(index);
        }
    }
    // A damaged part is refused only when it is read, as any other damage to a part's data is.
    for (auto& [entry, list] : pieces) {
        std::sort(list.begin(), list.end(), [](const Piece& a, const Piece& b) { return a.number < b.number; });
        for (size_t i = 0; i < list.size(); ++i) {
            if (i > 0 && list[i].number == list[i - 1].number) {
                entry->defect = OPC_E_DUPLICATE_PIECE;
            } else if (list[i].number != i) {
                entry->defect = OPC_E_MISSING_PIECE;
            } else if (list[i].last != (i + 1 == list.size())) {
                entry->defect = list[i].last ? OPC_E_INVALID_PIECE : OPC_E_MISSING_PIECE;
            }
            entry->items.push_back(list[i].index);
            if (FAILED(entry->defect)) {
                break;
            }
        }
        const zip_uint64_t first = *std::min_element(entry->items.begin(), entry->items.end());
        for (const auto& piece : list) {
            items_[piece.index].firstPiece = piece.index == first;
        }
    }
    for (zip_uint64_t index = 0; index < items_.size(); ++index) {
        if (!keys[index].empty()) {
            items_[index].part = &parts_.at(keys[index]);
        }
    }
}

const PartEntry* PackageArchive::Find(std::string_view partName) const
{
    const auto found = parts_.find(PartKey(partName));
    return found == parts_.end() ? nullptr : &found->second;
}

void PackageArchive::LoadContentTypes()
{
    if (contentTypesLoaded_) {
        return;
    }
    if (!contentTypesItem_) {
        Fail(OPC_E_MISSING_CONTENT_TYPES);
    }
    ContentTypesReader reader(parts_, extensions_);
    ReadMarkupOf(*contentTypesItem_, reader, OPC_E_INVALID_CONTENT_TYPE_XML);
    defaults_ = std::move(reader.defaults);
    overrides_ = std::move(reader.overrides);
    contentTypesLoaded_ = true;
}

std::string PackageArchive::ContentTypeOf(const PartEntry& part)
{
    LoadContentTypes();
    const auto overridden = overrides_.find(PartKey(part.name));
    if (overridden != overrides_.end()) {
        return overridden->second;
    }
    const auto byExtension = defaults_.find(ExtensionOf(part.name));
    return byExtension == defaults_.end() ? std::string() : byExtension->second;
}

void PackageArchive::RequireContentType(const PartEntry& part, std::string_view contentType)
{
    if (!SameMediaType(ContentTypeOf(part), contentType)) {
        Fail(XPS_E_UNEXPECTED_CONTENT_TYPE);
    }
}

std::vector<Relationship> PackageArchive::RelationshipsOf(std::string_view sourcePart,
                                                          std::vector<std::string_view> types)
{
    const PartEntry* part = Find(RelationshipsPartOf(sourcePart));
    if (part == nullptr) {
        return {};
    }
    RelationshipsReader reader(sourcePart, types);
    try {
        ReadMarkupOf(*part, reader, OPC_E_INVALID_RELS_XML);
    } catch (const XpsFailure& failure) {
        if (failure.hr != RelationshipsReader::kEnough) {
            throw;
        }
    }
    return std::move(reader.relationships);
}

std::string PackageArchive::ReadAll(const PartEntry& part) const
{
    PartReader reader(*this, part);
    std::string bytes;
    std::vector<char> buffer(64 * 1024);
    while (const size_t count = reader.Read(buffer.data(), buffer.size())) {
        bytes.append(buffer.data(), count);
    }
    return bytes;
}

void PackageArchive::ReadMarkupOf(const PartEntry& part, MarkupHandler& handler, HRESULT markupError) const
{
    PartReader reader(*this, part);
    ReadMarkup([&reader](char* buffer, size_t size) { return reader.Read(buffer, size); }, handler, markupError);
}

HRESULT PackageArchive::ReadErrorOf(const zip_error_t* error) const
{
    switch (zip_error_code_zip(error)) {
    case ZIP_ER_READ:
    case ZIP_ER_SEEK:
    case ZIP_ER_TELL:
        return FAILED(status_->streamFailure) ? status_->streamFailure : OPC_E_ZIP_CORRUPTED_ARCHIVE;
    case ZIP_ER_CRC:
    case ZIP_ER_ZLIB:
    case ZIP_ER_COMPRESSED_DATA:
        return OPC_E_ZIP_DECOMPRESSION_FAILED;
    case ZIP_ER_INCONS:
    case ZIP_ER_EOF:
        return OPC_E_ZIP_INCONSISTENT_FILEITEM;
    case ZIP_ER_COMPNOTSUPP:
    case ZIP_ER_ENCRNOTSUPP:
    case ZIP_ER_MULTIDISK:
        return OPC_E_ZIP_UNSUPPORTEDARCHIVE;
    case ZIP_ER_MEMORY:
        return E_OUTOFMEMORY;
    default:
        return E_FAIL;
    }
}

PartReader::PartReader(const PackageArchive& archive, const PartEntry& part) : archive_(archive), part_(part)
{
    if (FAILED(part.defect)) {
        Fail(part.defect);
    }
    for (const zip_uint64_t index : part.items) {
        zip_stat_t stat;
        if (zip_stat_index(archive.Zip(), index, 0, &stat) != 0) {
            Fail(archive.ReadErrorOf(zip_get_error(archive.Zip())));
        }
        const zip_uint64_t needed = ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_COMP_METHOD;
        if ((stat.valid & needed) != needed) {
            Fail(OPC_E_ZIP_INCONSISTENT_FILEITEM);
        }
        if ((stat.valid & ZIP_STAT_ENCRYPTION_METHOD) != 0 && stat.encryption_method != ZIP_EM_NONE) {
            Fail(OPC_E_ZIP_UNSUPPORTEDARCHIVE);
        }
        if (stat.size > kMaxPartBytes || total_ + stat.size > kMaxPartBytes) {
            Fail(HRESULT_FROM_WIN32(kErrorFileTooLarge));
        }
        if (stat.comp_method == ZIP_CM_STORE) {
            if (stat.size != stat.comp_size) {
                Fail(OPC_E_ZIP_INCORRECT_DATA_SIZE);
            }
        } else if (stat.comp_method == ZIP_CM_DEFLATE) {
            if (stat.size / kMaxDeflateRatio > stat.comp_size) {
                Fail(OPC_E_ZIP_INCORRECT_DATA_SIZE);
            }
        } else {
            Fail(OPC_E_ZIP_UNSUPPORTEDARCHIVE);  // OPC allows nothing else
        }
        sizes_.push_back(stat.size);
        total_ += stat.size;
    }
}

PartReader::~PartReader()
{
    CloseItem();
}

void PartReader::CloseItem()
{
    if (file_ != nullptr) {
        zip_fclose(file_);
        file_ = nullptr;
    }
}

size_t PartReader::Read(char* buffer, size_t size)
{
    while (item_ < part_.items.size()) {
        if (file_ == nullptr) {
            file_ = zip_fopen_index(archive_.Zip(), part_.items[item_], 0);
            if (file_ == nullptr) {
                Fail(archive_.ReadErrorOf(zip_get_error(archive_.Zip())));
            }
            itemRead_ = 0;
        }
        const zip_int64_t count = zip_fread(file_, buffer, size);
        if (count < 0) {
            Fail(archive_.ReadErrorOf(zip_file_get_error(file_)));
        }
        itemRead_ += static_cast<zip_uint64_t>(count);
        // An entry that inflates past what it declares is refused at once, however much it holds.
        if (itemRead_ > sizes_[item_]) {
            Fail(OPC_E_ZIP_INCORRECT_DATA_SIZE);
        }
        if (count > 0) {
            return static_cast<size_t>(count);
        }
        if (itemRead_ != sizes_[item_]) {
            Fail(OPC_E_ZIP_INCORRECT_DATA_SIZE);
        }
        CloseItem();
        ++item_;
    }
    return 0;
}

}  // namespace platform::xps
