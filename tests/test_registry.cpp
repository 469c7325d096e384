// The registry of the simulated machine: each call's Win32 error codes, and HKEY_CURRENT_USER per
// user and per impersonating thread.
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <platform/simulatedmachine.h>
#include <platform/systemapi.h>
#include <platform/text.h>
#include <windows.h>

#include "testmachine.h"

namespace {

using platform::RegistryData;
using platform::RegistryHive;
using platform::SimulatedMachine;

constexpr wchar_t kPreview[] = L"SOFTWARE\\QX\\QX Print Preview2";
constexpr wchar_t kConnections[] = L"Printers\\Connections";

// An open key, closed at the end of its scope.
class Key {
public:
    Key() = default;
    ~Key() { Close(); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    PHKEY Out()
    {
        Close();
        return &key_;
    }
    HKEY Get() const { return key_; }

private:
    void Close()
    {
        if (key_ != nullptr) {
            RegCloseKey(key_);
            key_ = nullptr;
        }
    }
    HKEY key_ = nullptr;
};

std::wstring TextOf(const BYTE* bytes, DWORD size)
{
    std::wstring text(size / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes, text.size() * sizeof(wchar_t));
    while (!text.empty() && text.back() == L'\0') {
        text.pop_back();
    }
    return text;
}

DWORD BytesOf(const std::wstring& text) { return static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)); }

class Registry : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        platform::MachineContents contents;
        contents.users = {{L"ana"}, {L"ben"}};
        const auto machine = RegistryHive::LocalMachine();
        contents.registry = {
            {machine, kPreview, L"PPExecPath", RegistryData::String(L"C:\\Program Files\\QX\\Preview\\")},
            {machine, kPreview, L"PPExecFile", RegistryData::String(L"QXPreview.exe")},
            {machine, kPreview, L"", RegistryData::String(L"default")},
            {machine, L"SOFTWARE\\QX\\Values", L"Count", RegistryData::Dword(0x12345678)},
            {machine, L"SOFTWARE\\QX\\Values", L"Word", RegistryData::Binary({0x78, 0x56, 0x34, 0x12})},
            {machine, L"SOFTWARE\\QX\\Values", L"Quad", RegistryData::Binary({1, 2, 3, 4, 5, 6, 7, 8})},
            {machine, L"SOFTWARE\\QX\\Values", L"Folder", RegistryData::ExpandString(L"%USERPROFILE%\\Plots")},
            {machine, L"SOFTWARE\\QX\\Values", L"Odd", RegistryData::ExpandString(L"%NOSUCH%\\%SystemRoot%")},
            {machine, L"SOFTWARE\\QX\\Values", L"Raw", RegistryData{REG_SZ, {'a', 0, 0, 0}}},
            {machine, L"SOFTWARE\\QX\\Empty", L"", std::nullopt},
        };
        for (const wchar_t* name : {L"zeta", L",,srv,plotter", L"Alpha", L"beta"}) {
            contents.registry.push_back({RegistryHive::UserOf(L"ana"), std::wstring(kConnections) + L"\\" + name,
                                         L"GuidPrinter", RegistryData::String(std::wstring(L"{") + name + L"}")});
        }
        contents.registry.push_back({RegistryHive::UserOf(L"ben"), kConnections, L"", std::nullopt});
        SimulatedMachine::Replace(contents);
    }
    void TearDown() override { SetThreadToken(nullptr, nullptr); }

    static LSTATUS Open(HKEY root, const wchar_t* path, Key& key, REGSAM access = KEY_READ)
    {
        return RegOpenKeyExW(root, path, 0, access, key.Out());
    }

    // The names RegEnumKeyExW gives, in order, with buffers of the size RegQueryInfoKeyW advises.
    static std::vector<std::wstring> Subkeys(HKEY key)
    {
        DWORD count = 0;
        DWORD longest = 0;
        EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr,
                                   nullptr, nullptr, nullptr),
                  ERROR_SUCCESS);
        std::vector<std::wstring> names;
        for (DWORD index = 0;; ++index) {
            std::wstring name(longest + 1, L'\0');
            DWORD chars = longest + 1;
            const LSTATUS status = RegEnumKeyExW(key, index, name.data(), &chars, nullptr, nullptr, nullptr, nullptr);
            if (status != ERROR_SUCCESS) {
                EXPECT_EQ(status, ERROR_NO_MORE_ITEMS);
                EXPECT_EQ(index, count);
                return names;
            }
            names.push_back(name.substr(0, chars));
        }
    }

    // GuidPrinter of every connection of the user whose hive RegOpenCurrentUser opens.
    static std::vector<std::wstring> ConnectionsOfCurrentUser()
    {
        Key user;
        Key connections;
        if (RegOpenCurrentUser(KEY_READ, user.Out()) != ERROR_SUCCESS ||
            Open(user.Get(), kConnections, connections) != ERROR_SUCCESS) {
            return {L"<none>"};
        }
        return Subkeys(connections.Get());
    }
};

// ---- opening and closing

TEST_F(Registry, OpeningAKeyAnswersLikeWindows)
{
    Key parent;
    ASSERT_EQ(Open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QX", parent), ERROR_SUCCESS);
    const struct {
        HKEY root;
        const wchar_t* path;
        LSTATUS status;
        const char* why;
    } cases[] = {
        {HKEY_LOCAL_MACHINE, kPreview, ERROR_SUCCESS, "an existing key"},
        {HKEY_LOCAL_MACHINE, L"software\\qx\\QX PRINT PREVIEW2", ERROR_SUCCESS, "names compare without case"},
        {HKEY_LOCAL_MACHINE, L"SOFTWARE\\QX\\\\QX Print Preview2\\\\", ERROR_SUCCESS, "repeated separators"},
        {parent.Get(), L"QX Print Preview2", ERROR_SUCCESS, "below an open key"},
        {parent.Get(), L"Empty", ERROR_SUCCESS, "a key without values"},
        {HKEY_LOCAL_MACHINE, L"SOFTWARE\\QX\\Missing", ERROR_FILE_NOT_FOUND, "a missing key"},
        {HKEY_LOCAL_MACHINE, L"\\SOFTWARE\\QX", ERROR_BAD_PATHNAME, "a leading backslash"},
        {HKEY_LOCAL_MACHINE, L"Printers\\Connections", ERROR_FILE_NOT_FOUND, "a user's key is not the machine's"},
        {nullptr, kPreview, ERROR_INVALID_HANDLE, "no key"},
        {reinterpret_cast<HKEY>(0x1234), kPreview, ERROR_INVALID_HANDLE, "a forged key"},
    };
    for (const auto& c : cases) {
        HKEY opened = reinterpret_cast<HKEY>(0x99);
        EXPECT_EQ(RegOpenKeyExW(c.root, c.path, 0, KEY_READ, &opened), c.status) << c.why;
        EXPECT_EQ(opened == nullptr, c.status != ERROR_SUCCESS) << c.why << ": failures give no key";
        if (c.status == ERROR_SUCCESS) {
            EXPECT_EQ(RegCloseKey(opened), ERROR_SUCCESS) << c.why;
        }
    }
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kPreview, 0, KEY_READ, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, AKeyClosesOnceAndPredefinedKeysAlways)
{
    HKEY opened = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kPreview, 0, KEY_READ, &opened), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(opened), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(opened), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegQueryValueExW(opened, L"PPExecFile", nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), ERROR_SUCCESS);

    // Another kind of handle is no key, and a key is no handle for CloseHandle's table of tokens.
    HANDLE token = SimulatedMachine::TokenFor(L"ana");
    EXPECT_EQ(RegCloseKey(static_cast<HKEY>(token)), ERROR_INVALID_HANDLE);
    EXPECT_TRUE(CloseHandle(token));
}

TEST_F(Registry, AHandleAllowsWhatItWasOpenedFor)
{
    Key valuesOnly;
    ASSERT_EQ(Open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QX", valuesOnly, KEY_QUERY_VALUE), ERROR_SUCCESS);
    wchar_t name[64];
    DWORD chars = 64;
    EXPECT_EQ(RegEnumKeyExW(valuesOnly.Get(), 0, name, &chars, nullptr, nullptr, nullptr, nullptr),
              ERROR_ACCESS_DENIED);

    Key subkeysOnly;
    ASSERT_EQ(Open(HKEY_LOCAL_MACHINE, kPreview, subkeysOnly, KEY_ENUMERATE_SUB_KEYS), ERROR_SUCCESS);
    DWORD bytes = 0;
    EXPECT_EQ(RegQueryValueExW(subkeysOnly.Get(), L"PPExecFile", nullptr, nullptr, nullptr, &bytes),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegQueryInfoKeyW(subkeysOnly.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr),
              ERROR_ACCESS_DENIED);
    // RegGetValueW opens a named subkey afresh for reading, whatever the handle allows.
    EXPECT_EQ(RegGetValueW(subkeysOnly.Get(), nullptr, L"PPExecFile", RRF_RT_REG_SZ, nullptr, nullptr, &bytes),
              ERROR_ACCESS_DENIED);
    Key qx;
    ASSERT_EQ(Open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QX", qx, KEY_ENUMERATE_SUB_KEYS), ERROR_SUCCESS);
    EXPECT_EQ(RegGetValueW(qx.Get(), L"QX Print Preview2", L"PPExecFile", RRF_RT_REG_SZ, nullptr, nullptr, &bytes),
              ERROR_SUCCESS);
}

// ---- enumerating

TEST_F(Registry, SubkeysEnumerateInNameOrderWithoutCase)
{
    Key user;
    ASSERT_EQ(Open(HKEY_CURRENT_USER, kConnections, user), ERROR_SUCCESS);
    EXPECT_EQ(Subkeys(user.Get()), (std::vector<std::wstring>{L",,srv,plotter", L"Alpha", L"beta", L"zeta"}));

    // The longest name, without its zero, sizes the enumeration buffer of the connection lookup.
    DWORD subkeys = 0, longest = 0, values = 9;
    ASSERT_EQ(RegQueryInfoKeyW(user.Get(), nullptr, nullptr, nullptr, &subkeys, &longest, nullptr, &values, nullptr,
                               nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(subkeys, 4u);
    EXPECT_EQ(longest, 13u) << ",,srv,plotter";
    EXPECT_EQ(values, 0u);
    EXPECT_EQ(RegQueryInfoKeyW(user.Get(), nullptr, nullptr, &values, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
              ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, EnumeratingNeedsRoomForTheNameAndItsZero)
{
    Key connections;
    ASSERT_EQ(Open(HKEY_CURRENT_USER, kConnections, connections), ERROR_SUCCESS);
    wchar_t name[32] = L"unchanged";
    const struct {
        DWORD index;
        DWORD chars;
        LSTATUS status;
        DWORD charsAfter;
        const wchar_t* name;
    } cases[] = {
        {0, 13, ERROR_MORE_DATA, 13, L"unchanged"},  // ",,srv,plotter" has 13 characters
        {0, 14, ERROR_SUCCESS, 13, L",,srv,plotter"},
        {1, 5, ERROR_MORE_DATA, 5, L"unchanged"},
        {1, 6, ERROR_SUCCESS, 5, L"Alpha"},
        {4, 32, ERROR_NO_MORE_ITEMS, 32, L"unchanged"},
        {1000, 32, ERROR_NO_MORE_ITEMS, 32, L"unchanged"},
    };
    for (const auto& c : cases) {
        std::wcscpy(name, L"unchanged");
        DWORD chars = c.chars;
        EXPECT_EQ(RegEnumKeyExW(connections.Get(), c.index, name, &chars, nullptr, nullptr, nullptr, nullptr),
                  c.status)
            << c.index << " in " << c.chars;
        EXPECT_EQ(chars, c.charsAfter) << c.index << " in " << c.chars;
        EXPECT_EQ(std::wstring(name), c.name) << c.index << " in " << c.chars;
    }
    DWORD chars = 32;
    DWORD reserved = 0;
    EXPECT_EQ(RegEnumKeyExW(connections.Get(), 0, nullptr, &chars, nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegEnumKeyExW(connections.Get(), 0, name, nullptr, nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegEnumKeyExW(connections.Get(), 0, name, &chars, &reserved, nullptr, nullptr, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegEnumKeyExW(reinterpret_cast<HKEY>(0x1234), 0, name, &chars, nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_HANDLE);
}

// ---- reading values

TEST_F(Registry, QueryingAValueGivesItsTypeSizeAndBytes)
{
    Key preview;
    ASSERT_EQ(Open(HKEY_LOCAL_MACHINE, kPreview, preview), ERROR_SUCCESS);
    const std::wstring path = L"C:\\Program Files\\QX\\Preview\\";

    // The installation test's pattern: the size first, with neither type nor data.
    DWORD bytes = 0;
    ASSERT_EQ(RegQueryValueExW(preview.Get(), L"ppexecpath", nullptr, nullptr, nullptr, &bytes), ERROR_SUCCESS);
    EXPECT_EQ(bytes, BytesOf(path));

    std::vector<BYTE> buffer(bytes * 2, 0xbd);
    DWORD type = 0;
    DWORD room = static_cast<DWORD>(buffer.size());
    ASSERT_EQ(RegQueryValueExW(preview.Get(), L"PPExecPath", nullptr, &type, buffer.data(), &room), ERROR_SUCCESS);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(room, bytes);
    EXPECT_EQ(TextOf(buffer.data(), room), path);
    EXPECT_EQ(buffer[bytes], 0xbd) << "nothing is written past the value";

    room = bytes - 1;
    std::fill(buffer.begin(), buffer.end(), 0xbd);
    EXPECT_EQ(RegQueryValueExW(preview.Get(), L"PPExecPath", nullptr, &type, buffer.data(), &room), ERROR_MORE_DATA);
    EXPECT_EQ(room, bytes);
    EXPECT_EQ(type, REG_SZ);

    room = static_cast<DWORD>(buffer.size());
    ASSERT_EQ(RegQueryValueExW(preview.Get(), nullptr, nullptr, &type, buffer.data(), &room), ERROR_SUCCESS);
    EXPECT_EQ(TextOf(buffer.data(), room), L"default") << "no name is the key's default value";

    EXPECT_EQ(RegQueryValueExW(preview.Get(), L"Missing", nullptr, &type, nullptr, &room), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegQueryValueExW(preview.Get(), L"PPExecPath", nullptr, &type, buffer.data(), nullptr),
              ERROR_INVALID_PARAMETER);
    DWORD reserved = 0;
    EXPECT_EQ(RegQueryValueExW(preview.Get(), L"PPExecPath", &reserved, &type, nullptr, &room),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegQueryValueExW(reinterpret_cast<HKEY>(0x1234), L"PPExecPath", nullptr, &type, nullptr, &room),
              ERROR_INVALID_HANDLE);
}

TEST_F(Registry, TextStoredWithoutItsZeroGetsOneWhenThereIsRoom)
{
    Key values;
    ASSERT_EQ(Open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QX\\Values", values), ERROR_SUCCESS);
    wchar_t text[4] = {L'x', L'x', L'x', L'x'};
    DWORD room = sizeof text;
    ASSERT_EQ(RegQueryValueExW(values.Get(), L"Raw", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &room),
              ERROR_SUCCESS);
    EXPECT_EQ(room, 4u) << "the stored count";
    EXPECT_EQ(text[0], L'a');
    EXPECT_EQ(text[1], L'\0');

    DWORD type = 0;
    room = sizeof text;
    ASSERT_EQ(RegGetValueW(values.Get(), nullptr, L"Raw", RRF_RT_REG_SZ, &type, text, &room), ERROR_SUCCESS);
    EXPECT_EQ(room, 8u) << "RegGetValueW counts the zero it adds";
}

struct GetCase {
    const char* why;
    const wchar_t* value;
    DWORD flags;
    LSTATUS status;
    DWORD type;
    DWORD bytes;
};

TEST_F(Registry, RegGetValueFiltersTypesExpandsAndReportsSizes)
{
    const DWORD word = sizeof(DWORD);
    const GetCase cases[] = {
        {"text as text", L"PPExecFile", RRF_RT_REG_SZ, ERROR_SUCCESS, REG_SZ, BytesOf(L"QXPreview.exe")},
        {"text refused as a number", L"PPExecFile", RRF_RT_REG_DWORD, ERROR_UNSUPPORTED_TYPE, REG_SZ,
         BytesOf(L"QXPreview.exe")},
        {"a number refused as text", L"Count", RRF_RT_REG_SZ, ERROR_UNSUPPORTED_TYPE, REG_DWORD, word},
        {"four bytes as a DWORD", L"Word", RRF_RT_DWORD, ERROR_SUCCESS, REG_BINARY, word},
        {"eight bytes are no DWORD", L"Quad", RRF_RT_DWORD, ERROR_DATATYPE_MISMATCH, REG_BINARY, 8},
        {"expanded for text", L"Folder", RRF_RT_REG_SZ, ERROR_SUCCESS, REG_SZ, BytesOf(L"C:\\Users\\ana\\Plots")},
        {"not expanded when asked", L"Folder", RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, ERROR_SUCCESS, REG_EXPAND_SZ,
         BytesOf(L"%USERPROFILE%\\Plots")},
        {"unexpanded is no plain text", L"Folder", RRF_RT_REG_SZ | RRF_NOEXPAND, ERROR_UNSUPPORTED_TYPE, REG_EXPAND_SZ,
         BytesOf(L"%USERPROFILE%\\Plots")},
        {"unknown names stay", L"Odd", RRF_RT_ANY, ERROR_SUCCESS, REG_SZ, BytesOf(L"%NOSUCH%\\C:\\Windows")},
    };
    Key values;
    ASSERT_EQ(Open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QX", values), ERROR_SUCCESS);
    for (const GetCase& c : cases) {
        const wchar_t* subkey = std::wstring(c.value).rfind(L"PP", 0) == 0 ? L"QX Print Preview2" : L"Values";
        DWORD type = 0xdeadbeef;
        DWORD bytes = 0xdeadbeef;
        EXPECT_EQ(RegGetValueW(values.Get(), subkey, c.value, c.flags, &type, nullptr, &bytes), c.status) << c.why;
        EXPECT_EQ(type, c.type) << c.why;
        EXPECT_EQ(bytes, c.bytes) << c.why;

        std::vector<BYTE> buffer(c.bytes + 16, 0xbd);
        DWORD room = static_cast<DWORD>(buffer.size());
        EXPECT_EQ(RegGetValueW(values.Get(), subkey, c.value, c.flags, &type, buffer.data(), &room), c.status)
            << c.why << " into a buffer";
        EXPECT_EQ(room, c.bytes) << c.why << " into a buffer";
    }
}

TEST_F(Registry, RegGetValueGivesTheExpandedTextAndItsFailures)
{
    wchar_t text[64];
    DWORD bytes = sizeof text;
    ASSERT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\QX\\Values", L"Folder", RRF_RT_REG_SZ, nullptr, text, &bytes),
              ERROR_SUCCESS);
    EXPECT_EQ(std::wstring(text), L"C:\\Users\\ana\\Plots") << "the process's user is the machine's first";

    // Too small: the size needed, the buffer untouched unless zeroing on failure is asked for.
    std::wcscpy(text, L"kept");
    bytes = 4 * sizeof(wchar_t);
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, kPreview, L"PPExecFile", RRF_RT_REG_SZ, nullptr, text, &bytes),
              ERROR_MORE_DATA);
    EXPECT_EQ(bytes, BytesOf(L"QXPreview.exe"));
    EXPECT_EQ(std::wstring(text), L"kept");
    bytes = 4 * sizeof(wchar_t);
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, kPreview, L"PPExecFile", RRF_RT_REG_SZ | RRF_ZEROONFAILURE, nullptr,
                           text, &bytes),
              ERROR_MORE_DATA);
    EXPECT_EQ(text[0], L'\0');
    EXPECT_EQ(text[3], L'\0');

    const struct {
        const wchar_t* subkey;
        const wchar_t* value;
        DWORD flags;
        LSTATUS status;
        const char* why;
    } failures[] = {
        {kPreview, L"Missing", RRF_RT_ANY, ERROR_FILE_NOT_FOUND, "a missing value"},
        {L"SOFTWARE\\QX\\Missing", L"PPExecFile", RRF_RT_ANY, ERROR_FILE_NOT_FOUND, "a missing key"},
        {L"\\SOFTWARE\\QX", L"PPExecFile", RRF_RT_ANY, ERROR_BAD_PATHNAME, "a leading backslash"},
        {L"SOFTWARE\\QX\\Values", L"Folder", RRF_RT_REG_EXPAND_SZ, ERROR_INVALID_PARAMETER,
         "expandable text without RRF_NOEXPAND"},
    };
    for (const auto& f : failures) {
        bytes = 0;
        EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, f.subkey, f.value, f.flags, nullptr, nullptr, &bytes), f.status)
            << f.why;
    }
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, kPreview, L"PPExecFile", RRF_RT_ANY, nullptr, text, nullptr),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegGetValueW(reinterpret_cast<HKEY>(0x1234), nullptr, L"PPExecFile", RRF_RT_ANY, nullptr, nullptr,
                           &bytes),
              ERROR_INVALID_HANDLE);
}

// ---- the current user

TEST_F(Registry, TheCurrentUserIsTheImpersonatedOneElseTheFirstUser)
{
    EXPECT_EQ(SimulatedMachine::ProcessUser(), L"ana");
    EXPECT_EQ(SimulatedMachine::CurrentUser(), L"ana");
    EXPECT_EQ(ConnectionsOfCurrentUser(), (std::vector<std::wstring>{L",,srv,plotter", L"Alpha", L"beta", L"zeta"}));

    HANDLE ben = SimulatedMachine::TokenFor(L"BEN");
    ASSERT_NE(ben, nullptr);
    ASSERT_TRUE(SetThreadToken(nullptr, ben));
    CloseHandle(ben);  // the thread keeps its own copy of the token, as on Windows
    EXPECT_EQ(SimulatedMachine::CurrentUser(), L"ben");
    EXPECT_EQ(ConnectionsOfCurrentUser(), std::vector<std::wstring>{}) << "ben's hive has no connections";
    Key processUser;
    ASSERT_EQ(Open(HKEY_CURRENT_USER, kConnections, processUser), ERROR_SUCCESS);
    EXPECT_EQ(Subkeys(processUser.Get()).size(), 4u) << "HKEY_CURRENT_USER stays the process's user's";

    // Another thread runs as the process's user.
    std::vector<std::wstring> elsewhere;
    std::thread([&] { elsewhere = ConnectionsOfCurrentUser(); }).join();
    EXPECT_EQ(elsewhere.size(), 4u);

    ASSERT_TRUE(SetThreadToken(nullptr, nullptr));
    EXPECT_EQ(ConnectionsOfCurrentUser().size(), 4u);
}

TEST_F(Registry, OnlyATokenImpersonatesAndOnlyTheCallingThread)
{
    Key keyHandle;
    ASSERT_EQ(Open(HKEY_LOCAL_MACHINE, kPreview, keyHandle), ERROR_SUCCESS);
    SetLastError(0);
    EXPECT_FALSE(SetThreadToken(nullptr, static_cast<HANDLE>(keyHandle.Get())));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    HANDLE token = SimulatedMachine::TokenFor(L"ben");
    HANDLE thread = reinterpret_cast<HANDLE>(0x10);
    SetLastError(0);
    EXPECT_FALSE(SetThreadToken(&thread, token));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(SimulatedMachine::CurrentUser(), L"ana") << "a refused token changes nothing";
    CloseHandle(token);
}

}  // namespace
