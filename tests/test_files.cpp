// Files of the simulated machine: the users' known folders per impersonated thread, temporary file
// names, CreateFileW dispositions, read-only files and the Win32 errors of each call.
#include <pwd.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <platform/machine.h>
#include <platform/simulatedmachine.h>
#include <platform/text.h>
#include <shlobj.h>
#include <windows.h>

#include "testmachine.h"

namespace {

using platform::SimulatedMachine;
namespace fs = std::filesystem;

constexpr wchar_t kAnaLocal[] = L"C:\\Users\\ana\\AppData\\Local";
constexpr wchar_t kAnaTemp[] = L"C:\\Users\\ana\\AppData\\Local\\Temp";

fs::path Host(const std::wstring& windowsPath) { return *platform::HostPathOf(windowsPath); }

std::string Contents(const std::wstring& windowsPath)
{
    std::ifstream in(Host(windowsPath));
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void Write(const std::wstring& windowsPath, const std::string& text)
{
    fs::create_directories(Host(windowsPath).parent_path());
    std::ofstream(Host(windowsPath)) << text;
}

class Files : public testing::Test {
protected:
    void SetUp() override
    {
        SimulatedMachine::Replace({L"", {{L"ana"}, {L"bo"}}, {}, {}, {}});
        fs::remove_all(Host(L"C:\\Work"));
        fs::create_directories(Host(L"C:\\Work"));
    }
    void TearDown() override
    {
        SetThreadToken(nullptr, nullptr);
        std::error_code ignored;
        fs::permissions(Host(L"C:\\Work\\file.txt"), fs::perms::owner_write, fs::perm_options::add, ignored);
    }
};

std::wstring LocalAppData(BOOL create = FALSE)
{
    wchar_t path[MAX_PATH] = L"unchanged";
    if (!SHGetSpecialFolderPathW(nullptr, path, CSIDL_LOCAL_APPDATA, create)) {
        return L"FALSE";
    }
    return path;
}

// The impersonated user's folder, else the process user's; a missing one only when asked to create it.
TEST_F(Files, LocalAppDataIsTheImpersonatedUsersElseTheProcessUsers)
{
    EXPECT_EQ(LocalAppData(), kAnaLocal);
    HANDLE bo = SimulatedMachine::TokenFor(L"bo");
    ASSERT_TRUE(SetThreadToken(nullptr, bo));
    EXPECT_EQ(LocalAppData(), L"C:\\Users\\bo\\AppData\\Local");
    fs::remove_all(Host(L"C:\\Users\\bo\\AppData\\Local"));
    SetLastError(0);
    EXPECT_EQ(LocalAppData(), L"FALSE");
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(LocalAppData(TRUE), L"C:\\Users\\bo\\AppData\\Local");
    EXPECT_TRUE(fs::is_directory(Host(L"C:\\Users\\bo\\AppData\\Local")));
    ASSERT_TRUE(SetThreadToken(nullptr, nullptr));
    EXPECT_EQ(LocalAppData(), kAnaLocal);
    CloseHandle(bo);
}

UINT TempName(const wchar_t* folder, const wchar_t* prefix, UINT unique, std::wstring& name)
{
    wchar_t buffer[MAX_PATH] = {};
    const UINT result = GetTempFileNameW(folder, prefix, unique, buffer);
    name = buffer;
    return result;
}

struct Owner {
    uid_t uid;
    unsigned mode;
    bool operator==(const Owner& other) const { return uid == other.uid && mode == other.mode; }
};
std::ostream& operator<<(std::ostream& out, const Owner& owner) { return out << owner.uid << " 0" << std::oct << owner.mode; }

Owner OwnerOf(const std::wstring& windowsPath)
{
    struct stat status {};
    ::lstat(Host(windowsPath).c_str(), &status);
    return {status.st_uid, status.st_mode & 07777u};
}

// As Windows makes the impersonated user the owner of what a thread creates, a root host gives the
// files and profile folders of a user with a host account to that account, whatever the umask,
// and keeps C:\Users open to all; what the thread makes as itself stays the process's.
TEST_F(Files, WhatAThreadCreatesAsAUserWithAHostAccountIsThatAccounts)
{
    const passwd* nobody = ::getpwnam("nobody");
    if (::geteuid() != 0 || nobody == nullptr) {
        GTEST_SKIP() << "needs root and a host account \"nobody\"";
    }
    const mode_t umask = ::umask(077);
    SimulatedMachine::Replace({L"", {{L"ana"}, {L"nobody"}}, {}, {}, {}});
    HANDLE token = SimulatedMachine::TokenFor(L"nobody");
    ASSERT_TRUE(SetThreadToken(nullptr, token));
    std::wstring temp;
    const UINT number = TempName(L"C:\\Users\\nobody\\AppData\\Local\\Temp", L"job", 0, temp);
    const HANDLE file = CreateFileW(L"C:\\Work\\mine.txt", GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_TRUE(SetThreadToken(nullptr, nullptr));
    const HANDLE own = CreateFileW(L"C:\\Work\\own.txt", GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ::umask(umask);
    CloseHandle(file);
    CloseHandle(own);
    CloseHandle(token);

    ASSERT_NE(number, 0u);
    EXPECT_EQ(OwnerOf(L"C:\\Users"), (Owner{0, 0755}));
    EXPECT_EQ(OwnerOf(L"C:\\Users\\nobody"), (Owner{nobody->pw_uid, 0700}));
    EXPECT_EQ(OwnerOf(L"C:\\Users\\nobody\\AppData\\Local\\Temp"), (Owner{nobody->pw_uid, 0700}));
    EXPECT_EQ(OwnerOf(temp), (Owner{nobody->pw_uid, 0600}));
    EXPECT_EQ(OwnerOf(L"C:\\Work\\mine.txt").uid, nobody->pw_uid);
    EXPECT_EQ(OwnerOf(L"C:\\Work\\own.txt").uid, 0u);
    EXPECT_EQ(OwnerOf(L"C:\\Users\\ana"), (Owner{0, 0700})) << "no host account: the process's";
}

TEST_F(Files, TempFileNamesAreNewEmptyOwnerOnlyFilesNamedByTheirNumber)
{
    std::set<std::wstring> names;
    for (int i = 0; i < 100; ++i) {
        std::wstring name;
        const UINT number = TempName(kAnaTemp, L"QX_", 0, name);
        ASSERT_NE(number, 0u);
        wchar_t hex[8];
        swprintf(hex, 8, L"%X", number);
        EXPECT_EQ(name, std::wstring(kAnaTemp) + L"\\QX_" + hex + L".TMP");
        EXPECT_TRUE(std::regex_match(platform::ToUtf8(name), std::regex(R"(.*\\QX_[0-9A-F]{1,4}\.TMP)")));
        const fs::path host = Host(name);
        EXPECT_EQ(fs::file_size(host), 0u);
        EXPECT_EQ(fs::status(host).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 100u);
}

TEST_F(Files, TempFileNamesKeepThreePrefixCharactersAndAddABackslashOnlyWhenMissing)
{
    std::wstring name;
    EXPECT_EQ(TempName(L"C:\\Work\\", L"ABCDEF", 0x1A2B, name), 0x1A2Bu);
    EXPECT_EQ(name, L"C:\\Work\\ABC1A2B.TMP");
    EXPECT_FALSE(fs::exists(Host(name))) << "a given number only names the file";
    EXPECT_EQ(TempName(L"C:\\Work", L"", 0x10007, name), 0x10007u);
    EXPECT_EQ(name, L"C:\\Work\\7.TMP");
}

TEST_F(Files, TempFileNameErrors)
{
    struct Row {
        std::wstring folder;
        DWORD error;
    };
    const std::vector<Row> rows{
        {L"C:\\Work\\Missing", ERROR_DIRECTORY},
        {L"\\Temp", ERROR_PATH_NOT_FOUND},
        {L"C:\\" + std::wstring(MAX_PATH - 16, L'a'), ERROR_BUFFER_OVERFLOW},
    };
    Write(L"C:\\Work\\plain", "x");
    for (const Row& row : rows) {
        std::wstring name = L"unchanged";
        SetLastError(0);
        EXPECT_EQ(TempName(row.folder.c_str(), L"QX_", 0, name), 0u) << platform::ToUtf8(row.folder);
        EXPECT_EQ(GetLastError(), row.error) << platform::ToUtf8(row.folder);
        EXPECT_EQ(name, L"");
    }
    std::wstring name;
    EXPECT_EQ(TempName(L"C:\\Work\\plain", L"QX_", 0, name), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DIRECTORY));
}

struct DispositionRow {
    DWORD disposition;
    bool exists;
    bool opens;
    DWORD error;
    std::string contentAfter;  // of a file that held "old"
};

TEST_F(Files, CreateFileDispositions)
{
    const std::vector<DispositionRow> rows{
        {CREATE_NEW, false, true, ERROR_SUCCESS, ""},
        {CREATE_NEW, true, false, ERROR_FILE_EXISTS, "old"},
        {CREATE_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {CREATE_ALWAYS, true, true, ERROR_ALREADY_EXISTS, ""},
        {OPEN_EXISTING, false, false, ERROR_FILE_NOT_FOUND, ""},
        {OPEN_EXISTING, true, true, ERROR_SUCCESS, "old"},
        {OPEN_ALWAYS, false, true, ERROR_SUCCESS, ""},
        {OPEN_ALWAYS, true, true, ERROR_ALREADY_EXISTS, "old"},
        {TRUNCATE_EXISTING, false, false, ERROR_FILE_NOT_FOUND, ""},
        {TRUNCATE_EXISTING, true, true, ERROR_SUCCESS, ""},
    };
    const std::wstring file = L"C:\\Work\\file.txt";
    for (const DispositionRow& row : rows) {
        const std::string label = "disposition " + std::to_string(row.disposition) + (row.exists ? " existing" : " missing");
        fs::remove(Host(file));
        if (row.exists) {
            Write(file, "old");
        }
        SetLastError(12345);
        HANDLE handle = CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    row.disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_EQ(handle != INVALID_HANDLE_VALUE, row.opens) << label;
        EXPECT_EQ(GetLastError(), row.error) << label;
        if (handle != INVALID_HANDLE_VALUE) {
            EXPECT_TRUE(CloseHandle(handle));
        }
        EXPECT_EQ(fs::exists(Host(file)), row.opens || row.exists) << label;
        EXPECT_EQ(Contents(file), row.contentAfter) << label;
    }
}

TEST_F(Files, CreateFileRefusesMissingFoldersAndUnknownDispositions)
{
    EXPECT_EQ(CreateFileW(L"C:\\Work\\Missing\\f", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(CreateFileW(L"C:\\Work\\Missing\\f", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(CreateFileW(L"C:\\Work\\f", GENERIC_WRITE, 0, nullptr, 9, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(CreateFileW(L"C:\\Work", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(Files, WrittenBytesReadBackAndAccessFollowsTheHandle)
{
    const std::wstring file = L"C:\\Work\\file.txt";
    HANDLE writer = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, nullptr);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    DWORD count = 99;
    char byte = 0;
    EXPECT_FALSE(ReadFile(writer, &byte, 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(WriteFile(writer, "hello\0world", 11, &count, nullptr));
    EXPECT_EQ(count, 11u);
    EXPECT_TRUE(CloseHandle(writer));

    HANDLE reader = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(reader, INVALID_HANDLE_VALUE);
    char buffer[32] = {};
    EXPECT_TRUE(ReadFile(reader, buffer, sizeof buffer, &count, nullptr));
    EXPECT_EQ(std::string(buffer, count), std::string("hello\0world", 11));
    EXPECT_TRUE(ReadFile(reader, buffer, sizeof buffer, &count, nullptr)) << "the end of a file is no error";
    EXPECT_EQ(count, 0u);
    EXPECT_FALSE(WriteFile(reader, "x", 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(CloseHandle(reader));

    EXPECT_FALSE(WriteFile(reader, "x", 1, &count, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_FALSE(CloseHandle(reader));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(Files, AReadOnlyFileRefusesWritingAndDeletionUntilTheAttributeIsCleared)
{
    const std::wstring file = L"C:\\Work\\file.txt";
    Write(file, "kept");
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_READONLY, FILE_ATTRIBUTE_READONLY);
    for (const DWORD disposition : {OPEN_EXISTING, CREATE_ALWAYS, OPEN_ALWAYS, TRUNCATE_EXISTING}) {
        EXPECT_EQ(CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, disposition, 0, nullptr), INVALID_HANDLE_VALUE);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED)) << disposition;
    }
    HANDLE reader = CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(reader, INVALID_HANDLE_VALUE);
    CloseHandle(reader);
    EXPECT_FALSE(DeleteFileW(file.c_str()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(Contents(file), "kept");
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileW(file.c_str()));
    EXPECT_FALSE(fs::exists(Host(file)));
}

TEST_F(Files, AFileCreatedReadOnlyIsWritableThroughItsCreatingHandleOnly)
{
    const std::wstring file = L"C:\\Work\\file.txt";
    HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_READONLY, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(handle, "abc", 3, &written, nullptr));
    CloseHandle(handle);
    EXPECT_EQ(Contents(file), "abc");
    EXPECT_EQ(GetFileAttributesW(file.c_str()), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE);
    EXPECT_FALSE(DeleteFileW(file.c_str()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(Files, DeleteFileTellsAMissingFileFromAMissingFolder)
{
    EXPECT_FALSE(DeleteFileW(L"C:\\Work\\none.txt"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_FALSE(DeleteFileW(L"C:\\Work\\Missing\\none.txt"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_FALSE(DeleteFileW(L"C:\\Work"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

}  // namespace
