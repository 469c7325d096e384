#include "xps/zipstreamsource.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace platform::xps {
namespace {

struct StreamSource {
    ComPtr<IStream> stream;
    std::shared_ptr<SourceStatus> status;
    zip_uint64_t size = 0;
    zip_uint64_t position = 0;
    zip_error_t error{};
};

zip_int64_t StreamFailed(StreamSource& source, HRESULT hr, int zipError)
{
    source.status->streamFailure = hr;
    zip_error_set(&source.error, zipError, 0);
    return -1;
}

// Every read seeks first: whoever else holds the stream may have moved its pointer meanwhile.
zip_int64_t ReadStream(StreamSource& source, void* data, zip_uint64_t length)
{
    const zip_uint64_t available = source.position >= source.size ? 0 : source.size - source.position;
    zip_uint64_t wanted = std::min(length, available);
    if (wanted == 0) {
        return 0;
    }
    LARGE_INTEGER to{};
    to.QuadPart = static_cast<LONGLONG>(source.position);
    HRESULT hr = source.stream->Seek(to, STREAM_SEEK_SET, nullptr);
    if (FAILED(hr)) {
        return StreamFailed(source, hr, ZIP_ER_SEEK);
    }
    auto* bytes = static_cast<char*>(data);
    zip_uint64_t done = 0;
    while (done < wanted) {
        const auto chunk = static_cast<ULONG>(std::min<zip_uint64_t>(wanted - done, 0x40000000u));
        ULONG read = 0;
        hr = source.stream->Read(bytes + done, chunk, &read);
        if (FAILED(hr)) {
            return StreamFailed(source, hr, ZIP_ER_READ);
        }
        if (read == 0) {
            break;
        }
        done += read;
    }
    source.position += done;
    return static_cast<zip_int64_t>(done);
}

zip_int64_t StreamCallback(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command)
{
    auto& source = *static_cast<StreamSource*>(state);
    switch (command) {
    case ZIP_SOURCE_OPEN:
        source.position = 0;
        return 0;
    case ZIP_SOURCE_READ:
        return ReadStream(source, data, length);
    case ZIP_SOURCE_CLOSE:
        return 0;
    case ZIP_SOURCE_STAT: {
        auto* stat = ZIP_SOURCE_GET_ARGS(zip_stat_t, data, length, &source.error);
        if (stat == nullptr) {
            return -1;
        }
        zip_stat_init(stat);
        stat->size = source.size;
        stat->valid |= ZIP_STAT_SIZE;
        return sizeof(zip_stat_t);
    }
    case ZIP_SOURCE_SEEK: {
        const zip_int64_t target =
            zip_source_seek_compute_offset(source.position, source.size, data, length, &source.error);
        if (target < 0) {
            return -1;
        }
        source.position = static_cast<zip_uint64_t>(target);
        return 0;
    }
    case ZIP_SOURCE_TELL:
        return static_cast<zip_int64_t>(source.position);
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&source.error, data, length);
    case ZIP_SOURCE_FREE:
        zip_error_fini(&source.error);
        delete &source;
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_SEEKABLE;
    default:
        zip_error_set(&source.error, ZIP_ER_OPNOTSUPP, 0);
        return -1;
    }
}

struct FileSink {
    int fd = -1;
    std::shared_ptr<SourceStatus> status;
    zip_error_t error{};
};

zip_int64_t WriteFailed(FileSink& sink, int zipError)
{
    sink.status->writeErrno = errno;
    zip_error_set(&sink.error, zipError, errno);
    return -1;
}

zip_int64_t SinkCallback(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command)
{
    auto& sink = *static_cast<FileSink*>(state);
    switch (command) {
    case ZIP_SOURCE_STAT:
        // No archive there yet (libzip recognises a read error for ENOENT): it starts a new one
        // rather than reading the file.
        zip_error_set(&sink.error, ZIP_ER_READ, ENOENT);
        return -1;
    case ZIP_SOURCE_OPEN:
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_READ:
    case ZIP_SOURCE_SEEK:
    case ZIP_SOURCE_TELL:
    case ZIP_SOURCE_BEGIN_WRITE:
    case ZIP_SOURCE_COMMIT_WRITE:
    case ZIP_SOURCE_ROLLBACK_WRITE:
        return 0;
    case ZIP_SOURCE_WRITE: {
        const auto* bytes = static_cast<const char*>(data);
        zip_uint64_t done = 0;
        while (done < length) {
            const ssize_t written = ::write(sink.fd, bytes + done, std::min<zip_uint64_t>(length - done, 1u << 30));
            if (written < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return WriteFailed(sink, ZIP_ER_WRITE);
            }
            done += static_cast<zip_uint64_t>(written);
        }
        return static_cast<zip_int64_t>(length);
    }
    case ZIP_SOURCE_SEEK_WRITE: {
        auto* seek = ZIP_SOURCE_GET_ARGS(zip_source_args_seek_t, data, length, &sink.error);
        if (seek == nullptr) {
            return -1;
        }
        if (::lseek(sink.fd, seek->offset, seek->whence) < 0) {
            return WriteFailed(sink, ZIP_ER_SEEK);
        }
        return 0;
    }
    case ZIP_SOURCE_TELL_WRITE: {
        const off_t position = ::lseek(sink.fd, 0, SEEK_CUR);
        if (position < 0) {
            return WriteFailed(sink, ZIP_ER_TELL);
        }
        return position;
    }
    case ZIP_SOURCE_REMOVE:
        if (::ftruncate(sink.fd, 0) != 0) {
            return WriteFailed(sink, ZIP_ER_REMOVE);
        }
        return 0;
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&sink.error, data, length);
    case ZIP_SOURCE_FREE:
        zip_error_fini(&sink.error);
        delete &sink;
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_WRITABLE;
    default:
        zip_error_set(&sink.error, ZIP_ER_OPNOTSUPP, 0);
        return -1;
    }
}

}  // namespace

zip_source_t* CreateStreamZipSource(IStream* stream, std::shared_ptr<SourceStatus> status, zip_error_t* error)
{
    ULARGE_INTEGER end{};
    const HRESULT hr = stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_END, &end);
    if (FAILED(hr)) {
        status->streamFailure = hr;
        zip_error_set(error, ZIP_ER_SEEK, 0);
        return nullptr;
    }
    auto* source = new StreamSource;
    source->stream = stream;
    source->status = std::move(status);
    source->size = end.QuadPart;
    zip_error_init(&source->error);
    zip_source_t* created = zip_source_function_create(StreamCallback, source, error);
    if (created == nullptr) {
        zip_error_fini(&source->error);
        delete source;
    }
    return created;
}

zip_source_t* CreateFileZipSink(int fd, std::shared_ptr<SourceStatus> status, zip_error_t* error)
{
    auto* sink = new FileSink;
    sink->fd = fd;
    sink->status = std::move(status);
    zip_error_init(&sink->error);
    zip_source_t* created = zip_source_function_create(SinkCallback, sink, error);
    if (created == nullptr) {
        zip_error_fini(&sink->error);
        delete sink;
    }
    return created;
}

}  // namespace platform::xps
