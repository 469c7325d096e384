// The C runtime's wide printf on glibc. The two disagree on the string conversions of a wide
// format: for the C runtime "%s" is a wide string and "%S" a narrow one, for glibc the reverse
// ("%ls" wide, "%s" narrow). Formats are rewritten here, in one place, before glibc sees them.
#include <cwchar>
#include <cwctype>
#include <string>

#include "windows.h"

namespace {

bool IsFlag(wchar_t c) { return c == L'-' || c == L'+' || c == L' ' || c == L'#' || c == L'0'; }
bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Copies one conversion (flags, width, precision, size, type) that follows a '%', translating its
// size prefix and type.
const wchar_t* TranslateConversion(const wchar_t* p, std::wstring& out)
{
    while (IsFlag(*p)) {
        out += *p++;
    }
    while (IsDigit(*p) || *p == L'*') {
        out += *p++;
    }
    if (*p == L'.') {
        out += *p++;
        while (IsDigit(*p) || *p == L'*') {
            out += *p++;
        }
    }
    enum class Width { None, Narrow, Wide } stringWidth = Width::None;
    std::wstring size;
    if (p[0] == L'I' && p[1] == L'6' && p[2] == L'4') {
        size = L"ll", p += 3;
    } else if (p[0] == L'I' && p[1] == L'3' && p[2] == L'2') {
        p += 3;
    } else if (*p == L'I') {
        size = L"z", ++p;
    } else if (*p == L'w') {
        stringWidth = Width::Wide, size = L"l", ++p;
    } else {
        while (*p == L'h' || *p == L'l' || *p == L'L' || *p == L'z' || *p == L'j' || *p == L't') {
            size += *p++;
        }
        if (size == L"h") {
            stringWidth = Width::Narrow;
        } else if (size == L"l") {
            stringWidth = Width::Wide;
        }
    }
    const wchar_t type = *p;
    if (type == L's' || type == L'c' || type == L'S' || type == L'C') {
        const bool upper = type == L'S' || type == L'C';
        const bool wide = stringWidth == Width::Wide || (stringWidth == Width::None && !upper);
        if (wide) {
            out += L'l';
        }
        out += static_cast<wchar_t>(std::towlower(type));
    } else if (type != L'\0') {
        out += size;
        out += type;
    } else {
        return p;
    }
    return p + 1;
}

std::wstring TranslateFormat(const wchar_t* format)
{
    std::wstring out;
    out.reserve(std::wcslen(format) + 8);
    for (const wchar_t* p = format; *p != L'\0';) {
        if (*p != L'%') {
            out += *p++;
        } else if (p[1] == L'%') {
            out += L"%%";
            p += 2;
        } else {
            out += *p++;
            p = TranslateConversion(p, out);
        }
    }
    return out;
}

}  // namespace

int _vsnwprintf_s(wchar_t* buffer, size_t sizeOfBuffer, size_t count, const wchar_t* format, va_list argptr)
{
    if (buffer == nullptr || sizeOfBuffer == 0 || format == nullptr) {
        return -1;
    }
    const size_t limit = count == _TRUNCATE || count >= sizeOfBuffer ? sizeOfBuffer : count + 1;
    const int written = std::vswprintf(buffer, limit, TranslateFormat(format).c_str(), argptr);
    if (written < 0) {
        buffer[limit - 1] = L'\0';  // glibc keeps what fitted; make sure it is terminated
        return -1;
    }
    return written;
}

int _snwprintf_s(wchar_t* buffer, size_t sizeOfBuffer, size_t count, const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    const int written = _vsnwprintf_s(buffer, sizeOfBuffer, count, format, args);
    va_end(args);
    return written;
}
