// What the application does once it has the job: the verdict a user would give, or a misbehaviour
// the filter has to survive.
#pragma once

#include <optional>
#include <string>

namespace previewapp {

enum class PreviewMode {
    Accept,       // result with the settings text unchanged, exit 0
    Change,       // result with the scripted changes, exit 0
    Cancel,       // no result, exit 1
    Exit,         // no result, the scripted exit code
    Crash,        // abort() once the job has arrived
    Garbage,      // result of 528 random bytes, exit 0
    Short,        // result of only 100 bytes, exit 0
    Silent,       // no result, exit 0
    Interactive,  // ask on the terminal, then act as accept, change or cancel
};

const char* ModeName(PreviewMode mode);
std::optional<PreviewMode> ModeFromName(const std::string& name);

}  // namespace previewapp
