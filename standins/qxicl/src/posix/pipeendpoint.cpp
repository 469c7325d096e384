#include "pipeendpoint.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "framereader.h"
#include "localsocket.h"
#include "trustedpeer.h"

namespace qxicl {

std::shared_ptr<PipeEndpoint> PipeEndpoint::Start(const std::string& pipeName,
                                                  std::shared_ptr<HandlerTable> handlers)
{
    UniqueFd wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake.IsValid()) {
        return nullptr;
    }
    UniqueFd listener = ListenAt(pipeName);
    if (!listener.IsValid()) {
        return nullptr;
    }
    std::shared_ptr<PipeEndpoint> endpoint(
        new PipeEndpoint(std::move(listener), std::move(wake), std::move(handlers)));
    // The thread keeps its endpoint alive, so a handler may stop its own pipe.
    endpoint->m_thread = std::thread([self = endpoint] { self->Run(); });
    return endpoint;
}

PipeEndpoint::PipeEndpoint(UniqueFd listener, UniqueFd wake, std::shared_ptr<HandlerTable> handlers)
    : m_listener(std::move(listener)),
      m_wake(std::move(wake)),
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
    // Senders are refused from here on, though the name stays taken until the listener closes; the
    // event stays set, so every later wait sees it.
    ::shutdown(m_listener.Get(), SHUT_RDWR);
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wake.Get(), &one, sizeof one);
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();
        return;
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
    m_listener.Reset();
}

void PipeEndpoint::Run()
{
    while (WaitForConnection()) {
        const UniqueFd connection(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (connection.IsValid() && IsTrustedPeer(connection.Get()) && !Serve(connection.Get())) {
            return;
        }
    }
}

bool PipeEndpoint::WaitForConnection() const
{
    for (;;) {
        pollfd watched[2] = {{m_listener.Get(), POLLIN, 0}, {m_wake.Get(), POLLIN, 0}};
        const int ready = ::poll(watched, 2, -1);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        return ready > 0 && (watched[1].revents & POLLIN) == 0;
    }
}

bool PipeEndpoint::Serve(int connection)
{
    const auto read = [this, connection](void* buffer, std::size_t size) {
        return ReadExactly(connection, m_wake.Get(), buffer, size);
    };
    return m_delivery.Serve(read, m_stopping);
}

}  // namespace qxicl
