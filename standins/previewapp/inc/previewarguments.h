// The command line: the filter's three arguments, and where the libraries are.
//
//   qxpreviewapp --Version=<version> --Input=<pipe the filter listens on> --Output=<pipe of ours>
//                [--library=<communication library>] [--encoding-library=<encoding library>]
//
// The libraries default to libqxicl.so and libqxitrn.so in the folder of this executable, where the
// build puts them beside the filter module.
#pragma once

#include <string>

namespace previewapp {

struct PreviewArguments {
    std::string version;
    std::string inputPipe;
    std::string outputPipe;
    std::string channelLibrary;
    std::string encodingLibrary;

    // Throws PreviewFailure (kExitUsage) for an unknown argument or a missing or empty required one.
    static PreviewArguments Parse(int argc, const char* const* argv);
};

}  // namespace previewapp
