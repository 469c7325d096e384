#include "pipeendpoint.h"

#include <algorithm>

#include "namedpipe.h"
#include "trustedpeer.h"

namespace qxicl {

namespace {

constexpr DWORD kSilentPeerMilliseconds = 5000;
constexpr std::size_t kLargestRead = 1u << 20;

// What the receive thread owns until it ends: its endpoint, and the reference to this library.
struct ThreadStart {
    std::shared_ptr<PipeEndpoint> endpoint;
    HMODULE library;
};

HMODULE ReferenceThisLibrary()
{
    HMODULE library = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                         reinterpret_cast<LPCWSTR>(&ReferenceThisLibrary), &library);
    return library;
}

ReadResult EndOfConnection(DWORD error, std::size_t done)
{
    const bool closed = error == ERROR_BROKEN_PIPE || error == ERROR_PIPE_NOT_CONNECTED || error == ERROR_SUCCESS;
    return closed && done == 0 ? ReadResult::Closed : ReadResult::Failed;
}

}  // namespace

std::shared_ptr<PipeEndpoint> PipeEndpoint::Start(const std::string& pipeName,
                                                  std::shared_ptr<HandlerTable> handlers)
{
    UniqueHandle stop(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    UniqueHandle ioEvent = NewIoEvent();
    UniqueHandle pipe = CreateReceivingPipe(pipeName);
    if (!stop.IsValid() || !ioEvent.IsValid() || !pipe.IsValid()) {
        return nullptr;
    }
    std::shared_ptr<PipeEndpoint> endpoint(
        new PipeEndpoint(std::move(pipe), std::move(stop), std::move(ioEvent), std::move(handlers)));
    auto* start = new ThreadStart{endpoint, ReferenceThisLibrary()};
    endpoint->m_thread.Reset(::CreateThread(nullptr, 0, &ThreadMain, start, 0, &endpoint->m_threadId));
    if (!endpoint->m_thread.IsValid()) {
        if (start->library != nullptr) {
            ::FreeLibrary(start->library);
        }
        delete start;
        return nullptr;
    }
    return endpoint;
}

PipeEndpoint::PipeEndpoint(UniqueHandle pipe, UniqueHandle stop, UniqueHandle ioEvent,
                           std::shared_ptr<HandlerTable> handlers)
    : m_pipe(std::move(pipe)),
      m_stop(std::move(stop)),
      m_ioEvent(std::move(ioEvent)),
      m_delivery(std::move(handlers))
{
}

PipeEndpoint::~PipeEndpoint()
{
    Stop();
}

void PipeEndpoint::Stop()
{
    if (m_stopping.exchange(true)) {
        return;
    }
    // The event stays set, so every later wait of the thread sees it.
    ::SetEvent(m_stop.Get());
    if (m_threadId == ::GetCurrentThreadId()) {
        return;
    }
    // At process exit the thread is already gone and its handle set.
    ::WaitForSingleObject(m_thread.Get(), INFINITE);
}

DWORD WINAPI PipeEndpoint::ThreadMain(void* start)
{
    HMODULE library = nullptr;
    {
        // The thread keeps its endpoint alive, so a handler may stop its own pipe.
        const std::unique_ptr<ThreadStart> owned(static_cast<ThreadStart*>(start));
        library = owned->library;
        owned->endpoint->Run();
    }
    if (library != nullptr) {
        ::FreeLibraryAndExitThread(library, 0);
    }
    return 0;
}

void PipeEndpoint::Run()
{
    bool connected = false;
    while (WaitForSender(connected)) {
        bool goOn = true;
        if (connected && IsTrustedPipeClient(m_pipe.Get())) {
            goOn = m_delivery.Serve([this](void* buffer, std::size_t size) { return ReadExactly(buffer, size); },
                                    m_stopping);
        }
        ::DisconnectNamedPipe(m_pipe.Get());
        if (!goOn || m_stopping) {
            break;
        }
    }
    // Senders are refused from here on: a pipe without instances has no name.
    m_pipe.Reset();
}

bool PipeEndpoint::WaitForSender(bool& connected)
{
    connected = false;
    OVERLAPPED overlapped{};
    overlapped.hEvent = m_ioEvent.Get();
    if (!::ConnectNamedPipe(m_pipe.Get(), &overlapped)) {
        switch (::GetLastError()) {
        case ERROR_PIPE_CONNECTED:
        case ERROR_NO_DATA:  // it connected and closed already: what it wrote is still there to read
            break;
        case ERROR_IO_PENDING: {
            if (WaitForIo(m_pipe.Get(), overlapped, m_stop.Get(), INFINITE) != IoWait::Done) {
                return false;
            }
            DWORD ignored = 0;
            if (!::GetOverlappedResult(m_pipe.Get(), &overlapped, &ignored, FALSE)) {
                return !m_stopping;
            }
            break;
        }
        default:
            return false;
        }
    }
    connected = true;
    return !m_stopping;
}

ReadResult PipeEndpoint::ReadExactly(void* buffer, std::size_t size)
{
    auto* next = static_cast<unsigned char*>(buffer);
    std::size_t done = 0;
    while (done < size) {
        OVERLAPPED overlapped{};
        overlapped.hEvent = m_ioEvent.Get();
        const auto wanted = static_cast<DWORD>(std::min(size - done, kLargestRead));
        if (!::ReadFile(m_pipe.Get(), next + done, wanted, nullptr, &overlapped)) {
            const DWORD error = ::GetLastError();
            if (error != ERROR_IO_PENDING) {
                return EndOfConnection(error, done);
            }
            const IoWait waited = WaitForIo(m_pipe.Get(), overlapped, m_stop.Get(), kSilentPeerMilliseconds);
            if (waited != IoWait::Done) {
                return waited == IoWait::Stopped ? ReadResult::Stopped : ReadResult::Failed;
            }
        }
        DWORD received = 0;
        if (!::GetOverlappedResult(m_pipe.Get(), &overlapped, &received, FALSE)) {
            return EndOfConnection(::GetLastError(), done);
        }
        if (received == 0) {
            return EndOfConnection(ERROR_SUCCESS, done);
        }
        done += received;
    }
    return ReadResult::Complete;
}

}  // namespace qxicl
