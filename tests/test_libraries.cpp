// Dynamic libraries: which host file a Windows library name stands for and back, loading, exports
// and module names with Windows's error codes, and the KORU library stand-in loaded as the filter
// loads it, from the driver folder.
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <platform/machine.h>
#include <platform/modulepaths.h>
#include <platform/simulatedmachine.h>
#include <platform/text.h>
#include <windows.h>

#include "testmachine.h"

namespace {

namespace fs = std::filesystem;

using GetBidiResponseFunction = int (*)(wchar_t*, int, const wchar_t*, const wchar_t*, int, int, const wchar_t*);

constexpr wchar_t kKoruLibrary[] = L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\XPSUIOLib.dll";
constexpr int kKoruBufferCharacters = 65536;

std::string Canonical(const std::string& path) { return fs::weakly_canonical(path).string(); }

std::string RootPath(const std::string& below) { return Canonical(platform::MachineRoot()) + below; }

std::wstring ModuleFileName(HMODULE module)
{
    wchar_t name[MAX_PATH];
    const DWORD length = GetModuleFileNameW(module, name, MAX_PATH);
    return std::wstring(name, length);
}

// ---- the mapping

TEST(LibraryNames, AWindowsLibraryIsAHostSharedLibraryInTheFolderThatStandsForItsFolder)
{
    testsupport::TestMachine::Get();
    const std::string koru = Canonical(XPSUIOLIB_PATH);
    EXPECT_EQ(platform::ModuleFolder(), fs::path(koru).parent_path().string())
        << "the build puts the stand-ins beside the platform library";
    const struct {
        const wchar_t* windowsPath;
        std::optional<std::string> hostFile;
    } cases[] = {
        {kKoruLibrary, koru},
        {L"c:/windows/SYSTEM32/spool/drivers/x64/4/xpsuiolib.DLL", koru},
        {L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\.\\XPSUIOLib.dll", koru},
        {L"XPSUIOLib.dll", koru},
        {L"XPSUIOLib", koru},
        {L"C:\\QX Drivers\\QxIcl.dll", RootPath("/C/QX Drivers/libqxicl.so")},
        {L"C:\\QX Drivers\\qxitrn", RootPath("/C/QX Drivers/libqxitrn.so")},
        {L"C:\\QX Drivers\\Plugin.bin", RootPath("/C/QX Drivers/Plugin.bin")},
        {L"\\\\srv\\share\\qxicl.dll", RootPath("/UNC/srv/share/libqxicl.so")},
        {L"C:\\Windows\\System32\\spool\\drivers\\x64\\3\\qxicl.dll",
         RootPath("/C/Windows/System32/spool/drivers/x64/3/libqxicl.so")},
        {L"Drivers\\qxicl.dll", std::nullopt},
        {L"C:\\QX Drivers\\", std::nullopt},
    };
    for (const auto& c : cases) {
        const auto host = platform::HostFileOfLibrary(c.windowsPath);
        EXPECT_EQ(host ? std::optional<std::string>(Canonical(*host)) : std::nullopt, c.hostFile)
            << platform::ToUtf8(c.windowsPath);
    }
}

TEST(LibraryNames, AModuleReportsItsMachinePathOrElseTheDriverFolder)
{
    testsupport::TestMachine::Get();
    const struct {
        std::string hostFile;
        const wchar_t* windowsPath;
    } cases[] = {
        {XPSUIOLIB_PATH, L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\xpsuiolib.dll"},
        {RootPath("/C/QX Drivers/libqxicl.so"), L"C:\\QX Drivers\\qxicl.dll"},
        {RootPath("/C/libtop.so"), L"C:\\top.dll"},
        {RootPath("/UNC/srv/share/libqxicl.so"), L"\\\\srv\\share\\qxicl.dll"},
        {RootPath("/C/QX Drivers/notes.txt"), L"C:\\QX Drivers\\notes.txt"},
        {"/usr/lib/other/plugin.so", L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\plugin.so"},
        {"/opt/qx/libqxiprev.so", L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\qxiprev.dll"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(platform::WindowsPathOfModule(c.hostFile), c.windowsPath) << c.hostFile;
    }
}

// ---- loading

class Libraries : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        koru_ = LoadLibraryW(kKoruLibrary);
        ASSERT_NE(koru_, nullptr) << GetLastError();
    }
    void TearDown() override
    {
        if (koru_ != nullptr) {
            EXPECT_TRUE(FreeLibrary(koru_));
        }
    }

    static fs::path MachineFolder(const std::string& below)
    {
        const fs::path folder = testsupport::TestMachine::Get().Root() / below;
        fs::create_directories(folder);
        return folder;
    }

    HMODULE koru_ = nullptr;
};

TEST_F(Libraries, ALoadedLibraryReportsItsWindowsPathAndExportsItsOwnFunctions)
{
    EXPECT_EQ(ModuleFileName(koru_), L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\xpsuiolib.dll");
    EXPECT_NE(GetProcAddress(koru_, "GetBidiResponse"), nullptr);

    const struct {
        LPCSTR name;
        const char* why;
    } missing[] = {
        {"NoSuchExport", "an unknown name"},
        {"CoCreateInstance", "an export of a library it uses, not its own"},
        {reinterpret_cast<LPCSTR>(1), "an ordinal"},
    };
    for (const auto& m : missing) {
        SetLastError(0);
        EXPECT_EQ(GetProcAddress(koru_, m.name), nullptr) << m.why;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND)) << m.why;
    }
    int local = 0;
    SetLastError(0);
    EXPECT_EQ(GetProcAddress(reinterpret_cast<HMODULE>(&local), "GetBidiResponse"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST_F(Libraries, LoadingAgainGivesTheSameModuleAndEachLoadIsFreedOnce)
{
    const HMODULE again = LoadLibraryW(L"xpsuiolib.dll");
    EXPECT_EQ(again, koru_);
    EXPECT_TRUE(FreeLibrary(again));
    EXPECT_NE(GetProcAddress(koru_, "GetBidiResponse"), nullptr) << "one load is still held";

    SetLastError(0);
    EXPECT_FALSE(FreeLibrary(nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    int local = 0;
    SetLastError(0);
    EXPECT_FALSE(FreeLibrary(reinterpret_cast<HMODULE>(&local)));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    HMODULE program = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, nullptr, &program));
    EXPECT_TRUE(FreeLibrary(program)) << "the program stays loaded, as a statically loaded module does";
}

TEST_F(Libraries, ALibraryThatIsNotThereOrNoLibraryFailsToLoad)
{
    const fs::path folder = MachineFolder("C/QX Drivers");
    std::ofstream(folder / "libbroken.so") << "not a shared library\n";
    fs::create_directories(folder / "libfolder.so");
    const struct {
        const wchar_t* name;
        DWORD error;
        const char* why;
    } cases[] = {
        {L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\qxmissing.dll", ERROR_MOD_NOT_FOUND, "a missing library"},
        {L"C:\\QX Drivers\\XPSUIOLib.dll", ERROR_MOD_NOT_FOUND, "the library is in another folder"},
        {L"QX Drivers\\XPSUIOLib.dll", ERROR_MOD_NOT_FOUND, "a relative path"},
        {L"C:\\QX Drivers\\folder.dll", ERROR_MOD_NOT_FOUND, "a folder"},
        {L"C:\\QX Drivers\\Broken.dll", ERROR_BAD_EXE_FORMAT, "a file that is no library"},
        {nullptr, ERROR_INVALID_PARAMETER, "no name"},
    };
    for (const auto& c : cases) {
        SetLastError(0);
        EXPECT_EQ(LoadLibraryW(c.name), nullptr) << c.why;
        EXPECT_EQ(GetLastError(), c.error) << c.why;
    }
}

TEST_F(Libraries, ALibraryUnderTheMachineRootIsAModuleOfItsOwnThatSeesTheSameMachine)
{
    const fs::path folder = MachineFolder("C/QX Drivers");
    fs::copy_file(XPSUIOLIB_PATH, folder / "libxpsuiolib.so", fs::copy_options::overwrite_existing);
    const HMODULE copy = LoadLibraryW(L"C:\\QX Drivers\\XPSUIOLib.dll");
    ASSERT_NE(copy, nullptr) << GetLastError();
    EXPECT_NE(copy, koru_);
    EXPECT_EQ(ModuleFileName(copy), L"C:\\QX Drivers\\xpsuiolib.dll");

    platform::PrinterDescription printer;
    printer.name = L"Shared";
    printer.koruPaperSources = {platform::KoruPaperSource{}};
    printer.koruPaperSources[0].name = L"Roll";
    platform::SimulatedMachine::AddPrinter(printer);
    const auto answer = reinterpret_cast<GetBidiResponseFunction>(GetProcAddress(copy, "GetBidiResponse"));
    ASSERT_NE(answer, nullptr);
    std::vector<wchar_t> output(kKoruBufferCharacters);
    EXPECT_EQ(answer(output.data(), kKoruBufferCharacters, L"Shared", L"", 0, 1, L"KORU"), 1);
    EXPECT_EQ(std::wstring(output.data()), L"Source1_Name=Roll\n");
    EXPECT_TRUE(FreeLibrary(copy));
}

TEST_F(Libraries, AModuleFileNameIsCutToTheBufferWithItsZero)
{
    const std::wstring full = L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\xpsuiolib.dll";
    const auto size = static_cast<DWORD>(full.size());
    const struct {
        DWORD room;
        DWORD result;
        DWORD error;
        std::wstring text;
    } cases[] = {
        {size + 1, size, ERROR_SUCCESS, full},
        {size, size, ERROR_INSUFFICIENT_BUFFER, full.substr(0, size - 1)},
        {4, 4, ERROR_INSUFFICIENT_BUFFER, L"C:\\"},
        {1, 1, ERROR_INSUFFICIENT_BUFFER, L""},
    };
    for (const auto& c : cases) {
        std::vector<wchar_t> buffer(c.room + 1, L'#');
        SetLastError(12345);
        EXPECT_EQ(GetModuleFileNameW(koru_, buffer.data(), c.room), c.result) << c.room;
        EXPECT_EQ(GetLastError(), c.error) << c.room;
        EXPECT_EQ(std::wstring(buffer.data()), c.text) << c.room;
        EXPECT_EQ(buffer[c.room], L'#') << c.room << ": nothing past the buffer";
    }
    wchar_t unused = L'#';
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameW(koru_, &unused, 0), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(unused, L'#');

    int local = 0;
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameW(reinterpret_cast<HMODULE>(&local), &unused, 1), 0u);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(ModuleFileName(nullptr), L"C:\\Windows\\System32\\spool\\drivers\\x64\\4\\test_libraries")
        << "the program, which lies beside the modules";
}

void FunctionOfTheProgram() {}

TEST_F(Libraries, CodeFindsTheModuleItWasLinkedInto)
{
    const auto flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE found = nullptr;
    const auto export_ = reinterpret_cast<LPCWSTR>(GetProcAddress(koru_, "GetBidiResponse"));
    ASSERT_TRUE(GetModuleHandleExW(flags, export_, &found));
    EXPECT_EQ(found, koru_);

    HMODULE program = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, nullptr, &program));
    ASSERT_TRUE(GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&FunctionOfTheProgram), &found));
    EXPECT_EQ(found, program);
    EXPECT_EQ(ModuleFileName(found), ModuleFileName(nullptr));

    // By name, a module must be loaded already; without UNCHANGED_REFCOUNT the caller holds a load.
    ASSERT_TRUE(GetModuleHandleExW(0, L"XPSUIOLib.dll", &found));
    EXPECT_EQ(found, koru_);
    EXPECT_TRUE(FreeLibrary(found));

    const std::vector<char> heap(16);
    const struct {
        DWORD flags;
        LPCWSTR name;
        DWORD error;
        const char* why;
    } failures[] = {
        {flags, reinterpret_cast<LPCWSTR>(heap.data()), ERROR_MOD_NOT_FOUND, "an address in no module"},
        {0, L"qxicl.dll", ERROR_MOD_NOT_FOUND, "a library nobody loaded"},
        {0x8, nullptr, ERROR_INVALID_PARAMETER, "an unknown flag"},
        {GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, nullptr,
         ERROR_INVALID_PARAMETER, "pinned and unchanged at once"},
    };
    for (const auto& f : failures) {
        found = reinterpret_cast<HMODULE>(0x99);
        SetLastError(0);
        EXPECT_FALSE(GetModuleHandleExW(f.flags, f.name, &found)) << f.why;
        EXPECT_EQ(found, nullptr) << f.why;
        EXPECT_EQ(GetLastError(), f.error) << f.why;
    }
    SetLastError(0);
    EXPECT_FALSE(GetModuleHandleExW(0, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

// ---- the KORU library

class Koru : public Libraries {
protected:
    void SetUp() override
    {
        Libraries::SetUp();
        answer_ = reinterpret_cast<GetBidiResponseFunction>(GetProcAddress(koru_, "GetBidiResponse"));
        ASSERT_NE(answer_, nullptr);
        output_.assign(kKoruBufferCharacters, L'#');
    }

    static void Declare(const std::wstring& name, const std::vector<platform::KoruPaperSource>& sources,
                        bool reachable = true)
    {
        platform::PrinterDescription printer;
        printer.name = name;
        printer.bidiReachable = reachable;
        printer.koruPaperSources = sources;
        platform::SimulatedMachine::AddPrinter(printer);
    }

    // The call as the paper source reader makes it.
    int Ask(const wchar_t* printer, const wchar_t* protocol = L"KORU", int characters = kKoruBufferCharacters)
    {
        return answer_(output_.data(), characters, printer, L"", 0, 1, protocol);
    }
    std::wstring Output() const { return output_.data(); }

    GetBidiResponseFunction answer_ = nullptr;
    std::vector<wchar_t> output_;
};

platform::KoruPaperSource Measured(const std::wstring& name, const std::wstring& units, const std::wstring& width,
                                   const std::wstring& length)
{
    platform::KoruPaperSource source;
    source.name = name;
    source.mediaUnits = units;
    source.mediaWidth = width;
    source.mediaLength = length;
    return source;
}

TEST_F(Koru, OnlyAWellFormedKoruRequestForAReachablePrinterIsAnswered)
{
    Declare(L"QX Koru", {Measured(L"Roll", L"inches", L"44", L"0")});
    Declare(L"QX Offline", {Measured(L"Roll", L"inches", L"44", L"0")}, false);
    Declare(L"QX Silent", {});
    const std::wstring description =
        L"Source1_Name=Roll\nSource1_MediaUnits=inches\nSource1_MediaWidth=44\nSource1_MediaLength=0\n";
    const int fits = static_cast<int>(description.size()) + 1;
    const struct {
        const char* why;
        const wchar_t* printer;
        const wchar_t* empty;
        int zero;
        int one;
        const wchar_t* protocol;
        int characters;
        int result;
    } cases[] = {
        {"the reader's call", L"QX Koru", L"", 0, 1, L"KORU", kKoruBufferCharacters, 1},
        {"the printer's name in other case", L"qx koru", L"", 0, 1, L"KORU", kKoruBufferCharacters, 1},
        {"exactly room for the text and its zero", L"QX Koru", L"", 0, 1, L"KORU", fits, 1},
        {"no room for the zero", L"QX Koru", L"", 0, 1, L"KORU", fits - 1, 0},
        {"no empty text given", L"QX Koru", nullptr, 0, 1, L"KORU", kKoruBufferCharacters, 1},
        {"an unknown printer", L"QX Nowhere", L"", 0, 1, L"KORU", kKoruBufferCharacters, 0},
        {"no printer", nullptr, L"", 0, 1, L"KORU", kKoruBufferCharacters, 0},
        {"an unreachable printer", L"QX Offline", L"", 0, 1, L"KORU", kKoruBufferCharacters, 0},
        {"another protocol", L"QX Koru", L"", 0, 1, L"oKAV", kKoruBufferCharacters, 0},
        {"the protocol in other case", L"QX Koru", L"", 0, 1, L"koru", kKoruBufferCharacters, 0},
        {"no protocol", L"QX Koru", L"", 0, 1, nullptr, kKoruBufferCharacters, 0},
        {"a text where the empty one goes", L"QX Koru", L"x", 0, 1, L"KORU", kKoruBufferCharacters, 0},
        {"0 and 1 swapped", L"QX Koru", L"", 1, 0, L"KORU", kKoruBufferCharacters, 0},
    };
    for (const auto& c : cases) {
        output_.assign(kKoruBufferCharacters, L'#');
        EXPECT_EQ(answer_(output_.data(), c.characters, c.printer, c.empty, c.zero, c.one, c.protocol), c.result)
            << c.why;
        EXPECT_EQ(Output(), c.result != 0 ? description : L"") << c.why << ": a refusal leaves the buffer empty";
    }
    ASSERT_EQ(Ask(L"QX Silent"), 1);
    EXPECT_EQ(Output(), L"") << "a printer without KORU sources describes none";
    EXPECT_EQ(answer_(nullptr, kKoruBufferCharacters, L"QX Koru", L"", 0, 1, L"KORU"), 0);
    EXPECT_EQ(answer_(output_.data(), 0, L"QX Koru", L"", 0, 1, L"KORU"), 0);
}

}  // namespace
