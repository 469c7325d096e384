#include "previewarguments.h"

#include <limits.h>
#include <unistd.h>

#include <string_view>

#include "previewfailure.h"

namespace previewapp {

namespace {

struct ArgumentDesc {
    std::string_view prefix;
    std::string PreviewArguments::*field;
    bool required;
};

const ArgumentDesc kArguments[] = {
    {"--Version=", &PreviewArguments::version, true},
    {"--Input=", &PreviewArguments::inputPipe, true},
    {"--Output=", &PreviewArguments::outputPipe, true},
    {"--library=", &PreviewArguments::channelLibrary, false},
    {"--encoding-library=", &PreviewArguments::encodingLibrary, false},
};

const ArgumentDesc& DescOf(std::string_view argument)
{
    for (const ArgumentDesc& desc : kArguments) {
        if (argument.substr(0, desc.prefix.size()) == desc.prefix) {
            return desc;
        }
    }
    throw PreviewFailure(kExitUsage, "unknown argument: " + std::string(argument));
}

std::string ExecutableFolder()
{
    char path[PATH_MAX] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length <= 0) {
        return ".";
    }
    const std::string executable(path, static_cast<std::size_t>(length));
    return executable.substr(0, executable.rfind('/'));
}

}  // namespace

PreviewArguments PreviewArguments::Parse(int argc, const char* const* argv)
{
    PreviewArguments arguments;
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument(argv[i]);
        const ArgumentDesc& desc = DescOf(argument);
        arguments.*desc.field = std::string(argument.substr(desc.prefix.size()));
    }
    for (const ArgumentDesc& desc : kArguments) {
        if (desc.required && (arguments.*desc.field).empty()) {
            throw PreviewFailure(kExitUsage, "missing argument " + std::string(desc.prefix) + "<value>");
        }
    }
    const std::string folder = ExecutableFolder();
    if (arguments.channelLibrary.empty()) {
        arguments.channelLibrary = folder + "/libqxicl.so";
    }
    if (arguments.encodingLibrary.empty()) {
        arguments.encodingLibrary = folder + "/libqxitrn.so";
    }
    return arguments;
}

}  // namespace previewapp
