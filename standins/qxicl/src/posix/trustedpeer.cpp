#include "trustedpeer.h"

#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace qxicl {

namespace {

// The parent of a process from /proc/PID/stat: the field after the state, which follows the
// command name's closing parenthesis (the name itself may hold blanks and parentheses).
pid_t ParentOf(pid_t process)
{
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    if (!std::getline(stat, line)) {
        return -1;
    }
    const std::size_t nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) {
        return -1;
    }
    std::istringstream fields(line.substr(nameEnd + 1));
    char state = 0;
    pid_t parent = -1;
    fields >> state >> parent;
    return fields ? parent : -1;
}

}  // namespace

bool IsTrustedPeer(int connection)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    if (::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || size != sizeof peer) {
        return false;
    }
    if (peer.uid == 0 || peer.uid == ::geteuid()) {
        return true;
    }
    // While its socket is open the peer normally lives, so its id still names it.
    return peer.pid > 0 && ParentOf(peer.pid) == ::getpid();
}

}  // namespace qxicl
