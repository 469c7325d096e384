#include "pipelinehost/driverlogfolder.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <platform/machine.h>

namespace pipelinehost {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kFolder[] = L"C:\\QX Inc\\Calvost";
constexpr char kConfigurationFile[] = "qxdrvlog.cfg";
constexpr char kLogFile[] = "qxdrvlog.log";

struct Level {
    const char* name;
    const char* configuration;
};

constexpr Level kLevels[] = {
    {"info", "0"}, {"warning", "1"}, {"exception", "2"}, {"error", "3"}, {"performance", "4"}, {"off", "off"},
};

}  // namespace

DriverLogFolder::DriverLogFolder()
{
    const std::optional<std::string> path = platform::HostPathOf(kFolder);
    if (!path) {
        throw std::logic_error("the driver log folder has no place on the machine");
    }
    path_ = *path;
}

std::optional<std::string> DriverLogFolder::ConfigurationFor(const std::string& level)
{
    for (const Level& known : kLevels) {
        if (level == known.name) {
            return known.configuration;
        }
    }
    return std::nullopt;
}

std::string DriverLogFolder::LevelList()
{
    std::string list;
    for (const Level& known : kLevels) {
        list += (list.empty() ? "" : ", ") + std::string(known.name);
    }
    return list;
}

void DriverLogFolder::Configure(const std::string& level) const
{
    const std::optional<std::string> configuration = ConfigurationFor(level);
    if (!configuration) {
        throw std::invalid_argument("unknown driver log level '" + level + "'");
    }
    std::error_code error;
    fs::create_directories(path_, error);
    if (error) {
        throw std::system_error(error, path_);
    }
    // Written aside and renamed over the old one: another host sharing the machine reads either
    // the old or the new level, never an empty file that would turn its log off.
    const std::string file = (fs::path(path_) / kConfigurationFile).string();
    const std::string aside = file + "." + std::to_string(::getpid()) + ".new";
    std::ofstream out(aside, std::ios::binary | std::ios::trunc);
    out << *configuration << "\n";
    out.close();
    if (!out || std::rename(aside.c_str(), file.c_str()) != 0) {
        fs::remove(aside, error);
        throw std::runtime_error("cannot write " + file);
    }
}

std::optional<std::string> DriverLogFolder::LogFile() const
{
    const fs::path file = fs::path(path_) / kLogFile;
    std::error_code ignored;
    if (!fs::is_regular_file(file, ignored)) {
        return std::nullopt;
    }
    return file.string();
}

}  // namespace pipelinehost
