// The frames of one connection, read in order and each handed to the handler registered for its
// number. Both builds receive this way; only how a connection is read differs.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "handlertable.h"

namespace qxicl {

enum class ReadResult {
    Complete,  // every byte asked for arrived
    Closed,    // the peer closed the connection before the first byte
    Stopped,   // the endpoint is stopping
    Failed,    // a read error, a silent peer, or the connection closed part way
};

// A handler reads at least this many bytes: the payload and zeros after it.
inline constexpr std::size_t kMinDeliveryBuffer = 4096;
// Zeros that follow even the longest payload, so that a text read to its terminator ends in the
// buffer.
inline constexpr std::size_t kDeliveryZeroTail = 4;

class FrameDelivery {
public:
    // Reads exactly size bytes of the connection being served.
    using ReadExactly = std::function<ReadResult(void* buffer, std::size_t size)>;

    explicit FrameDelivery(std::shared_ptr<HandlerTable> handlers) : m_handlers(std::move(handlers)) {}

    // Delivers frames until the connection ends or brings a frame that is not read (its connection
    // is then given up). False when the endpoint is stopping, seen by a read or set by a handler.
    bool Serve(const ReadExactly& read, const std::atomic<bool>& stopping);

private:
    void PrepareBuffer(std::uint32_t payloadSize);
    void Deliver(std::int32_t message);

    const std::shared_ptr<HandlerTable> m_handlers;
    std::vector<unsigned char> m_buffer;
};

}  // namespace qxicl
