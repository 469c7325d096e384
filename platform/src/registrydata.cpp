// The byte forms of typed registry values, as RegSetValueExW would store them.
#include "platform/registrydata.h"

#include <cstring>

namespace platform {
namespace {

void AppendText(std::vector<BYTE>& bytes, const std::wstring& text)
{
    const auto* first = reinterpret_cast<const BYTE*>(text.c_str());
    bytes.insert(bytes.end(), first, first + (text.size() + 1) * sizeof(wchar_t));
}

RegistryData Text(DWORD type, const std::wstring& text)
{
    RegistryData data{type, {}};
    AppendText(data.bytes, text);
    return data;
}

}  // namespace

RegistryData RegistryData::String(const std::wstring& text) { return Text(REG_SZ, text); }

RegistryData RegistryData::ExpandString(const std::wstring& text) { return Text(REG_EXPAND_SZ, text); }

RegistryData RegistryData::Dword(DWORD value)
{
    RegistryData data{REG_DWORD, std::vector<BYTE>(sizeof value)};
    std::memcpy(data.bytes.data(), &value, sizeof value);
    return data;
}

RegistryData RegistryData::MultiString(const std::vector<std::wstring>& texts)
{
    RegistryData data{REG_MULTI_SZ, {}};
    for (const std::wstring& text : texts) {
        AppendText(data.bytes, text);
    }
    AppendText(data.bytes, L"");  // the list ends with an empty string
    return data;
}

RegistryData RegistryData::Binary(std::vector<BYTE> bytes) { return RegistryData{REG_BINARY, std::move(bytes)}; }

}  // namespace platform
