// A failure that ends the application with a chosen exit code and a message for stderr.
#pragma once

#include <stdexcept>
#include <string>

#include "exitcodes.h"

namespace previewapp {

class PreviewFailure : public std::runtime_error {
public:
    PreviewFailure(ExitCode exitCode, const std::string& message) : std::runtime_error(message), m_exitCode(exitCode) {}
    ExitCode Code() const { return m_exitCode; }

private:
    ExitCode m_exitCode;
};

}  // namespace previewapp
