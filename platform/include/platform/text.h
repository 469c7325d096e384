// Explicit conversions between the in-memory wide text and the byte encodings at the edges.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// UTF-8 for host paths, libraries and pipes; invalid input is replaced by U+FFFD.
std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

// UTF-16LE for binary records.
std::u16string ToUtf16(std::wstring_view text);
std::wstring FromUtf16(std::u16string_view text);

}  // namespace platform
