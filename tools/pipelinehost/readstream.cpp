#include "pipelinehost/readstream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "pipelinehost/hresulttext.h"

namespace pipelinehost {
namespace {

// A system call per megabyte instead of one per chunk, and little memory even with many jobs open.
constexpr ULONG kReadAheadBytes = 1024 * 1024;

// Up to count bytes from offset on; fewer at the end of the file or on an error, which the caller
// tells apart from a full read by the count alone.
std::size_t ReadAt(int file, BYTE* target, std::size_t count, ULONGLONG offset)
{
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = ::pread(file, target + done, count - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    return done;
}

const char* OriginName(DWORD origin)
{
    switch (origin) {
    case STREAM_SEEK_SET: return "STREAM_SEEK_SET";
    case STREAM_SEEK_CUR: return "STREAM_SEEK_CUR";
    case STREAM_SEEK_END: return "STREAM_SEEK_END";
    default: return "unknown origin";
    }
}

// base + move, or false when it falls before 0 or beyond what a position can hold.
bool Offset(ULONGLONG base, LONGLONG move, ULONGLONG& result)
{
    if (move < 0) {
        const ULONGLONG back = static_cast<ULONGLONG>(-(move + 1)) + 1;
        if (back > base) {
            return false;
        }
        result = base - back;
        return true;
    }
    result = base + static_cast<ULONGLONG>(move);
    return result >= base;
}

}  // namespace

Microsoft::WRL::ComPtr<ReadStream> ReadStream::OpenFile(const std::string& path, Delivery delivery)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    struct stat status {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(file);
        throw std::runtime_error(path + ": not a regular file");
    }
    Microsoft::WRL::ComPtr<ReadStream> stream;
    stream.Attach(new ReadStream);
    stream->file_ = file;
    stream->fileSize_ = static_cast<ULONGLONG>(status.st_size);
    if (delivery == Delivery::Whole) {
        stream->available_ = stream->fileSize_;
        stream->closed_ = true;
    }
    return stream;
}

Microsoft::WRL::ComPtr<ReadStream> ReadStream::FromBytes(std::vector<BYTE> bytes)
{
    Microsoft::WRL::ComPtr<ReadStream> stream;
    stream.Attach(new ReadStream);
    stream->bytes_ = std::move(bytes);
    stream->available_ = stream->bytes_.size();
    stream->closed_ = true;
    return stream;
}

Microsoft::WRL::ComPtr<ReadStream> ReadStream::Gradual()
{
    Microsoft::WRL::ComPtr<ReadStream> stream;
    stream.Attach(new ReadStream);
    return stream;
}

ReadStream::~ReadStream()
{
    if (file_ >= 0) {
        ::close(file_);
    }
}

void ReadStream::Append(const void* data, std::size_t size)
{
    {
        std::lock_guard lock(mutex_);
        if (file_ >= 0) {
            throw std::logic_error("ReadStream::Append on a file stream");
        }
        if (closed_) {
            throw std::logic_error("ReadStream::Append after CloseInput");
        }
        const auto* first = static_cast<const BYTE*>(data);
        bytes_.insert(bytes_.end(), first, first + size);
        available_ = bytes_.size();
    }
    changed_.notify_all();
}

ULONGLONG ReadStream::Provide(ULONGLONG count)
{
    ULONGLONG available = 0;
    {
        std::lock_guard lock(mutex_);
        if (file_ < 0) {
            throw std::logic_error("ReadStream::Provide on a memory stream");
        }
        available_ += std::min(count, fileSize_ - available_);
        available = available_;
    }
    changed_.notify_all();
    return available;
}

void ReadStream::CloseInput()
{
    {
        std::lock_guard lock(mutex_);
        closed_ = true;
    }
    changed_.notify_all();
}

void ReadStream::FailReadsWith(HRESULT hr, ULONGLONG afterBytes)
{
    {
        std::lock_guard lock(mutex_);
        failure_ = hr;
        failAfter_ = afterBytes;
    }
    changed_.notify_all();
}

ReadStream::Statistics ReadStream::Stats() const
{
    std::lock_guard lock(mutex_);
    return stats_;
}

ULONG ReadStream::Waiting() const
{
    std::lock_guard lock(mutex_);
    return waiting_;
}

ULONGLONG ReadStream::SourceSize() const
{
    std::lock_guard lock(mutex_);
    return file_ >= 0 ? fileSize_ : bytes_.size();
}

HRESULT ReadStream::Seek(LONGLONG move, DWORD origin, ULONGLONG* newPosition)
{
    HRESULT hr = S_OK;
    ULONGLONG position = 0;
    {
        std::unique_lock lock(mutex_);
        ++stats_.seeks;
        if (origin == STREAM_SEEK_END && !closed_) {
            ++waiting_;
            changed_.wait(lock, [this] { return closed_; });
            --waiting_;
        }
        const ULONGLONG base = origin == STREAM_SEEK_CUR ? position_ : origin == STREAM_SEEK_END ? available_ : 0;
        if (origin > STREAM_SEEK_END || !Offset(base, move, position)) {
            hr = STG_E_INVALIDFUNCTION;
            position = position_;
        }
        position_ = position;
    }
    if (newPosition != nullptr) {
        *newPosition = position;
    }
    Record("reader.Seek(" + std::to_string(move) + ", " + OriginName(origin) + ") -> " + HresultShort(hr) +
           ", position " + std::to_string(position));
    return hr;
}

HRESULT ReadStream::ReadBytes(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile)
{
    if (read != nullptr) {
        *read = 0;
    }
    if (endOfFile != nullptr) {
        *endOfFile = FALSE;
    }
    std::unique_lock lock(mutex_);
    ++stats_.reads;
    HRESULT hr = S_OK;
    if ((buffer == nullptr && requested > 0) || read == nullptr || endOfFile == nullptr) {
        hr = E_POINTER;
    } else {
        const auto ready = [this] { return position_ < available_ || closed_ || Failing(); };
        if (!ready()) {
            ++stats_.readsThatWaited;
            ++waiting_;
            changed_.wait(lock, ready);
            --waiting_;
        }
        hr = Failing() ? failure_ : S_OK;
    }
    ULONG count = 0;
    if (SUCCEEDED(hr)) {
        ULONGLONG limit = position_ < available_ ? available_ - position_ : 0;
        if (failure_ != S_OK) {
            limit = std::min(limit, failAfter_ - position_);
        }
        count = static_cast<ULONG>(std::min<ULONGLONG>(requested, limit));
        hr = CopyOut(position_, buffer, count);
    }
    if (FAILED(hr)) {
        ++stats_.failedReads;
        lock.unlock();
        Record("reader.ReadBytes -> " + HresultShort(hr));
        return hr;
    }
    position_ += count;
    stats_.bytesRead += count;
    *read = count;
    *endOfFile = AtEnd() ? TRUE : FALSE;
    stats_.endOfFileReported = stats_.endOfFileReported || *endOfFile;
    const bool end = *endOfFile != FALSE;
    lock.unlock();
    if (log_) {
        log_->RecordTransfer("reader.ReadBytes", count, end);
    }
    return S_OK;
}

HRESULT ReadStream::CopyOut(ULONGLONG offset, void* buffer, ULONG count)
{
    if (count == 0) {
        return S_OK;
    }
    if (file_ < 0) {
        std::memcpy(buffer, bytes_.data() + offset, count);
        return S_OK;
    }
    return CopyFromFile(offset, static_cast<BYTE*>(buffer), count);
}

// The bytes come from the file as it is when they are first needed; a read the file can no longer
// fill (it shrank since it was opened) fails, as a read of the file itself would.
HRESULT ReadStream::CopyFromFile(ULONGLONG offset, BYTE* target, ULONG count)
{
    if (count >= kReadAheadBytes) {
        return ReadAt(file_, target, count, offset) == count ? S_OK : kReadFault;
    }
    if (!ReadAheadHolds(offset, count)) {
        FillReadAhead(offset);
        if (!ReadAheadHolds(offset, count)) {
            return kReadFault;
        }
    }
    std::memcpy(target, readAhead_.data() + (offset - readAheadStart_), count);
    return S_OK;
}

bool ReadStream::ReadAheadHolds(ULONGLONG offset, ULONG count) const
{
    return offset >= readAheadStart_ && offset - readAheadStart_ + count <= readAheadSize_;
}

// Never past the size the file had when it was opened: the stream serves no byte beyond it.
void ReadStream::FillReadAhead(ULONGLONG offset)
{
    readAhead_.resize(kReadAheadBytes);
    const ULONGLONG left = offset < fileSize_ ? fileSize_ - offset : 0;
    readAheadStart_ = offset;
    const auto size = static_cast<std::size_t>(std::min<ULONGLONG>(left, kReadAheadBytes));
    readAheadSize_ = ReadAt(file_, readAhead_.data(), size, offset);
}

void ReadStream::Record(std::string call) const
{
    if (log_) {
        log_->Record(std::move(call));
    }
}

}  // namespace pipelinehost
