#include "pipelinehost/jobinputs.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "pipelinehost/readstream.h"
#include "pipelinehost/setuperror.h"

namespace pipelinehost {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> RegularFilesIn(const std::string& folder)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_regular_file(ignored)) {
            files.push_back(entry->path());
        }
    }
    if (error) {
        throw SetupError("cannot list the input folder " + folder + ": " + error.message());
    }
    // By the name alone, byte for byte, so that the order does not depend on the locale.
    std::sort(files.begin(), files.end(),
              [](const fs::path& a, const fs::path& b) { return a.filename().string() < b.filename().string(); });
    return std::vector<std::string>(files.begin(), files.end());
}

}  // namespace

JobInputs::JobInputs(std::vector<std::string> files, unsigned repeat) : files_(std::move(files)), repeat_(repeat)
{
    if (files_.empty() || repeat_ == 0) {
        throw std::invalid_argument("a run needs at least one job");
    }
}

JobInputs JobInputs::FromFolder(const std::string& folder, unsigned repeat)
{
    std::vector<std::string> files = RegularFilesIn(folder);
    if (files.empty()) {
        throw SetupError("the input folder " + folder + " holds no file");
    }
    return JobInputs(std::move(files), repeat);
}

void JobInputs::CheckReadable() const
{
    for (const std::string& file : files_) {
        OrSetupError("cannot read the input", [&] { return ReadStream::OpenFile(file); });
    }
}

}  // namespace pipelinehost
