#include "pipelinehost/driverlogexcerpt.h"

#include <sys/types.h>

#include <cstdio>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <system_error>

#include <platform/machine.h>

#include "pipelinehost/driverlogfolder.h"

namespace pipelinehost {

// Bytes the log wrote to its file from this process. Shared with the log's open file, which may
// outlive the excerpt when a module stays loaded.
struct DriverLogExcerpt::Captured {
    std::mutex lock;
    std::string bytes;
};

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

// A file the log appends to, whose writes also reach the capture.
struct TeeFile {
    FILE* file;
    std::shared_ptr<DriverLogExcerpt::Captured> captured;
};

ssize_t TeeWrite(void* cookie, const char* data, size_t size)
{
    auto* tee = static_cast<TeeFile*>(cookie);
    const std::size_t written = std::fwrite(data, 1, size, tee->file);
    std::fflush(tee->file);
    {
        const std::lock_guard<std::mutex> hold(tee->captured->lock);
        tee->captured->bytes.append(data, written);
    }
    return written == 0 && size != 0 ? -1 : static_cast<ssize_t>(written);
}

int TeeClose(void* cookie)
{
    auto* tee = static_cast<TeeFile*>(cookie);
    const int result = std::fclose(tee->file);
    delete tee;
    return result;
}

bool SameFile(const std::string& a, const std::string& b)
{
    std::error_code ignored;
    return std::filesystem::weakly_canonical(a, ignored) == std::filesystem::weakly_canonical(b, ignored);
}

}  // namespace

// The system as it is, except that the log file, opened for appending, tells the capture what is
// written to it.
class DriverLogExcerpt::Listener : public platform::Kernel32 {
public:
    Listener(std::string logFile, std::shared_ptr<Captured> captured)
        : logFile_(std::move(logFile)), captured_(std::move(captured))
    {
    }

    FILE* _wfsopen(const wchar_t* fileName, const wchar_t* mode, int shareFlag) override
    {
        FILE* file = Kernel32::_wfsopen(fileName, mode, shareFlag);
        const std::optional<std::string> path = fileName != nullptr ? platform::HostPathOf(fileName) : std::nullopt;
        if (file == nullptr || mode == nullptr || mode[0] != L'a' || !path || !SameFile(*path, logFile_)) {
            return file;
        }
        auto* tee = new TeeFile{file, captured_};
        FILE* teed = ::fopencookie(tee, "a", cookie_io_functions_t{nullptr, TeeWrite, nullptr, TeeClose});
        if (teed == nullptr) {
            delete tee;
            return file;
        }
        return teed;
    }

private:
    std::string logFile_;
    std::shared_ptr<Captured> captured_;
};

DriverLogExcerpt::DriverLogExcerpt()
    : captured_(std::make_shared<Captured>()),
      listener_(std::make_unique<Listener>(DriverLogFolder().Path() + "/qxdrvlog.log", captured_)),
      replaced_(platform::Install(listener_.get()))
{
}

DriverLogExcerpt::~DriverLogExcerpt() { platform::Install(replaced_); }

std::vector<std::string> DriverLogExcerpt::Lines() const
{
    std::string bytes;
    {
        const std::lock_guard<std::mutex> hold(captured_->lock);
        bytes = captured_->bytes;
    }
    std::vector<std::string> lines;
    std::istringstream in(bytes);
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
