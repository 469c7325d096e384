#include "previewchannelstate.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

std::unique_lock<std::mutex> PreviewChannelState::HoldData() const { return std::unique_lock<std::mutex>(m_dataLock); }

void PreviewChannelState::Publish(PreviewChannelState& collected)
{
    const std::lock_guard<std::mutex> hold(m_dataLock);
    data = collected.data;
    paperSources = std::move(collected.paperSources);
    softwareUrl = std::move(collected.softwareUrl);
}

void PreviewChannelState::StoreResult(const void* payload)
{
    const std::lock_guard<std::mutex> hold(m_resultLock);
    std::memcpy(&m_result, payload, sizeof(m_result));
    m_resultReceived = true;
    m_resultArrived.notify_all();
}

bool PreviewChannelState::WaitForResult(std::chrono::milliseconds bound) const
{
    std::unique_lock<std::mutex> hold(m_resultLock);
    return m_resultArrived.wait_for(hold, bound, [this] { return m_resultReceived; });
}

bool PreviewChannelState::ResultReceived() const
{
    const std::lock_guard<std::mutex> hold(m_resultLock);
    return m_resultReceived;
}

PrintPreviewResult PreviewChannelState::Result() const
{
    const std::lock_guard<std::mutex> hold(m_resultLock);
    return m_result;
}

std::string PreviewChannelState::ResultEncodedSettings() const
{
    const std::lock_guard<std::mutex> hold(m_resultLock);
    const char* const text = m_result.encodedSettings;
    return std::string(text, std::find(text, text + std::size(m_result.encodedSettings), '\0'));
}
