#include "xps/markupeditor.h"

#include <charconv>
#include <cmath>

#include "platform/text.h"

namespace platform::xps {
namespace {

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view LocalNameOf(std::string_view qualifiedName)
{
    const size_t colon = qualifiedName.find(':');
    return colon == std::string_view::npos ? qualifiedName : qualifiedName.substr(colon + 1);
}

// The splice itself, over markup in an encoding where markup characters are single ASCII bytes.
std::optional<std::string> EditAsciiCompatible(std::string_view text, std::string_view localName,
                                               const std::map<size_t, AttributeValues>& edits)
{
    std::string edited;
    edited.reserve(text.size() + 64);
    size_t copied = 0;  // text before this offset is already in edited
    size_t ordinal = 0;
    size_t applied = 0;
    size_t at = 0;
    const auto skipPast = [&](std::string_view end) {
        const size_t found = text.find(end, at);
        at = found == std::string_view::npos ? text.size() : found + end.size();
    };
    while (applied < edits.size() && (at = text.find('<', at)) != std::string_view::npos) {
        const std::string_view rest = text.substr(at);
        if (rest.substr(0, 4) == "<!--") {
            skipPast("-->");
            continue;
        }
        if (rest.substr(0, 9) == "<![CDATA[") {
            skipPast("]]>");
            continue;
        }
        if (rest.substr(0, 2) == "<?") {
            skipPast("?>");
            continue;
        }
        if (rest.substr(0, 2) == "<!" || rest.substr(0, 2) == "</") {
            skipPast(">");
            continue;
        }
        // A start tag: its name, then attributes whose quoted values may hold '>' but never '<'.
        size_t cursor = at + 1;
        while (cursor < text.size() && !IsSpace(text[cursor]) && text[cursor] != '>' && text[cursor] != '/') {
            ++cursor;
        }
        const std::string_view name = text.substr(at + 1, cursor - at - 1);
        const AttributeValues* values = nullptr;
        if (LocalNameOf(name) == localName) {
            const auto found = edits.find(ordinal++);
            if (found != edits.end()) {
                values = &found->second;
                ++applied;
            }
        }
        for (;;) {
            while (cursor < text.size() && IsSpace(text[cursor])) {
                ++cursor;
            }
            if (cursor >= text.size()) {
                return std::nullopt;
            }
            if (text[cursor] == '>' || text[cursor] == '/') {
                break;
            }
            const size_t nameStart = cursor;
            while (cursor < text.size() && !IsSpace(text[cursor]) && text[cursor] != '=') {
                ++cursor;
            }
            const std::string_view attribute = text.substr(nameStart, cursor - nameStart);
            while (cursor < text.size() && IsSpace(text[cursor])) {
                ++cursor;
            }
            if (cursor >= text.size() || text[cursor] != '=') {
                return std::nullopt;
            }
            ++cursor;
            while (cursor < text.size() && IsSpace(text[cursor])) {
                ++cursor;
            }
            if (cursor >= text.size() || (text[cursor] != '"' && text[cursor] != '\'')) {
                return std::nullopt;
            }
            const char quote = text[cursor];
            const size_t valueStart = cursor + 1;
            const size_t valueEnd = text.find(quote, valueStart);
            if (valueEnd == std::string_view::npos) {
                return std::nullopt;
            }
            if (values != nullptr) {
                for (const auto& [wanted, value] : *values) {
                    if (attribute == wanted) {
                        edited.append(text.substr(copied, valueStart - copied));
                        edited.append(value);
                        copied = valueEnd;
                    }
                }
            }
            cursor = valueEnd + 1;
        }
        at = cursor;
    }
    if (applied < edits.size()) {
        return std::nullopt;
    }
    edited.append(text.substr(copied));
    return edited;
}

enum class Encoding { Utf8, Utf16Le, Utf16Be };

Encoding EncodingOf(std::string_view markup)
{
    const auto byte = [&](size_t i) { return i < markup.size() ? static_cast<unsigned char>(markup[i]) : 0x100u; };
    if ((byte(0) == 0xFF && byte(1) == 0xFE) || (byte(0) == '<' && byte(1) == 0)) {
        return Encoding::Utf16Le;
    }
    if ((byte(0) == 0xFE && byte(1) == 0xFF) || (byte(0) == 0 && byte(1) == '<')) {
        return Encoding::Utf16Be;
    }
    return Encoding::Utf8;
}

std::u16string Utf16Units(std::string_view bytes, bool bigEndian)
{
    std::u16string units(bytes.size() / 2, u'\0');
    for (size_t i = 0; i < units.size(); ++i) {
        const auto first = static_cast<unsigned char>(bytes[2 * i]);
        const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
        units[i] = static_cast<char16_t>(bigEndian ? (first << 8) | second : (second << 8) | first);
    }
    return units;
}

std::string Utf16Bytes(std::u16string_view units, bool bigEndian)
{
    std::string bytes(units.size() * 2, '\0');
    for (size_t i = 0; i < units.size(); ++i) {
        const auto high = static_cast<char>(units[i] >> 8);
        const auto low = static_cast<char>(units[i] & 0xFF);
        bytes[2 * i] = bigEndian ? high : low;
        bytes[2 * i + 1] = bigEndian ? low : high;
    }
    return bytes;
}

}  // namespace

std::optional<std::string> EditAttributes(std::string_view markup, std::string_view localName,
                                          const std::map<size_t, AttributeValues>& edits)
{
    const Encoding encoding = EncodingOf(markup);
    if (encoding == Encoding::Utf8) {
        return EditAsciiCompatible(markup, localName, edits);
    }
    if (markup.size() % 2 != 0) {
        return std::nullopt;
    }
    // The byte order mark survives the round trip as U+FEFF.
    const bool bigEndian = encoding == Encoding::Utf16Be;
    const std::string utf8 = ToUtf8(FromUtf16(Utf16Units(markup, bigEndian)));
    const auto edited = EditAsciiCompatible(utf8, localName, edits);
    if (!edited) {
        return std::nullopt;
    }
    return Utf16Bytes(ToUtf16(FromUtf8(*edited)), bigEndian);
}

std::optional<double> ParseXpsNumber(std::string_view text)
{
    while (!text.empty() && IsSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsSpace(text.back())) {
        text.remove_suffix(1);
    }
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    if (text.empty() || !((text.front() >= '0' && text.front() <= '9') || text.front() == '.' || text.front() == '-')) {
        return std::nullopt;  // no "inf" or "nan"
    }
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::string FormatXpsNumber(float value)
{
    char buffer[64];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return error == std::errc() ? std::string(buffer, end) : std::string("0");
}

}  // namespace platform::xps
