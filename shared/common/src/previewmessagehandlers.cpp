#include "previewmessagehandlers.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "qxdrvlogger.h"
#include "textconversion.h"

namespace {

using MessageBuffer = std::array<std::uint8_t, kPreviewMessageSize>;

static_assert(sizeof(PrintPreviewData) == kPreviewMessageSize, "the data block is sent as it is");
static_assert(sizeof(PaperSourceEntry) <= kPreviewMessageSize);

// Empty when the text has no UTF-8 form (a lone surrogate); logged for caller.
std::string Utf8OrEmpty(const std::wstring& text, const LogSite& caller)
{
    try {
        return WideToUtf8(text);
    } catch (const std::range_error&) {
        LogAt(LogLevel::Error, QX_FOR(caller), L"Software URL cannot be converted to UTF-8");
        return {};
    }
}

}  // namespace

PreviewMessageHandlers::PreviewMessageHandlers(PreviewChannelState& state, ComLibManager& channel,
                                               std::string outgoingPipeName)
    : m_state(state), m_channel(channel), m_outgoingPipeName(std::move(outgoingPipeName))
{
}

std::int32_t PreviewMessageHandlers::Send(EPreviewMessage message, const void* payload)
{
    const std::int32_t status = m_channel.SendPipeMessage(m_outgoingPipeName, message, payload, kPreviewMessageSize);
    if (status != 0) {
        QXLOG_ERROR(L"Preview message %d not sent, status %d", static_cast<int>(message), static_cast<int>(status));
    }
    return status;
}

void PreviewMessageHandlers::OnDataRequest(const void* /*payload*/)
{
    const auto hold = m_state.HoldData();
    if (Send(PP_MSG_DATA, &m_state.data) != 0) {
        return;
    }
    MessageBuffer buffer{};
    std::int32_t lastStatus = 0;
    for (const PaperSourceEntry& entry : m_state.paperSources) {
        buffer.fill(0);
        std::memcpy(buffer.data(), &entry, sizeof(entry));
        lastStatus = Send(PP_MSG_PAPER_SOURCE, buffer.data());
    }
    if (lastStatus != 0) {
        return;
    }
    buffer.fill(0);
    Send(PP_MSG_PAPER_SOURCE_END, buffer.data());
}

void PreviewMessageHandlers::OnSoftwareUrlRequest(const void* /*payload*/)
{
    MessageBuffer buffer{};
    const auto hold = m_state.HoldData();
    const std::string url = Utf8OrEmpty(m_state.softwareUrl, QX_HERE);
    if (url.size() <= buffer.size()) {
        std::memcpy(buffer.data(), url.data(), url.size());
    } else {
        QXLOG_ERROR(L"Software URL of %u bytes does not fit the message and is not sent",
                    static_cast<unsigned>(url.size()));
    }
    Send(PP_MSG_SOFTWARE_URL, buffer.data());
}

void PreviewMessageHandlers::OnPreviewResult(const void* payload) { m_state.StoreResult(payload); }
