// The endpoints of pipes: Unix domain stream sockets in the kernel's abstract namespace, one
// machine-wide namespace as \\.\pipe\ is on Windows. Two processes meet by the pipe's name alone,
// whatever their environment, working folder, umask or user; an endpoint is no file, so it goes
// with the last process that holds it and nothing stays behind when one crashes.
#pragma once

#include <string>

#include "uniquefd.h"

namespace qxicl {

// A blocking connection to the endpoint of a checked pipe name, whose connect and writes give up
// after 10 seconds. Invalid, with errno set, at once when nobody listens there (ECONNREFUSED); a
// live endpoint whose queue is full is waited for, up to the time limit (EAGAIN).
UniqueFd ConnectTo(const std::string& pipeName);

// A non-blocking listening socket for a checked pipe name. Invalid when the name is taken, by this
// process or by any other (EADDRINUSE): an endpoint is never replaced.
UniqueFd ListenAt(const std::string& pipeName);

}  // namespace qxicl
