// What one preview session shares with its message handlers: the data the application asks for
// and the result it sends back.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "previewrecords.h"

class PreviewChannelState {
public:
    // Complete before the application starts and unchanged while it runs. A session collects them
    // elsewhere and publishes them whole; the handlers read them under HoldData, so a request that
    // came early would see either none or all of them, never half.
    PrintPreviewData data{};
    std::vector<PaperSourceEntry> paperSources;
    std::wstring softwareUrl;

    std::unique_lock<std::mutex> HoldData() const;
    // Takes over the collected data block, paper sources and URL.
    void Publish(PreviewChannelState& collected);

    // Takes the first sizeof(PrintPreviewResult) bytes of a received payload; a later result
    // replaces an earlier one.
    void StoreResult(const void* payload);
    bool ResultReceived() const;
    // The application sends its result before it exits, but the library's thread may still be
    // handing it over when the exit is seen; true as soon as a result is stored.
    bool WaitForResult(std::chrono::milliseconds bound) const;
    // All zero until a result was received.
    PrintPreviewResult Result() const;
    // The result's encoded settings text up to its terminator, or all 512 bytes when the
    // application left none.
    std::string ResultEncodedSettings() const;

private:
    mutable std::mutex m_dataLock;
    // The result arrives on the library's thread, which may still be storing it when the
    // application has already exited and the session reads it.
    mutable std::mutex m_resultLock;
    mutable std::condition_variable m_resultArrived;
    PrintPreviewResult m_result{};
    bool m_resultReceived = false;
};
