#include "legacydriverpropertybag.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include <rapidxml/rapidxml.hpp>
#include <share.h>

#include "textconversion.h"

namespace {

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};

std::vector<char> ReadWholeFile(const std::wstring& path)
{
    std::vector<char> bytes;
    const std::unique_ptr<FILE, FileCloser> file(_wfsopen(path.c_str(), L"rt", _SH_DENYNO));
    if (!file) {
        return bytes;
    }
    char chunk[4096];
    std::size_t read = 0;
    while ((read = std::fread(chunk, 1, sizeof chunk, file.get())) > 0) {
        bytes.insert(bytes.end(), chunk, chunk + read);
    }
    return bytes;
}

// Decimal digits after optional blanks and sign, up to the first other character; 0 without any.
// Out of range, the value stops at the nearest 32-bit limit, as a 32-bit strtol does.
LONG Int32FromText(const char* text)
{
    const long long value = std::strtoll(text, nullptr, 10);
    return static_cast<LONG>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
}

}  // namespace

LegacyDriverPropertyBag::LegacyDriverPropertyBag(const std::wstring& path)
{
    std::vector<char> text = ReadWholeFile(path);
    if (text.empty()) {
        return;
    }
    text.push_back('\0');
    Parse(text.data());
}

void LegacyDriverPropertyBag::Parse(char* text)
{
    rapidxml::xml_document<> document;
    document.parse<0>(text);  // skips a UTF-8 byte order mark; throws rapidxml::parse_error
    const rapidxml::xml_node<>* properties = document.first_node("Properties");
    const rapidxml::xml_node<>* property = properties == nullptr ? nullptr : properties->first_node("Property");
    // Every element after the first property is read as a property, whatever its name.
    for (; property != nullptr; property = property->next_sibling()) {
        const rapidxml::xml_attribute<>* nameAttribute = property->first_attribute("Name");
        const rapidxml::xml_node<>* typed = property->first_node();
        if (nameAttribute == nullptr || typed == nullptr) {
            continue;
        }
        const std::string type(typed->name(), typed->name_size());
        const std::string_view value(typed->value(), typed->value_size());
        if (type == "String") {
            m_strings.emplace(Utf8ToWide(nameAttribute->value()), Utf8ToWide(value));
        } else if (type == "Bool") {
            m_booleans.emplace(Utf8ToWide(nameAttribute->value()), value == "true" ? 1 : 0);
        } else if (type == "Int32") {
            m_integers.emplace(Utf8ToWide(nameAttribute->value()), Int32FromText(std::string(value).c_str()));
        }
    }
}

HRESULT LegacyDriverPropertyBag::GetString(const std::wstring& key, const wchar_t** value)
{
    *value = m_strings[key].c_str();
    return S_OK;
}

HRESULT LegacyDriverPropertyBag::GetInt(const std::wstring& key, LONG* value)
{
    *value = m_integers[key];
    return S_OK;
}

HRESULT LegacyDriverPropertyBag::GetBool(const std::wstring& key, BOOL* value)
{
    *value = m_booleans[key];
    return S_OK;
}
