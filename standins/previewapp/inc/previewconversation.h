// This program's side of the channel: its own pipe receives the filter's answers, requests go to
// the filter's pipe. The pipe is stopped when the conversation ends.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "channellibrary.h"
#include "previewarguments.h"

namespace previewapp {

class PreviewConversation {
public:
    // Starts the output pipe and registers the handlers of every answer the filter gives.
    PreviewConversation(const ChannelLibrary& channel, const PreviewArguments& arguments);
    ~PreviewConversation();

    // Asks for the job (data block, paper sources up to their end) and then for the software URL,
    // waiting for each answer at most `timeout`; what arrived is in the PreviewInbox. Throws
    // PreviewFailure (kExitNoAnswer) when a request cannot be sent or an answer does not come.
    void ReceiveJob(std::chrono::milliseconds timeout) const;
    // The status of the send, 0 when sent.
    std::int32_t SendResult(const std::vector<std::uint8_t>& payload) const;

    PreviewConversation(const PreviewConversation&) = delete;
    PreviewConversation& operator=(const PreviewConversation&) = delete;

private:
    void Request(std::int32_t message) const;
    void Await(bool arrived, const char* what, std::chrono::milliseconds timeout) const;

    const ChannelLibrary& m_channel;
    std::string m_filterPipe;
    std::string m_ownPipe;
};

}  // namespace previewapp
