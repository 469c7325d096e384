#include "pipelinehost/filecompare.h"

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <vector>

namespace pipelinehost {
namespace {

// The size of a regular file; nothing for anything else.
std::optional<ULONGLONG> RegularFileSize(const std::string& path)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return static_cast<ULONGLONG>(status.st_size);
}

}  // namespace

FileComparison CompareFiles(const std::string& first, const std::string& second)
{
    FileComparison comparison;
    const std::optional<ULONGLONG> firstSize = RegularFileSize(first);
    const std::optional<ULONGLONG> secondSize = RegularFileSize(second);
    if (!firstSize || !secondSize) {
        comparison.regular = false;
        comparison.firstSize = firstSize.value_or(0);
        comparison.secondSize = secondSize.value_or(0);
        return comparison;
    }
    std::ifstream a(first, std::ios::binary);
    std::ifstream b(second, std::ios::binary);
    if (!a || !b) {
        return comparison;
    }
    comparison.readable = true;
    constexpr std::size_t kChunk = 64 * 1024;
    std::vector<char> left(kChunk);
    std::vector<char> right(kChunk);
    ULONGLONG offset = 0;
    for (;;) {
        a.read(left.data(), kChunk);
        b.read(right.data(), kChunk);
        const auto gotA = static_cast<std::size_t>(a.gcount());
        const auto gotB = static_cast<std::size_t>(b.gcount());
        comparison.firstSize += gotA;
        comparison.secondSize += gotB;
        if (!comparison.firstDifference) {
            const std::size_t common = std::min(gotA, gotB);
            const auto mismatch = std::mismatch(left.begin(), left.begin() + common, right.begin());
            if (mismatch.first != left.begin() + common || gotA != gotB) {
                comparison.firstDifference = offset + static_cast<ULONGLONG>(mismatch.first - left.begin());
            }
        }
        offset += std::min(gotA, gotB);
        if (gotA < kChunk && gotB < kChunk) {
            break;
        }
    }
    return comparison;
}

}  // namespace pipelinehost
