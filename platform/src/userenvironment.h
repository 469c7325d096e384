// The environment a process of a user starts with on the simulated machine, as a fresh Windows
// profile gives it, with the variables the machine declares for the user.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace platform {

using EnvironmentVariables = std::vector<std::pair<std::wstring, std::wstring>>;

// The machine-wide variables, then the user's (a declared variable replaces one of the same name,
// compared without regard to case). Without a user, only the machine-wide variables.
EnvironmentVariables EnvironmentOf(const std::optional<std::wstring>& user);

// %NAME% replaced by the variable's value (names compare without regard to case); an undefined
// name, and a % without its pair, stay as written.
std::wstring ExpandEnvironmentFor(const std::wstring& text, const std::optional<std::wstring>& user);

}  // namespace platform
