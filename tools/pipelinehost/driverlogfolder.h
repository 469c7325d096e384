// The driver log's folder on the simulated machine, "C:\QX Inc\Calvost": the filter reads its level
// from "qxdrvlog.cfg" there when the module starts logging, and appends to "qxdrvlog.log".
#pragma once

#include <optional>
#include <string>

namespace pipelinehost {

class DriverLogFolder {
public:
    // The folder under the machine root as it is now: choose the root first.
    DriverLogFolder();

    // What the configuration file holds for a level: "0" for info up to "4" for performance, "off";
    // nothing for a name the log does not know.
    static std::optional<std::string> ConfigurationFor(const std::string& level);
    // "info, warning, ..." for a usage message.
    static std::string LevelList();

    // Creates the folder and writes the configuration for the level. The module reads it once,
    // when its first filter starts the log, so this has to happen before the module is loaded.
    // Throws std::runtime_error (std::system_error when the system says why).
    void Configure(const std::string& level) const;

    const std::string& Path() const { return path_; }
    // The log file, once the filter has written one.
    std::optional<std::string> LogFile() const;

private:
    std::string path_;
};

}  // namespace pipelinehost
