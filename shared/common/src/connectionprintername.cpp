#include "connectionprintername.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <windows.h>

#include "scopedregistrykey.h"

namespace {

const wchar_t kConnectionsKey[] = L"Printers\\Connections";
const wchar_t kGuidValue[] = L"GuidPrinter";
constexpr DWORD kDefaultSubkeyNameLength = 255;  // when the key does not tell its longest name

// The braced GUID of a "\\...\{GUID}" name: from the last '{' to the last '}'.
std::optional<std::wstring> BracedGuidOf(const std::wstring& name)
{
    if (name.compare(0, 2, L"\\\\") != 0 || name.find(L"\\{", 2) == std::wstring::npos) {
        return std::nullopt;
    }
    const std::size_t open = name.rfind(L'{');
    const std::size_t close = name.rfind(L'}');
    if (open == std::wstring::npos || close == std::wstring::npos || close < open) {
        return std::nullopt;
    }
    return name.substr(open, close - open + 1);
}

DWORD SubkeyNameCapacity(HKEY key)
{
    DWORD longest = 0;
    const LSTATUS status = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, &longest, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr);
    return (status == ERROR_SUCCESS ? longest : kDefaultSubkeyNameLength) + 1;
}

// The connection's "GuidPrinter" text; empty when it has none that is a string.
std::wstring GuidOfConnection(HKEY connections, const std::wstring& connection)
{
    DWORD bytes = 0;
    if (RegGetValueW(connections, connection.c_str(), kGuidValue, RRF_RT_REG_SZ, nullptr, nullptr, &bytes) !=
            ERROR_SUCCESS ||
        bytes == 0) {
        return {};
    }
    std::vector<wchar_t> text(bytes / sizeof(wchar_t) + 1, L'\0');
    if (RegGetValueW(connections, connection.c_str(), kGuidValue, RRF_RT_REG_SZ, nullptr, text.data(), &bytes) !=
        ERROR_SUCCESS) {
        return {};
    }
    return std::wstring(text.data());
}

// The subkey of Connections whose "GuidPrinter" is the braced GUID.
std::optional<std::wstring> ConnectionWithGuid(HKEY connections, const std::wstring& guid)
{
    const DWORD capacity = SubkeyNameCapacity(connections);
    std::vector<wchar_t> name(capacity, L'\0');
    for (DWORD index = 0;; ++index) {
        DWORD length = capacity;
        const LSTATUS status =
            RegEnumKeyExW(connections, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_MORE_DATA) {
            continue;  // a name longer than the key said; it cannot be read, the others can
        }
        if (status != ERROR_SUCCESS) {
            return std::nullopt;  // the end of the subkeys, or a key that cannot be enumerated
        }
        const std::wstring connection(name.data(), length);
        if (GuidOfConnection(connections, connection) == guid) {
            return connection;
        }
    }
}

}  // namespace

std::wstring ConnectionPrinterName(const std::wstring& printerName)
{
    const std::optional<std::wstring> guid = BracedGuidOf(printerName);
    if (!guid) {
        return printerName;
    }
    ScopedRegistryKey user;
    ScopedRegistryKey connections;
    if (RegOpenCurrentUser(KEY_READ, user.Receive()) != ERROR_SUCCESS ||
        RegOpenKeyExW(user.Get(), kConnectionsKey, 0, KEY_READ, connections.Receive()) != ERROR_SUCCESS) {
        return printerName;
    }
    std::optional<std::wstring> connection = ConnectionWithGuid(connections.Get(), *guid);
    if (!connection) {
        return printerName;
    }
    std::replace(connection->begin(), connection->end(), L',', L'\\');
    return *connection;
}
