#include "hostprocess.h"

#include <limits.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>

namespace previewapp {

const char* const kChannelLibraryFile = "libqxicl.so";
const char* const kEncodingLibraryFile = "libqxitrn.so";

std::string ExecutableFolder()
{
    char path[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length <= 0) {
        return "./";
    }
    const std::string executable(path, static_cast<std::size_t>(length));
    return executable.substr(0, executable.rfind('/') + 1);
}

bool StandardInputIsTerminal()
{
    return isatty(STDIN_FILENO) != 0;
}

void AbortQuietly()
{
    // A core file of a scripted crash is of no use to anyone.
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    std::abort();
}

}  // namespace previewapp
