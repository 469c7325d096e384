#include "xps/packagewriter.h"

#include <list>
#include <memory>
#include <string>

#include "xps/markupeditor.h"
#include "xps/xpsfailure.h"
#include "xps/zipstreamsource.h"

namespace platform::xps {
namespace {

class ArchiveWriter {
public:
    ArchiveWriter(const PackageArchive& source, int fd) : source_(source), status_(std::make_shared<SourceStatus>())
    {
        zip_error_t error;
        zip_error_init(&error);
        zip_source_t* sink = CreateFileZipSink(fd, status_, &error);
        if (sink != nullptr) {
            zip_ = zip_open_from_source(sink, ZIP_CREATE | ZIP_TRUNCATE, &error);
            if (zip_ == nullptr) {
                zip_source_free(sink);
            }
        }
        zip_error_fini(&error);
        if (zip_ == nullptr) {
            Fail(E_OUTOFMEMORY);
        }
    }
    ~ArchiveWriter()
    {
        if (zip_ != nullptr) {
            zip_discard(zip_);
        }
    }
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;

    // The entry as it is stored: its compressed bytes are copied, never inflated.
    void Copy(zip_uint64_t index, const zip_stat_t& stat)
    {
        const std::string& name = source_.Items()[index].rawName;
        if (!name.empty() && name.back() == '/') {
            Added(zip_dir_add(zip_, name.c_str(), ZIP_FL_ENC_GUESS), stat);
            return;
        }
        zip_source_t* data = zip_source_zip(zip_, source_.Zip(), index, ZIP_FL_COMPRESSED, 0, -1);
        const zip_int64_t added = AddFile(name, data);
        // Telling libzip the method the data already has keeps it from compressing it again.
        if (zip_set_file_compression(zip_, static_cast<zip_uint64_t>(added), stat.comp_method, 0) != 0) {
            Failed();
        }
        Added(added, stat);
    }

    void Add(const std::string& name, std::string bytes, const zip_stat_t& stat)
    {
        const std::string& kept = rewritten_.emplace_back(std::move(bytes));
        zip_source_t* data = zip_source_buffer(zip_, kept.data(), kept.size(), 0);
        const zip_int64_t added = AddFile(name, data);
        if (zip_set_file_compression(zip_, static_cast<zip_uint64_t>(added), ZIP_CM_DEFLATE, 0) != 0) {
            Failed();
        }
        Added(added, stat);
    }

    void Close()
    {
        if (zip_close(zip_) != 0) {
            Failed();
        }
        zip_ = nullptr;
    }

private:
    zip_int64_t AddFile(const std::string& name, zip_source_t* data)
    {
        if (data == nullptr) {
            Failed();
        }
        const zip_int64_t added = zip_file_add(zip_, name.c_str(), data, ZIP_FL_ENC_GUESS);
        if (added < 0) {
            zip_source_free(data);
            Failed();
        }
        return added;
    }

    void Added(zip_int64_t index, const zip_stat_t& stat)
    {
        if (index < 0) {
            Failed();
        }
        if ((stat.valid & ZIP_STAT_MTIME) != 0) {
            zip_file_set_mtime(zip_, static_cast<zip_uint64_t>(index), stat.mtime, 0);
        }
    }

    [[noreturn]] void Failed()
    {
        const zip_error_t* error = zip_get_error(zip_);
        switch (zip_error_code_zip(error)) {
        case ZIP_ER_WRITE:
        case ZIP_ER_SEEK:
        case ZIP_ER_TELL:
        case ZIP_ER_REMOVE:
            if (status_->writeErrno != 0) {
                Fail(HRESULT_FROM_WIN32(Win32ErrorOfErrno(status_->writeErrno)));
            }
            break;
        case ZIP_ER_MEMORY:
            Fail(E_OUTOFMEMORY);
        case ZIP_ER_COMPNOTSUPP:
            Fail(OPC_E_ZIP_COMPRESSION_FAILED);
        default:
            break;
        }
        Fail(source_.ReadErrorOf(error));
    }

    const PackageArchive& source_;
    std::shared_ptr<SourceStatus> status_;
    zip_t* zip_ = nullptr;
    std::list<std::string> rewritten_;  // libzip reads them when it closes
};

std::string Rewritten(const PackageArchive& archive, const PartEntry& part, std::string_view localName,
                      const std::map<size_t, XPS_SIZE>& sizes)
{
    std::map<size_t, AttributeValues> edits;
    for (const auto& [ordinal, size] : sizes) {
        edits[ordinal] = {{"Width", FormatXpsNumber(size.width)}, {"Height", FormatXpsNumber(size.height)}};
    }
    auto edited = EditAttributes(archive.ReadAll(part), localName, edits);
    if (!edited) {
        Fail(XPS_E_INVALID_MARKUP);
    }
    return std::move(*edited);
}

}  // namespace

void WritePackage(const PackageArchive& archive, const PackageEdits& edits, int fd)
{
    ArchiveWriter writer(archive, fd);
    const auto& items = archive.Items();
    for (zip_uint64_t index = 0; index < items.size(); ++index) {
        zip_stat_t stat;
        if (zip_stat_index(archive.Zip(), index, 0, &stat) != 0) {
            Fail(archive.ReadErrorOf(zip_get_error(archive.Zip())));
        }
        const PartEntry* part = items[index].part;
        const auto page = part == nullptr ? edits.pages.end() : edits.pages.find(part);
        const auto document = part == nullptr ? edits.documentReferences.end() : edits.documentReferences.find(part);
        if (page == edits.pages.end() && document == edits.documentReferences.end()) {
            writer.Copy(index, stat);
            continue;
        }
        // A rewritten part is stored whole where its first piece was.
        if (!items[index].firstPiece) {
            continue;
        }
        if (page != edits.pages.end()) {
            writer.Add(part->itemName, Rewritten(archive, *part, "FixedPage", {{0, page->second}}), stat);
        } else {
            writer.Add(part->itemName, Rewritten(archive, *part, "PageContent", document->second), stat);
        }
    }
    writer.Close();
}

}  // namespace platform::xps
