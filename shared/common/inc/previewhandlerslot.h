// The library calls a message handler as a plain function with nothing but the payload, and two
// jobs may run previews at the same time in one process. So each session takes one of a fixed
// number of slots, each with its own three plain functions, and binds its handlers to it for as
// long as it holds the slot. The number is far beyond the previews one process serves at once; a
// session beyond it waits for a slot rather than fail its job.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "comlibmanager.h"
#include "previewchannelstate.h"
#include "previewmessagehandlers.h"

class PreviewHandlerSlot {
public:
    static constexpr std::size_t kSlotCount = 256;

    // Binds handlers over the state and the channel (both must outlive the slot) to a free slot,
    // waiting for one when every slot is taken.
    PreviewHandlerSlot(PreviewChannelState& state, ComLibManager& channel, std::string outgoingPipeName);
    // Closes the channel first, so that no message of this session can reach a later session
    // that takes the slot; then waits for a handler still running and frees the slot.
    ~PreviewHandlerSlot();

    // On the channel's incoming pipe, in the order 101, 107, 106.
    void Register();

    PipeMessageHandler DataRequestHandler() const;
    PipeMessageHandler SoftwareUrlRequestHandler() const;
    PipeMessageHandler PreviewResultHandler() const;
    std::size_t Index() const { return m_index; }

    PreviewHandlerSlot(const PreviewHandlerSlot&) = delete;
    PreviewHandlerSlot& operator=(const PreviewHandlerSlot&) = delete;

private:
    ComLibManager& m_channel;
    std::unique_ptr<PreviewMessageHandlers> m_handlers;
    std::size_t m_index;
};
