// The preview application stand-in. See previewarguments.h for the command line and
// previewscript.h for the scripting through the environment; exitcodes.h lists the exit codes.
#include <exception>
#include <iostream>

#include "hostprocess.h"
#include "previewapplication.h"
#include "previewfailure.h"

namespace {

std::string Usage()
{
    return std::string("usage: qxpreviewapp --Version=<version> --Input=<filter's pipe> --Output=<own pipe>\n"
                       "                    [--library=<") +
           previewapp::kChannelLibraryFile + ">] [--encoding-library=<" + previewapp::kEncodingLibraryFile +
           ">]\n"
           "scripting: QXPREVIEW_MODE=accept|change|cancel|exit|crash|garbage|short|silent|interactive and the\n"
           "other QXPREVIEW_ variables in the environment, or in a file named by QXPREVIEW_SCRIPT\n";
}

}  // namespace

int main(int argc, char** argv)
{
    using namespace previewapp;
    try {
        const PreviewArguments arguments = PreviewArguments::Parse(argc, argv);
        const PreviewScript script = PreviewScript::FromEnvironment(StandardInputIsTerminal());
        return PreviewApplication(arguments, script).Run();
    } catch (const PreviewFailure& failure) {
        std::cerr << "qxpreviewapp: " << failure.what() << '\n';
        if (failure.Code() == kExitUsage) {
            std::cerr << Usage();
        }
        return failure.Code();
    } catch (const std::exception& error) {
        std::cerr << "qxpreviewapp: " << error.what() << '\n';
        return kExitInternal;
    }
}
