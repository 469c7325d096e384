// What the application is told to do. The filter passes nothing but its three arguments, so the
// scripting comes from the environment, optionally from a file named there:
//
//   QXPREVIEW_MODE                accept | change | cancel | exit | crash | garbage | short | silent |
//                                 interactive; without it: interactive when stdin is a terminal,
//                                 otherwise accept
//   QXPREVIEW_EXIT_CODE           exit code of mode exit (default 2)
//   QXPREVIEW_INPUT_BIN           mode change: new input bin value of the settings (a change with
//                                 none of the values below changes input bin to 2, the tray, and
//                                 rotation to 1, a quarter turn, so that it always changes something)
//   QXPREVIEW_ROTATION            mode change: new job rotation value
//   QXPREVIEW_OUTPUT_COLOR        mode change: new output color value
//   QXPREVIEW_SCALING_MODE        mode change: new scaling mode value
//   QXPREVIEW_SCALING_PERCENTAGE  mode change: the result block's scaling percentage
//   QXPREVIEW_FIT_WIDTH           mode change: the result block's fit-to-paper width
//   QXPREVIEW_FIT_HEIGHT          mode change: the result block's fit-to-paper height
//   QXPREVIEW_FIT_OPTION          mode change: the result block's fit-to-paper option
//   QXPREVIEW_REPORT              file to write a JSON report of the conversation to
//   QXPREVIEW_TIMEOUT_MS          how long to wait for each answer of the filter (default 30000)
//   QXPREVIEW_SCRIPT              file of KEY=VALUE lines with the keys above; blank lines and lines
//                                 starting with # are skipped; the environment wins over the file
//
// Values are decimal; the settings values may be negative (-1 is "not set").
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "previewmode.h"
#include "settingschanges.h"

namespace previewapp {

class PreviewScript {
public:
    // Throws PreviewFailure (kExitUsage) for an unknown key in the file, an unknown mode, or a value
    // that is not a number of its range.
    static PreviewScript FromEnvironment(bool stdinIsTerminal);

    PreviewMode Mode() const { return m_mode; }
    int ExitCode() const { return m_exitCode; }
    const SettingsChanges& Changes() const { return m_changes; }
    const std::string& ReportPath() const { return m_reportPath; }
    std::chrono::milliseconds Timeout() const { return m_timeout; }

private:
    struct Key {
        const char* name;
        void (*set)(PreviewScript& script, const std::string& key, const std::string& value);
    };
    static const std::vector<Key>& Keys();

    explicit PreviewScript(PreviewMode defaultMode) : m_mode(defaultMode) {}
    // False for a key this program does not know.
    bool Set(const std::string& key, const std::string& value);
    void ReadFile(const std::string& path);
    void ReadEnvironment();

    PreviewMode m_mode;
    int m_exitCode = 2;
    SettingsChanges m_changes;
    std::string m_reportPath;
    std::chrono::milliseconds m_timeout{30000};
};

}  // namespace previewapp
