// What the simulated registry holds: hives, and values as RegQueryValueExW returns them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "../windows.h"

namespace platform {

// HKEY_LOCAL_MACHINE, or the HKEY_CURRENT_USER of one user. A user's hive is found by the user's
// name, without regard to case; ".DEFAULT" is the hive of a process that runs as no declared user.
struct RegistryHive {
    std::wstring user;  // empty for HKEY_LOCAL_MACHINE

    static RegistryHive LocalMachine() { return {}; }
    static RegistryHive UserOf(std::wstring name) { return {std::move(name)}; }
    static RegistryHive DefaultUser() { return {L".DEFAULT"}; }
    bool IsLocalMachine() const { return user.empty(); }
};

// A typed value. Text is stored with its terminating zero, so its byte count is what Windows
// reports for a value written with one.
struct RegistryData {
    DWORD type = REG_NONE;
    std::vector<BYTE> bytes;

    static RegistryData String(const std::wstring& text);
    static RegistryData ExpandString(const std::wstring& text);
    static RegistryData Dword(DWORD value);
    static RegistryData MultiString(const std::vector<std::wstring>& texts);
    static RegistryData Binary(std::vector<BYTE> bytes);

    bool operator==(const RegistryData& other) const { return type == other.type && bytes == other.bytes; }
};

// One key or one value of a machine's registry; the keys on its path exist with it.
struct RegistryEntry {
    RegistryHive hive;
    std::wstring key;          // below the hive, "SOFTWARE\QX\QX Print Preview2"
    std::wstring valueName;              // empty: the key's default value
    std::optional<RegistryData> data;    // nothing: the key alone
};

}  // namespace platform
