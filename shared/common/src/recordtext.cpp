#include "recordtext.h"

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }

bool IsScalarValue(char32_t value) { return value < 0xD800 || (value > 0xDFFF && value <= 0x10FFFF); }

void AppendUtf16(std::u16string& out, char32_t value)
{
    if (!IsScalarValue(value)) {
        value = kReplacementCharacter;
    }
    if (value < 0x10000) {
        out += static_cast<char16_t>(value);
        return;
    }
    value -= 0x10000;
    out += static_cast<char16_t>(0xD800 | (value >> 10));
    out += static_cast<char16_t>(0xDC00 | (value & 0x3FF));
}

}  // namespace

std::u16string ToRecordUtf16(std::wstring_view text)
{
    if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
        return std::u16string(text.begin(), text.end());
    } else {
        std::u16string out;
        out.reserve(text.size());
        for (const wchar_t character : text) {
            AppendUtf16(out, static_cast<char32_t>(character));
        }
        return out;
    }
}

std::u16string CutRecordUtf16(std::u16string text, std::size_t units)
{
    if (text.size() <= units) {
        return text;
    }
    text.resize(units);
    if (!text.empty() && IsHighSurrogate(text.back())) {
        text.pop_back();
    }
    return text;
}
