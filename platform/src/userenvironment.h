// The environment a process of a user starts with on the simulated machine, as a fresh Windows
// profile gives it.
#pragma once

#include <optional>
#include <string>

namespace platform {

// %NAME% replaced by the variable's value (names compare without regard to case); an undefined
// name, and a % without its pair, stay as written. Without a user, only the machine-wide variables
// are defined.
std::wstring ExpandEnvironmentFor(const std::wstring& text, const std::optional<std::wstring>& user);

}  // namespace platform
