// The spooler stand-in, user tokens, the version-4 driver property bag object and machine
// description files, with the exact Win32 errors and HRESULTs Windows gives.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
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

// Every submission happens at this local time.
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
    explicit Printer(std::wstring name)
    {
        EXPECT_TRUE(OpenPrinterW(name.data(), &handle_, nullptr)) << "error " << GetLastError();
        owner_.reset(handle_);
    }
    HANDLE Get() const { return handle_; }

private:
    HANDLE handle_ = nullptr;
    std::unique_ptr<void, BOOL (*)(HANDLE)> owner_{nullptr, [](HANDLE h) { return ClosePrinter(h); }};
};

// One spooler read, called as read(buffer, size, needed).
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

std::vector<BYTE> PrinterInfo(HANDLE printer)
{
    return Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterW(printer, 2, b, s, n); });
}

std::vector<BYTE> DriverInfo(HANDLE printer, DWORD level)
{
    return Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(printer, nullptr, level, b, s, n); });
}

std::vector<BYTE> JobInfo(HANDLE printer, DWORD job, DWORD level)
{
    return Fetch([&](LPBYTE b, DWORD s, LPDWORD n) { return GetJobW(printer, job, level, b, s, n); });
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

struct Refusal {
    std::string what;
    std::function<BOOL()> call;
    DWORD error;
};

void ExpectRefusals(const std::vector<Refusal>& refusals)
{
    for (const Refusal& refusal : refusals) {
        ::SetLastError(0);
        EXPECT_FALSE(refusal.call()) << refusal.what;
        EXPECT_EQ(GetLastError(), refusal.error) << refusal.what;
    }
}

// ---- printer handles

TEST_F(Spooler, OpeningFailsForUnknownNamesAndWithoutAHandleToFill)
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

    Printer anyCase(L"qx test v4");
    EXPECT_STREQ(As<PRINTER_INFO_2W>(PrinterInfo(anyCase.Get())).pPrinterName, kModern);
}

TEST_F(Spooler, RefusedCallsSetTheWin32Error)
{
    std::wstring name = kModern;
    HANDLE closed = nullptr;
    ASSERT_TRUE(OpenPrinterW(name.data(), &closed, nullptr));
    ASSERT_TRUE(ClosePrinter(closed));
    HANDLE token = SimulatedMachine::TokenFor(L"ana");
    ASSERT_NE(token, nullptr);
    Printer open(kModern);
    const HANDLE printer = open.Get();
    DWORD needed = 0;
    std::vector<BYTE> buffer(4096);
    std::wstring environment;
    const auto driverFor = [&](const wchar_t* env) {
        return [&, env] {
            environment = env;
            return GetPrinterDriverW(printer, environment.data(), 3, nullptr, 0, &needed);
        };
    };
    std::vector<Refusal> refusals{
        {"ClosePrinter again", [&] { return ClosePrinter(closed); }, ERROR_INVALID_HANDLE},
        {"GetPrinterW closed", [&] { return GetPrinterW(closed, 2, nullptr, 0, &needed); }, ERROR_INVALID_HANDLE},
        {"GetPrinterDriverW closed", [&] { return GetPrinterDriverW(closed, nullptr, 3, nullptr, 0, &needed); },
         ERROR_INVALID_HANDLE},
        {"GetJobW closed", [&] { return GetJobW(closed, 7, 1, nullptr, 0, &needed); }, ERROR_INVALID_HANDLE},
        {"ClosePrinter null", [&] { return ClosePrinter(nullptr); }, ERROR_INVALID_HANDLE},
        {"ClosePrinter of a token", [&] { return ClosePrinter(token); }, ERROR_INVALID_HANDLE},
        {"GetPrinterW of a token", [&] { return GetPrinterW(token, 2, nullptr, 0, &needed); }, ERROR_INVALID_HANDLE},
        {"GetPrinterW 1", [&] { return GetPrinterW(printer, 1, nullptr, 0, &needed); }, ERROR_INVALID_LEVEL},
        {"GetPrinterW 3", [&] { return GetPrinterW(printer, 3, nullptr, 0, &needed); }, ERROR_INVALID_LEVEL},
        {"GetPrinterW, null needed", [&] { return GetPrinterW(printer, 2, buffer.data(), 4096, nullptr); },
         ERROR_INVALID_PARAMETER},
        {"current environment", driverFor(L"Windows x64"), ERROR_INSUFFICIENT_BUFFER},
        {"driver environment x86", driverFor(L"Windows NT x86"), ERROR_UNKNOWN_PRINTER_DRIVER},
        {"driver environment ARM64", driverFor(L"Windows ARM64"), ERROR_UNKNOWN_PRINTER_DRIVER},
        {"the current driver environment, any case", driverFor(L"windows X64"), ERROR_INSUFFICIENT_BUFFER},
        {"GetJobW 3, unknown job", [&] { return GetJobW(printer, 999, 3, nullptr, 0, &needed); }, ERROR_INVALID_LEVEL},
    };
    for (const DWORD level : {1u, 2u, 8u}) {
        refusals.push_back({"GetPrinterDriverW " + std::to_string(level),
                            [&, level] { return GetPrinterDriverW(printer, nullptr, level, nullptr, 0, &needed); },
                            ERROR_INVALID_LEVEL});
    }
    for (const DWORD level : {3u, 6u}) {
        refusals.push_back({"GetPrinterDriverW, null needed " + std::to_string(level),
                            [&, level] { return GetPrinterDriverW(printer, nullptr, level, buffer.data(), 4096, nullptr); },
                            ERROR_INVALID_PARAMETER});
    }
    for (const DWORD level : {0u, 3u}) {
        refusals.push_back({"GetJobW " + std::to_string(level),
                            [&, level] { return GetJobW(printer, 7, level, nullptr, 0, &needed); }, ERROR_INVALID_LEVEL});
    }
    for (const DWORD level : {1u, 2u}) {
        for (const DWORD job : {0u, 999u, 8u /* queued on the other printer */}) {
            refusals.push_back({"GetJobW job " + std::to_string(job) + " level " + std::to_string(level),
                                [&, job, level] { return GetJobW(printer, job, level, nullptr, 0, &needed); },
                                ERROR_INVALID_PARAMETER});
        }
        refusals.push_back({"GetJobW, null needed " + std::to_string(level),
                            [&, level] { return GetJobW(printer, 7, level, buffer.data(), 4096, nullptr); },
                            ERROR_INVALID_PARAMETER});
    }
    ExpectRefusals(refusals);
    // ClosePrinter refused the token and left it open.
    EXPECT_EQ(SimulatedMachine::UserOfToken(token), L"ana");
    EXPECT_TRUE(CloseHandle(token));
}

TEST_F(Spooler, HandlesFollowAReplacedPrinterButNotAForgottenOne)
{
    Printer printer(kModern);
    platform::PrinterDescription changed = ModernPrinter();
    changed.port = L"USB001";
    SimulatedMachine::AddPrinter(changed);
    EXPECT_STREQ(As<PRINTER_INFO_2W>(PrinterInfo(printer.Get())).pPortName, L"USB001");

    SimulatedMachine::Clear();
    SimulatedMachine::AddPrinter(ModernPrinter());
    Printer reopened(kModern);
    DWORD needed = 0;
    ExpectRefusals({{"forgotten", [&] { return GetPrinterW(printer.Get(), 2, nullptr, 0, &needed); }, ERROR_PRINTER_DELETED},
                    {"reopened", [&] { return GetPrinterW(reopened.Get(), 2, nullptr, 0, &needed); },
                     ERROR_INSUFFICIENT_BUFFER}});
}

// ---- the two-call pattern, for every level served

using Texts = std::function<std::vector<const wchar_t*>(const std::vector<BYTE>&)>;

struct Level {
    const char* name;
    std::size_t recordSize;
    std::function<BOOL(HANDLE, DWORD job, LPBYTE, DWORD, LPDWORD)> read;
    Texts texts;  // single texts
    Texts lists;  // multi-sz lists, ended by an empty text
};

template <class Record, class... Fields>
Texts TextsOf(Fields... fields)
{
    return [=](const std::vector<BYTE>& buffer) {
        const Record& record = As<Record>(buffer);
        return std::vector<const wchar_t*>{record.*fields...};
    };
}

std::vector<Level> Levels()
{
    using P2 = PRINTER_INFO_2W;
    using D3 = DRIVER_INFO_3W;
    using D6 = DRIVER_INFO_6W;
    using J1 = JOB_INFO_1W;
    using J2 = JOB_INFO_2W;
    const Texts none = [](const std::vector<BYTE>&) { return std::vector<const wchar_t*>{}; };
    return {
        {"GetPrinterW 2", sizeof(P2), [](HANDLE h, DWORD, LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterW(h, 2, b, s, n); },
         TextsOf<P2>(&P2::pServerName, &P2::pPrinterName, &P2::pShareName, &P2::pPortName, &P2::pDriverName,
                     &P2::pComment, &P2::pLocation, &P2::pSepFile, &P2::pPrintProcessor, &P2::pDatatype,
                     &P2::pParameters),
         none},
        {"GetPrinterDriverW 3", sizeof(D3),
         [](HANDLE h, DWORD, LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(h, nullptr, 3, b, s, n); },
         TextsOf<D3>(&D3::pName, &D3::pEnvironment, &D3::pDriverPath, &D3::pDataFile, &D3::pConfigFile, &D3::pHelpFile,
                     &D3::pMonitorName, &D3::pDefaultDataType),
         TextsOf<D3>(&D3::pDependentFiles)},
        {"GetPrinterDriverW 6", sizeof(D6),
         [](HANDLE h, DWORD, LPBYTE b, DWORD s, LPDWORD n) { return GetPrinterDriverW(h, nullptr, 6, b, s, n); },
         TextsOf<D6>(&D6::pName, &D6::pEnvironment, &D6::pDriverPath, &D6::pDataFile, &D6::pConfigFile, &D6::pHelpFile,
                     &D6::pMonitorName, &D6::pDefaultDataType, &D6::pszMfgName, &D6::pszOEMUrl, &D6::pszHardwareID,
                     &D6::pszProvider),
         TextsOf<D6>(&D6::pDependentFiles, &D6::pszzPreviousNames)},
        {"GetJobW 1", sizeof(J1), [](HANDLE h, DWORD job, LPBYTE b, DWORD s, LPDWORD n) { return GetJobW(h, job, 1, b, s, n); },
         TextsOf<J1>(&J1::pPrinterName, &J1::pMachineName, &J1::pUserName, &J1::pDocument, &J1::pDatatype, &J1::pStatus),
         none},
        {"GetJobW 2", sizeof(J2), [](HANDLE h, DWORD job, LPBYTE b, DWORD s, LPDWORD n) { return GetJobW(h, job, 2, b, s, n); },
         TextsOf<J2>(&J2::pPrinterName, &J2::pMachineName, &J2::pUserName, &J2::pDocument, &J2::pNotifyName,
                     &J2::pDatatype, &J2::pPrintProcessor, &J2::pParameters, &J2::pDriverName, &J2::pStatus),
         none},
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
            EXPECT_EQ(Call(read, nullptr, query.needed).error, static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));

            std::vector<BYTE> exact(query.needed, 0xCD);
            const Outcome filled = Call(read, exact.data(), query.needed);
            EXPECT_TRUE(filled.result);
            EXPECT_EQ(filled.needed, query.needed);

            // Every text lies whole and aligned in the buffer after the record, and the texts with
            // the record account for every byte asked for.
            const BYTE* end = exact.data() + exact.size();
            std::size_t textBytes = 0;
            for (const bool list : {false, true}) {
                for (const wchar_t* text : (list ? level.lists : level.texts)(exact)) {
                    if (text == nullptr) {
                        continue;
                    }
                    const auto* at = reinterpret_cast<const BYTE*>(text);
                    ASSERT_GE(at, exact.data() + level.recordSize);
                    ASSERT_LT(at, end);
                    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(at) % alignof(wchar_t), 0u);
                    const std::size_t bytes = Characters(text, list) * sizeof(wchar_t);
                    EXPECT_LE(at + bytes, end);
                    textBytes += bytes;
                }
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

// ---- what the records say

// Each text of a record against what it should say; null where there should be none.
void ExpectTexts(std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> texts)
{
    for (const auto& [actual, expected] : texts) {
        EXPECT_STREQ(actual, expected);
    }
}

TEST_F(Spooler, PrinterInfo2DescribesTheLocalPrinterAndItsQueue)
{
    Printer printer(kModern);
    const auto buffer = PrinterInfo(printer.Get());
    const auto& info = As<PRINTER_INFO_2W>(buffer);
    ExpectTexts({{info.pServerName, nullptr}, {info.pPrinterName, kModern}, {info.pShareName, L""},
                 {info.pPortName, L"IP_10.1.1.4"}, {info.pDriverName, L"QX Test Class Driver"},
                 {info.pComment, L"test printer"}, {info.pLocation, L"lab"}, {info.pPrintProcessor, L"winprint"},
                 {info.pDatatype, L"RAW"}});
    EXPECT_EQ(info.pDevMode, nullptr);
    EXPECT_EQ(info.pSecurityDescriptor, nullptr);
    EXPECT_EQ(info.Attributes, 0x40u | 0x800u);  // local, bidi enabled
    EXPECT_EQ(info.Status, 0u);
    EXPECT_EQ(info.cJobs, 2u);

    Printer legacy(kLegacy);
    const auto other = PrinterInfo(legacy.Get());
    EXPECT_EQ(As<PRINTER_INFO_2W>(other).Attributes, 0x40u);
    EXPECT_EQ(As<PRINTER_INFO_2W>(other).cJobs, 1u);
}

TEST_F(Spooler, DriverInfoCarriesVersionsDateAndDependentFiles)
{
    Printer printer(kModern);
    const auto buffer = DriverInfo(printer.Get(), 6);
    const auto& info = As<DRIVER_INFO_6W>(buffer);
    EXPECT_EQ(info.cVersion, 4u);
    EXPECT_EQ(info.dwlDriverVersion, 0x0003000000070001ull);
    EXPECT_EQ(info.ftDriverDate.dwLowDateTime, 0x11223344u);
    EXPECT_EQ(info.ftDriverDate.dwHighDateTime, 0x01D9AABBu);
    ExpectTexts({{info.pName, L"QX Test Class Driver"}, {info.pEnvironment, L"Windows x64"},
                 {info.pszMfgName, L"QX Inc"}, {info.pszProvider, L"QX Inc"}, {info.pszzPreviousNames, nullptr},
                 {info.pDependentFiles, nullptr}});

    Printer legacy(kLegacy);
    for (const DWORD level : {3u, 6u}) {
        const auto other = DriverInfo(legacy.Get(), level);
        const auto& legacyInfo = As<DRIVER_INFO_3W>(other);  // level 6 starts with the same fields
        EXPECT_EQ(legacyInfo.cVersion, 3u);
        ASSERT_NE(legacyInfo.pDependentFiles, nullptr);
        EXPECT_EQ(MultiSz(legacyInfo.pDependentFiles), LegacyPrinter().dependentFiles) << "level " << level;
    }
}

TEST_F(Spooler, JobInfoNamesTheJobItsPlaceAndItsSubmission)
{
    Printer printer(kModern);
    const auto first = JobInfo(printer.Get(), 9, 1);
    const auto& info = As<JOB_INFO_1W>(first);
    const std::wstring machine = L"\\\\" + SimulatedMachine::ComputerName();
    ExpectTexts({{info.pPrinterName, kModern}, {info.pMachineName, machine.c_str()}, {info.pUserName, L"ana"},
                 {info.pDocument, L"https://example.com/plans/site.dwg"}, {info.pStatus, nullptr}});
    EXPECT_EQ(info.JobId, 9u);
    EXPECT_EQ(info.Status, 0u);
    EXPECT_EQ(info.Position, 2u);
    EXPECT_EQ(info.TotalPages, 12u);
    EXPECT_EQ(info.PagesPrinted, 0u);
    const SYSTEMTIME submitted = FixedClock::Time();
    EXPECT_EQ(std::memcmp(&info.Submitted, &submitted, sizeof(SYSTEMTIME)), 0);

    const auto second = JobInfo(printer.Get(), 7, 2);
    const auto& detail = As<JOB_INFO_2W>(second);
    ExpectTexts({{detail.pDocument, L"C:\\Users\\ana\\Documents\\poster.pdf"}, {detail.pNotifyName, L"ana"},
                 {detail.pDriverName, L"QX Test Class Driver"}, {detail.pPrintProcessor, L"winprint"}});
    EXPECT_EQ(detail.JobId, 7u);
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
    const auto job = [&] { return GetJobW(printer.Get(), 7, 1, nullptr, 0, &needed); };
    {
        DeniedJobs denied;
        platform::ScopedInstall<platform::IWinSpool> scope(denied);
        ExpectRefusals({{"doubled", job, ERROR_ACCESS_DENIED},
                        {"not doubled", [&] { return GetPrinterW(printer.Get(), 2, nullptr, 0, &needed); },
                         ERROR_INSUFFICIENT_BUFFER}});
    }
    ExpectRefusals({{"after the scope", job, ERROR_INSUFFICIENT_BUFFER}});
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
    for (int i = 0; (i < 500 || reads < 100) && torn == 0; ++i) {
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
    EXPECT_EQ(WaitForSingleObject(token, 0), WAIT_FAILED);    // not a waitable object
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));

    EXPECT_TRUE(CloseHandle(token));
    EXPECT_EQ(SimulatedMachine::UserOfToken(token), std::nullopt);
    EXPECT_FALSE(CloseHandle(token));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(SimulatedMachine::UserOfToken(second), L"ana");
    EXPECT_TRUE(CloseHandle(second));

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

// A name read under every type: the three HRESULTs, then the string, number and flag. A failed
// string read must null it; failed number and flag reads leave the presets -5 and 7.
using BagRead = std::tuple<HRESULT, HRESULT, HRESULT, std::wstring, LONG, BOOL>;

BagRead ReadAll(IPrinterPropertyBag* bag, const wchar_t* name)
{
    BSTR text = reinterpret_cast<BSTR>(1);
    LONG number = -5;
    BOOL flag = 7;
    const HRESULT asString = bag->GetString(BagName(name), &text);
    std::wstring copy;
    if (SUCCEEDED(asString)) {
        copy = TakeString(text);
    } else {
        EXPECT_EQ(text, nullptr) << platform::ToUtf8(name);
    }
    const HRESULT asNumber = bag->GetInt32(BagName(name), &number);
    const HRESULT asFlag = bag->GetBool(BagName(name), &flag);
    return {asString, asNumber, asFlag, copy, number, flag};
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

TEST_F(Spooler, DriverPropertyBagReadsEachNameOnlyAsItsOwnType)
{
    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    const std::vector<std::pair<const wchar_t*, BagRead>> cases{
        {L"Platform", {S_OK, kNotFound, kNotFound, L"Mesa", -5, 7}},
        {L"MaxPrinterWidthInMicrons", {kNotFound, S_OK, kNotFound, L"", 1117600, 7}},
        {L"CanDoCopies", {kNotFound, kNotFound, S_OK, L"", -5, TRUE}},
        {L"IsRookSupported", {kNotFound, kNotFound, S_OK, L"", -5, FALSE}},
        {L"NoSuchKey", {kNotFound, kNotFound, kNotFound, L"", -5, 7}},
    };
    for (const auto& [name, expected] : cases) {
        EXPECT_EQ(ReadAll(bag.Get(), name), expected) << platform::ToUtf8(name);
    }

    // Callers hand over plain wide strings as names, too, and get a new string each time.
    wchar_t plain[] = L"Platform";
    BSTR first = nullptr;
    BSTR second = nullptr;
    ASSERT_EQ(bag->GetString(plain, &first), S_OK);
    ASSERT_EQ(bag->GetString(plain, &second), S_OK);
    EXPECT_NE(first, second);
    first[0] = L'X';
    EXPECT_EQ(TakeString(first), L"Xesa");
    EXPECT_EQ(TakeString(second), L"Mesa");
}

TEST_F(Spooler, DriverPropertyBagSetsStayWithTheObject)
{
    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    EXPECT_EQ(bag->SetString(BagName(L"Platform"), BagName(L"Quarry")), S_OK);
    EXPECT_EQ(bag->SetInt32(BagName(L"NewNumber"), -42), S_OK);
    EXPECT_EQ(bag->SetBool(BagName(L"CanDoCopies"), 5), S_OK);  // any non-zero BOOL is TRUE
    EXPECT_EQ(bag->SetString(BagName(L"Empty"), nullptr), S_OK);
    EXPECT_EQ(bag->SetBool(BagName(L"MaxPrinterWidthInMicrons"), FALSE), S_OK);  // replaces the number

    EXPECT_EQ(ReadAll(bag.Get(), L"Platform"), BagRead(S_OK, kNotFound, kNotFound, L"Quarry", -5, 7));
    EXPECT_EQ(ReadAll(bag.Get(), L"Empty"), BagRead(S_OK, kNotFound, kNotFound, L"", -5, 7));
    EXPECT_EQ(ReadAll(bag.Get(), L"NewNumber"), BagRead(kNotFound, S_OK, kNotFound, L"", -42, 7));
    EXPECT_EQ(ReadAll(bag.Get(), L"CanDoCopies"), BagRead(kNotFound, kNotFound, S_OK, L"", -5, TRUE));
    EXPECT_EQ(ReadAll(bag.Get(), L"MaxPrinterWidthInMicrons"), BagRead(kNotFound, kNotFound, S_OK, L"", -5, FALSE));

    // The printer's declared values are not the object's to change.
    ComPtr<IPrinterPropertyBag> fresh = BagOf(kModern);
    EXPECT_EQ(ReadAll(fresh.Get(), L"Platform"), BagRead(S_OK, kNotFound, kNotFound, L"Mesa", -5, 7));
    EXPECT_EQ(ReadAll(fresh.Get(), L"NewNumber"), BagRead(kNotFound, kNotFound, kNotFound, L"", -5, 7));
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

    // The error a load of the file throws; the machine must be as it was.
    static platform::MachineDescriptionError Refusal(const std::string& path)
    {
        try {
            platform::LoadMachineDescription(path);
            ADD_FAILURE() << "accepted";
        } catch (const platform::MachineDescriptionError& error) {
            EXPECT_EQ(SimulatedMachine::PrinterNames(), (std::vector<std::wstring>{kModern, kLegacy}));
            return error;
        }
        return platform::MachineDescriptionError("", "", "");
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
      "bidi": {"\\Printer.DeviceInfo:MachineWidth": {"type": "BIDI_STRING", "value": "QXMESA_1118x2000"},
               "\\Printer.Layout:Count": {"type": "BIDI_INT", "value": 3},
               "\\Printer.Layout:Ratio": {"type": "BIDI_FLOAT", "value": 1.5},
               "\\Printer.Layout:Ready": {"type": "BIDI_BOOL", "value": false}}
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
    EXPECT_EQ(SimulatedMachine::ComputerName(), L"TESTBOX");

    const auto wide = SimulatedMachine::FindPrinter(L"Wide One");
    ASSERT_TRUE(wide && wide->driverPropertyBag);
    EXPECT_EQ(wide->driverModelVersion, 4u);
    EXPECT_EQ(wide->driverFileVersion, 0x0003000000070001ull);
    const ULONGLONG date = (ULONGLONG{wide->driverDate.dwHighDateTime} << 32) | wide->driverDate.dwLowDateTime;
    EXPECT_EQ(date, 133603776000000000ull);  // 2024-05-17T00:00Z
    EXPECT_EQ(*wide->driverPropertyBag, (std::map<std::wstring, platform::DriverPropertyValue>{
                                            {L"Platform", std::wstring(L"Mesa")},
                                            {L"MaxPrinterWidthInMicrons", LONG{-12}},
                                            {L"CanDoCopies", true}}));
    const auto& bidi = wide->bidiValues;
    EXPECT_EQ(bidi.at(L"\\Printer.DeviceInfo:MachineWidth").text, L"QXMESA_1118x2000");
    EXPECT_EQ(bidi.at(L"\\Printer.Layout:Count").text, L"3");
    EXPECT_EQ(bidi.at(L"\\Printer.Layout:Ratio").text, L"1.5");
    EXPECT_EQ(bidi.at(L"\\Printer.Layout:Ready").type, L"BIDI_BOOL");
    EXPECT_EQ(bidi.at(L"\\Printer.Layout:Ready").text, L"false");
    EXPECT_TRUE(wide->bidiReachable);

    const auto old = SimulatedMachine::FindPrinter(L"Old One");
    ASSERT_TRUE(old);
    EXPECT_FALSE(old->driverPropertyBag.has_value());
    EXPECT_FALSE(old->bidiReachable);
    EXPECT_EQ(old->driverFileVersion, 0xFFFF000000000001ull);

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
    EXPECT_EQ(MultiSz(As<DRIVER_INFO_3W>(DriverInfo(printer.Get(), 3)).pDependentFiles),
              (std::vector<std::wstring>{L"C:\\spool\\3\\old.ldpb", L"C:\\spool\\3\\old.dll"}));
}

struct Refused {
    const char* name;
    std::string text;
    std::string place;
    std::string reason;  // for a syntax error, how the parser's reason begins
};

std::string PrinterJson(const std::string& name, int model, const std::string& version, const std::string& more = "")
{
    return R"({"name": ")" + name + R"(", "port": "LPT1:", "driverName": "D", "driverModelVersion": )" +
           std::to_string(model) + R"(, "driverFileVersion": ")" + version + "\"" + (more.empty() ? "" : ", " + more) +
           "}";
}

std::string Machine(const std::string& printers, const std::string& rest = "")
{
    return R"({"users": [{"name": "ana"}], "printers": [)" + printers + "]" + (rest.empty() ? "" : ", " + rest) + "}";
}

// A valid machine with one printer, into which each case puts one fault.
std::string WithPrinter(const std::string& fields, const std::string& rest = "")
{
    return Machine(PrinterJson("P", 4, "1.0.0.0", fields), rest);
}

std::string WithBag(const std::string& entries) { return WithPrinter(R"("driverPropertyBag": {)" + entries + "}"); }

std::string JobJson(int id, const std::string& printer, const std::string& user, int pages)
{
    return R"({"id": )" + std::to_string(id) + R"(, "printer": ")" + printer + R"(", "document": "d", "user": ")" +
           user + R"(", "totalPages": )" + std::to_string(pages) + "}";
}

std::string WithJobs(const std::string& jobs) { return WithPrinter("", R"("jobs": [)" + jobs + "]"); }

const std::string kInt32Range = "expected an integer from -2147483648 to 2147483647 for type \"int32\", found ";
const std::string kVersionForm = "expected a version of four numbers from 0 to 65535, like \"3.0.7.1\", found the string ";

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
         "\"printers\", \"jobs\", \"files\", \"programs\", \"registry\")"},
        {"unknown bag type", WithBag(R"("CanDoCopies": {"type": "float", "value": 1.0})"),
         "/printers/0/driverPropertyBag/CanDoCopies/type",
         "unknown type \"float\" (known types: \"string\", \"int32\", \"bool\")"},
        {"bool given as text", WithBag(R"("CanDoCopies": {"type": "bool", "value": "yes"})"),
         "/printers/0/driverPropertyBag/CanDoCopies/value",
         "expected true or false for type \"bool\", found the string \"yes\""},
        {"string given as number", WithBag(R"("Platform": {"type": "string", "value": 2})"),
         "/printers/0/driverPropertyBag/Platform/value", "expected a string for type \"string\", found the number 2"},
        {"int32 out of range", WithBag(R"("Width": {"type": "int32", "value": 2147483648})"),
         "/printers/0/driverPropertyBag/Width/value", kInt32Range + "the number 2147483648"},
        {"int32 with a fraction", WithBag(R"("Width": {"type": "int32", "value": 1.5})"),
         "/printers/0/driverPropertyBag/Width/value", kInt32Range + "the number 1.5"},
        {"slash in a pointer is escaped", WithBag(R"("A/B~C": {"type": "int32", "value": true})"),
         "/printers/0/driverPropertyBag/A~1B~0C/value", kInt32Range + "true"},
        {"bag entry without a type", WithBag(R"("PDL": {"value": "PS3"})"), "/printers/0/driverPropertyBag/PDL/type",
         "required field is missing"},
        {"name twice in the bag",
         WithBag(R"("PDL": {"type": "string", "value": "PS3"}, "PDL": {"type": "string", "value": "KESTREL"})"),
         "/printers/0/driverPropertyBag/PDL", "the name appears twice in the same object"},
        {"name twice in a later element",
         Machine(PrinterJson("P", 4, "1.0.0.0", R"("driverPropertyBag": {"A": {"type": "bool", "value": true}},
             "dependentFiles": ["C:\\a", "C:\\b"])") + R"(, {"name": "Q", "port": "LPT2:", "name": "R"})"),
         "/printers/1/name", "the name appears twice in the same object"},
        {"bag on a version-3 driver", Machine(PrinterJson("P", 3, "1.0.0.0", R"("driverPropertyBag": {})")),
         "/printers/0/driverPropertyBag", "only a version-4 driver has a driver property bag"},
        {"unknown bidi type", WithPrinter(R"("bidi": {"\\Printer.X:Y": {"type": "BIDI_COLOUR", "value": 1}})"),
         "/printers/0/bidi/\\Printer.X:Y/type",
         "unknown type \"BIDI_COLOUR\" (known types: \"BIDI_INT\", \"BIDI_FLOAT\", \"BIDI_BOOL\", \"BIDI_STRING\", "
         "\"BIDI_TEXT\", \"BIDI_ENUM\", \"BIDI_BLOB\")"},
        {"bidi value of the wrong type",
         WithPrinter(R"("bidi": {"\\Printer.X:Y": {"type": "BIDI_STRING", "value": 1118}})"),
         "/printers/0/bidi/\\Printer.X:Y/value", "expected a string for type \"BIDI_STRING\", found the number 1118"},
        {"one answer and a sequence at once",
         WithPrinter(R"("paperSources": {}, "paperSourceAnswers": [{}])"), "/printers/0/paperSourceAnswers",
         "a printer declares either \"paperSources\" (one answer) or \"paperSourceAnswers\" (answers in turn)"},
        {"a sequence without answers", WithPrinter(R"("paperSourceAnswers": [])"), "/printers/0/paperSourceAnswers",
         "a sequence of answers needs at least one answer"},
        {"misspelt paper source field",
         WithPrinter(R"("paperSourceAnswers": [{"sources": [{"width": 1}]}, {"sources": [{"widht": 1}]}])"),
         "/printers/0/paperSourceAnswers/1/sources/0/widht",
         "unknown field in a paper source (known fields: \"number\", \"type\", \"installed\", \"installedType\", "
         "\"width\", \"length\", \"notReady\", \"mediaProtected\", \"id\", \"name\", \"vendor\", \"comment\")"},
        {"paper source width as text", WithPrinter(R"("paperSources": {"sources": [{"width": "44in"}]})"),
         "/printers/0/paperSources/sources/0/width",
         "expected an integer from -2147483648 to 2147483647, found the string \"44in\""},
        {"installed typed as a number",
         WithPrinter(R"("paperSources": {"sources": [{"installed": "2", "installedType": "BIDI_INT"}]})"),
         "/printers/0/paperSources/sources/0/installedType",
         "expected \"BIDI_ENUM\" or \"BIDI_STRING\", found the string \"BIDI_INT\""},
        {"not-ready mask as a flag", WithPrinter(R"("paperSources": {"notReadyMask": true})"),
         "/printers/0/paperSources/notReadyMask", "expected an integer from -2147483648 to 2147483647, found true"},
        {"KORU source number 0", WithPrinter(R"("koruPaperSources": [{"number": 0}])"),
         "/printers/0/koruPaperSources/0/number", "expected an integer from 1 to 4294967295, found the number 0"},
        {"KORU width as a number", WithPrinter(R"("koruPaperSources": [{"mediaWidth": 914.4}])"),
         "/printers/0/koruPaperSources/0/mediaWidth", "expected a string, found the number 914.4"},
        {"misspelt printer field", WithPrinter(R"("driverNme": "D")"), "/printers/0/driverNme",
         "unknown field in a printer (known fields: \"name\", \"port\", \"driverName\", \"driverModelVersion\", "
         "\"driverFileVersion\", \"dependentFiles\", \"driverPropertyBag\", \"bidi\", \"bidiReachable\", "
         "\"paperSources\", \"paperSourceAnswers\", \"koruPaperSources\", \"comment\", \"location\", \"driverPath\", \"dataFile\", \"configFile\", \"helpFile\", \"manufacturer\", "
         "\"oemUrl\", \"hardwareId\", \"driverDate\")"},
        {"missing driver name",
         Machine(R"({"name": "P", "port": "LPT1:", "driverModelVersion": 4, "driverFileVersion": "1.0.0.0"})"),
         "/printers/0/driverName", "required field is missing"},
        {"driver model 5", Machine(PrinterJson("P", 5, "1.0.0.0")), "/printers/0/driverModelVersion",
         "expected 3 (a legacy XPS driver) or 4 (a version-4 driver), found the number 5"},
        {"short file version", Machine(PrinterJson("P", 4, "3.0.7")), "/printers/0/driverFileVersion",
         kVersionForm + "\"3.0.7\""},
        {"file version part too large", Machine(PrinterJson("P", 4, "3.0.65536.1")), "/printers/0/driverFileVersion",
         kVersionForm + "\"3.0.65536.1\""},
        {"impossible driver date", WithPrinter(R"("driverDate": "2023-02-29")"), "/printers/0/driverDate",
         "expected a date from 1601-01-01 on, like \"2024-05-17\", found the string \"2023-02-29\""},
        {"dependent file without a drive", WithPrinter(R"("dependentFiles": ["qxlegacy.ldpb"])"),
         "/printers/0/dependentFiles/0",
         "\"qxlegacy.ldpb\" is not a Windows path with a drive or a share, like C:\\folder\\file"},
        {"printer name with a comma", Machine(PrinterJson("A,B", 4, "1.0.0.0")), "/printers/0/name",
         "a printer name cannot contain ',' or '\\'"},
        {"printer declared twice", Machine(PrinterJson("P", 4, "1.0.0.0") + ", " + PrinterJson("p", 4, "1.0.0.0")),
         "/printers/1/name", "the printer name is already declared at /printers/0"},
        {"job on an undeclared printer", WithJobs(JobJson(1, "Q", "ana", 1)), "/jobs/0/printer",
         "no printer of that name is declared in /printers"},
        {"job of an undeclared user", WithJobs(JobJson(1, "P", "bob", 1)), "/jobs/0/user",
         "no user of that name is declared in /users"},
        {"job id used twice", WithJobs(JobJson(4, "P", "ana", 1) + ", " + JobJson(4, "P", "ana", 1)), "/jobs/1/id",
         "the job id is already used at /jobs/0"},
        {"job id 0", WithJobs(JobJson(0, "P", "ana", 1)), "/jobs/0/id",
         "expected an integer from 1 to 4294967295, found the number 0"},
        {"negative page count", WithJobs(JobJson(1, "P", "ana", -1)), "/jobs/0/totalPages",
         "expected an integer from 0 to 4294967295, found the number -1"},
        {"file content as a number", WithPrinter("", R"("files": {"C:\\a.txt": 12})"), "/files/C:\\a.txt",
         "expected the file's text, as a string or an array of lines, found the number 12"},
        {"file outside any drive", WithPrinter("", R"("files": {"relative\\a.txt": "x"})"), "/files/relative\\a.txt",
         "\"relative\\a.txt\" is not a Windows path with a drive or a share, like C:\\folder\\file"},

        {"program named with a folder", WithPrinter("", R"("programs": {"C:\\p.exe": "../bin/sh"})"), "/programs/C:\\p.exe",
         "a program name without a folder"},
        {"program the build does not have", WithPrinter("", R"("programs": {"C:\\p.exe": "no-such-program"})"),
         "/programs/C:\\p.exe", "no program "},
    };
}

TEST_F(MachineFiles, RefusedFilesNameTheFileThePlaceAndTheReasonAndChangeNothing)
{
    for (const Refused& refused : RefusedFiles()) {
        SCOPED_TRACE(refused.name);
        const std::string path = Write("refused.json", refused.text);
        const auto error = Refusal(path);
        EXPECT_EQ(error.File(), path);
        EXPECT_EQ(error.Place(), refused.place);
        if (refused.place.rfind("line ", 0) == 0 || refused.reason == "no program ") {
            EXPECT_EQ(error.Reason().rfind(refused.reason, 0), 0u) << error.Reason();
        } else {
            EXPECT_EQ(error.Reason(), refused.reason);
        }
        EXPECT_EQ(std::string(error.what()), path + ": " + refused.place + ": " + error.Reason());
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << "one line";
    }
    EXPECT_FALSE(fs::exists(HostFile(L"C:\\a.txt")));
}

TEST_F(MachineFiles, AFaultAfterValidSectionsOrAnUnwritableFileStillChangesNothing)
{
    // Users, printers and files are all fine; the last job is not.
    Refusal(Write("late.json", WithPrinter("", R"("jobs": [)" + JobJson(1, "P", "ana", 1) + R"(,
        {"id": 2, "printer": "P", "document": "d", "user": "ana", "totalPages": "one"}],
        "files": {"C:\\written\\too\\soon.txt": "x"}, "computerName": "ELSEWHERE")")));
    EXPECT_TRUE(SimulatedMachine::FindJob(kModern, 7).has_value());
    EXPECT_NE(SimulatedMachine::ComputerName(), L"ELSEWHERE");
    EXPECT_FALSE(fs::exists(HostFile(L"C:\\written\\too\\soon.txt")));

    // The first file takes the place the second one needs as a folder.
    const auto error = Refusal(
        Write("blocked.json", WithPrinter("", R"("files": {"C:\\blocker": "x", "C:\\blocker\\inside.txt": "y"})")));
    EXPECT_EQ(error.Place(), "/files/C:\\blocker\\inside.txt");
    EXPECT_EQ(error.Reason().rfind("cannot write " + HostFile(L"C:\\blocker\\inside.txt").string() + ": ", 0), 0u)
        << error.Reason();
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
TEST_F(MachineFiles, TheBundledMachineInstallsTheBuildsPreviewApplication)
{
    platform::LoadMachineDescription(QX_DEFAULT_MACHINE);
    const fs::path program = HostFile(L"C:\\Program Files\\QX\\QX Print Preview2\\QXPrintPreview2.exe");
    ASSERT_TRUE(fs::is_symlink(program));
    EXPECT_EQ(fs::read_symlink(program).filename(), "qxpreviewapp");
    EXPECT_TRUE(fs::is_regular_file(program)) << "the link leads to the built program";
}

TEST_F(MachineFiles, TheBundledMachineDeclaresEveryDriverProperty)
{
    const auto description = platform::LoadMachineDescription(QX_DEFAULT_MACHINE);
    const auto names = SimulatedMachine::PrinterNames();
    ASSERT_EQ(names.size(), 2u);

    const auto modern = SimulatedMachine::FindPrinter(names[0]);
    ASSERT_TRUE(modern && modern->driverPropertyBag);
    EXPECT_EQ(modern->driverModelVersion, 4u);
    // Each key with the index of its type in DriverPropertyValue: text, number or flag.
    const std::vector<std::pair<std::wstring, std::size_t>> keys{
        {L"Platform", 0}, {L"PDL", 0}, {L"EncryptedPinSupported", 0}, {L"ConnectivityProtocolsSupported", 0},
        {L"FamilyPaperType", 0}, {L"DriverVersion", 0}, {L"SoftwareUrl", 0},
        {L"ManualMarginInMicrons", 1}, {L"TrayMarginInMicrons", 1}, {L"MaxPrinterWidthInMicrons", 1},
        {L"IsArssSupported", 2}, {L"CanDoCopies", 2}, {L"CanDoCollate", 2}, {L"CanDoReverse", 2},
        {L"CanDoAutorotate", 2}, {L"BidiInformation", 2}, {L"IsRookSupported", 2},
        {L"CanDoCropLinesAndRBAAndAutoRotatePDF", 2}, {L"ColorAdjustment", 2}, {L"PureBlackAndWhiteSupported", 2},
    };
    // Besides, the print-mode texts of the paper families its FamilyPaperType names.
    const std::vector<std::wstring> printModes{L"Bond-1", L"Bond-33", L"Coated-33", L"Photo-34"};
    const auto& bag = *modern->driverPropertyBag;
    EXPECT_EQ(bag.size(), keys.size() + printModes.size());
    for (const auto& [key, type] : keys) {
        EXPECT_TRUE(bag.count(key) && bag.at(key).index() == type) << platform::ToUtf8(key);
    }
    for (const std::wstring& key : printModes) {
        EXPECT_TRUE(bag.count(key) && bag.at(key).index() == 0) << platform::ToUtf8(key);
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
    for (const auto& [key, type] : keys) {
        EXPECT_NE(content.find("Name=\"" + platform::ToUtf8(key) + "\""), std::string::npos) << platform::ToUtf8(key);
    }
    for (const auto& name : names) {
        EXPECT_FALSE(SimulatedMachine::JobsOn(name).empty()) << platform::ToUtf8(name);
    }
    EXPECT_TRUE(SimulatedMachine::FindUser(L"ana").has_value());
}

}  // namespace
