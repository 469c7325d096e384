// Unix domain stream sockets named by a file in the private folder.
#pragma once

#include <string>

#include "uniquefd.h"

namespace qxicl {

// A blocking connection to the endpoint at path, whose connect and writes give up after 10 seconds.
// Invalid, with errno set, at once when nobody listens there (ENOENT, ECONNREFUSED); a live endpoint
// whose queue is full is waited for, up to the time limit (EAGAIN).
UniqueFd ConnectTo(const std::string& path);

// A non-blocking listening socket bound at path with mode 0600. A socket file that nobody listens on
// any more (left by a process that ended) is replaced; a live endpoint or another file is not, and
// the result is then invalid.
UniqueFd ListenAt(const std::string& path);

}  // namespace qxicl
