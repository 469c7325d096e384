#include "pipelinehost/processresources.h"

#include <dirent.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

namespace pipelinehost {
namespace {

// Every open descriptor but the one the listing itself holds.
std::optional<std::size_t> OpenFileDescriptors()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc/self/fd"), &::closedir);
    if (!folder) {
        return std::nullopt;
    }
    const int own = ::dirfd(folder.get());
    std::size_t count = 0;
    while (const dirent* entry = ::readdir(folder.get())) {
        char* end = nullptr;
        const long number = std::strtol(entry->d_name, &end, 10);
        if (end != entry->d_name && *end == '\0' && number != own) {
            ++count;
        }
    }
    return count;
}

// The number after "Name:" in /proc/self/status ("Threads:  3", "VmRSS:  18636 kB").
std::optional<std::uint64_t> StatusNumber(const std::string& text, const std::string& name)
{
    const std::string key = "\n" + name + ":";
    const auto at = text.find(key);
    if (at == std::string::npos) {
        return std::nullopt;
    }
    char* end = nullptr;
    const char* start = text.c_str() + at + key.size();
    const unsigned long long number = std::strtoull(start, &end, 10);
    if (end == start) {
        return std::nullopt;
    }
    return number;
}

std::string Megabytes(double kilobytes, bool sign)
{
    char text[48];
    std::snprintf(text, sizeof text, sign ? "%+.1f MB" : "%.1f MB", kilobytes / 1024.0);
    return text;
}

std::string Signed(std::size_t now, std::size_t earlier)
{
    const long long difference = static_cast<long long>(now) - static_cast<long long>(earlier);
    return (difference >= 0 ? "+" : "") + std::to_string(difference);
}

}  // namespace

std::optional<ProcessResources> ProcessResources::Now()
{
    // Jobs on several threads leave free pages in several allocator arenas, more or fewer as the
    // threads happened to contend; handing those back first makes samples of one run comparable,
    // and a job's leak stays in them as memory still allocated.
    ::malloc_trim(0);
    const std::optional<std::size_t> descriptors = OpenFileDescriptors();
    std::ifstream file("/proc/self/status");
    // A newline in front, so that a field on the first line is found as the others are.
    std::string status = "\n";
    for (std::string line; std::getline(file, line);) {
        status += line + "\n";
    }
    const std::optional<std::uint64_t> threads = StatusNumber(status, "Threads");
    const std::optional<std::uint64_t> resident = StatusNumber(status, "VmRSS");
    if (!descriptors || !threads || !resident) {
        return std::nullopt;
    }
    return ProcessResources{*descriptors, static_cast<std::size_t>(*threads), *resident};
}

std::string ProcessResources::Text() const
{
    return std::to_string(fileDescriptors) + " fds, " + std::to_string(threads) + " threads, " +
           Megabytes(static_cast<double>(residentKilobytes), false);
}

std::string ProcessResources::GrowthSince(const ProcessResources& earlier) const
{
    return Signed(fileDescriptors, earlier.fileDescriptors) + " fds, " + Signed(threads, earlier.threads) +
           " threads, " +
           Megabytes(static_cast<double>(residentKilobytes) - static_cast<double>(earlier.residentKilobytes), true);
}

}  // namespace pipelinehost
