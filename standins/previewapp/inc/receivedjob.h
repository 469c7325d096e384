// What the filter told this program about the job.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "previewrecords.h"

namespace previewapp {

struct ReceivedJob {
    bool hasData = false;
    PrintPreviewData data{};
    std::vector<PaperSourceEntry> paperSources;
    bool paperSourcesComplete = false;
    bool hasSoftwareUrl = false;
    std::string softwareUrl;
    // Every message number in the order the messages arrived, so that the order can be checked.
    std::vector<std::int32_t> messages;
};

}  // namespace previewapp
