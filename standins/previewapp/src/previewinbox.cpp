#include "previewinbox.h"

#include <cstring>

#include "previewmessages.h"
#include "utf16text.h"

namespace previewapp {

PreviewInbox& PreviewInbox::Instance()
{
    static PreviewInbox inbox;
    return inbox;
}

// The library hands every payload in a buffer of at least 4096 bytes, zero beyond what was sent, so
// the fixed-size copies below never read past it, whatever the filter sent.

void PreviewInbox::OnData(void* payload)
{
    Instance().Record(PP_MSG_DATA, [payload](ReceivedJob& job) {
        std::memcpy(&job.data, payload, sizeof(job.data));
        job.hasData = true;
    });
}

void PreviewInbox::OnPaperSource(void* payload)
{
    Instance().Record(PP_MSG_PAPER_SOURCE, [payload](ReceivedJob& job) {
        PaperSourceEntry entry{};
        std::memcpy(&entry, payload, sizeof(entry));
        job.paperSources.push_back(entry);
    });
}

void PreviewInbox::OnPaperSourceEnd(void*)
{
    Instance().Record(PP_MSG_PAPER_SOURCE_END, [](ReceivedJob& job) { job.paperSourcesComplete = true; });
}

void PreviewInbox::OnSoftwareUrl(void* payload)
{
    Instance().Record(PP_MSG_SOFTWARE_URL, [payload](ReceivedJob& job) {
        // A URL that fills the whole payload has no terminator.
        job.softwareUrl = NarrowField(static_cast<const char*>(payload), kPreviewMessageSize);
        job.hasSoftwareUrl = true;
    });
}

bool PreviewInbox::WaitForJobData(std::chrono::milliseconds timeout)
{
    return WaitUntil(timeout, [](const ReceivedJob& job) { return job.hasData && job.paperSourcesComplete; });
}

bool PreviewInbox::WaitForSoftwareUrl(std::chrono::milliseconds timeout)
{
    return WaitUntil(timeout, [](const ReceivedJob& job) { return job.hasSoftwareUrl; });
}

ReceivedJob PreviewInbox::Received() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_job;
}

void PreviewInbox::Record(std::int32_t message, const std::function<void(ReceivedJob&)>& update)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        update(m_job);
        m_job.messages.push_back(message);
    }
    m_changed.notify_all();
}

bool PreviewInbox::WaitUntil(std::chrono::milliseconds timeout,
                             const std::function<bool(const ReceivedJob&)>& arrived)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [this, &arrived] { return arrived(m_job); });
}

}  // namespace previewapp
