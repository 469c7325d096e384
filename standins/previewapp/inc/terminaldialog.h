// The preview for a person at a terminal: the job as the filter described it, then a choice.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

#include "morvikrecord.h"
#include "previewmode.h"
#include "receivedjob.h"
#include "settingschanges.h"

namespace previewapp {

struct DialogDecision {
    PreviewMode mode;  // Accept, Change or Cancel
    SettingsChanges changes;
};

class TerminalDialog {
public:
    TerminalDialog(std::istream& in, std::ostream& out) : m_in(in), m_out(out) {}

    void ShowJob(const ReceivedJob& job, const std::optional<MorvikSettingsRecord>& settings) const;
    // Asks until the user prints or cancels; the end of the input cancels, since nobody approved.
    DialogDecision Ask(const std::optional<MorvikSettingsRecord>& settings) const;

private:
    void ShowPaperSources(const ReceivedJob& job) const;
    void ShowSettings(const MorvikSettingsRecord& settings) const;
    // Asks for the new value of the setting chosen by its key; other keys change nothing.
    void AskChange(char key, const std::optional<MorvikSettingsRecord>& settings, SettingsChanges& changes) const;
    // Nothing when the input ends or the answer is not a number.
    std::optional<std::int32_t> AskValue(const char* label, std::optional<std::int32_t> current) const;

    std::istream& m_in;
    std::ostream& m_out;
};

}  // namespace previewapp
