#include "pipelinehost/jobinputs.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "pipelinehost/readstream.h"
#include "pipelinehost/setuperror.h"

namespace pipelinehost {
namespace {

namespace fs = std::filesystem;

// An XPS job is a ZIP package, and a ZIP package begins with a local file header.
constexpr std::array<char, 4> kZipLocalHeaderSignature{'P', 'K', '\x03', '\x04'};

// Whether the file begins with the ZIP signature. A file that cannot be opened counts as a job, so
// that the run stops on it with the error any unreadable input gives instead of passing it over.
bool IsJobPackage(const fs::path& file)
{
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return true;
    }
    std::array<char, 4> head{};
    std::size_t got = 0;
    while (got < head.size()) {
        const ssize_t read = ::read(descriptor, head.data() + got, head.size() - got);
        if (read < 0 && errno == EINTR) {
            continue;
        }
        if (read <= 0) {
            break;
        }
        got += static_cast<std::size_t>(read);
    }
    ::close(descriptor);
    return got == head.size() && head == kZipLocalHeaderSignature;
}

// The folder's job packages: its regular files (links to one count) that begin with the ZIP
// signature. Anything else beside them (a script, notes, a subfolder) is no job and is left out.
std::vector<std::string> JobPackagesIn(const std::string& folder)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_regular_file(ignored) && IsJobPackage(entry->path())) {
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
    std::vector<std::string> files = JobPackagesIn(folder);
    if (files.empty()) {
        throw SetupError("the input folder " + folder +
                         " holds no job: no regular file in it begins with PK\\x03\\x04, as a ZIP package does");
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
