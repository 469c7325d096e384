// Reading a connection on the receive thread without ever blocking a stop: every wait also watches
// the endpoint's wake-up event, and a connection that stays silent too long is given up.
#pragma once

#include <cstddef>

namespace qxicl {

enum class ReadResult {
    Complete,  // every byte asked for arrived
    Closed,    // the peer closed the connection before the first byte
    Stopped,   // the endpoint is stopping
    Failed,    // a read error, a silent peer, or the connection closed part way
};

// Reads exactly size bytes from a non-blocking connection.
ReadResult ReadExactly(int connection, int wake, void* buffer, std::size_t size);

}  // namespace qxicl
