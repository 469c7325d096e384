#include "framesender.h"

#include "frameheader.h"
#include "namedpipe.h"
#include "trustedpeer.h"

namespace qxicl {

namespace {

constexpr DWORD kWriteMilliseconds = 10000;

// The write returns once the pipe holds the bytes, or once the receiver has read what did not fit.
bool WriteAll(HANDLE pipe, HANDLE event, const void* bytes, std::uint32_t size)
{
    OVERLAPPED overlapped{};
    overlapped.hEvent = event;
    if (!::WriteFile(pipe, bytes, size, nullptr, &overlapped) && ::GetLastError() != ERROR_IO_PENDING) {
        return false;
    }
    DWORD written = 0;
    return WaitForIo(pipe, overlapped, nullptr, kWriteMilliseconds) == IoWait::Done &&
           ::GetOverlappedResult(pipe, &overlapped, &written, FALSE) && written == size;
}

}  // namespace

SendStatus SendFrame(const std::string& pipeName, std::int32_t message, const void* payload, std::uint32_t size)
{
    const UniqueHandle pipe = ConnectToPipe(pipeName);
    if (!pipe.IsValid() || !IsTrustedPipeServer(pipe.Get())) {
        return kNoPeer;
    }
    const UniqueHandle event = NewIoEvent();
    FrameHeader header;
    header.message = message;
    header.size = size;
    const auto headerBytes = header.Encode();
    const bool written = event.IsValid() &&
                         WriteAll(pipe.Get(), event.Get(), headerBytes.data(), kFrameHeaderSize) &&
                         (size == 0 || WriteAll(pipe.Get(), event.Get(), payload, size));
    return written ? kSent : kWriteFailed;
}

}  // namespace qxicl
