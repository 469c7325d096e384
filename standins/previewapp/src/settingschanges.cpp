#include "settingschanges.h"

namespace previewapp {

namespace {

struct SettingChange {
    std::optional<std::int32_t> SettingsChanges::*change;
    MorvikField field;
};

struct ResultChange {
    std::optional<std::uint32_t> SettingsChanges::*change;
    std::uint32_t PrintPreviewResult::*field;
    const char* variable;
};

const SettingChange kSettingChanges[] = {
    {&SettingsChanges::inputBin, kMorvikInputBin},
    {&SettingsChanges::rotation, kMorvikRotation},
    {&SettingsChanges::outputColor, kMorvikOutputColor},
    {&SettingsChanges::scalingMode, kMorvikScalingMode},
};

const ResultChange kResultChanges[] = {
    {&SettingsChanges::scalingPercentage, &PrintPreviewResult::scalingPercentage, "QXPREVIEW_SCALING_PERCENTAGE"},
    {&SettingsChanges::fitToPaperWidth, &PrintPreviewResult::fitToPaperWidth, "QXPREVIEW_FIT_WIDTH"},
    {&SettingsChanges::fitToPaperHeight, &PrintPreviewResult::fitToPaperHeight, "QXPREVIEW_FIT_HEIGHT"},
    {&SettingsChanges::fitToPaperOption, &PrintPreviewResult::fitToPaperOption, "QXPREVIEW_FIT_OPTION"},
};

}  // namespace

bool SettingsChanges::AnyInSettings() const
{
    for (const SettingChange& entry : kSettingChanges) {
        if ((this->*entry.change).has_value()) {
            return true;
        }
    }
    return false;
}

bool SettingsChanges::Any() const
{
    for (const ResultChange& entry : kResultChanges) {
        if ((this->*entry.change).has_value()) {
            return true;
        }
    }
    return AnyInSettings();
}

void SettingsChanges::ApplyTo(MorvikSettingsRecord& record) const
{
    for (const SettingChange& entry : kSettingChanges) {
        if ((this->*entry.change).has_value()) {
            record.fields[entry.field] = *(this->*entry.change);
        }
    }
}

void SettingsChanges::ApplyTo(PrintPreviewResult& result) const
{
    for (const ResultChange& entry : kResultChanges) {
        if ((this->*entry.change).has_value()) {
            result.*entry.field = *(this->*entry.change);
        }
    }
}

std::vector<std::string> SettingsChanges::IgnoredScalingVariables(std::optional<std::int32_t> jobScalingMode) const
{
    const std::optional<std::int32_t> mode = scalingMode ? scalingMode : jobScalingMode;
    if (mode && *mode >= 1 && *mode <= 3) {
        return {};
    }
    std::vector<std::string> ignored;
    for (const ResultChange& entry : kResultChanges) {
        if ((this->*entry.change).has_value()) {
            ignored.push_back(entry.variable);
        }
    }
    return ignored;
}

}  // namespace previewapp
