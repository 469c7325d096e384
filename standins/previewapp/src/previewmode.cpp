#include "previewmode.h"

#include <utility>

namespace previewapp {

namespace {

const std::pair<PreviewMode, const char*> kModeNames[] = {
    {PreviewMode::Accept, "accept"},   {PreviewMode::Change, "change"},   {PreviewMode::Cancel, "cancel"},
    {PreviewMode::Exit, "exit"},       {PreviewMode::Crash, "crash"},     {PreviewMode::Garbage, "garbage"},
    {PreviewMode::Short, "short"},     {PreviewMode::Silent, "silent"},   {PreviewMode::Interactive, "interactive"},
};

}  // namespace

const char* ModeName(PreviewMode mode)
{
    for (const auto& [value, name] : kModeNames) {
        if (value == mode) {
            return name;
        }
    }
    return "unknown";
}

std::optional<PreviewMode> ModeFromName(const std::string& name)
{
    for (const auto& [value, modeName] : kModeNames) {
        if (name == modeName) {
            return value;
        }
    }
    return std::nullopt;
}

}  // namespace previewapp
