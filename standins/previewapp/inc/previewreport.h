// A JSON account of one run, for tests and for people tracing a conversation: the arguments, every
// message received and its content, the settings decoded from the job's text, the result sent and
// how the program ended.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "morvikrecord.h"
#include "previewarguments.h"
#include "previewmode.h"
#include "receivedjob.h"

namespace previewapp {

class PreviewReport {
public:
    PreviewReport(const PreviewArguments& arguments, PreviewMode mode);

    void SetJob(const ReceivedJob& job);
    void SetSettings(const std::optional<MorvikSettingsRecord>& settings);
    // What the user chose in the interactive mode.
    void SetDecision(PreviewMode mode);
    void SetResult(const std::vector<std::uint8_t>& payload, std::int32_t status);
    void SetError(const std::string& message);
    void SetExitCode(int exitCode);
    void SetSignal(const char* name);

    // Nothing for an empty path; a file that cannot be written is only complained about on stderr.
    void Write(const std::string& path) const;

private:
    nlohmann::json m_report;
};

}  // namespace previewapp
