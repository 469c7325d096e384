// Pipe names reach the library from the callers as plain narrow texts. As on Windows, where
// \\.\pipe\NAME is looked up without regard to case, a name stands for the same pipe in any case.
#pragma once

#include <optional>
#include <string>

namespace qxicl {

inline constexpr std::size_t kMaxPipeNameLength = 100;

// The name in lower case when it holds 1 to 100 characters of [A-Za-z0-9_.-].
std::optional<std::string> CheckedPipeName(const char* name);

}  // namespace qxicl
