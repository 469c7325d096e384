// The Windows stand-in of the driver's closed KORU library "XPSUIOLib.dll". It answers a KORU
// request for a printer's paper sources as the Linux stand-in does, from a description of the
// machine that a test host writes into the registry:
//
//   HKEY_LOCAL_MACHINE\SOFTWARE\QX Inc\XPSUIOLib\Printers\<printer name>
//       BidiReachable  REG_DWORD  0: the printer does not answer (absent: it does)
//       <n>\           one key per paper source, n its decimal number, answered in number order;
//                      REG_SZ values Name, MediaID, Type, MediaUnits, MediaSizeName, MediaWidth,
//                      MediaLength, InputInstalled, MediaType and NotReady
//
// A printer name's backslashes are written as commas in the key's name (",,server,printer"), as
// Windows keeps printer connections. A value that is absent or empty is not reported.
#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr wchar_t kKoru[] = L"KORU";
constexpr wchar_t kPrintersKey[] = L"SOFTWARE\\QX Inc\\XPSUIOLib\\Printers\\";
constexpr DWORD kLongestKeyName = 255;
constexpr const wchar_t* kFields[] = {L"Name",          L"MediaID",     L"Type",           L"MediaUnits",
                                      L"MediaSizeName", L"MediaWidth",  L"MediaLength",    L"InputInstalled",
                                      L"MediaType",     L"NotReady"};

class RegistryKey {
public:
    RegistryKey(HKEY parent, const std::wstring& name)
    {
        if (::RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, &m_key) != ERROR_SUCCESS) {
            m_key = nullptr;
        }
    }
    ~RegistryKey()
    {
        if (m_key != nullptr) {
            ::RegCloseKey(m_key);
        }
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    HKEY Get() const { return m_key; }

    // Empty when absent or not a string.
    std::wstring Text(const wchar_t* value) const
    {
        DWORD bytes = 0;
        if (::RegGetValueW(m_key, nullptr, value, RRF_RT_REG_SZ, nullptr, nullptr, &bytes) != ERROR_SUCCESS) {
            return std::wstring();
        }
        std::wstring text(bytes / sizeof(wchar_t), L'\0');
        if (::RegGetValueW(m_key, nullptr, value, RRF_RT_REG_SZ, nullptr, text.data(), &bytes) != ERROR_SUCCESS) {
            return std::wstring();
        }
        text.resize(std::wcslen(text.c_str()));
        return text;
    }

    bool Reachable() const
    {
        DWORD reachable = 1;
        DWORD bytes = sizeof reachable;
        ::RegGetValueW(m_key, nullptr, L"BidiReachable", RRF_RT_REG_DWORD, nullptr, &reachable, &bytes);
        return reachable != 0;
    }

    // The subkeys named by a decimal number from 1, in number order.
    std::vector<std::pair<unsigned long, std::wstring>> NumberedSubkeys() const
    {
        std::vector<std::pair<unsigned long, std::wstring>> numbered;
        wchar_t name[kLongestKeyName + 1];
        for (DWORD index = 0;; ++index) {
            DWORD length = kLongestKeyName + 1;
            if (::RegEnumKeyExW(m_key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
                break;
            }
            wchar_t* end = nullptr;
            const unsigned long number = std::wcstoul(name, &end, 10);
            if (length > 0 && *end == L'\0' && name[0] != L'0' && name[0] != L'-' && name[0] != L'+') {
                numbered.emplace_back(number, name);
            }
        }
        std::sort(numbered.begin(), numbered.end());
        return numbered;
    }

private:
    HKEY m_key = nullptr;
};

// The closed library is called with an empty text, 0 and 1 between the printer and the protocol;
// a call that passes anything else is not one it answers.
bool IsKoruRequest(const wchar_t* printerName, const wchar_t* empty, int zero, int one, const wchar_t* protocol)
{
    return printerName != nullptr && *printerName != L'\0' && (empty == nullptr || *empty == L'\0') && zero == 0 &&
           one == 1 && protocol != nullptr && std::wcscmp(protocol, kKoru) == 0;
}

std::wstring KeyNameOf(const wchar_t* printerName)
{
    std::wstring name(printerName);
    std::replace(name.begin(), name.end(), L'\\', L',');
    return name;
}

// One line "Source<n>_<Field>=<text>" for each text, source by source, as the Linux stand-in.
std::wstring KoruDescription(const RegistryKey& printer)
{
    std::wstring description;
    for (const auto& [number, keyName] : printer.NumberedSubkeys()) {
        const RegistryKey source(printer.Get(), keyName);
        for (const wchar_t* field : kFields) {
            const std::wstring text = source.Get() == nullptr ? std::wstring() : source.Text(field);
            if (!text.empty()) {
                description += L"Source" + std::to_wstring(number) + L"_" + field + L"=" + text + L"\n";
            }
        }
    }
    return description;
}

}  // namespace

// Non-zero when output (outputCharacters wide characters, room for the terminating zero included)
// holds the printer's description; 0 for an unknown or unreachable printer, another protocol or a
// description that does not fit, with output then empty.
extern "C" __declspec(dllexport) int GetBidiResponse(wchar_t* output, int outputCharacters,
                                                     const wchar_t* printerName, const wchar_t* empty, int zero,
                                                     int one, const wchar_t* protocol)
{
    if (output == nullptr || outputCharacters <= 0) {
        return 0;
    }
    output[0] = L'\0';
    try {
        if (!IsKoruRequest(printerName, empty, zero, one, protocol)) {
            return 0;
        }
        const RegistryKey printer(HKEY_LOCAL_MACHINE, kPrintersKey + KeyNameOf(printerName));
        if (printer.Get() == nullptr || !printer.Reachable()) {
            return 0;
        }
        const std::wstring description = KoruDescription(printer);
        if (description.size() >= static_cast<std::size_t>(outputCharacters)) {
            return 0;
        }
        std::wmemcpy(output, description.c_str(), description.size() + 1);
        return 1;
    } catch (...) {
        return 0;  // nothing may cross the C boundary
    }
}
