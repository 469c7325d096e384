// Processes started as a user: how a command line names its program and splits into arguments,
// the user's environment block reaching the child, exit codes, crashes and waits.
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "driverv4winapi.h"

#include <platform/machine.h>
#include <platform/simulatedmachine.h>
#include <platform/text.h>
#include <userenv.h>
#include <windows.h>

#include "testmachine.h"

namespace {

using platform::SimulatedMachine;
namespace fs = std::filesystem;

constexpr wchar_t kProbe[] = L"C:\\Program Files\\Probe Tools\\probe.exe";

fs::path Host(const std::wstring& windowsPath) { return *platform::HostPathOf(windowsPath); }

// The probe program placed as a Windows program: a host file without the ".exe".
void Place(const std::wstring& windowsPathWithoutExe)
{
    const fs::path host = Host(windowsPathWithoutExe);
    fs::create_directories(host.parent_path());
    fs::remove(host);
    fs::create_symlink(QX_CHILDPROBE_PATH, host);
}

struct Record {
    std::vector<std::string> argv;
    std::string folder;
    std::string uid;
    std::vector<std::string> environment;
};

class Processes : public testing::Test {
protected:
    void SetUp() override
    {
        platform::UserDescription ana{L"ana"};
        ana.environment = {{L"PREVIEW_MODE", L"quiet"}, {L"TEMP", L"C:\\Scratch"}};
        SimulatedMachine::Replace({L"", {ana, {L"bo"}}, {}, {}, {}});
        token_ = SimulatedMachine::TokenFor(L"ana");
        Place(L"C:\\Program Files\\Probe Tools\\probe");
        record_ = testsupport::TestMachine::Get().Root() / "probe-record.txt";
        fs::remove(record_);
        ::setenv("QX_PROBE_RECORD", record_.c_str(), 1);
    }
    void TearDown() override
    {
        CloseHandle(token_);
        ::unsetenv("QX_PROBE_RECORD");
    }

    // Starts the command line and waits for the child: its exit code, or 0xDEAD when it did not
    // start (the error is in startError_).
    DWORD Run(const std::wstring& commandLine, LPVOID environment = nullptr, LPCWSTR folder = nullptr)
    {
        PROCESS_INFORMATION process = Start(commandLine, environment, folder);
        if (process.hProcess == nullptr) {
            return 0xDEADu;
        }
        EXPECT_EQ(WaitForSingleObject(process.hProcess, INFINITE), WAIT_OBJECT_0);
        DWORD code = 0xFFFFFFFFu;
        EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &code));
        EXPECT_TRUE(CloseHandle(process.hThread));
        EXPECT_TRUE(CloseHandle(process.hProcess));
        return code;
    }

    PROCESS_INFORMATION Start(const std::wstring& commandLine, LPVOID environment = nullptr, LPCWSTR folder = nullptr)
    {
        std::wstring writable = commandLine;
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        startError_ = ERROR_SUCCESS;
        if (!CreateProcessAsUserW(token_, nullptr, writable.data(), nullptr, nullptr, FALSE,
                                  CREATE_UNICODE_ENVIRONMENT | CREATE_NEW_CONSOLE, environment, folder, &startup,
                                  &process)) {
            startError_ = GetLastError();
        }
        return process;
    }

    Record ReadRecord() const
    {
        Record record;
        std::ifstream in(record_);
        std::string line;
        std::vector<std::string>* into = &record.argv;
        while (std::getline(in, line)) {
            if (line == "--cwd") {
                std::getline(in, record.folder);
            } else if (line == "--uid") {
                std::getline(in, record.uid);
            } else if (line == "--env") {
                into = &record.environment;
            } else {
                into->push_back(line);
            }
        }
        return record;
    }

    HANDLE token_ = nullptr;
    fs::path record_;
    DWORD startError_ = ERROR_SUCCESS;
};

std::vector<std::string> Arguments(const Record& record)
{
    return record.argv.empty() ? record.argv : std::vector<std::string>(record.argv.begin() + 1, record.argv.end());
}

TEST_F(Processes, ArgumentsSplitByTheWindowsRules)
{
    struct Row {
        std::wstring arguments;
        std::vector<std::string> argv;
    };
    const std::vector<Row> rows{
        {LR"(a  b	c)", {"a", "b", "c"}},
        {LR"("a b" c)", {"a b", "c"}},
        {LR"(x"a b"y)", {"xa by"}},
        {LR"(a\\b c\)", {R"(a\\b)", R"(c\)"}},
        {LR"(a\"b)", {R"(a"b)"}},
        {LR"(a\\"b c")", {R"(a\b c)"}},
        {LR"(a\\\"b)", {R"(a\"b)"}},
        {LR"("a""b" c)", {R"(a"b)", "c"}},
        {LR"("" x)", {"", "x"}},
        {LR"("C:\Program Files\")", {R"(C:\Program Files")"}},
        {L"", {}},
    };
    for (const Row& row : rows) {
        const std::string label = platform::ToUtf8(row.arguments);
        EXPECT_EQ(Run(std::wstring(kProbe) + L" " + row.arguments), 0u) << label;
        const Record record = ReadRecord();
        ASSERT_FALSE(record.argv.empty()) << label;
        EXPECT_EQ(record.argv[0], Host(L"C:\\Program Files\\Probe Tools\\probe").string()) << label;
        EXPECT_EQ(Arguments(record), row.argv) << label;
    }
}

TEST_F(Processes, AnUnquotedPathWithBlanksIsFoundByItsPrefixesLeftToRight)
{
    struct Row {
        std::wstring commandLine;
        std::string program;  // Windows path of the program that runs
        std::vector<std::string> argv;
    };
    Place(L"C:\\Apps\\Probe");
    Place(L"C:\\Apps\\Probe Two\\probe");
    const std::vector<Row> rows{
        {L"C:\\Program Files\\Probe Tools\\probe.exe 1 2", "C:\\Program Files\\Probe Tools\\probe", {"1", "2"}},
        {L"C:\\Program Files\\Probe Tools\\probe 1", "C:\\Program Files\\Probe Tools\\probe", {"1"}},
        {L"  \"C:\\Program Files\\Probe Tools\\probe.exe\" 1", "C:\\Program Files\\Probe Tools\\probe", {"1"}},
        {L"C:\\Apps\\Probe Two\\probe.exe 1", "C:\\Apps\\Probe", {"Two\\probe.exe", "1"}},
        {L"\"C:\\Apps\\Probe Two\\probe.exe\" 1", "C:\\Apps\\Probe Two\\probe", {"1"}},
    };
    for (const Row& row : rows) {
        const std::string label = platform::ToUtf8(row.commandLine);
        EXPECT_EQ(Run(row.commandLine), 0u) << label;
        const Record record = ReadRecord();
        ASSERT_FALSE(record.argv.empty()) << label;
        EXPECT_EQ(record.argv[0], Host(platform::FromUtf8(row.program)).string()) << label;
        EXPECT_EQ(Arguments(record), row.argv) << label;
    }
}

TEST_F(Processes, StartErrors)
{
    struct Row {
        std::wstring commandLine;
        DWORD error;
    };
    const std::vector<Row> rows{
        {L"", ERROR_INVALID_PARAMETER},
        {L"   ", ERROR_INVALID_PARAMETER},
        {L"C:\\Program Files\\Missing\\app.exe --x", ERROR_FILE_NOT_FOUND},
        {L"\"\" --x", ERROR_FILE_NOT_FOUND},
        {L" --Version=61.2405.0.0 --Input=a_IN --Output=b_OUT", ERROR_FILE_NOT_FOUND},
        {L"C:\\Program Files\\Probe Tools", ERROR_FILE_NOT_FOUND},
    };
    for (const Row& row : rows) {
        const std::string label = platform::ToUtf8(row.commandLine);
        const PROCESS_INFORMATION process = Start(row.commandLine);
        EXPECT_EQ(startError_, row.error) << label;
        EXPECT_EQ(process.hProcess, nullptr) << label;
        EXPECT_EQ(process.hThread, nullptr) << label;
        EXPECT_EQ(process.dwProcessId, 0u) << label;
    }
    std::wstring line = kProbe;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    EXPECT_FALSE(CreateProcessAsUserW(nullptr, nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                      &startup, &process));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_FALSE(CreateProcessAsUserW(token_, nullptr, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                                      &process));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    Start(kProbe, nullptr, L"C:\\No Such Folder\\");
    EXPECT_EQ(startError_, static_cast<DWORD>(ERROR_DIRECTORY));
}

TEST_F(Processes, ExitCodesAndCrashes)
{
    const std::vector<std::pair<std::wstring, DWORD>> rows{
        {L"exit 0", 0u}, {L"exit 1", 1u}, {L"exit 2", 2u}, {L"exit 77", 77u}, {L"abort", 0xC0000409u},
    };
    for (const auto& [arguments, code] : rows) {
        EXPECT_EQ(Run(std::wstring(kProbe) + L" " + arguments), code) << platform::ToUtf8(arguments);
    }
}

TEST_F(Processes, WaitingWithATimeLimit)
{
    const PROCESS_INFORMATION process = Start(std::wstring(kProbe) + L" sleep 400");
    ASSERT_NE(process.hProcess, nullptr);
    EXPECT_NE(process.hThread, nullptr);
    EXPECT_NE(process.dwProcessId, 0u);
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 20), WAIT_TIMEOUT);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &code));
    EXPECT_EQ(code, STILL_ACTIVE);
    EXPECT_EQ(WaitForSingleObject(process.hThread, 10000), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &code));
    EXPECT_EQ(code, 0u);
    EXPECT_FALSE(GetExitCodeProcess(process.hThread, &code));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_TRUE(CloseHandle(process.hThread));
    EXPECT_TRUE(CloseHandle(process.hProcess));
    EXPECT_FALSE(GetExitCodeProcess(process.hProcess, &code));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(Processes, TerminatingEndsTheChildWithTheGivenCodeOnce)
{
    const PROCESS_INFORMATION process = Start(std::wstring(kProbe) + L" sleep 30000");
    ASSERT_NE(process.hProcess, nullptr);
    EXPECT_TRUE(TerminateProcess(process.hProcess, 0xFFFFFFFFu));
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 10000), WAIT_OBJECT_0);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &code));
    EXPECT_EQ(code, 0xFFFFFFFFu);
    EXPECT_FALSE(TerminateProcess(process.hProcess, 3));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_FALSE(TerminateProcess(process.hThread, 3));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_TRUE(CloseHandle(process.hThread));
    EXPECT_TRUE(CloseHandle(process.hProcess));
}

std::wstring NameOf(const std::wstring& entry)
{
    std::wstring name = entry.substr(0, entry.find(L'='));
    std::transform(name.begin(), name.end(), name.begin(), [](wchar_t c) { return std::towupper(c); });
    return name;
}

std::vector<std::wstring> EntriesOf(LPVOID block)
{
    std::vector<std::wstring> entries;
    for (const wchar_t* entry = static_cast<const wchar_t*>(block); *entry != L'\0'; entry += wcslen(entry) + 1) {
        entries.emplace_back(entry);
    }
    return entries;
}

TEST_F(Processes, TheEnvironmentBlockIsTheUsersWithTestVariablesWhenInherited)
{
    ::setenv("QXPREVIEW_SCRIPT", "cancel", 1);
    ::setenv("QXLOCAL", "no", 1);
    LPVOID inherited = nullptr;
    LPVOID own = nullptr;
    ASSERT_TRUE(CreateEnvironmentBlock(&inherited, token_, TRUE));
    ASSERT_TRUE(CreateEnvironmentBlock(&own, token_, FALSE));
    const std::vector<std::wstring> withTests = EntriesOf(inherited);
    const std::vector<std::wstring> userOnly = EntriesOf(own);
    for (const wchar_t* expected : {L"USERNAME=ana", L"USERPROFILE=C:\\Users\\ana",
                                    L"LOCALAPPDATA=C:\\Users\\ana\\AppData\\Local", L"TMP=C:\\Users\\ana\\AppData\\Local\\Temp",
                                    L"TEMP=C:\\Scratch", L"PREVIEW_MODE=quiet", L"APPDATA=C:\\Users\\ana\\AppData\\Roaming"}) {
        EXPECT_NE(std::find(userOnly.begin(), userOnly.end(), expected), userOnly.end()) << platform::ToUtf8(expected);
    }
    EXPECT_NE(std::find(withTests.begin(), withTests.end(), L"QXPREVIEW_SCRIPT=cancel"), withTests.end());
    EXPECT_EQ(std::find(userOnly.begin(), userOnly.end(), L"QXPREVIEW_SCRIPT=cancel"), userOnly.end());
    EXPECT_EQ(withTests.size(), userOnly.size() + 2) << "QXPREVIEW_SCRIPT and QX_PROBE_RECORD, not QXLOCAL";
    EXPECT_TRUE(std::is_sorted(userOnly.begin(), userOnly.end(),
                               [](const std::wstring& a, const std::wstring& b) { return NameOf(a) < NameOf(b); }));
    EXPECT_TRUE(DestroyEnvironmentBlock(inherited));
    EXPECT_TRUE(DestroyEnvironmentBlock(own));
    EXPECT_FALSE(DestroyEnvironmentBlock(own));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    ::unsetenv("QXPREVIEW_SCRIPT");
    ::unsetenv("QXLOCAL");
}

TEST_F(Processes, AnEnvironmentBlockNeedsAUsersTokenOrNone)
{
    LPVOID block = nullptr;
    EXPECT_FALSE(CreateEnvironmentBlock(&block, reinterpret_cast<HANDLE>(0x7777), FALSE));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    ASSERT_TRUE(CreateEnvironmentBlock(&block, nullptr, FALSE));
    const std::vector<std::wstring> entries = EntriesOf(block);
    EXPECT_NE(std::find(entries.begin(), entries.end(), L"SystemRoot=C:\\Windows"), entries.end());
    EXPECT_TRUE(std::none_of(entries.begin(), entries.end(), [](const std::wstring& e) { return NameOf(e) == L"USERNAME"; }));
    DestroyEnvironmentBlock(block);
}

// A user the host knows as an account: a root caller gives the child that account's identity.
TEST_F(Processes, ARootCallerRunsTheChildAsTheUsersHostAccount)
{
    const passwd* nobody = ::getpwnam("nobody");
    if (::geteuid() != 0 || nobody == nullptr) {
        GTEST_SKIP() << "needs root and a host account \"nobody\"";
    }
    const uid_t expected = nobody->pw_uid;
    SimulatedMachine::AddUser({L"nobody"});
    HANDLE token = SimulatedMachine::TokenFor(L"nobody");
    // The account must reach the program and the record through the test's private root, whatever
    // the umask the folders were made under.
    const fs::path root = testsupport::TestMachine::Get().Root();
    for (fs::path folder = Host(L"C:\\Program Files\\Probe Tools"); folder != root.parent_path() && folder.has_relative_path();
         folder = folder.parent_path()) {
        fs::permissions(folder, fs::perms::others_exec, fs::perm_options::add);
    }
    std::ofstream(record_).flush();
    fs::permissions(record_, fs::perms::all);
    std::swap(token, token_);
    EXPECT_EQ(Run(std::wstring(kProbe) + L" exit 3"), 3u);
    std::swap(token, token_);
    CloseHandle(token);
    EXPECT_EQ(ReadRecord().uid, std::to_string(expected));
    EXPECT_EQ(Run(std::wstring(kProbe) + L" exit 0"), 0u);
    EXPECT_EQ(ReadRecord().uid, "0") << "a user without a host account runs as the caller";
}

// The driver's own start of its preview program: unquoted path with blanks, the arguments after one
// blank, the user's environment, the program's folder as the current one.
TEST_F(Processes, TheDriverStartsAProgramAsTheUserWithItsArguments)
{
    const testsupport::LogTail log;
    PROCESS_INFORMATION process =
        DriverV4WinApi::ExecuteProcessAsUser(kProbe, token_, L"exit 3 --Input=Qm_IN --Output=b7_OUT");
    ASSERT_NE(process.hProcess, nullptr);
    EXPECT_EQ(WaitForSingleObject(process.hProcess, INFINITE), WAIT_OBJECT_0);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(process.hProcess, &code));
    EXPECT_EQ(code, 3u);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    const Record record = ReadRecord();
    ASSERT_EQ(record.argv.size(), 5u);
    EXPECT_EQ(record.argv[3], "--Input=Qm_IN");
    EXPECT_EQ(record.argv[4], "--Output=b7_OUT");
    EXPECT_EQ(record.folder, Host(L"C:\\Program Files\\Probe Tools").string());
    const auto has = [&](const std::string& entry) {
        return std::find(record.environment.begin(), record.environment.end(), entry) != record.environment.end();
    };
    EXPECT_TRUE(has("PREVIEW_MODE=quiet"));
    EXPECT_TRUE(has("LOCALAPPDATA=C:\\Users\\ana\\AppData\\Local"));
    EXPECT_FALSE(has("HOME=" + std::string(std::getenv("HOME") == nullptr ? "" : std::getenv("HOME"))))
        << "the user's block, not the caller's environment";
    EXPECT_EQ(log.Settled().find("Error"), std::string::npos);
}

TEST_F(Processes, TheDriverReportsAProgramThatCannotStartWithAZeroRecord)
{
    const testsupport::LogTail log;
    for (const std::wstring& path : {std::wstring(L"C:\\Nowhere\\preview.exe"), std::wstring()}) {
        const PROCESS_INFORMATION process = DriverV4WinApi::ExecuteProcessAsUser(path, token_, L"--Version=61.2405.0.0");
        EXPECT_EQ(process.hProcess, nullptr);
        EXPECT_EQ(process.hThread, nullptr);
        EXPECT_EQ(process.dwProcessId, 0u);
    }
    EXPECT_TRUE(log.WaitFor(L"Error to CreateProcessAsUser 2"));
}

}  // namespace
