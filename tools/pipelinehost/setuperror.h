// A problem with what the host was given (a file, a folder, the module, the machine), found before
// any filter code ran: the run ends with exit status 2 and one line naming it.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace pipelinehost {

class SetupError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Runs the step; any exception it throws becomes a SetupError that says which step failed.
template <class Step>
auto OrSetupError(const std::string& what, Step step)
{
    try {
        return step();
    } catch (const std::exception& error) {
        throw SetupError(what + ": " + error.what());
    }
}

}  // namespace pipelinehost
