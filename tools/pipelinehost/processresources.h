// What this process holds at a moment, as Linux tells it in /proc/self: open file descriptors,
// threads and resident memory. A long run of jobs compares such samples to show that jobs give back
// what they take.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace pipelinehost {

struct ProcessResources {
    std::size_t fileDescriptors = 0;
    std::size_t threads = 0;
    std::uint64_t residentKilobytes = 0;

    // Gives the allocator's free pages back to the system, then reads /proc/self; none when it
    // cannot be read, as in a sandbox without /proc.
    static std::optional<ProcessResources> Now();

    // "12 fds, 3 threads, 18.2 MB".
    std::string Text() const;
    // What changed from an earlier sample, signed: "+0 fds, +0 threads, +0.4 MB".
    std::string GrowthSince(const ProcessResources& earlier) const;
};

}  // namespace pipelinehost
