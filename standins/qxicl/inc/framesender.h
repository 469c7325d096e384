// One message to one endpoint: a connection of its own, the frame written whole, the connection
// closed. The receiver serves connections in the order they were made, so the messages of one
// sender are handled in the order they were sent.
#pragma once

#include <cstdint>
#include <string>

namespace qxicl {

enum SendStatus : std::int32_t {
    kSent = 0,
    kNoPeer = 1,        // no endpoint of that name, or one held by a process this one may not trust
    kWriteFailed = 2,   // the peer went away or stopped reading during the write
    kBadArguments = 3,  // a refused name, a negative or too large size, a missing payload
};

SendStatus SendFrame(const std::string& pipeName, std::int32_t message, const void* payload, std::uint32_t size);

}  // namespace qxicl
