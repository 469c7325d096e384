// The job's output as the pipeline takes it from a filter: into a file or into memory, with a record
// of what the filter did (bytes, calls, Close) and knobs to make the stream misbehave.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <filterpipeline.h>
#include <platform/comobject.h>
#include <wrl/client.h>

#include "pipelinehost/calllog.h"

namespace pipelinehost {

class WriteStream : public platform::ComObject<WriteStream, IPrintWriteStream> {
public:
    static Microsoft::WRL::ComPtr<WriteStream> ToMemory();
    // Creates or truncates the file; throws std::system_error when it cannot. A regular file is
    // written through a buffer (see pending_); anything else (a device such as /dev/full, a FIFO)
    // gets each write as the filter makes it, so that a fault fails that WriteBytes call.
    static Microsoft::WRL::ComPtr<WriteStream> ToFile(const std::string& path);

    void LogCallsTo(std::shared_ptr<CallLog> log) { log_ = std::move(log); }

    // Once afterBytes bytes have been taken, every write that would go beyond them fails with hr and
    // takes nothing (a disk that is full at that point).
    void FailWritesWith(HRESULT hr, ULONGLONG afterBytes = 0);
    // Each call takes at most this many bytes and reports the count, as a partial write.
    void AcceptAtMost(ULONG bytesPerCall);

    bool Closed() const;
    ULONG CloseCount() const;
    ULONG WriteCalls() const;
    ULONG WritesAfterClose() const;
    // Every byte the stream took. For a file stream the file holds them once this returns, so a
    // report that reads the count may look at the file.
    ULONGLONG BytesWritten() const;
    // S_OK, or the first error the file gave on a write or on close, as a Win32 HRESULT
    // (0x80070070 ERROR_DISK_FULL). From then on the file may lack bytes that writes had been told
    // were taken, and every later write fails with it. Bytes still buffered go to the file first,
    // so S_OK means the file holds every byte the stream took.
    HRESULT WriteFault() const;
    // The bytes of a memory stream; empty for a file stream.
    std::vector<BYTE> Bytes() const;

    // E_POINTER for a null buffer (with a count) or count; E_UNEXPECTED after Close.
    HRESULT WriteBytes(const void* buffer, ULONG size, ULONG* written) override;
    // Hands the output on; a file is closed here. Every call is counted, so a second one shows.
    // Close cannot fail, so a file that lacks bytes (see WriteFault) is logged as "writer.Close ->"
    // with the error.
    void Close() override;

private:
    using Base = platform::ComObject<WriteStream, IPrintWriteStream>;
    friend Base;

    WriteStream() = default;
    ~WriteStream() override;

    HRESULT Store(const void* buffer, ULONG size);
    HRESULT StoreInFile(const BYTE* first, ULONG size);
    void Flush() const;
    void CloseFile();
    void Record(std::string call) const;

    mutable std::mutex mutex_;
    int file_ = -1;
    bool toFile_ = false;
    bool buffered_ = false;  // a regular file
    // The filter writes in small chunks; a system call per chunk would cost more than the copy, so
    // they gather here and go to the file in one write when the buffer is full, on Close, on
    // destruction and when BytesWritten or WriteFault is asked. Those are const queries that must
    // see the file, hence mutable: the buffer is how the file gets written, not what the stream holds.
    mutable std::vector<BYTE> pending_;
    mutable HRESULT writeFault_ = S_OK;
    std::vector<BYTE> bytes_;
    ULONGLONG bytesWritten_ = 0;
    ULONG writeCalls_ = 0;
    ULONG writesAfterClose_ = 0;
    ULONG closeCount_ = 0;
    HRESULT failure_ = S_OK;
    ULONGLONG failAfter_ = 0;
    ULONG acceptAtMost_ = 0;  // 0: no limit
    std::shared_ptr<CallLog> log_;
};

}  // namespace pipelinehost
