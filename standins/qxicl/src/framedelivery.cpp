#include "framedelivery.h"

#include <algorithm>

#include "frameheader.h"

namespace qxicl {

bool FrameDelivery::Serve(const ReadExactly& read, const std::atomic<bool>& stopping)
{
    for (;;) {
        unsigned char headerBytes[kFrameHeaderSize];
        ReadResult result = read(headerBytes, sizeof headerBytes);
        if (result != ReadResult::Complete) {
            return result != ReadResult::Stopped;
        }
        const FrameHeader header = FrameHeader::Decode(headerBytes);
        if (!header.IsAcceptable()) {
            return true;
        }
        PrepareBuffer(header.size);
        result = read(m_buffer.data(), header.size);
        if (result != ReadResult::Complete) {
            return result != ReadResult::Stopped;
        }
        Deliver(header.message);
        if (stopping) {
            return false;
        }
    }
}

void FrameDelivery::PrepareBuffer(std::uint32_t payloadSize)
{
    m_buffer.assign(std::max<std::size_t>(kMinDeliveryBuffer, payloadSize + kDeliveryZeroTail), 0);
}

// Handlers are plain functions of the callers; nothing they throw may end the receive thread.
void FrameDelivery::Deliver(std::int32_t message)
{
    const PipeMessageHandler handler = m_handlers->Find(message);
    if (handler == nullptr) {
        return;
    }
    try {
        handler(m_buffer.data());
    } catch (...) {
    }
}

}  // namespace qxicl
