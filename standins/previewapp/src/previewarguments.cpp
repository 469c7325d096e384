#include "previewarguments.h"

#include <string_view>

#include "hostprocess.h"
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
        arguments.channelLibrary = folder + kChannelLibraryFile;
    }
    if (arguments.encodingLibrary.empty()) {
        arguments.encodingLibrary = folder + kEncodingLibraryFile;
    }
    return arguments;
}

}  // namespace previewapp
