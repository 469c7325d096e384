// The property values of a driver without a version-4 property bag, read from its ".ldpb" file:
// <Properties><Property Name="..."><String|Bool|Int32>value</...></Property>...</Properties>
#pragma once

#include <map>
#include <string>

#include <windows.h>

class LegacyDriverPropertyBag {
public:
    // Reads and parses the file; a file that cannot be opened leaves the bag empty. Malformed XML
    // or text that is not UTF-8 throws (a standard exception).
    explicit LegacyDriverPropertyBag(const std::wstring& path);
    virtual ~LegacyDriverPropertyBag() = default;

    // Every lookup succeeds: a key the file does not define reads as its type's default, which is
    // remembered from then on.
    HRESULT GetString(const std::wstring& key, const wchar_t** value);
    HRESULT GetInt(const std::wstring& key, LONG* value);
    HRESULT GetBool(const std::wstring& key, BOOL* value);

private:
    void Parse(char* text);

    std::map<std::wstring, std::wstring> m_strings;
    std::map<std::wstring, LONG> m_integers;
    std::map<std::wstring, BOOL> m_booleans;
};
