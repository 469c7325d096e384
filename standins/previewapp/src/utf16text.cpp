#include "utf16text.h"

namespace previewapp {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

void AppendUtf8(std::string& text, char32_t codePoint)
{
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += static_cast<char>(0xC0 | (codePoint >> 6));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0 | (codePoint >> 12));
        text += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | (codePoint >> 18));
        text += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
        text += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

}  // namespace

std::string Utf16FieldToUtf8(const char16_t* field, std::size_t capacity)
{
    std::string text;
    for (std::size_t i = 0; i < capacity && field[i] != u'\0'; ++i) {
        const char32_t unit = field[i];
        char32_t codePoint = kReplacement;
        if (IsHighSurrogate(unit) && i + 1 < capacity && IsLowSurrogate(field[i + 1])) {
            codePoint = 0x10000 + ((unit - 0xD800) << 10) + (static_cast<char32_t>(field[i + 1]) - 0xDC00);
            ++i;
        } else if (!IsHighSurrogate(unit) && !IsLowSurrogate(unit)) {
            codePoint = unit;
        }
        AppendUtf8(text, codePoint);
    }
    return text;
}

std::string NarrowField(const char* field, std::size_t capacity)
{
    std::size_t length = 0;
    while (length < capacity && field[length] != '\0') {
        ++length;
    }
    return std::string(field, length);
}

}  // namespace previewapp
