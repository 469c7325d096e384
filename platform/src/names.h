// Windows compares printer, user, key and value names without regard to case.
#pragma once

#include <string_view>

namespace platform {

bool SameName(std::wstring_view first, std::wstring_view second);

// An order for maps keyed by such names.
struct NameLess {
    bool operator()(std::wstring_view first, std::wstring_view second) const;
};

}  // namespace platform
