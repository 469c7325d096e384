#include "stringapiset.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>

#include "platform/text.h"
#include "winbase.h"

namespace {

// Windows-1252 where it differs from Latin-1 (0x80-0x9F); 0 marks the five unassigned bytes.
constexpr char32_t kWindows1252High[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

bool IsAnsi(UINT codePage) { return codePage == CP_ACP || codePage == CP_THREAD_ACP || codePage == 1252; }

char32_t FromAnsi(unsigned char byte)
{
    if (byte >= 0x80 && byte < 0xA0) {
        const char32_t mapped = kWindows1252High[byte - 0x80];
        return mapped != 0 ? mapped : byte;  // unassigned bytes map to the same control code, as Windows does
    }
    return byte;
}

int ToAnsi(char32_t c)
{
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) {
        return static_cast<int>(c);
    }
    for (int i = 0; i < 32; ++i) {
        if (kWindows1252High[i] == c || (kWindows1252High[i] == 0 && c == static_cast<char32_t>(0x80 + i))) {
            return 0x80 + i;
        }
    }
    return -1;
}

bool DecodeUtf8(const unsigned char* text, int length, std::u32string& out)
{
    bool valid = true;
    for (int i = 0; i < length;) {
        const unsigned char lead = text[i];
        int extra = lead < 0x80 ? 0 : (lead & 0xE0) == 0xC0 ? 1 : (lead & 0xF0) == 0xE0 ? 2 : (lead & 0xF8) == 0xF0 ? 3 : -1;
        char32_t c = extra == 0 ? lead : extra == 1 ? lead & 0x1F : extra == 2 ? lead & 0x0F : lead & 0x07;
        bool good = extra >= 0 && i + extra < length;
        for (int k = 1; good && k <= extra; ++k) {
            good = (text[i + k] & 0xC0) == 0x80;
            c = (c << 6) | (text[i + k] & 0x3F);
        }
        static constexpr char32_t kMinimum[4] = {0, 0x80, 0x800, 0x10000};
        if (good && (c < kMinimum[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))) {
            good = false;
        }
        if (good) {
            out += c;
            i += extra + 1;
        } else {
            valid = false;
            out += U'\uFFFD';
            ++i;
        }
    }
    return valid;
}

// Copies a converted text out the Windows way: a zero-sized target asks for the size; a target
// that is too small fails with ERROR_INSUFFICIENT_BUFFER.
template <class Char, class Text>
int CopyOut(const Text& converted, Char* target, int capacity)
{
    const int needed = static_cast<int>(converted.size());
    if (capacity == 0) {
        return needed;
    }
    if (target == nullptr || capacity < needed) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::copy(converted.begin(), converted.end(), target);
    return needed;
}

}  // namespace

int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte, LPWSTR lpWideCharStr,
                        int cchWideChar)
{
    if (lpMultiByteStr == nullptr || cbMultiByte == 0 || cchWideChar < 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    // A length of -1 converts up to and including the terminator.
    const int length = cbMultiByte < 0 ? static_cast<int>(std::strlen(lpMultiByteStr)) + 1 : cbMultiByte;
    const auto* bytes = reinterpret_cast<const unsigned char*>(lpMultiByteStr);
    std::u32string converted;
    if (CodePage == CP_UTF8) {
        if (!DecodeUtf8(bytes, length, converted) && (dwFlags & MB_ERR_INVALID_CHARS) != 0) {
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        }
    } else if (IsAnsi(CodePage)) {
        for (int i = 0; i < length; ++i) {
            converted += FromAnsi(bytes[i]);
        }
    } else {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return CopyOut(converted, lpWideCharStr, cchWideChar);
}

int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar, LPSTR lpMultiByteStr,
                        int cbMultiByte, LPCSTR lpDefaultChar, LPBOOL lpUsedDefaultChar)
{
    if (lpWideCharStr == nullptr || cchWideChar == 0 || cbMultiByte < 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const int length = cchWideChar < 0 ? static_cast<int>(std::wcslen(lpWideCharStr)) + 1 : cchWideChar;
    const std::wstring_view text(lpWideCharStr, static_cast<std::size_t>(length));
    std::string converted;
    bool usedDefault = false;
    if (CodePage == CP_UTF8) {
        const auto isScalar = [](wchar_t c) { return c >= 0 && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF); };
        if ((dwFlags & WC_ERR_INVALID_CHARS) != 0 && !std::all_of(text.begin(), text.end(), isScalar)) {
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        }
        converted = platform::ToUtf8(text);  // other characters become U+FFFD
    }
    for (int i = 0; i < length && CodePage != CP_UTF8; ++i) {
        const auto c = static_cast<char32_t>(lpWideCharStr[i]);
        if (IsAnsi(CodePage)) {
            const int byte = ToAnsi(c);
            if (byte < 0) {
                usedDefault = true;
                converted += lpDefaultChar != nullptr ? *lpDefaultChar : '?';
            } else {
                converted += static_cast<char>(byte);
            }
        } else {
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
        }
    }
    if (lpUsedDefaultChar != nullptr) {
        *lpUsedDefaultChar = usedDefault ? TRUE : FALSE;
    }
    return CopyOut(converted, lpMultiByteStr, cbMultiByte);
}
