// One started pipe: the one instance of its named pipe and the thread that receives on it. The
// thread serves one sender at a time and reads its frames to the end before it lets the next one
// connect, which keeps the messages of a sender in order; each message goes to the handler
// registered for its number.
//
// The thread holds a reference to this library, so a caller that unloads it with pipes still
// started leaves it loaded until they stop, instead of the loader lock waiting for the thread.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

#include "framedelivery.h"
#include "handlertable.h"
#include "uniquehandle.h"

namespace qxicl {

class PipeEndpoint {
public:
    // Creates the pipe and starts the receive thread; null when the name is taken.
    static std::shared_ptr<PipeEndpoint> Start(const std::string& pipeName, std::shared_ptr<HandlerTable> handlers);

    PipeEndpoint(const PipeEndpoint&) = delete;
    PipeEndpoint& operator=(const PipeEndpoint&) = delete;
    ~PipeEndpoint();

    // Ends the receive thread: waited for from any other thread, left to end on its own when a
    // handler stops its own pipe. A second call does nothing.
    void Stop();

private:
    PipeEndpoint(UniqueHandle pipe, UniqueHandle stop, UniqueHandle ioEvent, std::shared_ptr<HandlerTable> handlers);

    static DWORD WINAPI ThreadMain(void* start);
    void Run();
    // False when the endpoint is stopping; connected says whether a sender is there to serve.
    bool WaitForSender(bool& connected);
    ReadResult ReadExactly(void* buffer, std::size_t size);

    UniqueHandle m_pipe;
    const UniqueHandle m_stop;
    const UniqueHandle m_ioEvent;
    UniqueHandle m_thread;
    DWORD m_threadId = 0;
    FrameDelivery m_delivery;
    std::atomic<bool> m_stopping{false};
};

}  // namespace qxicl
