// The spooler stand-in, user tokens, the version-4 driver property bag object and machine
// description files, with the exact Win32 errors and HRESULTs Windows gives.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <platform/machine.h>
#include <platform/machinedescription.h>
#include <platform/simulatedmachine.h>
#include <platform/systemapi.h>
#include <platform/text.h>
#include <printerextension.h>
#include <windows.h>
#include <winspool.h>
#include <wrl/client.h>

namespace {

using Microsoft::WRL::ComPtr;
using platform::SimulatedMachine;
namespace fs = std::filesystem;

constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070490);

// ---- a small machine, declared in code

constexpr wchar_t kModern[] = L"QX Test V4";
constexpr wchar_t kLegacy[] = L"QX Test V3";

platform::PrinterDescription ModernPrinter()
{
    platform::PrinterDescription printer;
    printer.name = kModern;
    printer.port = L"IP_10.1.1.4";
    printer.driverName = L"QX Test Class Driver";
    printer.driverModelVersion = 4;
    printer.driverFileVersion = 0x0003000000070001ull;
    printer.comment = L"test printer";
    printer.location = L"lab";
    printer.manufacturer = L"QX Inc";
    printer.driverDate = FILETIME{0x11223344u, 0x01D9AABBu};
    printer.driverPropertyBag = std::map<std::wstring, platform::DriverPropertyValue>{
        {L"Platform", std::wstring(L"Mesa")},
        {L"MaxPrinterWidthInMicrons", LONG{1117600}},
        {L"CanDoCopies", true},
        {L"IsRookSupported", false},
    };
    printer.bidiValues[L"\\Printer.DeviceInfo:MachineWidth"] = {L"BIDI_STRING", L"QXMESA_1118x2000"};
    return printer;
}

platform::PrinterDescription LegacyPrinter()
{
    platform::PrinterDescription printer;
    printer.name = kLegacy;
    printer.port = L"LPT1:";
    printer.driverName = L"QX Test XPS Driver";
    printer.driverModelVersion = 3;
    printer.dependentFiles = {L"C:\\drivers\\3\\config.xml", L"C:\\drivers\\3\\values.ldpb", L"C:\\drivers\\3\\ui.dll"};
    return printer;
}

platform::JobDescription Job(DWORD id, const std::wstring& printer, const std::wstring& document, DWORD pages)
{
    platform::JobDescription job;
    job.id = id;
    job.printerName = printer;
    job.document = document;
    job.userName = L"ana";
    job.totalPages = pages;
    job.size = 4096 * id;
    return job;
}

// Every submission happens at this local time, a Friday afternoon.
class FixedClock : public platform::Kernel32 {
public:
    static SYSTEMTIME Time() { return SYSTEMTIME{2025, 3, 5, 14, 9, 30, 5, 250}; }
    void GetLocalTime(SYSTEMTIME* time) override { *time = Time(); }
};

class Spooler : public testing::Test {
protected:
    void SetUp() override
    {
        SimulatedMachine::Clear();
        SimulatedMachine::AddUser({L"ana"});
        SimulatedMachine::AddPrinter(ModernPrinter());
        SimulatedMachine::AddPrinter(LegacyPrinter());
        FixedClock clock;
        platform::ScopedInstall<platform::IKernel32> fixed(clock);
        SimulatedMachine::AddJob(Job(7, kModern, L"C:\\Users\\ana\\Documents\\poster.pdf", 3));
        SimulatedMachine::AddJob(Job(9, kModern, L"https://example.com/plans/site.dwg", 12));
        SimulatedMachine::AddJob(Job(8, kLegacy, L"banner", 1));
    }
    void TearDown() override { SimulatedMachine::Clear(); }
};

// A printer handle closed at the end of the scope.
class Printer {
public:
    explicit Printer(const std::wstring& name)
    {
        std::wstring writable = name;
        EXPECT_TRUE(OpenPrinterW(writable.data(), &handle_, nullptr)) << "error " << GetLastError();
    }
    ~Printer()
    {
        if (handle_ != nullptr) {
            ClosePrinter(handle_);
        }
    }
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;
    HANDLE Get() const { return handle_; }

private:
    HANDLE handle_ = nullptr;
};

// One spooler read: a level bound to a handle, called as read(buffer, size, needed).
using Read = std::function<BOOL(LPBYTE, DWORD, LPDWORD)>;

struct Outcome {
    BOOL result;
    DWORD error;  // GetLastError after a failure, 0 after a success
    DWORD needed;
};

Outcome Call(const Read& read, LPBYTE buffer, DWORD size)
{
    ::SetLastError(0);
    DWORD needed = 0xDEADBEEF;
    const BOOL result = read(buffer, size, &needed);
    return {result, result ? 0 : GetLastError(), needed};
}

// The two-call pattern, as the system uses it.
std::vector<BYTE> Fetch(const Read& read)
{
    DWORD needed = 0;
    read(nullptr, 0, &needed);
    std::vector<BYTE> buffer(needed);
    EXPECT_TRUE(read(buffer.data(), needed, &needed)) << "error " << GetLastError();
    return buffer;
}

template <class Record>
const Record& As(const std::vector<BYTE>& buffer)
{
    return *reinterpret_cast<const Record*>(buffer.data());
}

// The texts of a multi-sz list, up to its empty terminating entry.
std::vector<std::wstring> MultiSz(const wchar_t* list)
{
    std::vector<std::wstring> texts;
    for (const wchar_t* text = list; *text != L'\0'; text += std::wcslen(text) + 1) {
        texts.emplace_back(text);
    }
    return texts;
}

// ---- printer handles

TEST_F(Spooler, OpeningAnUnknownPrinterFailsWithInvalidPrinterName)
{
    for (const wchar_t* given : {L"No Such Printer", L"", static_cast<const wchar_t*>(nullptr)}) {
        std::wstring name = given == nullptr ? L"" : given;
        HANDLE printer = reinterpret_cast<HANDLE>(1);
        ::SetLastError(0);
        EXPECT_FALSE(OpenPrinterW(given == nullptr ? nullptr : name.data(), &printer, nullptr));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PRINTER_NAME));
        EXPECT_EQ(printer, nullptr);
    }
    std::wstring name = kModern;
    EXPECT_FALSE(OpenPrinterW(name.data(), nullptr, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(Spooler, PrinterNamesMatchWithoutRegardToCase)
{
    Printer printer(L"qx test v4");
    ASSERT_NE(printer.Get(), nullptr);
    const auto info = Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterW(printer.Get(), 2, b, s, n); });
    EXPECT_STREQ(As<PRINTER_INFO_2W>(info).pPrinterName, kModern);
}

TEST_F(Spooler, ClosedAndForeignHandlesFailWithInvalidHandle)
{
    std::wstring name = kModern;
    HANDLE printer = nullptr;
    ASSERT_TRUE(OpenPrinterW(name.data(), &printer, nullptr));
    ASSERT_TRUE(ClosePrinter(printer));

    HANDLE token = SimulatedMachine::TokenFor(L"ana");
    ASSERT_NE(token, nullptr);
    DWORD needed = 0;
    const std::vector<std::pair<const char*, std::function<BOOL()>>> calls{
        {"ClosePrinter again", [&] { return ClosePrinter(printer); }},
        {"GetPrinterW closed", [&] { return GetPrinterW(printer, 2, nullptr, 0, &needed); }},
        {"GetPrinterDriverW closed", [&] { return GetPrinterDriverW(printer, nullptr, 3, nullptr, 0, &needed); }},
        {"GetJobW closed", [&] { return GetJobW(printer, 7, 1, nullptr, 0, &needed); }},
        {"ClosePrinter null", [&] { return ClosePrinter(nullptr); }},
        {"ClosePrinter of a token", [&] { return ClosePrinter(token); }},
        {"GetPrinterW of a token", [&] { return GetPrinterW(token, 2, nullptr, 0, &needed); }},
    };
    for (const auto& [what, call] : calls) {
        ::SetLastError(0);
        EXPECT_FALSE(call()) << what;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE)) << what;
    }
    // ClosePrinter refused the token and left it open.
    EXPECT_EQ(SimulatedMachine::UserOfToken(token), L"ana");
    EXPECT_TRUE(CloseHandle(token));
}

TEST_F(Spooler, HandlesToAForgottenPrinterFailEvenWhenTheNameReturns)
{
    Printer printer(kModern);
    SimulatedMachine::Clear();
    SimulatedMachine::AddPrinter(ModernPrinter());
    DWORD needed = 0;
    EXPECT_FALSE(GetPrinterW(printer.Get(), 2, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PRINTER_DELETED));
    Printer reopened(kModern);
    EXPECT_FALSE(GetPrinterW(reopened.Get(), 2, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
}

TEST_F(Spooler, ReplacingAPrinterKeepsItsHandlesAndShowsTheNewValues)
{
    Printer printer(kModern);
    platform::PrinterDescription changed = ModernPrinter();
    changed.port = L"USB001";
    SimulatedMachine::AddPrinter(changed);
    const auto info = Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterW(printer.Get(), 2, b, s, n); });
    EXPECT_STREQ(As<PRINTER_INFO_2W>(info).pPortName, L"USB001");
}

// ---- the two-call pattern, for every level served

// A record's text fields: single texts, and multi-sz lists (texts ended by an empty one).
using TextFields = std::function<std::pair<std::vector<const wchar_t*>, std::vector<const wchar_t*>>(
    const std::vector<BYTE>&)>;

struct Level {
    const char* name;
    std::size_t recordSize;
    std::function<BOOL(HANDLE, DWORD job, LPBYTE, DWORD, LPDWORD)> read;
    TextFields texts;
};

template <class Record, class... Fields>
std::vector<const wchar_t*> TextsOf(const std::vector<BYTE>& buffer, Fields... fields)
{
    const Record& record = As<Record>(buffer);
    return std::vector<const wchar_t*>{record.*fields...};
}

std::vector<Level> Levels()
{
    using P2 = PRINTER_INFO_2W;
    using D3 = DRIVER_INFO_3W;
    using D6 = DRIVER_INFO_6W;
    using J1 = JOB_INFO_1W;
    using J2 = JOB_INFO_2W;
    return {
        {"GetPrinterW 2", sizeof(P2), [](HANDLE h, DWORD, LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterW(h, 2, b, s, n); },
         [](const std::vector<BYTE>& buffer) {
             return std::make_pair(TextsOf<P2>(buffer, &P2::pServerName, &P2::pPrinterName, &P2::pShareName,
                                               &P2::pPortName, &P2::pDriverName, &P2::pComment, &P2::pLocation,
                                               &P2::pSepFile, &P2::pPrintProcessor, &P2::pDatatype, &P2::pParameters),
                                   std::vector<const wchar_t*>{});
         }},
        {"GetPrinterDriverW 3", sizeof(D3),
         [](HANDLE h, DWORD, LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(h, nullptr, 3, b, s, n); },
         [](const std::vector<BYTE>& buffer) {
             return std::make_pair(TextsOf<D3>(buffer, &D3::pName, &D3::pEnvironment, &D3::pDriverPath, &D3::pDataFile,
                                               &D3::pConfigFile, &D3::pHelpFile, &D3::pMonitorName,
                                               &D3::pDefaultDataType),
                                   TextsOf<D3>(buffer, &D3::pDependentFiles));
         }},
        {"GetPrinterDriverW 6", sizeof(D6),
         [](HANDLE h, DWORD, LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(h, nullptr, 6, b, s, n); },
         [](const std::vector<BYTE>& buffer) {
             return std::make_pair(TextsOf<D6>(buffer, &D6::pName, &D6::pEnvironment, &D6::pDriverPath, &D6::pDataFile,
                                               &D6::pConfigFile, &D6::pHelpFile, &D6::pMonitorName,
                                               &D6::pDefaultDataType, &D6::pszMfgName, &D6::pszOEMUrl,
                                               &D6::pszHardwareID, &D6::pszProvider),
                                   TextsOf<D6>(buffer, &D6::pDependentFiles, &D6::pszzPreviousNames));
         }},
        {"GetJobW 1", sizeof(J1), [](HANDLE h, DWORD job, LPBYTE b, DWORD s, LPDWORD n) { return GetJobW(h, job, 1, b, s, n); },
         [](const std::vector<BYTE>& buffer) {
             return std::make_pair(TextsOf<J1>(buffer, &J1::pPrinterName, &J1::pMachineName, &J1::pUserName,
                                               &J1::pDocument, &J1::pDatatype, &J1::pStatus),
                                   std::vector<const wchar_t*>{});
         }},
        {"GetJobW 2", sizeof(J2), [](HANDLE h, DWORD job, LPBYTE b, DWORD s, LPDWORD n) { return GetJobW(h, job, 2, b, s, n); },
         [](const std::vector<BYTE>& buffer) {
             return std::make_pair(TextsOf<J2>(buffer, &J2::pPrinterName, &J2::pMachineName, &J2::pUserName,
                                               &J2::pDocument, &J2::pNotifyName, &J2::pDatatype, &J2::pPrintProcessor,
                                               &J2::pParameters, &J2::pDriverName, &J2::pStatus),
                                   std::vector<const wchar_t*>{});
         }},
    };
}

// The characters a text takes with its terminator; a list's with its final empty entry.
std::size_t Characters(const wchar_t* text, bool list)
{
    if (!list) {
        return std::wcslen(text) + 1;
    }
    std::size_t count = 0;
    while (text[count] != L'\0') {
        count += std::wcslen(text + count) + 1;
    }
    return count + 1;
}

TEST_F(Spooler, EveryLevelFollowsTheTwoCallPattern)
{
    for (const auto& [printerName, job] : {std::pair{kModern, 7u}, std::pair{kLegacy, 8u}}) {
        Printer printer(printerName);
        for (const Level& level : Levels()) {
            SCOPED_TRACE(std::string(level.name) + " on " + platform::ToUtf8(printerName));
            const Read read = [&, job = job](LPBYTE b, DWORD s, LPDWORD n) {
                return level.read(printer.Get(), job, b, s, n);
            };

            const Outcome query = Call(read, nullptr, 0);
            EXPECT_FALSE(query.result);
            EXPECT_EQ(query.error, static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
            ASSERT_GT(query.needed, level.recordSize);

            std::vector<BYTE> small(query.needed - 1, 0xCD);
            const Outcome tooSmall = Call(read, small.data(), static_cast<DWORD>(small.size()));
            EXPECT_FALSE(tooSmall.result);
            EXPECT_EQ(tooSmall.error, static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
            EXPECT_EQ(tooSmall.needed, query.needed);
            EXPECT_EQ(small, std::vector<BYTE>(query.needed - 1, 0xCD)) << "a refused buffer is left as it was";

            const Outcome nullWithSize = Call(read, nullptr, query.needed);
            EXPECT_FALSE(nullWithSize.result);
            EXPECT_EQ(nullWithSize.error, static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));

            std::vector<BYTE> exact(query.needed, 0xCD);
            const Outcome filled = Call(read, exact.data(), query.needed);
            EXPECT_TRUE(filled.result);
            EXPECT_EQ(filled.needed, query.needed);

            // Every text lies whole inside the caller's buffer after the record, aligned, and the
            // texts with the record account for every byte asked for.
            const BYTE* textStart = exact.data() + level.recordSize;
            const BYTE* end = exact.data() + exact.size();
            std::size_t textBytes = 0;
            const auto [texts, lists] = level.texts(exact);
            const auto measure = [&](const wchar_t* text, bool list) {
                if (text == nullptr) {
                    return;
                }
                const auto* at = reinterpret_cast<const BYTE*>(text);
                ASSERT_GE(at, textStart);
                ASSERT_LT(at, end);
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(at) % alignof(wchar_t), 0u);
                const std::size_t bytes = Characters(text, list) * sizeof(wchar_t);
                EXPECT_LE(at + bytes, end);
                textBytes += bytes;
            };
            for (const wchar_t* text : texts) {
                measure(text, false);
            }
            for (const wchar_t* list : lists) {
                measure(list, true);
            }
            EXPECT_EQ(level.recordSize + textBytes, query.needed);

            // A larger buffer serves as well, and what lies past the needed size is not touched.
            std::vector<BYTE> large(query.needed + 64, 0xCD);
            EXPECT_TRUE(Call(read, large.data(), static_cast<DWORD>(large.size())).result);
            EXPECT_EQ(large[query.needed], 0xCD);
            EXPECT_EQ(large.back(), 0xCD);
        }
    }
}

TEST_F(Spooler, ANullNeededSizeIsAnInvalidParameter)
{
    Printer printer(kModern);
    for (const Level& level : Levels()) {
        std::vector<BYTE> buffer(4096);
        ::SetLastError(0);
        EXPECT_FALSE(level.read(printer.Get(), 7, buffer.data(), 4096, nullptr)) << level.name;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER)) << level.name;
    }
}

TEST_F(Spooler, LevelsNotServedFailWithInvalidLevel)
{
    Printer printer(kModern);
    DWORD needed = 0;
    const std::vector<std::pair<std::string, std::function<BOOL()>>> calls{
        {"GetPrinterW 1", [&] { return GetPrinterW(printer.Get(), 1, nullptr, 0, &needed); }},
        {"GetPrinterW 3", [&] { return GetPrinterW(printer.Get(), 3, nullptr, 0, &needed); }},
        {"GetPrinterDriverW 1", [&] { return GetPrinterDriverW(printer.Get(), nullptr, 1, nullptr, 0, &needed); }},
        {"GetPrinterDriverW 2", [&] { return GetPrinterDriverW(printer.Get(), nullptr, 2, nullptr, 0, &needed); }},
        {"GetPrinterDriverW 8", [&] { return GetPrinterDriverW(printer.Get(), nullptr, 8, nullptr, 0, &needed); }},
        {"GetJobW 0", [&] { return GetJobW(printer.Get(), 7, 0, nullptr, 0, &needed); }},
        {"GetJobW 3", [&] { return GetJobW(printer.Get(), 7, 3, nullptr, 0, &needed); }},
        {"GetJobW 3, unknown job", [&] { return GetJobW(printer.Get(), 999, 3, nullptr, 0, &needed); }},
    };
    for (const auto& [what, call] : calls) {
        ::SetLastError(0);
        EXPECT_FALSE(call()) << what;
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_LEVEL)) << what;
    }
}

TEST_F(Spooler, UnknownJobsFailWithInvalidParameter)
{
    Printer printer(kModern);
    for (const DWORD job : {0u, 999u, 8u /* queued on the other printer */}) {
        for (const DWORD level : {1u, 2u}) {
            DWORD needed = 0;
            ::SetLastError(0);
            EXPECT_FALSE(GetJobW(printer.Get(), job, level, nullptr, 0, &needed)) << job << " at level " << level;
            EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER)) << job << " at level " << level;
        }
    }
}

TEST_F(Spooler, DriversAreInstalledForTheCurrentEnvironmentOnly)
{
    Printer printer(kModern);
    struct Case {
        const wchar_t* environment;
        DWORD error;  // after the size query
    };
    for (const Case& c : {Case{nullptr, ERROR_INSUFFICIENT_BUFFER}, Case{L"Windows x64", ERROR_INSUFFICIENT_BUFFER},
                          Case{L"windows X64", ERROR_INSUFFICIENT_BUFFER},
                          Case{L"Windows NT x86", ERROR_UNKNOWN_PRINTER_DRIVER},
                          Case{L"Windows ARM64", ERROR_UNKNOWN_PRINTER_DRIVER}}) {
        std::wstring environment = c.environment == nullptr ? L"" : c.environment;
        DWORD needed = 0;
        ::SetLastError(0);
        EXPECT_FALSE(GetPrinterDriverW(printer.Get(), c.environment == nullptr ? nullptr : environment.data(), 3,
                                       nullptr, 0, &needed));
        EXPECT_EQ(GetLastError(), c.error) << platform::ToUtf8(environment);
    }
}

// ---- what the records say

TEST_F(Spooler, PrinterInfo2DescribesTheLocalPrinterAndItsQueue)
{
    Printer printer(kModern);
    const auto buffer = Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterW(printer.Get(), 2, b, s, n); });
    const auto& info = As<PRINTER_INFO_2W>(buffer);
    EXPECT_EQ(info.pServerName, nullptr);
    EXPECT_STREQ(info.pPrinterName, kModern);
    EXPECT_STREQ(info.pShareName, L"");
    EXPECT_STREQ(info.pPortName, L"IP_10.1.1.4");
    EXPECT_STREQ(info.pDriverName, L"QX Test Class Driver");
    EXPECT_STREQ(info.pComment, L"test printer");
    EXPECT_STREQ(info.pLocation, L"lab");
    EXPECT_STREQ(info.pPrintProcessor, L"winprint");
    EXPECT_STREQ(info.pDatatype, L"RAW");
    EXPECT_EQ(info.pDevMode, nullptr);
    EXPECT_EQ(info.pSecurityDescriptor, nullptr);
    EXPECT_EQ(info.Attributes, 0x40u | 0x800u);  // local, bidi enabled
    EXPECT_EQ(info.Status, 0u);
    EXPECT_EQ(info.cJobs, 2u);

    Printer legacy(kLegacy);
    const auto other = Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterW(legacy.Get(), 2, b, s, n); });
    EXPECT_EQ(As<PRINTER_INFO_2W>(other).Attributes, 0x40u);
    EXPECT_EQ(As<PRINTER_INFO_2W>(other).cJobs, 1u);
}

TEST_F(Spooler, DependentFilesAreAMultiSzListOrNull)
{
    Printer legacy(kLegacy);
    for (const DWORD level : {3u, 6u}) {
        const auto buffer = Fetch(
            [&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(legacy.Get(), nullptr, level, b, s, n); });
        const auto& info = As<DRIVER_INFO_3W>(buffer);  // level 6 starts with the same fields
        ASSERT_NE(info.pDependentFiles, nullptr);
        EXPECT_EQ(MultiSz(info.pDependentFiles), LegacyPrinter().dependentFiles) << "level " << level;
    }
    Printer modern(kModern);
    const auto buffer =
        Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(modern.Get(), nullptr, 3, b, s, n); });
    EXPECT_EQ(As<DRIVER_INFO_3W>(buffer).pDependentFiles, nullptr);
}

TEST_F(Spooler, DriverInfoCarriesTheModelVersionAndTheFileVersion)
{
    Printer printer(kModern);
    const auto buffer =
        Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(printer.Get(), nullptr, 6, b, s, n); });
    const auto& info = As<DRIVER_INFO_6W>(buffer);
    EXPECT_EQ(info.cVersion, 4u);
    EXPECT_STREQ(info.pName, L"QX Test Class Driver");
    EXPECT_STREQ(info.pEnvironment, L"Windows x64");
    EXPECT_EQ(info.dwlDriverVersion, 0x0003000000070001ull);
    EXPECT_EQ(info.ftDriverDate.dwLowDateTime, 0x11223344u);
    EXPECT_EQ(info.ftDriverDate.dwHighDateTime, 0x01D9AABBu);
    EXPECT_STREQ(info.pszMfgName, L"QX Inc");
    EXPECT_STREQ(info.pszProvider, L"QX Inc");
    EXPECT_EQ(info.pszzPreviousNames, nullptr);

    Printer legacy(kLegacy);
    const auto other =
        Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(legacy.Get(), nullptr, 3, b, s, n); });
    EXPECT_EQ(As<DRIVER_INFO_3W>(other).cVersion, 3u);
}

TEST_F(Spooler, JobInfoNamesTheJobItsPlaceAndItsSubmission)
{
    Printer printer(kModern);
    const auto first = Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetJobW(printer.Get(), 9, 1, b, s, n); });
    const auto& info = As<JOB_INFO_1W>(first);
    EXPECT_EQ(info.JobId, 9u);
    EXPECT_STREQ(info.pPrinterName, kModern);
    EXPECT_STREQ(info.pMachineName, (L"\\\\" + SimulatedMachine::ComputerName()).c_str());
    EXPECT_STREQ(info.pUserName, L"ana");
    EXPECT_STREQ(info.pDocument, L"https://example.com/plans/site.dwg");
    EXPECT_EQ(info.pStatus, nullptr);
    EXPECT_EQ(info.Status, 0u);
    EXPECT_EQ(info.Position, 2u);
    EXPECT_EQ(info.TotalPages, 12u);
    EXPECT_EQ(info.PagesPrinted, 0u);
    const SYSTEMTIME submitted = FixedClock::Time();
    EXPECT_EQ(std::memcmp(&info.Submitted, &submitted, sizeof(SYSTEMTIME)), 0);

    const auto second = Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetJobW(printer.Get(), 7, 2, b, s, n); });
    const auto& detail = As<JOB_INFO_2W>(second);
    EXPECT_EQ(detail.JobId, 7u);
    EXPECT_STREQ(detail.pDocument, L"C:\\Users\\ana\\Documents\\poster.pdf");
    EXPECT_STREQ(detail.pNotifyName, L"ana");
    EXPECT_STREQ(detail.pDriverName, L"QX Test Class Driver");
    EXPECT_STREQ(detail.pPrintProcessor, L"winprint");
    EXPECT_EQ(detail.pDevMode, nullptr);
    EXPECT_EQ(detail.Position, 1u);
    EXPECT_EQ(detail.TotalPages, 3u);
    EXPECT_EQ(detail.Size, 7u * 4096u);
}

// ---- the seam

TEST_F(Spooler, AnInstalledDoubleFailsOneCallForItsScope)
{
    class DeniedJobs : public platform::WinSpool {
    public:
        BOOL GetJobW(HANDLE, DWORD, DWORD, LPBYTE, DWORD, LPDWORD) override
        {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return FALSE;
        }
    };
    Printer printer(kModern);
    DWORD needed = 0;
    {
        DeniedJobs denied;
        platform::ScopedInstall<platform::IWinSpool> scope(denied);
        EXPECT_FALSE(GetJobW(printer.Get(), 7, 1, nullptr, 0, &needed));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
        EXPECT_FALSE(GetPrinterW(printer.Get(), 2, nullptr, 0, &needed));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));  // the real one still answers
    }
    EXPECT_FALSE(GetJobW(printer.Get(), 7, 1, nullptr, 0, &needed));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
}

TEST_F(Spooler, ConcurrentReadersSeeWholePrintersWhileTheyChange)
{
    platform::PrinterDescription changing = ModernPrinter();
    changing.port = changing.comment = std::wstring(8, L's');
    SimulatedMachine::AddPrinter(changing);
    Printer printer(kModern);
    std::atomic<bool> stop{false};
    std::atomic<int> torn{0};
    std::atomic<int> reads{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < 3; ++t) {
        readers.emplace_back([&] {
            std::vector<BYTE> buffer;
            while (!stop) {
                // The printer may grow between the two calls; a careful caller asks again.
                DWORD needed = 0;
                while (!GetPrinterW(printer.Get(), 2, buffer.data(), static_cast<DWORD>(buffer.size()), &needed)) {
                    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
                        ++torn;
                        return;
                    }
                    buffer.resize(needed);
                }
                const std::wstring port = As<PRINTER_INFO_2W>(buffer).pPortName;
                const std::wstring comment = As<PRINTER_INFO_2W>(buffer).pComment;
                torn += port.empty() || port != std::wstring(port.size(), port[0]) || comment != port;
                ++reads;
            }
        });
    }
    for (int i = 0; i < 500 || reads < 100; ++i) {
        changing.port = changing.comment = std::wstring(static_cast<std::size_t>(10 + i % 50), i % 2 ? L'a' : L'b');
        SimulatedMachine::AddPrinter(changing);
    }
    stop = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(torn, 0);
}

// ---- user tokens

TEST_F(Spooler, ATokenNamesItsUserUntilItIsClosed)
{
    HANDLE token = SimulatedMachine::TokenFor(L"ANA");
    ASSERT_NE(token, nullptr);
    HANDLE second = SimulatedMachine::TokenFor(L"ana");
    EXPECT_NE(second, token);
    EXPECT_EQ(SimulatedMachine::UserOfToken(token), L"ana");  // as the machine spells it

    EXPECT_EQ(WaitForSingleObject(token, 0), WAIT_FAILED);  // not a waitable object
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));

    EXPECT_TRUE(CloseHandle(token));
    EXPECT_EQ(SimulatedMachine::UserOfToken(token), std::nullopt);
    EXPECT_FALSE(CloseHandle(token));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(SimulatedMachine::UserOfToken(second), L"ana");
    EXPECT_TRUE(CloseHandle(second));
}

TEST_F(Spooler, NoTokenForAnUnknownUserOrFromAnotherHandle)
{
    ::SetLastError(0);
    EXPECT_EQ(SimulatedMachine::TokenFor(L"mallory"), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_SUCH_USER));
    Printer printer(kModern);
    EXPECT_EQ(SimulatedMachine::UserOfToken(printer.Get()), std::nullopt);
    EXPECT_EQ(SimulatedMachine::UserOfToken(nullptr), std::nullopt);
}

// ---- the version-4 driver property bag

ComPtr<IPrinterPropertyBag> BagOf(const std::wstring& printer)
{
    ComPtr<IPrinterPropertyBag> bag;
    bag.Attach(SimulatedMachine::NewDriverPropertyBag(printer));
    return bag;
}

class BagName {
public:
    explicit BagName(const wchar_t* text) : bstr_(SysAllocString(text)) {}
    ~BagName() { SysFreeString(bstr_); }
    BagName(const BagName&) = delete;
    BagName& operator=(const BagName&) = delete;
    operator BSTR() const { return bstr_; }

private:
    BSTR bstr_;
};

std::wstring TakeString(BSTR text)
{
    std::wstring copy(text, SysStringLen(text));
    SysFreeString(text);
    return copy;
}

TEST_F(Spooler, OnlyAVersion4PrinterHasADriverPropertyBag)
{
    EXPECT_NE(BagOf(kModern).Get(), nullptr);
    EXPECT_NE(BagOf(L"qx test V4").Get(), nullptr);
    EXPECT_EQ(BagOf(kLegacy).Get(), nullptr);
    EXPECT_EQ(BagOf(L"No Such Printer").Get(), nullptr);

    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(bag.As(&unknown), S_OK);
    ComPtr<IPrinterPropertyBag> again;
    EXPECT_EQ(unknown.As(&again), S_OK);
    EXPECT_EQ(again.Get(), bag.Get());
}

TEST_F(Spooler, DriverPropertyBagReadsEachValueByItsType)
{
    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    BSTR text = nullptr;
    ASSERT_EQ(bag->GetString(BagName(L"Platform"), &text), S_OK);
    EXPECT_EQ(TakeString(text), L"Mesa");
    LONG number = 0;
    EXPECT_EQ(bag->GetInt32(BagName(L"MaxPrinterWidthInMicrons"), &number), S_OK);
    EXPECT_EQ(number, 1117600);
    BOOL flag = FALSE;
    EXPECT_EQ(bag->GetBool(BagName(L"CanDoCopies"), &flag), S_OK);
    EXPECT_EQ(flag, TRUE);
    flag = TRUE;
    EXPECT_EQ(bag->GetBool(BagName(L"IsRookSupported"), &flag), S_OK);
    EXPECT_EQ(flag, FALSE);

    // Callers hand over plain wide strings as names, too.
    wchar_t plain[] = L"Platform";
    ASSERT_EQ(bag->GetString(plain, &text), S_OK);
    EXPECT_EQ(TakeString(text), L"Mesa");
}

TEST_F(Spooler, DriverPropertyBagGetStringHandsOutANewStringEachTime)
{
    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    BSTR first = nullptr;
    BSTR second = nullptr;
    ASSERT_EQ(bag->GetString(BagName(L"Platform"), &first), S_OK);
    ASSERT_EQ(bag->GetString(BagName(L"Platform"), &second), S_OK);
    EXPECT_NE(first, second);
    EXPECT_EQ(SysStringLen(first), 4u);
    first[0] = L'X';
    EXPECT_EQ(TakeString(second), L"Mesa");
    SysFreeString(first);
}

TEST_F(Spooler, DriverPropertyBagAnswersNotFoundForAMissingNameOrAnotherType)
{
    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    // Each name is asked for under every type but its own, and one name is not there at all.
    for (const wchar_t* name : {L"Platform", L"MaxPrinterWidthInMicrons", L"CanDoCopies", L"NoSuchKey"}) {
        const std::wstring key = name;
        BSTR text = reinterpret_cast<BSTR>(1);
        LONG number = -5;
        BOOL flag = 7;
        const HRESULT asString = bag->GetString(BagName(name), &text);
        const HRESULT asNumber = bag->GetInt32(BagName(name), &number);
        const HRESULT asFlag = bag->GetBool(BagName(name), &flag);
        EXPECT_EQ(asString, key == L"Platform" ? S_OK : kNotFound) << platform::ToUtf8(key);
        EXPECT_EQ(asNumber, key == L"MaxPrinterWidthInMicrons" ? S_OK : kNotFound) << platform::ToUtf8(key);
        EXPECT_EQ(asFlag, key == L"CanDoCopies" ? S_OK : kNotFound) << platform::ToUtf8(key);
        if (FAILED(asString)) {
            EXPECT_EQ(text, nullptr);
        } else {
            SysFreeString(text);
        }
        // A failed read leaves a number or a flag as the caller preset it.
        if (FAILED(asNumber)) {
            EXPECT_EQ(number, -5);
        }
        if (FAILED(asFlag)) {
            EXPECT_EQ(flag, 7);
        }
    }
}

TEST_F(Spooler, DriverPropertyBagSetsStayWithTheObject)
{
    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    EXPECT_EQ(bag->SetString(BagName(L"Platform"), BagName(L"Quarry")), S_OK);
    EXPECT_EQ(bag->SetInt32(BagName(L"NewNumber"), -42), S_OK);
    EXPECT_EQ(bag->SetBool(BagName(L"CanDoCopies"), 5), S_OK);  // any non-zero BOOL is TRUE
    EXPECT_EQ(bag->SetString(BagName(L"Empty"), nullptr), S_OK);
    // A value set under another type replaces the old one.
    EXPECT_EQ(bag->SetBool(BagName(L"MaxPrinterWidthInMicrons"), FALSE), S_OK);

    BSTR text = nullptr;
    ASSERT_EQ(bag->GetString(BagName(L"Platform"), &text), S_OK);
    EXPECT_EQ(TakeString(text), L"Quarry");
    ASSERT_EQ(bag->GetString(BagName(L"Empty"), &text), S_OK);
    EXPECT_EQ(TakeString(text), L"");
    LONG number = 0;
    EXPECT_EQ(bag->GetInt32(BagName(L"NewNumber"), &number), S_OK);
    EXPECT_EQ(number, -42);
    BOOL flag = FALSE;
    EXPECT_EQ(bag->GetBool(BagName(L"CanDoCopies"), &flag), S_OK);
    EXPECT_EQ(flag, TRUE);
    EXPECT_EQ(bag->GetInt32(BagName(L"MaxPrinterWidthInMicrons"), &number), kNotFound);

    // The printer's declared values are not the object's to change.
    ComPtr<IPrinterPropertyBag> fresh = BagOf(kModern);
    ASSERT_EQ(fresh->GetString(BagName(L"Platform"), &text), S_OK);
    EXPECT_EQ(TakeString(text), L"Mesa");
    EXPECT_EQ(fresh->GetInt32(BagName(L"NewNumber"), &number), kNotFound);
}

TEST_F(Spooler, DriverPropertyBagNullPointersFailWithEPointer)
{
    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    BSTR text = nullptr;
    LONG number = 0;
    BOOL flag = FALSE;
    BagName name(L"Platform");
    EXPECT_EQ(bag->GetString(nullptr, &text), E_POINTER);
    EXPECT_EQ(bag->GetInt32(nullptr, &number), E_POINTER);
    EXPECT_EQ(bag->GetBool(nullptr, &flag), E_POINTER);
    EXPECT_EQ(bag->SetString(nullptr, name), E_POINTER);
    EXPECT_EQ(bag->SetInt32(nullptr, 1), E_POINTER);
    EXPECT_EQ(bag->SetBool(nullptr, TRUE), E_POINTER);
    EXPECT_EQ(bag->GetString(name, nullptr), E_POINTER);
    EXPECT_EQ(bag->GetInt32(BagName(L"MaxPrinterWidthInMicrons"), nullptr), E_POINTER);
    EXPECT_EQ(bag->GetBool(BagName(L"CanDoCopies"), nullptr), E_POINTER);
}

// ---- machine description files

class MachineFiles : public Spooler {
protected:
    void SetUp() override
    {
        Spooler::SetUp();
        char pattern[] = "/tmp/qxtest-spooler-XXXXXX";
        folder_ = ::mkdtemp(pattern);
    }
    void TearDown() override
    {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
        Spooler::TearDown();
    }

    std::string Write(const std::string& name, const std::string& text) const
    {
        const fs::path path = folder_ / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }

    static fs::path HostFile(const std::wstring& windowsPath) { return *platform::HostPathOf(windowsPath); }

private:
    fs::path folder_;
};

std::string ReadText(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

const char kValidMachine[] = R"({
  "computerName": "TESTBOX",
  "users": [{"name": "ana"}, {"name": "ben"}],
  "printers": [
    {
      "name": "Wide One", "port": "IP_10.0.0.1", "driverName": "Wide Driver",
      "driverModelVersion": 4, "driverFileVersion": "3.0.7.1", "driverDate": "2024-05-17",
      "driverPropertyBag": {
        "Platform": {"type": "string", "value": "Mesa"},
        "MaxPrinterWidthInMicrons": {"type": "int32", "value": -12},
        "CanDoCopies": {"type": "bool", "value": true}
      },
      "bidi": {
        "\\Printer.DeviceInfo:MachineWidth": {"type": "BIDI_STRING", "value": "QXMESA_1118x2000"},
        "\\Printer.Layout:Count": {"type": "BIDI_INT", "value": 3},
        "\\Printer.Layout:Ratio": {"type": "BIDI_FLOAT", "value": 1.5},
        "\\Printer.Layout:Ready": {"type": "BIDI_BOOL", "value": false}
      }
    },
    {
      "name": "Old One", "port": "LPT1:", "driverName": "Old Driver",
      "driverModelVersion": 3, "driverFileVersion": "65535.0.0.1",
      "dependentFiles": ["C:\\spool\\3\\old.ldpb", "C:\\spool\\3\\old.dll"],
      "bidiReachable": false
    }
  ],
  "jobs": [
    {"id": 5, "printer": "wide one", "document": "C:\\Users\\ana\\poster.pdf", "user": "ANA", "totalPages": 2},
    {"id": 6, "printer": "Old One", "document": "site.dwg", "user": "ben", "totalPages": 0, "size": 99}
  ],
  "files": {
    "C:\\spool\\3\\old.ldpb": ["<Properties>", "</Properties>"],
    "C:\\notes\\plain.txt": "caf\u00e9"
  }
})";

TEST_F(MachineFiles, AValidFileBecomesTheMachine)
{
    const auto description = platform::LoadMachineDescription(Write("machine.json", kValidMachine));

    EXPECT_EQ(SimulatedMachine::PrinterNames(), (std::vector<std::wstring>{L"Wide One", L"Old One"}));
    EXPECT_FALSE(SimulatedMachine::FindPrinter(kModern).has_value()) << "the file replaces what was there";
    EXPECT_EQ(SimulatedMachine::ComputerName(), L"TESTBOX");

    const auto wide = SimulatedMachine::FindPrinter(L"Wide One");
    ASSERT_TRUE(wide && wide->driverPropertyBag);
    EXPECT_EQ(wide->driverModelVersion, 4u);
    EXPECT_EQ(wide->driverFileVersion, 0x0003000000070001ull);
    const ULONGLONG date = (ULONGLONG{wide->driverDate.dwHighDateTime} << 32) | wide->driverDate.dwLowDateTime;
    EXPECT_EQ(date, 133603776000000000ull);  // 2024-05-17T00:00Z
    const auto& bag = *wide->driverPropertyBag;
    EXPECT_EQ(bag.at(L"Platform"), platform::DriverPropertyValue(std::wstring(L"Mesa")));
    EXPECT_EQ(bag.at(L"MaxPrinterWidthInMicrons"), platform::DriverPropertyValue(LONG{-12}));
    EXPECT_EQ(bag.at(L"CanDoCopies"), platform::DriverPropertyValue(true));
    EXPECT_EQ(wide->bidiValues.at(L"\\Printer.DeviceInfo:MachineWidth").text, L"QXMESA_1118x2000");
    EXPECT_EQ(wide->bidiValues.at(L"\\Printer.Layout:Count").text, L"3");
    EXPECT_EQ(wide->bidiValues.at(L"\\Printer.Layout:Ratio").text, L"1.5");
    EXPECT_EQ(wide->bidiValues.at(L"\\Printer.Layout:Ready").type, L"BIDI_BOOL");
    EXPECT_EQ(wide->bidiValues.at(L"\\Printer.Layout:Ready").text, L"false");
    EXPECT_TRUE(wide->bidiReachable);

    const auto old = SimulatedMachine::FindPrinter(L"Old One");
    ASSERT_TRUE(old);
    EXPECT_FALSE(old->driverPropertyBag.has_value());
    EXPECT_FALSE(old->bidiReachable);
    EXPECT_EQ(old->driverFileVersion, 0xFFFF000000000001ull);
    EXPECT_EQ(old->dependentFiles, (std::vector<std::wstring>{L"C:\\spool\\3\\old.ldpb", L"C:\\spool\\3\\old.dll"}));

    // References are resolved to the names as declared.
    const auto job = SimulatedMachine::FindJob(L"Wide One", 5);
    ASSERT_TRUE(job);
    EXPECT_EQ(job->printerName, L"Wide One");
    EXPECT_EQ(job->userName, L"ana");
    EXPECT_EQ(SimulatedMachine::FindJob(L"Old One", 6)->size, 99u);
    EXPECT_TRUE(SimulatedMachine::FindUser(L"ben").has_value());

    EXPECT_EQ(ReadText(HostFile(L"C:\\spool\\3\\old.ldpb")), "<Properties>\n</Properties>\n");
    EXPECT_EQ(ReadText(HostFile(L"C:\\notes\\plain.txt")), "caf\xc3\xa9");
    EXPECT_EQ(description.files.size(), 2u);

    // The spooler serves the loaded machine.
    Printer printer(L"Old One");
    const auto buffer =
        Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(printer.Get(), nullptr, 3, b, s, n); });
    EXPECT_EQ(MultiSz(As<DRIVER_INFO_3W>(buffer).pDependentFiles), old->dependentFiles);
}

struct Refused {
    const char* name;
    std::string text;
    std::string place;
    std::string reason;  // for a syntax error, how the parser's reason begins
};

// A valid machine with one printer, into which each case puts one fault.
std::string WithPrinter(const std::string& printerFields, const std::string& rest = "")
{
    return R"({"users": [{"name": "ana"}], "printers": [{"name": "P", "port": "LPT1:", "driverName": "D",
               "driverModelVersion": 4, "driverFileVersion": "1.0.0.0")" +
           (printerFields.empty() ? "" : ", " + printerFields) + "}]" + (rest.empty() ? "" : ", " + rest) + "}";
}

std::string WithBag(const std::string& entries) { return WithPrinter(R"("driverPropertyBag": {)" + entries + "}"); }

std::vector<Refused> RefusedFiles()
{
    return {
        {"syntax error", "{\n  \"printers\": [\n    {\"name\": }\n  ]\n}", "line 3, column 14",
         "syntax error while parsing value"},
        {"empty file", "", "line 1, column 1", "syntax error while parsing value"},
        {"unfinished document", "{\"users\": [", "line 1, column 12", "syntax error while parsing value"},
        {"not an object", "[]", "(document)", "expected a machine description (an object), found an array"},
        {"unknown top-level field", R"({"printer": []})", "/printer",
         "unknown field in a machine description (known fields: \"comment\", \"computerName\", \"users\", "
         "\"printers\", \"jobs\", \"files\")"},
        {"unknown bag type", WithBag(R"("CanDoCopies": {"type": "float", "value": 1.0})"),
         "/printers/0/driverPropertyBag/CanDoCopies/type",
         "unknown type \"float\" (known types: \"string\", \"int32\", \"bool\")"},
        {"bool given as text", WithBag(R"("CanDoCopies": {"type": "bool", "value": "yes"})"),
         "/printers/0/driverPropertyBag/CanDoCopies/value",
         "expected true or false for type \"bool\", found the string \"yes\""},
        {"string given as number", WithBag(R"("Platform": {"type": "string", "value": 2})"),
         "/printers/0/driverPropertyBag/Platform/value", "expected a string for type \"string\", found the number 2"},
        {"int32 out of range", WithBag(R"("Width": {"type": "int32", "value": 2147483648})"),
         "/printers/0/driverPropertyBag/Width/value",
         "expected an integer from -2147483648 to 2147483647 for type \"int32\", found the number 2147483648"},
        {"int32 with a fraction", WithBag(R"("Width": {"type": "int32", "value": 1.5})"),
         "/printers/0/driverPropertyBag/Width/value",
         "expected an integer from -2147483648 to 2147483647 for type \"int32\", found the number 1.5"},
        {"bag entry without a type", WithBag(R"("PDL": {"value": "PS3"})"), "/printers/0/driverPropertyBag/PDL/type",
         "required field is missing"},
        {"name twice in the bag",
         WithBag(R"("PDL": {"type": "string", "value": "PS3"}, "PDL": {"type": "string", "value": "KESTREL"})"),
         "/printers/0/driverPropertyBag/PDL", "the name appears twice in the same object"},
        {"name twice in a later element",
         R"({"printers": [{"name": "P", "port": "LPT1:", "driverName": "D", "driverModelVersion": 4,
             "driverFileVersion": "1.0.0.0", "driverPropertyBag": {"A": {"type": "bool", "value": true}},
             "dependentFiles": ["C:\\a", "C:\\b"]},
             {"name": "Q", "port": "LPT2:", "name": "R"}]})",
         "/printers/1/name", "the name appears twice in the same object"},
        {"bag on a version-3 driver",
         R"({"printers": [{"name": "P", "port": "LPT1:", "driverName": "D", "driverModelVersion": 3,
             "driverFileVersion": "1.0.0.0", "driverPropertyBag": {}}]})",
         "/printers/0/driverPropertyBag", "only a version-4 driver has a driver property bag"},
        {"unknown bidi type", WithPrinter(R"("bidi": {"\\Printer.X:Y": {"type": "BIDI_COLOUR", "value": 1}})"),
         "/printers/0/bidi/\\Printer.X:Y/type",
         "unknown type \"BIDI_COLOUR\" (known types: \"BIDI_INT\", \"BIDI_FLOAT\", \"BIDI_BOOL\", \"BIDI_STRING\", "
         "\"BIDI_TEXT\", \"BIDI_ENUM\", \"BIDI_BLOB\")"},
        {"bidi value of the wrong type",
         WithPrinter(R"("bidi": {"\\Printer.X:Y": {"type": "BIDI_STRING", "value": 1118}})"),
         "/printers/0/bidi/\\Printer.X:Y/value", "expected a string for type \"BIDI_STRING\", found the number 1118"},
        {"misspelt printer field", WithPrinter(R"("driverNme": "D")"), "/printers/0/driverNme",
         "unknown field in a printer (known fields: \"name\", \"port\", \"driverName\", \"driverModelVersion\", "
         "\"driverFileVersion\", \"dependentFiles\", \"driverPropertyBag\", \"bidi\", \"bidiReachable\", "
         "\"comment\", \"location\", \"driverPath\", \"dataFile\", \"configFile\", \"helpFile\", \"manufacturer\", "
         "\"oemUrl\", \"hardwareId\", \"driverDate\")"},
        {"missing driver name", R"({"printers": [{"name": "P", "port": "LPT1:", "driverModelVersion": 4,
             "driverFileVersion": "1.0.0.0"}]})",
         "/printers/0/driverName", "required field is missing"},
        {"driver model 5",
         R"({"printers": [{"name": "P", "port": "LPT1:", "driverName": "D", "driverModelVersion": 5,
             "driverFileVersion": "1.0.0.0"}]})",
         "/printers/0/driverModelVersion",
         "expected 3 (a legacy XPS driver) or 4 (a version-4 driver), found the number 5"},
        {"short file version",
         R"({"printers": [{"name": "P", "port": "LPT1:", "driverName": "D", "driverModelVersion": 4,
             "driverFileVersion": "3.0.7"}]})",
         "/printers/0/driverFileVersion",
         "expected a version of four numbers from 0 to 65535, like \"3.0.7.1\", found the string \"3.0.7\""},
        {"file version part too large",
         R"({"printers": [{"name": "P", "port": "LPT1:", "driverName": "D", "driverModelVersion": 4,
             "driverFileVersion": "3.0.65536.1"}]})",
         "/printers/0/driverFileVersion",
         "expected a version of four numbers from 0 to 65535, like \"3.0.7.1\", found the string \"3.0.65536.1\""},
        {"impossible driver date", WithPrinter(R"("driverDate": "2023-02-29")"), "/printers/0/driverDate",
         "expected a date from 1601-01-01 on, like \"2024-05-17\", found the string \"2023-02-29\""},
        {"dependent file without a drive", WithPrinter(R"("dependentFiles": ["qxlegacy.ldpb"])"),
         "/printers/0/dependentFiles/0",
         "\"qxlegacy.ldpb\" is not a Windows path with a drive or a share, like C:\\folder\\file"},
        {"printer name with a comma", R"({"printers": [{"name": "A,B", "port": "LPT1:", "driverName": "D",
             "driverModelVersion": 4, "driverFileVersion": "1.0.0.0"}]})",
         "/printers/0/name", "a printer name cannot contain ',' or '\\'"},
        {"printer declared twice",
         R"({"printers": [{"name": "P", "port": "LPT1:", "driverName": "D", "driverModelVersion": 4,
             "driverFileVersion": "1.0.0.0"}, {"name": "p", "port": "LPT2:", "driverName": "D",
             "driverModelVersion": 4, "driverFileVersion": "1.0.0.0"}]})",
         "/printers/1/name", "the printer name is already declared at /printers/0"},
        {"job on an undeclared printer",
         WithPrinter("", R"("jobs": [{"id": 1, "printer": "Q", "document": "d", "user": "ana", "totalPages": 1}])"),
         "/jobs/0/printer", "no printer of that name is declared in /printers"},
        {"job of an undeclared user",
         WithPrinter("", R"("jobs": [{"id": 1, "printer": "P", "document": "d", "user": "bob", "totalPages": 1}])"),
         "/jobs/0/user", "no user of that name is declared in /users"},
        {"job id used twice",
         WithPrinter("", R"("jobs": [{"id": 4, "printer": "P", "document": "d", "user": "ana", "totalPages": 1},
                                    {"id": 4, "printer": "P", "document": "e", "user": "ana", "totalPages": 1}])"),
         "/jobs/1/id", "the job id is already used at /jobs/0"},
        {"job id 0",
         WithPrinter("", R"("jobs": [{"id": 0, "printer": "P", "document": "d", "user": "ana", "totalPages": 1}])"),
         "/jobs/0/id", "expected an integer from 1 to 4294967295, found the number 0"},
        {"negative page count",
         WithPrinter("", R"("jobs": [{"id": 1, "printer": "P", "document": "d", "user": "ana", "totalPages": -1}])"),
         "/jobs/0/totalPages", "expected an integer from 0 to 4294967295, found the number -1"},
        {"file content as a number", WithPrinter("", R"("files": {"C:\\a.txt": 12})"), "/files/C:\\a.txt",
         "expected the file's text, as a string or an array of lines, found the number 12"},
        {"file outside any drive", WithPrinter("", R"("files": {"relative\\a.txt": "x"})"), "/files/relative\\a.txt",
         "\"relative\\a.txt\" is not a Windows path with a drive or a share, like C:\\folder\\file"},
        {"slash in a pointer is escaped", WithBag(R"("A/B~C": {"type": "int32", "value": true})"),
         "/printers/0/driverPropertyBag/A~1B~0C/value",
         "expected an integer from -2147483648 to 2147483647 for type \"int32\", found true"},
    };
}

TEST_F(MachineFiles, RefusedFilesNameTheFileThePlaceAndTheReasonAndChangeNothing)
{
    const fs::path existing = HostFile(L"C:\\a.txt");
    for (const Refused& refused : RefusedFiles()) {
        SCOPED_TRACE(refused.name);
        const std::string path = Write("refused.json", refused.text);
        try {
            platform::LoadMachineDescription(path);
            ADD_FAILURE() << "accepted";
        } catch (const platform::MachineDescriptionError& error) {
            EXPECT_EQ(error.File(), path);
            EXPECT_EQ(error.Place(), refused.place);
            if (refused.place.rfind("line ", 0) == 0) {
                EXPECT_EQ(error.Reason().rfind(refused.reason, 0), 0u) << error.Reason();
            } else {
                EXPECT_EQ(error.Reason(), refused.reason);
            }
            EXPECT_EQ(std::string(error.what()), path + ": " + refused.place + ": " + error.Reason());
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << "one line";
        }
        EXPECT_EQ(SimulatedMachine::PrinterNames(), (std::vector<std::wstring>{kModern, kLegacy}));
    }
    EXPECT_FALSE(fs::exists(existing));
}

TEST_F(MachineFiles, AFaultAfterValidSectionsStillChangesNothing)
{
    // Users, printers and files are all fine; the last job is not.
    const std::string text = WithPrinter("", R"("jobs": [{"id": 1, "printer": "P", "document": "d", "user": "ana",
        "totalPages": 1}, {"id": 2, "printer": "P", "document": "d", "user": "ana", "totalPages": "one"}],
        "files": {"C:\\written\\too\\soon.txt": "x"}, "computerName": "ELSEWHERE")");
    const std::string path = Write("late.json", text);
    EXPECT_THROW(platform::LoadMachineDescription(path), platform::MachineDescriptionError);
    EXPECT_EQ(SimulatedMachine::PrinterNames(), (std::vector<std::wstring>{kModern, kLegacy}));
    EXPECT_TRUE(SimulatedMachine::FindJob(kModern, 7).has_value());
    EXPECT_NE(SimulatedMachine::ComputerName(), L"ELSEWHERE");
    EXPECT_FALSE(fs::exists(HostFile(L"C:\\written\\too\\soon.txt")));
}

TEST_F(MachineFiles, AFileThatCannotBeWrittenStopsTheLoadBeforeTheMachineChanges)
{
    // The first file takes the place the second one needs as a folder.
    const std::string path = Write("blocked.json", WithPrinter("", R"("files": {"C:\\blocker": "x",
        "C:\\blocker\\inside.txt": "y"})"));
    try {
        platform::LoadMachineDescription(path);
        ADD_FAILURE() << "accepted";
    } catch (const platform::MachineDescriptionError& error) {
        EXPECT_EQ(error.Place(), "/files/C:\\blocker\\inside.txt");
        EXPECT_EQ(error.Reason().rfind("cannot write " + HostFile(L"C:\\blocker\\inside.txt").string() + ": ", 0), 0u)
            << error.Reason();
    }
    EXPECT_EQ(SimulatedMachine::PrinterNames(), (std::vector<std::wstring>{kModern, kLegacy}));
    std::error_code ignored;
    fs::remove(HostFile(L"C:\\blocker"), ignored);
}

TEST_F(MachineFiles, AnUnreadableFileIsNamedWithTheSystemsReason)
{
    const std::string missing = Write("x", "") + ".missing";
    try {
        platform::ReadMachineDescription(missing);
        ADD_FAILURE() << "accepted";
    } catch (const platform::MachineDescriptionError& error) {
        EXPECT_EQ(std::string(error.what()), missing + ": cannot read the file: No such file or directory");
        EXPECT_EQ(error.Place(), "");
    }
}

// The bundled machine declares what the driver code reads: every driver property of the
// version-4 printer with its type, the machine width over bidi, and the legacy printer's file.
TEST_F(MachineFiles, TheBundledMachineDeclaresEveryDriverProperty)
{
    const auto description = platform::LoadMachineDescription(QX_DEFAULT_MACHINE);
    const auto names = SimulatedMachine::PrinterNames();
    ASSERT_EQ(names.size(), 2u);

    const auto modern = SimulatedMachine::FindPrinter(names[0]);
    ASSERT_TRUE(modern && modern->driverPropertyBag);
    EXPECT_EQ(modern->driverModelVersion, 4u);
    const std::vector<std::wstring> strings{L"Platform", L"PDL", L"EncryptedPinSupported",
                                            L"ConnectivityProtocolsSupported", L"FamilyPaperType", L"DriverVersion",
                                            L"SoftwareUrl"};
    const std::vector<std::wstring> numbers{L"ManualMarginInMicrons", L"TrayMarginInMicrons",
                                            L"MaxPrinterWidthInMicrons"};
    const std::vector<std::wstring> flags{L"IsArssSupported", L"CanDoCopies", L"CanDoCollate", L"CanDoReverse",
                                          L"CanDoAutorotate", L"BidiInformation", L"IsRookSupported",
                                          L"CanDoCropLinesAndRBAAndAutoRotatePDF", L"ColorAdjustment",
                                          L"PureBlackAndWhiteSupported"};
    const auto& bag = *modern->driverPropertyBag;
    EXPECT_EQ(bag.size(), strings.size() + numbers.size() + flags.size());
    for (const auto& key : strings) {
        EXPECT_TRUE(bag.count(key) && std::holds_alternative<std::wstring>(bag.at(key))) << platform::ToUtf8(key);
    }
    for (const auto& key : numbers) {
        EXPECT_TRUE(bag.count(key) && std::holds_alternative<LONG>(bag.at(key))) << platform::ToUtf8(key);
    }
    for (const auto& key : flags) {
        EXPECT_TRUE(bag.count(key) && std::holds_alternative<bool>(bag.at(key))) << platform::ToUtf8(key);
    }
    EXPECT_EQ(std::get<std::wstring>(bag.at(L"Platform")), L"Mesa");
    const auto& width = modern->bidiValues.at(L"\\Printer.DeviceInfo:MachineWidth");
    EXPECT_EQ(width.type, L"BIDI_STRING");
    const auto underscore = width.text.rfind(L'_');
    const auto x = width.text.rfind(L'x');
    ASSERT_TRUE(underscore != std::wstring::npos && x != std::wstring::npos && underscore < x);
    EXPECT_GT(std::stoi(width.text.substr(underscore + 1, x - underscore - 1)), 0);

    const auto legacy = SimulatedMachine::FindPrinter(names[1]);
    ASSERT_TRUE(legacy);
    EXPECT_EQ(legacy->driverModelVersion, 3u);
    EXPECT_FALSE(legacy->driverPropertyBag.has_value());
    std::wstring ldpb;
    for (const auto& file : legacy->dependentFiles) {
        if (file.find(L".ldpb") != std::wstring::npos) {
            ldpb = file;
        }
    }
    ASSERT_FALSE(ldpb.empty());
    const std::string content = ReadText(HostFile(ldpb));
    for (const auto* keys : {&strings, &numbers, &flags}) {
        for (const auto& key : *keys) {
            EXPECT_NE(content.find("Name=\"" + platform::ToUtf8(key) + "\""), std::string::npos)
                << platform::ToUtf8(key);
        }
    }

    for (const auto& name : names) {
        EXPECT_FALSE(SimulatedMachine::JobsOn(name).empty()) << platform::ToUtf8(name);
    }
    EXPECT_TRUE(SimulatedMachine::FindUser(L"ana").has_value());
}

}  // namespace
