#include "framereader.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace qxicl {

namespace {

constexpr int kSilentPeerMilliseconds = 5000;

// Waits until the connection has data; anything else ends the read.
ReadResult WaitForData(int connection, int wake)
{
    for (;;) {
        pollfd watched[2] = {{connection, POLLIN, 0}, {wake, POLLIN, 0}};
        const int ready = ::poll(watched, 2, kSilentPeerMilliseconds);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready > 0 && (watched[1].revents & POLLIN) != 0) {
            return ReadResult::Stopped;
        }
        return ready > 0 ? ReadResult::Complete : ReadResult::Failed;
    }
}

}  // namespace

ReadResult ReadExactly(int connection, int wake, void* buffer, std::size_t size)
{
    auto* next = static_cast<unsigned char*>(buffer);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t received = ::recv(connection, next + done, size - done, 0);
        if (received > 0) {
            done += static_cast<std::size_t>(received);
        } else if (received == 0) {
            return done == 0 ? ReadResult::Closed : ReadResult::Failed;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            const ReadResult waited = WaitForData(connection, wake);
            if (waited != ReadResult::Complete) {
                return waited;
            }
        } else if (errno != EINTR) {
            return ReadResult::Failed;
        }
    }
    return ReadResult::Complete;
}

}  // namespace qxicl
