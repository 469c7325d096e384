#include "pipename.h"

#include <cstring>

namespace qxicl {

namespace {

bool IsNameCharacter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '.' ||
           c == '-';
}

char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::optional<std::string> CheckedPipeName(const char* name)
{
    if (name == nullptr) {
        return std::nullopt;
    }
    // Never read further than one character past the longest name.
    const std::size_t length = ::strnlen(name, kMaxPipeNameLength + 1);
    if (length == 0 || length > kMaxPipeNameLength) {
        return std::nullopt;
    }
    std::string checked(name, length);
    for (char& c : checked) {
        if (!IsNameCharacter(c)) {
            return std::nullopt;
        }
        c = LowerCase(c);
    }
    return checked;
}

}  // namespace qxicl
