// One run of the preview: load the libraries, get the job from the filter, give the verdict the
// mode asks for, and account for it all in the report.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "morvikrecord.h"
#include "previewarguments.h"
#include "previewreport.h"
#include "previewscript.h"
#include "receivedjob.h"
#include "settingscodec.h"

namespace previewapp {

class PreviewApplication {
public:
    PreviewApplication(const PreviewArguments& arguments, const PreviewScript& script)
        : m_arguments(arguments), m_script(script)
    {
    }

    // The exit code for the filter; failures are reported on stderr and in the report.
    int Run() const;

private:
    struct Verdict {
        std::optional<std::vector<std::uint8_t>> result;  // nothing: no message 106
        int exitCode;
    };

    int Converse(PreviewReport& report) const;
    void WarnOfIgnoredScaling(const std::optional<MorvikSettingsRecord>& settings) const;
    Verdict Decide(const ReceivedJob& job, const std::optional<MorvikSettingsRecord>& settings,
                   const SettingsCodec& codec, PreviewReport& report) const;
    Verdict VerdictOf(PreviewMode mode, const SettingsChanges& changes, const ReceivedJob& job,
                      const SettingsCodec& codec, PreviewReport& report) const;
    // Ends the process as a crashing application would, without stopping its pipe.
    [[noreturn]] void Crash(const ReceivedJob& job, PreviewReport& report) const;

    const PreviewArguments& m_arguments;
    const PreviewScript& m_script;
};

}  // namespace previewapp
