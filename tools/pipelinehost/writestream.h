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
    // Creates or truncates the file; throws std::system_error when it cannot.
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
    ULONGLONG BytesWritten() const;
    // The bytes of a memory stream; empty for a file stream.
    std::vector<BYTE> Bytes() const;

    // E_POINTER for a null buffer (with a count) or count; E_UNEXPECTED after Close.
    HRESULT WriteBytes(const void* buffer, ULONG size, ULONG* written) override;
    // Hands the output on; a file is closed here. Every call is counted, so a second one shows.
    void Close() override;

private:
    using Base = platform::ComObject<WriteStream, IPrintWriteStream>;
    friend Base;

    WriteStream() = default;
    ~WriteStream() override;

    HRESULT Store(const void* buffer, ULONG size);
    void Record(std::string call) const;

    mutable std::mutex mutex_;
    int file_ = -1;
    bool toFile_ = false;
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
