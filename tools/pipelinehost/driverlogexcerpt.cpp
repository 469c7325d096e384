#include "pipelinehost/driverlogexcerpt.h"

#include <filesystem>
#include <fstream>

#include "pipelinehost/driverlogfolder.h"

namespace pipelinehost {
namespace {

// The ticket reader logs every feature a ticket leaves out as an error, so errors are shown only
// from the job run itself and from the preview session.
const char* const kMarkers[] = {
    "Print Preview option is", "Print Preview result", "PrintPreview 2.0", "Finishing StartOperation_throws",
    "Prn not processed", "[ERR] [hostpreviewfilter:", "[ERR] [printpreviewmanager:", "[ERR] [driverv4winapi:",
};

bool Marked(const std::string& line)
{
    for (const char* marker : kMarkers) {
        if (line.find(marker) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// "23-11-2026 14:44:59.762 [INF] ..." without the date and time.
std::string WithoutTimestamp(const std::string& line)
{
    const std::size_t level = line.find(" [");
    return level == std::string::npos ? line : line.substr(level + 1);
}

}  // namespace

DriverLogExcerpt::DriverLogExcerpt() : file_(DriverLogFolder().Path() + "/qxdrvlog.log")
{
    std::error_code ignored;
    const std::uintmax_t size = std::filesystem::file_size(file_, ignored);
    mark_ = ignored ? 0 : size;
}

std::vector<std::string> DriverLogExcerpt::Lines() const
{
    std::vector<std::string> lines;
    std::ifstream in(file_, std::ios::binary);
    if (!in) {
        return lines;
    }
    in.seekg(static_cast<std::streamoff>(mark_));
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (Marked(line)) {
            lines.push_back(WithoutTimestamp(line));
        }
    }
    return lines;
}

}  // namespace pipelinehost
