#include "pipelinehost/writestream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

#include "pipelinehost/hresulttext.h"
#include "platform/win32error.h"

namespace pipelinehost {
namespace {

// A system call per megabyte of output instead of one per chunk, and little memory per job.
constexpr std::size_t kWriteBufferBytes = 1024 * 1024;

HRESULT WriteAll(int file, const BYTE* first, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t put = ::write(file, first + done, size - done);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            // As a stream over a spool file reports what WriteFile set; a write that takes
            // nothing found no room.
            return HRESULT_FROM_WIN32(put < 0 ? platform::Win32ErrorOf(errno) : ERROR_DISK_FULL);
        }
        done += static_cast<std::size_t>(put);
    }
    return S_OK;
}

}  // namespace

Microsoft::WRL::ComPtr<WriteStream> WriteStream::ToMemory()
{
    Microsoft::WRL::ComPtr<WriteStream> stream;
    stream.Attach(new WriteStream);
    return stream;
}

Microsoft::WRL::ComPtr<WriteStream> WriteStream::ToFile(const std::string& path)
{
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    struct stat status {};
    const bool regular = ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    Microsoft::WRL::ComPtr<WriteStream> stream;
    stream.Attach(new WriteStream);
    stream->file_ = file;
    stream->toFile_ = true;
    stream->buffered_ = regular;
    if (regular) {
        stream->pending_.reserve(kWriteBufferBytes);
    }
    return stream;
}

// A filter that never closed its output still leaves every byte it wrote in the file.
WriteStream::~WriteStream() { CloseFile(); }

void WriteStream::FailWritesWith(HRESULT hr, ULONGLONG afterBytes)
{
    std::lock_guard lock(mutex_);
    failure_ = hr;
    failAfter_ = afterBytes;
}

void WriteStream::AcceptAtMost(ULONG bytesPerCall)
{
    std::lock_guard lock(mutex_);
    acceptAtMost_ = bytesPerCall;
}

bool WriteStream::Closed() const
{
    std::lock_guard lock(mutex_);
    return closeCount_ > 0;
}

ULONG WriteStream::CloseCount() const
{
    std::lock_guard lock(mutex_);
    return closeCount_;
}

ULONG WriteStream::WriteCalls() const
{
    std::lock_guard lock(mutex_);
    return writeCalls_;
}

ULONG WriteStream::WritesAfterClose() const
{
    std::lock_guard lock(mutex_);
    return writesAfterClose_;
}

ULONGLONG WriteStream::BytesWritten() const
{
    std::lock_guard lock(mutex_);
    Flush();
    return bytesWritten_;
}

HRESULT WriteStream::WriteFault() const
{
    std::lock_guard lock(mutex_);
    Flush();
    return writeFault_;
}

std::vector<BYTE> WriteStream::Bytes() const
{
    std::lock_guard lock(mutex_);
    return bytes_;
}

HRESULT WriteStream::WriteBytes(const void* buffer, ULONG size, ULONG* written)
{
    if (written != nullptr) {
        *written = 0;
    }
    std::unique_lock lock(mutex_);
    ++writeCalls_;
    HRESULT hr = S_OK;
    ULONG count = acceptAtMost_ == 0 ? size : std::min(size, acceptAtMost_);
    if ((buffer == nullptr && size > 0) || written == nullptr) {
        hr = E_POINTER;
    } else if (closeCount_ > 0) {
        ++writesAfterClose_;
        hr = E_UNEXPECTED;
    } else if (failure_ != S_OK && bytesWritten_ + count > failAfter_) {
        hr = failure_;
    } else {
        hr = Store(buffer, count);
    }
    if (FAILED(hr)) {
        lock.unlock();
        Record("writer.WriteBytes(" + std::to_string(size) + " bytes) -> " + HresultShort(hr));
        return hr;
    }
    bytesWritten_ += count;
    *written = count;
    lock.unlock();
    if (count < size) {
        Record("writer.WriteBytes(" + std::to_string(size) + " bytes) -> S_OK, took " + std::to_string(count));
    } else if (log_) {
        log_->RecordTransfer("writer.WriteBytes", count);
    }
    return S_OK;
}

void WriteStream::Close()
{
    HRESULT fault = S_OK;
    {
        std::lock_guard lock(mutex_);
        ++closeCount_;
        CloseFile();
        fault = writeFault_;
    }
    Record(fault == S_OK ? std::string("writer.Close") : "writer.Close -> " + HresultShort(fault));
}

// What close reports is a fault too: a file system may write only then, and tell of a full disk or a
// quota there. EINTR says nothing of the bytes, and the descriptor is gone either way.
void WriteStream::CloseFile()
{
    if (file_ >= 0) {
        Flush();
        if (::close(file_) != 0 && errno != EINTR && writeFault_ == S_OK) {
            writeFault_ = HRESULT_FROM_WIN32(platform::Win32ErrorOf(errno));
        }
        file_ = -1;
    }
}

HRESULT WriteStream::Store(const void* buffer, ULONG size)
{
    if (size == 0) {
        return S_OK;
    }
    const auto* first = static_cast<const BYTE*>(buffer);
    if (!toFile_) {
        try {
            bytes_.insert(bytes_.end(), first, first + size);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }
    return StoreInFile(first, size);
}

// A device or a pipe (/dev/full, a FIFO) is written through: its reader waits for the bytes, and
// its faults come back from the WriteBytes call that met them, as from a Windows stream.
// A fault the file gives while the buffer goes out fails the write that sent it there, though the
// bytes it refused may be those of earlier writes that were told they succeeded: the filter hears
// of it at the first call that can still report it, and every later write fails alike, as the
// file no longer matches what the filter was told. A fault found by Close or BytesWritten has no
// call left to fail; Close logs it, and the host fails the job by it (FilterRunResult::output).
HRESULT WriteStream::StoreInFile(const BYTE* first, ULONG size)
{
    if (pending_.size() + size > kWriteBufferBytes) {
        Flush();
    }
    if (FAILED(writeFault_)) {
        return writeFault_;
    }
    if (!buffered_ || size >= kWriteBufferBytes) {
        writeFault_ = WriteAll(file_, first, size);
    } else {
        pending_.insert(pending_.end(), first, first + size);
    }
    return writeFault_;
}

void WriteStream::Flush() const
{
    if (writeFault_ == S_OK && !pending_.empty()) {
        writeFault_ = WriteAll(file_, pending_.data(), pending_.size());
    }
    pending_.clear();
}

void WriteStream::Record(std::string call) const
{
    if (log_) {
        log_->Record(std::move(call));
    }
}

}  // namespace pipelinehost
