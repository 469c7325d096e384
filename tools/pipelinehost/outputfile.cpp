#include "pipelinehost/outputfile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace pipelinehost {

OutputFile OutputFile::Temporary()
{
    const char* folder = std::getenv("TMPDIR");
    std::string pattern = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") +
                          "/qxpipelinehost-output-XXXXXX";
    const int file = ::mkstemp(pattern.data());
    if (file < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot create a temporary output file");
    }
    ::close(file);
    OutputFile output(pattern);
    output.temporary_ = true;
    return output;
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : path_(std::move(other.path_)), temporary_(std::exchange(other.temporary_, false))
{
}

OutputFile::~OutputFile()
{
    if (temporary_) {
        ::unlink(path_.c_str());
    }
}

}  // namespace pipelinehost
