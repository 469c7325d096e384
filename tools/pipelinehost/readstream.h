// The job's input as the pipeline delivers it to a filter. The bytes come from a file (read where
// they lie, never loaded whole) or from memory, and may arrive gradually from a producer thread, as
// the previous filter writes them: a read returns what is there, and waits while nothing is there
// and the producer has not closed its output.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <filterpipeline.h>
#include <objidl.h>
#include <platform/comobject.h>
#include <wrl/client.h>

#include "pipelinehost/calllog.h"

namespace pipelinehost {

// A read the source could not serve (a file that shrank, a failing disk).
inline constexpr HRESULT kReadFault = static_cast<HRESULT>(0x8003001E);  // STG_E_READFAULT

class ReadStream : public platform::ComObject<ReadStream, IPrintReadStream> {
public:
    enum class Delivery {
        Whole,     // every byte readable at once, the producer closed
        Gradual,   // nothing readable until the producer provides it
    };

    // Throws std::runtime_error (std::system_error when the system says why) when the file cannot be
    // opened or is not a regular file.
    static Microsoft::WRL::ComPtr<ReadStream> OpenFile(const std::string& path, Delivery delivery = Delivery::Whole);
    // Whole and closed.
    static Microsoft::WRL::ComPtr<ReadStream> FromBytes(std::vector<BYTE> bytes);
    // Empty and open: a producer Appends and finally calls CloseInput.
    static Microsoft::WRL::ComPtr<ReadStream> Gradual();

    void LogCallsTo(std::shared_ptr<CallLog> log) { log_ = std::move(log); }

    // The producer's side, from any thread. Append is for memory streams, Provide for gradual file
    // streams (the next count bytes of the file become readable; returns how many are readable now).
    // Using one on the other kind of stream throws std::logic_error.
    void Append(const void* data, std::size_t size);
    ULONGLONG Provide(ULONGLONG count);
    // No more bytes will come: readers at the end see end of file, Seek from the end may proceed.
    void CloseInput();

    // Reads fail with hr from the position afterBytes on; a read that starts before it stops there.
    void FailReadsWith(HRESULT hr, ULONGLONG afterBytes = 0);

    struct Statistics {
        ULONG reads = 0;            // ReadBytes calls, failed ones included
        ULONG readsThatWaited = 0;  // of them, those that found nothing and had to wait
        ULONG failedReads = 0;
        ULONGLONG bytesRead = 0;
        ULONG seeks = 0;
        bool endOfFileReported = false;
    };
    Statistics Stats() const;
    // Readers blocked right now, waiting for bytes or for the producer to close.
    ULONG Waiting() const;
    // Every byte the stream will ever hold once closed; for a gradual memory stream, those appended so far.
    ULONGLONG SourceSize() const;

    // STG_E_INVALIDFUNCTION for an unknown origin or a position before the start (the position stays).
    // From STREAM_SEEK_END the call waits until the producer has closed, as the end is unknown until then.
    HRESULT Seek(LONGLONG move, DWORD origin, ULONGLONG* newPosition) override;
    // E_POINTER for a null buffer (with a count), count or flag. Returns the bytes available, up to
    // the count; waits while there are none and the producer is open. The end-of-file flag is TRUE
    // when the read leaves the position at the end of a closed stream, so it may come with the
    // last bytes.
    HRESULT ReadBytes(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile) override;

private:
    using Base = platform::ComObject<ReadStream, IPrintReadStream>;
    friend Base;

    ReadStream() = default;
    ~ReadStream() override;

    bool AtEnd() const { return closed_ && position_ >= available_; }
    bool Failing() const { return failure_ != S_OK && position_ >= failAfter_; }
    HRESULT CopyOut(ULONGLONG offset, void* buffer, ULONG count);
    HRESULT CopyFromFile(ULONGLONG offset, BYTE* target, ULONG count);
    bool ReadAheadHolds(ULONGLONG offset, ULONG count) const;
    void FillReadAhead(ULONGLONG offset);
    void Record(std::string call) const;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    int file_ = -1;                 // a file stream reads from here ...
    ULONGLONG fileSize_ = 0;
    std::vector<BYTE> bytes_;       // ... a memory stream from here
    // The filter reads in small chunks; a system call per chunk would cost more than the copy, so
    // small reads come from a window of the file read in one go. It is keyed by file offset, so a
    // Seek needs no care of its own: a read inside the window is served from it, any other one
    // moves the window.
    std::vector<BYTE> readAhead_;
    ULONGLONG readAheadStart_ = 0;
    std::size_t readAheadSize_ = 0;  // valid bytes in readAhead_
    ULONGLONG available_ = 0;       // bytes readable now
    bool closed_ = false;
    ULONGLONG position_ = 0;
    HRESULT failure_ = S_OK;
    ULONGLONG failAfter_ = 0;
    ULONG waiting_ = 0;
    Statistics stats_;
    std::shared_ptr<CallLog> log_;
};

}  // namespace pipelinehost
