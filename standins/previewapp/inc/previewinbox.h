// The messages the filter sends, collected for the main thread. The communication library calls its
// handlers as plain functions without a context, so the collection is process-wide.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

#include "receivedjob.h"

namespace previewapp {

class PreviewInbox {
public:
    static PreviewInbox& Instance();

    // Handlers for the communication library, each called on its thread.
    static void OnData(void* payload);
    static void OnPaperSource(void* payload);
    static void OnPaperSourceEnd(void* payload);
    static void OnSoftwareUrl(void* payload);

    // True once the data block and the end of the paper sources have arrived; false after the timeout.
    bool WaitForJobData(std::chrono::milliseconds timeout);
    bool WaitForSoftwareUrl(std::chrono::milliseconds timeout);
    ReceivedJob Received() const;

private:
    PreviewInbox() = default;
    void Record(std::int32_t message, const std::function<void(ReceivedJob&)>& update);
    bool WaitUntil(std::chrono::milliseconds timeout, const std::function<bool(const ReceivedJob&)>& arrived);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    ReceivedJob m_job;
};

}  // namespace previewapp
