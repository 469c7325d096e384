// Whether the filter handed the job on unchanged: two files compared byte for byte.
#pragma once

#include <optional>
#include <string>

#include <windows.h>

namespace pipelinehost {

struct FileComparison {
    bool readable = false;
    bool regular = true;  // false: one of them is no regular file (a device such as /dev/full, a pipe)
    ULONGLONG firstSize = 0;
    ULONGLONG secondSize = 0;
    std::optional<ULONGLONG> firstDifference;  // offset of the first differing byte, or of the shorter file's end

    bool Equal() const { return readable && !firstDifference; }
};

// Only regular files are compared: reading a device or a pipe may never end (/dev/full reads as
// endless zeros) or take bytes meant for someone else, so either of them is not readable here.
FileComparison CompareFiles(const std::string& first, const std::string& second);

}  // namespace pipelinehost
