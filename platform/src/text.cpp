#include "platform/text.h"

#include <cstdint>

namespace platform {
namespace {

static_assert(sizeof(wchar_t) == 4, "wide text is held as UTF-32 on this platform");

constexpr char32_t kReplacement = 0xFFFD;

bool IsScalar(char32_t c) { return c < 0x110000 && (c < 0xD800 || c > 0xDFFF); }

void AppendUtf8(std::string& out, char32_t c)
{
    if (!IsScalar(c)) {
        c = kReplacement;
    }
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Decodes one UTF-8 sequence at text[i], advancing i; malformed or overlong input gives U+FFFD.
char32_t NextUtf8(std::string_view text, std::size_t& i)
{
    const auto lead = static_cast<unsigned char>(text[i++]);
    if (lead < 0x80) {
        return lead;
    }
    int length = 0;
    char32_t c = 0;
    char32_t minimum = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 1, c = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 2, c = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 3, c = lead & 0x07, minimum = 0x10000;
    } else {
        return kReplacement;
    }
    for (int k = 0; k < length; ++k) {
        if (i >= text.size() || (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
            return kReplacement;
        }
        c = (c << 6) | (static_cast<unsigned char>(text[i++]) & 0x3F);
    }
    return c < minimum || !IsScalar(c) ? kReplacement : c;
}

}  // namespace

std::string ToUtf8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const wchar_t c : text) {
        AppendUtf8(out, static_cast<char32_t>(c));
    }
    return out;
}

std::wstring FromUtf8(std::string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        out += static_cast<wchar_t>(NextUtf8(text, i));
    }
    return out;
}

std::u16string ToUtf16(std::wstring_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (const wchar_t w : text) {
        char32_t c = static_cast<char32_t>(w);
        if (!IsScalar(c)) {
            c = kReplacement;
        }
        if (c < 0x10000) {
            out += static_cast<char16_t>(c);
        } else {
            c -= 0x10000;
            out += static_cast<char16_t>(0xD800 | (c >> 10));
            out += static_cast<char16_t>(0xDC00 | (c & 0x3FF));
        }
    }
    return out;
}

std::wstring FromUtf16(std::u16string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            out += static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (text[i + 1] - 0xDC00));
            ++i;
        } else if (unit >= 0xD800 && unit <= 0xDFFF) {
            out += static_cast<wchar_t>(kReplacement);
        } else {
            out += static_cast<wchar_t>(unit);
        }
    }
    return out;
}

}  // namespace platform
