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
};

const SettingChange kSettingChanges[] = {
    {&SettingsChanges::inputBin, kMorvikInputBin},
    {&SettingsChanges::rotation, kMorvikRotation},
    {&SettingsChanges::outputColor, kMorvikOutputColor},
    {&SettingsChanges::scalingMode, kMorvikScalingMode},
};

const ResultChange kResultChanges[] = {
    {&SettingsChanges::scalingPercentage, &PrintPreviewResult::scalingPercentage},
    {&SettingsChanges::fitToPaperWidth, &PrintPreviewResult::fitToPaperWidth},
    {&SettingsChanges::fitToPaperHeight, &PrintPreviewResult::fitToPaperHeight},
    {&SettingsChanges::fitToPaperOption, &PrintPreviewResult::fitToPaperOption},
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

}  // namespace previewapp
