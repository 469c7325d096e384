// The filter's answers to the preview application's messages, for one session: they read the
// session's data and store the result in its state, and send on the application's pipe.
#pragma once

#include <cstdint>
#include <string>

#include "comlibmanager.h"
#include "previewchannelstate.h"
#include "previewmessages.h"

class PreviewMessageHandlers {
public:
    // The state and the channel must outlive the handlers.
    PreviewMessageHandlers(PreviewChannelState& state, ComLibManager& channel, std::string outgoingPipeName);

    // The data block, then every paper source (each sent even when an earlier send failed), then
    // the end marker, which is left out when the data block or the last paper source could not
    // be sent.
    void OnDataRequest(const void* payload);
    // The software URL in UTF-8, zero-filled. A URL that does not fit the message, or that has no
    // UTF-8 form, is logged and sent as no URL at all rather than cut.
    void OnSoftwareUrlRequest(const void* payload);
    // A short payload reads as zeros beyond its end (the library pads it), which the decoder of
    // the encoded settings then refuses.
    void OnPreviewResult(const void* payload);

private:
    // Sends kPreviewMessageSize bytes; a failure is logged and its status returned.
    std::int32_t Send(EPreviewMessage message, const void* payload);

    PreviewChannelState& m_state;
    ComLibManager& m_channel;
    std::string m_outgoingPipeName;
};
