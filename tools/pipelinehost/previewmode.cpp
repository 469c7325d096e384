#include "pipelinehost/previewmode.h"

#include <cstdlib>

namespace pipelinehost {
namespace {

constexpr const char* kVariable = "QXPREVIEW_MODE";
constexpr const char* kUnattended = "accept";
constexpr const char* kModes[] = {"accept", "change", "cancel", "exit", "crash", "garbage", "short", "silent",
                                  "interactive"};

}  // namespace

bool IsPreviewMode(const std::string& mode)
{
    for (const char* known : kModes) {
        if (mode == known) {
            return true;
        }
    }
    return false;
}

std::string PreviewModeList()
{
    std::string list;
    for (const char* mode : kModes) {
        list += (list.empty() ? "" : ", ") + std::string(mode);
    }
    return list;
}

void UsePreviewMode(const std::string& mode)
{
    if (mode.empty()) {
        ::setenv(kVariable, kUnattended, 0);
        return;
    }
    ::setenv(kVariable, mode.c_str(), 1);
}

}  // namespace pipelinehost
