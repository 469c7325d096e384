#include "localsocket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace qxicl {

namespace {

constexpr int kListenBacklog = SOMAXCONN;
constexpr timeval kSendTimeout = {10, 0};

bool MakeAddress(const std::string& path, sockaddr_un& address)
{
    if (path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

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

// True when path is free for a new endpoint.
bool ClearStaleSocket(const std::string& path)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT;
    }
    if (!S_ISSOCK(status.st_mode) || ConnectTo(path).IsValid() || errno != ECONNREFUSED) {
        return false;
    }
    return ::unlink(path.c_str()) == 0;
}

}  // namespace

UniqueFd ConnectTo(const std::string& path)
{
    sockaddr_un address;
    if (!MakeAddress(path, address)) {
        errno = ENAMETOOLONG;
        return UniqueFd();
    }
    UniqueFd connection = NewSendingSocket();
    if (connection.IsValid() &&
        ::connect(connection.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int error = errno;
        connection.Reset();
        errno = error;
    }
    return connection;
}

UniqueFd ListenAt(const std::string& path)
{
    sockaddr_un address;
    if (!MakeAddress(path, address) || !ClearStaleSocket(path)) {
        return UniqueFd();
    }
    UniqueFd listener = NewSocket(SOCK_NONBLOCK);
    if (!listener.IsValid() ||
        ::bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return UniqueFd();
    }
    // The folder is private, so the moment between bind and chmod exposes nothing.
    if (::chmod(path.c_str(), 0600) != 0 || ::listen(listener.Get(), kListenBacklog) != 0) {
        ::unlink(path.c_str());
        return UniqueFd();
    }
    return listener;
}

}  // namespace qxicl
