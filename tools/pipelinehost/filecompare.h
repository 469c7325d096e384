// Whether the filter handed the job on unchanged: two files compared byte for byte.
#pragma once

#include <optional>
#include <string>

#include <windows.h>

namespace pipelinehost {

struct FileComparison {
    bool readable = false;
    ULONGLONG firstSize = 0;
    ULONGLONG secondSize = 0;
    std::optional<ULONGLONG> firstDifference;  // offset of the first differing byte, or of the shorter file's end

    bool Equal() const { return readable && !firstDifference; }
};

FileComparison CompareFiles(const std::string& first, const std::string& second);

}  // namespace pipelinehost
