// Reading a connection on the receive thread without ever blocking a stop: every wait also watches
// the endpoint's wake-up event, and a connection that stays silent too long is given up.
#pragma once

#include <cstddef>

#include "framedelivery.h"

namespace qxicl {

// Reads exactly size bytes from a non-blocking connection.
ReadResult ReadExactly(int connection, int wake, void* buffer, std::size_t size);

}  // namespace qxicl
