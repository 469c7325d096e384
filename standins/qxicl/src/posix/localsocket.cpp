#include "localsocket.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace qxicl {

namespace {

constexpr int kListenBacklog = SOMAXCONN;
constexpr timeval kSendTimeout = {10, 0};
// Every endpoint of the library lives under this prefix of the abstract namespace.
constexpr char kNamespacePrefix[] = "qxicl\\";

struct Address {
    sockaddr_un socket{};
    socklen_t length = 0;
};

// An abstract address starts with a zero byte and is exactly as long as the length says.
bool MakeAddress(const std::string& pipeName, Address& address)
{
    const std::string name = std::string(1, '\0') + kNamespacePrefix + pipeName;
    if (name.size() > sizeof address.socket.sun_path) {
        errno = ENAMETOOLONG;
        return false;
    }
    address.socket.sun_family = AF_UNIX;
    std::memcpy(address.socket.sun_path, name.data(), name.size());
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    return true;
}

const sockaddr* Raw(const Address& address) { return reinterpret_cast<const sockaddr*>(&address.socket); }

UniqueFd NewSocket(int flags)
{
    return UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

// The socket's send time limit bounds a connect to a full queue as well as every write.
UniqueFd NewSendingSocket()
{
    UniqueFd sender = NewSocket(0);
    if (sender.IsValid() &&
        ::setsockopt(sender.Get(), SOL_SOCKET, SO_SNDTIMEO, &kSendTimeout, sizeof kSendTimeout) != 0) {
        sender.Reset();
    }
    return sender;
}

}  // namespace

UniqueFd ConnectTo(const std::string& pipeName)
{
    Address address;
    if (!MakeAddress(pipeName, address)) {
        return UniqueFd();
    }
    UniqueFd connection = NewSendingSocket();
    if (connection.IsValid() && ::connect(connection.Get(), Raw(address), address.length) != 0) {
        const int error = errno;
        connection.Reset();
        errno = error;
    }
    return connection;
}

UniqueFd ListenAt(const std::string& pipeName)
{
    Address address;
    if (!MakeAddress(pipeName, address)) {
        return UniqueFd();
    }
    UniqueFd listener = NewSocket(SOCK_NONBLOCK);
    if (!listener.IsValid() || ::bind(listener.Get(), Raw(address), address.length) != 0 ||
        ::listen(listener.Get(), kListenBacklog) != 0) {
        return UniqueFd();
    }
    return listener;
}

}  // namespace qxicl
