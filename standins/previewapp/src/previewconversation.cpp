#include "previewconversation.h"

#include "previewfailure.h"
#include "previewinbox.h"
#include "previewmessages.h"

namespace previewapp {

namespace {

// The filter does not read the requests' payload; a short text identifies the sender in a trace.
constexpr char kRequestText[] = "qxpreviewapp";

}  // namespace

PreviewConversation::PreviewConversation(const ChannelLibrary& channel, const PreviewArguments& arguments)
    : m_channel(channel), m_filterPipe(arguments.inputPipe), m_ownPipe(arguments.outputPipe)
{
    m_channel.Start(m_ownPipe);
    m_channel.Register(m_ownPipe, PP_MSG_DATA, &PreviewInbox::OnData);
    m_channel.Register(m_ownPipe, PP_MSG_PAPER_SOURCE, &PreviewInbox::OnPaperSource);
    m_channel.Register(m_ownPipe, PP_MSG_PAPER_SOURCE_END, &PreviewInbox::OnPaperSourceEnd);
    m_channel.Register(m_ownPipe, PP_MSG_SOFTWARE_URL, &PreviewInbox::OnSoftwareUrl);
}

PreviewConversation::~PreviewConversation()
{
    m_channel.Stop(m_ownPipe);
}

void PreviewConversation::ReceiveJob(std::chrono::milliseconds timeout) const
{
    PreviewInbox& inbox = PreviewInbox::Instance();
    Request(PP_MSG_DATA_REQUEST);
    Await(inbox.WaitForJobData(timeout), "the job data and the end of the paper sources", timeout);
    Request(PP_MSG_SOFTWARE_URL_REQUEST);
    Await(inbox.WaitForSoftwareUrl(timeout), "the software URL", timeout);
}

std::int32_t PreviewConversation::SendResult(const std::vector<std::uint8_t>& payload) const
{
    return m_channel.Send(m_filterPipe, PP_MSG_RESULT, payload.data(), static_cast<std::int32_t>(payload.size()));
}

void PreviewConversation::Request(std::int32_t message) const
{
    const std::int32_t status = m_channel.Send(m_filterPipe, message, kRequestText, sizeof(kRequestText));
    if (status != 0) {
        throw PreviewFailure(kExitNoAnswer, "cannot send message " + std::to_string(message) + " to pipe " +
                                                m_filterPipe + " (status " + std::to_string(status) + ")");
    }
}

void PreviewConversation::Await(bool arrived, const char* what, std::chrono::milliseconds timeout) const
{
    if (!arrived) {
        throw PreviewFailure(kExitNoAnswer, std::string("the filter did not send ") + what + " within " +
                                                std::to_string(timeout.count()) + " ms");
    }
}

}  // namespace previewapp
