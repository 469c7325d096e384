// Pipe names reach the library from the callers as plain narrow texts; only names that are safe as a
// file name in the private folder are accepted.
#pragma once

#include <optional>
#include <string>

namespace qxicl {

inline constexpr std::size_t kMaxPipeNameLength = 100;

// The name when it holds 1 to 100 characters of [A-Za-z0-9_.-] and is not "." or "..".
std::optional<std::string> CheckedPipeName(const char* name);

}  // namespace qxicl
