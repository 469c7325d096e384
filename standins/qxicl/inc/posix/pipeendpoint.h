// One started pipe: the listening socket and the thread that receives on it. The thread takes
// one connection at a time and reads its frames to the end before it accepts the next, which keeps
// the messages of a sender in order; each message goes to the handler registered for its number.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "framedelivery.h"
#include "handlertable.h"
#include "uniquefd.h"

namespace qxicl {

class PipeEndpoint : public std::enable_shared_from_this<PipeEndpoint> {
public:
    // Binds the pipe's endpoint and starts the receive thread; null when the name is taken.
    static std::shared_ptr<PipeEndpoint> Start(const std::string& pipeName, std::shared_ptr<HandlerTable> handlers);

    PipeEndpoint(const PipeEndpoint&) = delete;
    PipeEndpoint& operator=(const PipeEndpoint&) = delete;
    ~PipeEndpoint();

    // Refuses new connections and ends the receive thread: joined from any other thread, left to
    // end on its own when a handler stops its own pipe. A second call does nothing.
    void Stop();

private:
    PipeEndpoint(UniqueFd listener, UniqueFd wake, std::shared_ptr<HandlerTable> handlers);

    void Run();
    bool WaitForConnection() const;
    // False when the endpoint is stopping.
    bool Serve(int connection);

    UniqueFd m_listener;
    const UniqueFd m_wake;
    FrameDelivery m_delivery;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

}  // namespace qxicl
