#include "textconversion.h"

#include <climits>
#include <stdexcept>

#include <windows.h>

namespace {

int CheckedLength(std::size_t size)
{
    if (size > static_cast<std::size_t>(INT_MAX)) {
        throw std::range_error("text too long to convert");
    }
    return static_cast<int>(size);
}

std::wstring ToWide(UINT codePage, DWORD flags, std::string_view text)
{
    if (text.empty()) {
        return {};
    }
    const int length = CheckedLength(text.size());
    const int needed = MultiByteToWideChar(codePage, flags, text.data(), length, nullptr, 0);
    if (needed == 0) {
        throw std::range_error("text does not convert to wide characters");
    }
    std::wstring wide(static_cast<std::size_t>(needed), L'\0');
    MultiByteToWideChar(codePage, flags, text.data(), length, wide.data(), needed);
    return wide;
}

}  // namespace

std::wstring AnsiToWide(std::string_view text) { return ToWide(CP_THREAD_ACP, 0, text); }

std::wstring Utf8ToWide(std::string_view text) { return ToWide(CP_UTF8, MB_ERR_INVALID_CHARS, text); }

std::wstring Utf8ToWideReplacingInvalid(std::string_view text) { return ToWide(CP_UTF8, 0, text); }

std::string WideToUtf8(std::wstring_view text)
{
    if (text.empty()) {
        return {};
    }
    const int length = CheckedLength(text.size());
    const int needed = WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (needed == 0) {
        throw std::range_error("text does not convert to UTF-8");
    }
    std::string narrow(static_cast<std::size_t>(needed), '\0');
    WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, narrow.data(), needed, nullptr, nullptr);
    return narrow;
}
