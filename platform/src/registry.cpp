// The registry calls over the simulated machine's hives. An open key is a handle that names its
// hive, its path and the access it was opened for; each call looks the key up anew, so a key
// deleted since it was opened answers ERROR_KEY_DELETED.
#include <algorithm>
#include <cstring>
#include <memory>

#include "handletable.h"
#include "platform/simulatedmachine.h"
#include "platform/systemapi.h"
#include "simulatedmachinestate.h"
#include "userenvironment.h"

namespace platform {
namespace {

struct OpenedKey {
    RegistryHive hive;
    std::vector<std::wstring> path;
    REGSAM access = 0;
    std::uint64_t identity = 0;  // 0: whatever key the path leads to, as for the predefined keys
};

bool StillThere(const OpenedKey& key, const std::optional<RegistryKeySnapshot>& found)
{
    return found && (key.identity == 0 || key.identity == found->identity);
}

class RegistryKeyObject : public KernelObject {
public:
    explicit RegistryKeyObject(OpenedKey key) : key_(std::move(key)) {}
    DWORD Wait(DWORD) override
    {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    const OpenedKey& Key() const { return key_; }

private:
    OpenedKey key_;
};

RegistryHive HiveOf(const std::optional<std::wstring>& user)
{
    return user ? RegistryHive::UserOf(*user) : RegistryHive::DefaultUser();
}

bool IsPredefined(HKEY key) { return key == HKEY_LOCAL_MACHINE || key == HKEY_CURRENT_USER; }

std::optional<OpenedKey> Resolve(HKEY key)
{
    if (key == HKEY_LOCAL_MACHINE) {
        return OpenedKey{RegistryHive::LocalMachine(), {}, KEY_ALL_ACCESS};
    }
    if (key == HKEY_CURRENT_USER) {
        return OpenedKey{HiveOf(SimulatedMachine::ProcessUser()), {}, KEY_ALL_ACCESS};
    }
    if (const auto object = HandleTable::FindAs<RegistryKeyObject>(key)) {
        return object->Key();
    }
    return std::nullopt;
}

// Generic rights are the key rights they stand for; nothing is refused on a machine without
// security, so the most allowed is everything.
REGSAM Granted(REGSAM asked)
{
    REGSAM granted = asked & KEY_ALL_ACCESS;
    granted |= (asked & GENERIC_READ) != 0 ? KEY_READ : 0;
    granted |= (asked & GENERIC_WRITE) != 0 ? KEY_WRITE : 0;
    granted |= (asked & GENERIC_EXECUTE) != 0 ? KEY_EXECUTE : 0;
    granted |= (asked & (GENERIC_ALL | MAXIMUM_ALLOWED)) != 0 ? KEY_ALL_ACCESS : 0;
    return granted;
}

HKEY NewHandle(OpenedKey key)
{
    return static_cast<HKEY>(HandleTable::Add(std::make_shared<RegistryKeyObject>(std::move(key))));
}

bool IsEmpty(LPCWSTR text) { return text == nullptr || *text == L'\0'; }

// The key a handle and a subkey name lead to. A subkey is opened afresh, so the handle's access
// does not matter then; otherwise the handle must allow what the call needs.
LSTATUS Locate(HKEY key, LPCWSTR subKey, REGSAM needed, OpenedKey& located)
{
    std::optional<OpenedKey> opened = Resolve(key);
    if (!opened) {
        return ERROR_INVALID_HANDLE;
    }
    if (!StillThere(*opened, SnapshotRegistryKey(opened->hive, opened->path))) {
        return ERROR_KEY_DELETED;
    }
    if (IsEmpty(subKey)) {
        located = std::move(*opened);
        return (located.access & needed) == needed ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
    }
    if (*subKey == L'\\') {
        return ERROR_BAD_PATHNAME;
    }
    for (std::wstring& part : SplitRegistryPath(subKey)) {
        opened->path.push_back(std::move(part));
    }
    const std::optional<RegistryKeySnapshot> found = SnapshotRegistryKey(opened->hive, opened->path);
    if (!found) {
        return ERROR_FILE_NOT_FOUND;
    }
    opened->access = needed;
    opened->identity = found->identity;
    located = std::move(*opened);
    return ERROR_SUCCESS;
}

LSTATUS Read(HKEY key, LPCWSTR subKey, REGSAM needed, RegistryKeySnapshot& snapshot)
{
    OpenedKey located;
    const LSTATUS status = Locate(key, subKey, needed, located);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    std::optional<RegistryKeySnapshot> found = SnapshotRegistryKey(located.hive, located.path);
    if (!StillThere(located, found)) {
        return ERROR_KEY_DELETED;  // deleted between the two looks
    }
    snapshot = std::move(*found);
    return ERROR_SUCCESS;
}

const RegistryData* ValueIn(const RegistryKeySnapshot& snapshot, LPCWSTR name)
{
    const std::wstring wanted = name == nullptr ? L"" : name;
    const auto found = std::find_if(snapshot.values.begin(), snapshot.values.end(),
                                    [&](const auto& value) { return SameName(value.first, wanted); });
    return found == snapshot.values.end() ? nullptr : &found->second;
}

bool IsText(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

void SetIfWanted(LPDWORD out, DWORD value)
{
    if (out != nullptr) {
        *out = value;
    }
}

DWORD ByteCount(const std::vector<BYTE>& bytes) { return static_cast<DWORD>(bytes.size()); }

// A text value's bytes as RegGetValueW gives them: expanded unless the caller said not to, and
// always ending in a zero character.
RegistryData AsRead(RegistryData data, DWORD flags)
{
    if (data.type == REG_EXPAND_SZ && (flags & RRF_NOEXPAND) == 0) {
        std::wstring text(data.bytes.size() / sizeof(wchar_t), L'\0');
        std::memcpy(text.data(), data.bytes.data(), text.size() * sizeof(wchar_t));
        data = RegistryData::String(ExpandEnvironmentFor(text.c_str(), SimulatedMachine::ProcessUser()));
    }
    const wchar_t zero = L'\0';
    const bool terminated = data.bytes.size() >= sizeof zero &&
                            std::memcmp(data.bytes.data() + data.bytes.size() - sizeof zero, &zero, sizeof zero) == 0;
    if (IsText(data.type) && !terminated) {
        data.bytes.resize(data.bytes.size() / sizeof zero * sizeof zero + sizeof zero, 0);
    }
    return data;
}

DWORD TypeFilterBit(DWORD type)
{
    switch (type) {
    case REG_NONE: return RRF_RT_REG_NONE;
    case REG_SZ: return RRF_RT_REG_SZ;
    case REG_EXPAND_SZ: return RRF_RT_REG_EXPAND_SZ;
    case REG_BINARY: return RRF_RT_REG_BINARY;
    case REG_DWORD: return RRF_RT_REG_DWORD;
    case REG_MULTI_SZ: return RRF_RT_REG_MULTI_SZ;
    case REG_QWORD: return RRF_RT_REG_QWORD;
    default: return 0;
    }
}

// A binary value read as RRF_RT_DWORD or RRF_RT_QWORD must have that number's size.
LSTATUS Restricted(DWORD flags, const RegistryData& data)
{
    if ((flags & TypeFilterBit(data.type)) == 0) {
        return ERROR_UNSUPPORTED_TYPE;
    }
    const DWORD filter = flags & RRF_RT_ANY;
    const DWORD size = ByteCount(data.bytes);
    const bool mismatch = data.type == REG_BINARY && ((filter == RRF_RT_DWORD && size != sizeof(DWORD)) ||
                                                      (filter == RRF_RT_QWORD && size != sizeof(ULONGLONG)));
    return mismatch ? ERROR_DATATYPE_MISMATCH : ERROR_SUCCESS;
}

}  // namespace

LSTATUS AdvApi32::RegOpenCurrentUser(REGSAM access, PHKEY result)
{
    if (result == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    const RegistryHive hive = HiveOf(SimulatedMachine::CurrentUser());
    const std::optional<RegistryKeySnapshot> root = SnapshotRegistryKey(hive, {});
    *result = NewHandle(OpenedKey{hive, {}, Granted(access), root ? root->identity : 0});
    return ERROR_SUCCESS;
}

LSTATUS AdvApi32::RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD, REGSAM access, PHKEY result)
{
    if (result == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    *result = nullptr;
    if (IsPredefined(key) && IsEmpty(subKey)) {
        *result = key;
        return ERROR_SUCCESS;
    }
    OpenedKey located;
    const LSTATUS status = Locate(key, subKey, 0, located);
    if (status == ERROR_SUCCESS) {
        located.access = Granted(access);
        *result = NewHandle(std::move(located));
    }
    return status;
}

LSTATUS AdvApi32::RegCloseKey(HKEY key)
{
    if (IsPredefined(key)) {
        return ERROR_SUCCESS;
    }
    const bool closed = HandleTable::FindAs<RegistryKeyObject>(key) != nullptr && HandleTable::Remove(key);
    return closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS AdvApi32::RegQueryInfoKeyW(HKEY key, LPWSTR className, LPDWORD classChars, LPDWORD reserved,
                                   LPDWORD subKeys, LPDWORD maxSubKeyChars, LPDWORD maxClassChars, LPDWORD values,
                                   LPDWORD maxValueNameChars, LPDWORD maxValueBytes, LPDWORD securityDescriptorBytes,
                                   FILETIME* lastWriteTime)
{
    if (reserved != nullptr || (className != nullptr && classChars == nullptr)) {
        return ERROR_INVALID_PARAMETER;
    }
    RegistryKeySnapshot snapshot;
    const LSTATUS status = Read(key, nullptr, KEY_QUERY_VALUE, snapshot);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    // Keys here carry no class and no security descriptor, and were never written at a known time.
    if (className != nullptr && *classChars > 0) {
        *className = L'\0';
    }
    SetIfWanted(classChars, 0);
    SetIfWanted(maxClassChars, 0);
    SetIfWanted(securityDescriptorBytes, 0);
    if (lastWriteTime != nullptr) {
        *lastWriteTime = FILETIME{};
    }
    SetIfWanted(subKeys, static_cast<DWORD>(snapshot.subkeys.size()));
    SetIfWanted(values, static_cast<DWORD>(snapshot.values.size()));
    DWORD longestSubKey = 0;
    for (const std::wstring& name : snapshot.subkeys) {
        longestSubKey = std::max(longestSubKey, static_cast<DWORD>(name.size()));
    }
    DWORD longestValueName = 0;
    DWORD largestValue = 0;
    for (const auto& [name, data] : snapshot.values) {
        longestValueName = std::max(longestValueName, static_cast<DWORD>(name.size()));
        largestValue = std::max(largestValue, ByteCount(data.bytes));
    }
    SetIfWanted(maxSubKeyChars, longestSubKey);
    SetIfWanted(maxValueNameChars, longestValueName);
    SetIfWanted(maxValueBytes, largestValue);
    return ERROR_SUCCESS;
}

LSTATUS AdvApi32::RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameChars, LPDWORD reserved,
                                LPWSTR className, LPDWORD classChars, FILETIME* lastWriteTime)
{
    if (reserved != nullptr || name == nullptr || nameChars == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    RegistryKeySnapshot snapshot;
    const LSTATUS status = Read(key, nullptr, KEY_ENUMERATE_SUB_KEYS, snapshot);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    if (index >= snapshot.subkeys.size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    const std::wstring& found = snapshot.subkeys[index];
    // The name and its terminating zero must fit, and so must the (empty) class when it is asked for.
    if (found.size() >= *nameChars || (className != nullptr && classChars != nullptr && *classChars == 0)) {
        return ERROR_MORE_DATA;
    }
    std::copy(found.begin(), found.end(), name);
    name[found.size()] = L'\0';
    *nameChars = static_cast<DWORD>(found.size());
    if (className != nullptr && classChars != nullptr) {
        *className = L'\0';
    }
    SetIfWanted(classChars, 0);
    if (lastWriteTime != nullptr) {
        *lastWriteTime = FILETIME{};
    }
    return ERROR_SUCCESS;
}

LSTATUS AdvApi32::RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, LPDWORD type, PVOID data,
                               LPDWORD dataBytes)
{
    const bool expandWithoutAny = (flags & RRF_RT_REG_EXPAND_SZ) != 0 && (flags & RRF_NOEXPAND) == 0 &&
                                  (flags & RRF_RT_ANY) != RRF_RT_ANY;
    if ((data != nullptr && dataBytes == nullptr) || expandWithoutAny) {
        return ERROR_INVALID_PARAMETER;
    }
    RegistryKeySnapshot snapshot;
    LSTATUS status = Read(key, subKey, KEY_QUERY_VALUE, snapshot);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    const RegistryData* stored = ValueIn(snapshot, value);
    if (stored == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    const RegistryData read = AsRead(*stored, flags);
    const DWORD room = data != nullptr ? *dataBytes : 0;
    if (data != nullptr && ByteCount(read.bytes) > room) {
        status = ERROR_MORE_DATA;
    } else if (data != nullptr) {
        std::memcpy(data, read.bytes.data(), read.bytes.size());
    }
    // As on Windows, a value of a type the filter excludes is still copied and described.
    if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
        const LSTATUS restricted = Restricted(flags, read);
        status = restricted != ERROR_SUCCESS ? restricted : status;
    }
    if (data != nullptr && status != ERROR_SUCCESS && (flags & RRF_ZEROONFAILURE) != 0) {
        std::memset(data, 0, room);
    }
    SetIfWanted(type, read.type);
    SetIfWanted(dataBytes, ByteCount(read.bytes));
    return status;
}

LSTATUS AdvApi32::RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                   LPDWORD dataBytes)
{
    if ((data != nullptr && dataBytes == nullptr) || reserved != nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    RegistryKeySnapshot snapshot;
    const LSTATUS status = Read(key, nullptr, KEY_QUERY_VALUE, snapshot);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    const RegistryData* stored = ValueIn(snapshot, valueName);
    if (stored == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    const DWORD size = ByteCount(stored->bytes);
    SetIfWanted(type, stored->type);
    if (data == nullptr) {
        SetIfWanted(dataBytes, size);
        return ERROR_SUCCESS;
    }
    const DWORD room = *dataBytes;
    *dataBytes = size;
    if (size > room) {
        return ERROR_MORE_DATA;
    }
    std::memcpy(data, stored->bytes.data(), size);
    // Text stored without its terminating zero gets one when the buffer has room, as on Windows;
    // the count stays the stored one.
    wchar_t last = L'\0';
    if (size >= sizeof last) {
        std::memcpy(&last, data + size - sizeof last, sizeof last);
    }
    if (IsText(stored->type) && last != L'\0' && room - size >= sizeof last) {
        std::memset(data + size, 0, sizeof last);
    }
    return ERROR_SUCCESS;
}

}  // namespace platform
