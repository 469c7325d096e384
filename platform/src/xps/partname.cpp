#include "xps/partname.h"

#include <cwctype>
#include <vector>

#include "platform/text.h"

namespace platform::xps {
namespace {

char LowerAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

int HexValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

// A malformed escape stays as it is written; such a name simply matches nothing else.
std::string PercentDecoded(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
            decoded += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

bool HasScheme(std::string_view reference)
{
    const size_t colon = reference.find(':');
    if (colon == std::string_view::npos || colon == 0) {
        return false;
    }
    const size_t slash = reference.find('/');
    if (slash != std::string_view::npos && slash < colon) {
        return false;
    }
    const auto isAlpha = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    if (!isAlpha(reference[0])) {
        return false;
    }
    for (size_t i = 1; i < colon; ++i) {
        const char c = reference[i];
        if (!isAlpha(c) && !(c >= '0' && c <= '9') && c != '+' && c != '-' && c != '.') {
            return false;
        }
    }
    return true;
}

}  // namespace

std::optional<std::string> ResolvePartReference(std::string_view base, std::string_view reference)
{
    reference = reference.substr(0, reference.find_first_of("#?"));
    while (!reference.empty() && (reference.front() == ' ' || reference.front() == '\t' || reference.front() == '\n' ||
                                  reference.front() == '\r')) {
        reference.remove_prefix(1);
    }
    while (!reference.empty() && (reference.back() == ' ' || reference.back() == '\t' || reference.back() == '\n' ||
                                  reference.back() == '\r')) {
        reference.remove_suffix(1);
    }
    if (reference.empty() || HasScheme(reference) || reference.substr(0, 2) == "//") {
        return std::nullopt;
    }
    std::string path;
    if (reference.front() == '/') {
        path = std::string(reference);
    } else {
        path = std::string(base.substr(0, base.rfind('/') + 1)) + std::string(reference);
    }
    std::vector<std::string_view> segments;
    std::string_view rest = path;
    while (!rest.empty()) {
        const size_t slash = rest.find('/');
        const std::string_view segment = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (segment.empty() || segment == ".") {
            continue;
        }
        if (segment == "..") {
            if (segments.empty()) {
                return std::nullopt;
            }
            segments.pop_back();
            continue;
        }
        segments.push_back(segment);
    }
    if (segments.empty()) {
        return std::nullopt;
    }
    std::string resolved;
    for (const auto segment : segments) {
        resolved += '/';
        resolved += segment;
    }
    return resolved;
}

std::string PartKey(std::string_view partName)
{
    const std::string decoded = PercentDecoded(partName);
    bool ascii = true;
    for (const char c : decoded) {
        ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    }
    if (ascii) {
        std::string key(decoded);
        for (char& c : key) {
            c = LowerAscii(c);
        }
        return key;
    }
    std::wstring wide = FromUtf8(decoded);
    for (wchar_t& c : wide) {
        c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    }
    return ToUtf8(wide);
}

std::string RelationshipsPartOf(std::string_view partName)
{
    const size_t slash = partName.rfind('/');
    if (slash == std::string_view::npos) {
        return "/_rels/" + std::string(partName) + ".rels";
    }
    return std::string(partName.substr(0, slash)) + "/_rels/" + std::string(partName.substr(slash + 1)) + ".rels";
}

std::string ExtensionOf(std::string_view partName)
{
    const std::string_view segment = partName.substr(partName.rfind('/') + 1);
    const size_t dot = segment.rfind('.');
    std::string extension(dot == std::string_view::npos ? std::string_view() : segment.substr(dot + 1));
    return PartKey(extension);
}

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) {
            return false;
        }
    }
    return true;
}

bool SameMediaType(std::string_view a, std::string_view b)
{
    const auto bare = [](std::string_view type) {
        type = type.substr(0, type.find(';'));
        while (!type.empty() && (type.back() == ' ' || type.back() == '\t')) {
            type.remove_suffix(1);
        }
        while (!type.empty() && (type.front() == ' ' || type.front() == '\t')) {
            type.remove_prefix(1);
        }
        return type;
    };
    return EqualsIgnoringAsciiCase(bare(a), bare(b));
}

}  // namespace platform::xps
