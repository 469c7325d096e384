#include "framesender.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>

#include "frameheader.h"
#include "localsocket.h"
#include "trustedpeer.h"

namespace qxicl {

namespace {

// MSG_NOSIGNAL: a peer that vanished gives EPIPE here, never a SIGPIPE to the caller's process.
bool SendAll(int connection, iovec* parts, std::size_t count)
{
    while (count > 0) {
        msghdr message{};
        message.msg_iov = parts;
        message.msg_iovlen = count;
        const ssize_t sent = ::sendmsg(connection, &message, MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        auto left = static_cast<std::size_t>(sent);
        while (count > 0 && left >= parts->iov_len) {
            left -= parts->iov_len;
            ++parts;
            --count;
        }
        if (count > 0) {
            parts->iov_base = static_cast<char*>(parts->iov_base) + left;
            parts->iov_len -= left;
        }
    }
    return true;
}

}  // namespace

SendStatus SendFrame(const std::string& pipeName, std::int32_t message, const void* payload, std::uint32_t size)
{
    const UniqueFd connection = ConnectTo(pipeName);
    if (!connection.IsValid() || !IsTrustedPeer(connection.Get())) {
        return kNoPeer;
    }
    FrameHeader header;
    header.message = message;
    header.size = size;
    auto headerBytes = header.Encode();
    iovec parts[2] = {{headerBytes.data(), headerBytes.size()}, {const_cast<void*>(payload), size}};
    return SendAll(connection.Get(), parts, size == 0 ? 1 : 2) ? kSent : kWriteFailed;
}

}  // namespace qxicl
