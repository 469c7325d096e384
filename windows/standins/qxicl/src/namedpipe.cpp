#include "namedpipe.h"

namespace qxicl {

namespace {

constexpr DWORD kConnectMilliseconds = 10000;
constexpr DWORD kInBufferSize = 64 * 1024;

}  // namespace

std::wstring PipePath(const std::string& pipeName)
{
    return L"\\\\.\\pipe\\" + std::wstring(pipeName.begin(), pipeName.end());
}

UniqueHandle CreateReceivingPipe(const std::string& pipeName)
{
    // One instance, and the first of its name: a second start of the name fails instead of
    // sharing the pipe with an endpoint that would take half of the senders.
    return UniqueHandle(::CreateNamedPipeW(
        PipePath(pipeName).c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS, 1, 0, kInBufferSize, 0,
        nullptr));
}

UniqueHandle ConnectToPipe(const std::string& pipeName)
{
    const std::wstring path = PipePath(pipeName);
    const ULONGLONG deadline = ::GetTickCount64() + kConnectMilliseconds;
    for (;;) {
        // Identification only: the receiver may learn who sends, never act as the sender.
        UniqueHandle pipe(::CreateFileW(path.c_str(), GENERIC_WRITE | FILE_READ_ATTRIBUTES, 0, nullptr,
                                        OPEN_EXISTING,
                                        FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION,
                                        nullptr));
        if (pipe.IsValid() || ::GetLastError() != ERROR_PIPE_BUSY) {
            return pipe;
        }
        const ULONGLONG now = ::GetTickCount64();
        if (now >= deadline || !::WaitNamedPipeW(path.c_str(), static_cast<DWORD>(deadline - now))) {
            return UniqueHandle();
        }
    }
}

IoWait WaitForIo(HANDLE handle, OVERLAPPED& overlapped, HANDLE stop, DWORD milliseconds)
{
    const HANDLE events[2] = {overlapped.hEvent, stop};
    const DWORD waited = ::WaitForMultipleObjects(stop == nullptr ? 1 : 2, events, FALSE, milliseconds);
    if (waited == WAIT_OBJECT_0) {
        return IoWait::Done;
    }
    ::CancelIoEx(handle, &overlapped);
    DWORD ignored = 0;
    ::GetOverlappedResult(handle, &overlapped, &ignored, TRUE);
    return waited == WAIT_OBJECT_0 + 1 ? IoWait::Stopped : IoWait::TimedOut;
}

UniqueHandle NewIoEvent()
{
    return UniqueHandle(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

}  // namespace qxicl
