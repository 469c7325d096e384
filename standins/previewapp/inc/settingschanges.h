// Changes a user (or a script) makes in the preview: four settings inside the encoded text, and the
// scaling values the result block carries beside it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "morvikrecord.h"
#include "previewrecords.h"

namespace previewapp {

struct SettingsChanges {
    std::optional<std::int32_t> inputBin;
    std::optional<std::int32_t> rotation;
    std::optional<std::int32_t> outputColor;
    std::optional<std::int32_t> scalingMode;
    std::optional<std::uint32_t> scalingPercentage;
    std::optional<std::uint32_t> fitToPaperWidth;
    std::optional<std::uint32_t> fitToPaperHeight;
    std::optional<std::uint32_t> fitToPaperOption;

    bool Any() const;
    bool AnyInSettings() const;
    void ApplyTo(MorvikSettingsRecord& record) const;
    void ApplyTo(PrintPreviewResult& result) const;
    // The filter reads the result's scaling values only under a scaling mode of 1, 2 or 3: the
    // script variables of the values set that the job's mode, after this change, leaves unread.
    std::vector<std::string> IgnoredScalingVariables(std::optional<std::int32_t> jobScalingMode) const;
};

}  // namespace previewapp
