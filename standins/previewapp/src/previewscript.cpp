#include "previewscript.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>

#include "previewfailure.h"

namespace previewapp {

namespace {

constexpr char kScriptKey[] = "QXPREVIEW_SCRIPT";
constexpr long long kLongestTimeoutMs = 24LL * 60 * 60 * 1000;
// What a change scripted with no values changes: the tray, and a quarter turn.
constexpr std::int32_t kDefaultChangedInputBin = 2;
constexpr std::int32_t kDefaultChangedRotation = 1;

long long ParseNumber(const std::string& key, const std::string& value, long long lowest, long long highest)
{
    errno = 0;
    char* end = nullptr;
    const long long number = std::strtoll(value.c_str(), &end, 10);
    if (value.empty() || *end != '\0' || errno == ERANGE || number < lowest || number > highest) {
        throw PreviewFailure(kExitUsage, key + ": not a number from " + std::to_string(lowest) + " to " +
                                             std::to_string(highest) + ": '" + value + "'");
    }
    return number;
}

std::int32_t ParseSetting(const std::string& key, const std::string& value)
{
    return static_cast<std::int32_t>(ParseNumber(key, value, std::numeric_limits<std::int32_t>::min(),
                                                 std::numeric_limits<std::int32_t>::max()));
}

std::uint32_t ParseResultValue(const std::string& key, const std::string& value)
{
    return static_cast<std::uint32_t>(ParseNumber(key, value, 0, std::numeric_limits<std::uint32_t>::max()));
}

PreviewMode ParseMode(const std::string& key, const std::string& value)
{
    const std::optional<PreviewMode> mode = ModeFromName(value);
    if (!mode.has_value()) {
        throw PreviewFailure(kExitUsage, key + ": unknown mode '" + value + "'");
    }
    return *mode;
}

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) {
        return std::string();
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

const std::vector<PreviewScript::Key>& PreviewScript::Keys()
{
    using S = PreviewScript;
    using T = const std::string&;
    static const std::vector<Key> keys = {
        {"QXPREVIEW_MODE", [](S& s, T k, T v) { s.m_mode = ParseMode(k, v); }},
        {"QXPREVIEW_EXIT_CODE", [](S& s, T k, T v) { s.m_exitCode = static_cast<int>(ParseNumber(k, v, 0, 255)); }},
        {"QXPREVIEW_INPUT_BIN", [](S& s, T k, T v) { s.m_changes.inputBin = ParseSetting(k, v); }},
        {"QXPREVIEW_ROTATION", [](S& s, T k, T v) { s.m_changes.rotation = ParseSetting(k, v); }},
        {"QXPREVIEW_OUTPUT_COLOR", [](S& s, T k, T v) { s.m_changes.outputColor = ParseSetting(k, v); }},
        {"QXPREVIEW_SCALING_MODE", [](S& s, T k, T v) { s.m_changes.scalingMode = ParseSetting(k, v); }},
        {"QXPREVIEW_SCALING_PERCENTAGE",
         [](S& s, T k, T v) { s.m_changes.scalingPercentage = ParseResultValue(k, v); }},
        {"QXPREVIEW_FIT_WIDTH", [](S& s, T k, T v) { s.m_changes.fitToPaperWidth = ParseResultValue(k, v); }},
        {"QXPREVIEW_FIT_HEIGHT", [](S& s, T k, T v) { s.m_changes.fitToPaperHeight = ParseResultValue(k, v); }},
        {"QXPREVIEW_FIT_OPTION", [](S& s, T k, T v) { s.m_changes.fitToPaperOption = ParseResultValue(k, v); }},
        {"QXPREVIEW_REPORT", [](S& s, T, T v) { s.m_reportPath = v; }},
        {"QXPREVIEW_TIMEOUT_MS",
         [](S& s, T k, T v) { s.m_timeout = std::chrono::milliseconds(ParseNumber(k, v, 1, kLongestTimeoutMs)); }},
    };
    return keys;
}

PreviewScript PreviewScript::FromEnvironment(bool stdinIsTerminal)
{
    PreviewScript script(stdinIsTerminal ? PreviewMode::Interactive : PreviewMode::Accept);
    if (const char* path = std::getenv(kScriptKey); path != nullptr && *path != '\0') {
        script.ReadFile(path);
    }
    script.ReadEnvironment();
    if (script.m_mode == PreviewMode::Change && !script.m_changes.Any()) {
        script.m_changes.inputBin = kDefaultChangedInputBin;
        script.m_changes.rotation = kDefaultChangedRotation;
    }
    return script;
}

bool PreviewScript::Set(const std::string& key, const std::string& value)
{
    for (const Key& known : Keys()) {
        if (key == known.name) {
            known.set(*this, key, value);
            return true;
        }
    }
    return false;
}

void PreviewScript::ReadFile(const std::string& path)
{
    std::ifstream file(path);
    if (!file) {
        throw PreviewFailure(kExitUsage, std::string(kScriptKey) + ": cannot read " + path);
    }
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        line = Trimmed(line);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        const std::size_t equals = line.find('=');
        const std::string key = Trimmed(line.substr(0, equals));
        if (equals == std::string::npos || !Set(key, Trimmed(line.substr(equals + 1)))) {
            throw PreviewFailure(kExitUsage,
                                 path + ":" + std::to_string(number) + ": not a KEY=VALUE line of a known key");
        }
    }
}

void PreviewScript::ReadEnvironment()
{
    for (const Key& known : Keys()) {
        if (const char* value = std::getenv(known.name); value != nullptr) {
            known.set(*this, known.name, value);
        }
    }
}

}  // namespace previewapp
