// Conversions of text at the edges of the driver: the thread's ANSI code page for narrow values
// handed to the pipeline, UTF-8 for files and narrow reads. Text that does not convert is an error
// (std::range_error), as with the standard library's conversion facility.
#pragma once

#include <string>
#include <string_view>

std::wstring AnsiToWide(std::string_view text);
std::wstring Utf8ToWide(std::string_view text);
// For text that is only shown: each invalid UTF-8 byte becomes U+FFFD instead of an error.
std::wstring Utf8ToWideReplacingInvalid(std::string_view text);
std::string WideToUtf8(std::wstring_view text);
