// Plays the previous filter for a gradual file stream: a producer thread that makes the file
// readable a chunk at a time, pausing between chunks, and closes the input at its end.
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

#include <wrl/client.h>

#include "pipelinehost/readstream.h"

namespace pipelinehost {

class GradualFeeder {
public:
    explicit GradualFeeder(Microsoft::WRL::ComPtr<ReadStream> stream, ULONG chunkBytes = 8192,
                           std::chrono::milliseconds pause = std::chrono::milliseconds(2));
    // Waits until the whole input was provided and closed.
    ~GradualFeeder();
    GradualFeeder(const GradualFeeder&) = delete;
    GradualFeeder& operator=(const GradualFeeder&) = delete;

    ULONG Chunks() const { return chunks_; }

private:
    void Feed(ULONG chunkBytes, std::chrono::milliseconds pause);

    Microsoft::WRL::ComPtr<ReadStream> stream_;
    std::atomic<ULONG> chunks_{0};
    std::thread thread_;
};

}  // namespace pipelinehost
