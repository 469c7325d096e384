// Text into the fixed text fields of the binary records exchanged with the preview application:
// UTF-16 for wide fields, bytes for narrow ones, always zero-terminated inside the field. Text
// that does not fit is refused whole and the field left empty, never cut silently: a cut path or
// printer name would name something else.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

// The UTF-16 form of wide text, whatever the width of wchar_t.
std::u16string ToRecordUtf16(std::wstring_view text);

// The first units of UTF-16 text, one fewer when the last would be the first half of a pair.
std::u16string CutRecordUtf16(std::u16string text, std::size_t units);

// False, field all zero, when the text and its terminator do not fit.
template <class Char, std::size_t N>
bool CopyToRecordField(std::basic_string_view<Char> text, Char (&field)[N])
{
    std::memset(field, 0, sizeof(field));
    if (text.size() >= N) {
        return false;
    }
    std::memcpy(field, text.data(), text.size() * sizeof(Char));
    return true;
}
