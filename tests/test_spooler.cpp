// The spooler stand-in, user tokens, the version-4 driver property bag object and machine
// description files, with the exact Win32 errors and HRESULTs Windows gives.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
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

#include "testbstr.h"

namespace {

using Microsoft::WRL::ComPtr;
using platform::SimulatedMachine;
using testsupport::Bstr;
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
    printer.driverPropertyBag = std::map<std::wstring, platform::DriverPropertyValue>{
        {L"Platform", std::wstring(L"Mesa")},
        {L"MaxPrinterWidthInMicrons", LONG{1117600}},
        {L"CanDoCopies", true},
        {L"IsRookSupported", false},
    };
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

class Spooler : public testing::Test {
protected:
    void SetUp() override
    {
        SimulatedMachine::Clear();
        SimulatedMachine::AddUser({L"ana"});
        SimulatedMachine::AddPrinter(ModernPrinter());
        SimulatedMachine::AddPrinter(LegacyPrinter());
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

template <class Record>
const Record& As(const std::vector<BYTE>& buffer)
{
    return *reinterpret_cast<const Record*>(buffer.data());
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
        {"GetPrinterW, null needed", [&] { return GetPrinterW(printer, 2, buffer.data(), 4096, nullptr); },
         ERROR_INVALID_PARAMETER},
        {"current environment", driverFor(L"Windows x64"), ERROR_INSUFFICIENT_BUFFER},
        {"driver environment x86", driverFor(L"Windows NT x86"), ERROR_UNKNOWN_PRINTER_DRIVER},
        {"the current driver environment, any case", driverFor(L"windows X64"), ERROR_INSUFFICIENT_BUFFER},
        {"GetPrinterDriverW 2", [&] { return GetPrinterDriverW(printer, nullptr, 2, nullptr, 0, &needed); },
         ERROR_INVALID_LEVEL},
        {"GetPrinterDriverW, null needed",
         [&] { return GetPrinterDriverW(printer, nullptr, 6, buffer.data(), 4096, nullptr); }, ERROR_INVALID_PARAMETER},
        {"GetJobW 0", [&] { return GetJobW(printer, 7, 0, nullptr, 0, &needed); }, ERROR_INVALID_LEVEL},
        {"GetJobW 3, unknown job", [&] { return GetJobW(printer, 999, 3, nullptr, 0, &needed); }, ERROR_INVALID_LEVEL},
        {"GetJobW, null needed", [&] { return GetJobW(printer, 7, 2, buffer.data(), 4096, nullptr); },
         ERROR_INVALID_PARAMETER},
    };
    for (const DWORD job : {0u, 999u, 8u /* queued on the other printer */}) {
        refusals.push_back({"GetJobW job " + std::to_string(job),
                            [&, job] { return GetJobW(printer, job, 1, nullptr, 0, &needed); }, ERROR_INVALID_PARAMETER});
    }
    ExpectRefusals(refusals);
    // ClosePrinter refused the token and left it open.
    EXPECT_EQ(SimulatedMachine::UserOfToken(token), L"ana");
    EXPECT_TRUE(CloseHandle(token));
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
    const HRESULT asString = bag->GetString(Bstr(name), &text);
    std::wstring copy;
    if (SUCCEEDED(asString)) {
        copy = TakeString(text);
    } else {
        EXPECT_EQ(text, nullptr) << platform::ToUtf8(name);
    }
    const HRESULT asNumber = bag->GetInt32(Bstr(name), &number);
    const HRESULT asFlag = bag->GetBool(Bstr(name), &flag);
    return {asString, asNumber, asFlag, copy, number, flag};
}

TEST_F(Spooler, OnlyAVersion4PrinterHasADriverPropertyBagAndItReadsEachNameOnlyAsItsOwnType)
{
    EXPECT_EQ(BagOf(kLegacy).Get(), nullptr);
    EXPECT_EQ(BagOf(L"No Such Printer").Get(), nullptr);
    ComPtr<IPrinterPropertyBag> bag = BagOf(L"qx test V4");
    ASSERT_NE(bag.Get(), nullptr);
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

TEST_F(Spooler, DriverPropertyBagNullPointersFailWithEPointer)
{
    ComPtr<IPrinterPropertyBag> bag = BagOf(kModern);
    BSTR text = nullptr;
    LONG number = 0;
    BOOL flag = FALSE;
    Bstr name(L"Platform");
    EXPECT_EQ(bag->GetString(nullptr, &text), E_POINTER);
    EXPECT_EQ(bag->GetInt32(nullptr, &number), E_POINTER);
    EXPECT_EQ(bag->GetBool(nullptr, &flag), E_POINTER);
    EXPECT_EQ(bag->GetString(name, nullptr), E_POINTER);
    EXPECT_EQ(bag->GetInt32(Bstr(L"MaxPrinterWidthInMicrons"), nullptr), E_POINTER);
    EXPECT_EQ(bag->GetBool(Bstr(L"CanDoCopies"), nullptr), E_POINTER);
}

// ---- machine description files

std::string Machine(const std::string& printerFields, const std::string& rest = "")
{
    return R"({"users": [{"name": "ana"}], "printers": [{"name": "P", "port": "LPT1:", "driverName": "D", )"
           R"("driverModelVersion": 4, "driverFileVersion": "1.0.0.0")" +
           printerFields + "}]" + rest + "}";
}

// A faulty file must be refused whole, with one line naming the file, the place and the reason.
TEST_F(Spooler, ARefusedMachineFileNamesThePlaceAndChangesNothing)
{
    char pattern[] = "/tmp/qxtest-spooler-XXXXXX";
    const fs::path folder = ::mkdtemp(pattern);
    const std::string path = (folder / "refused.json").string();
    const struct {
        const char* why;
        std::string text;
        std::string place;
        std::string reason;  // for a syntax error, how the parser's reason begins
    } cases[] = {
        {"syntax error", "{\n  \"printers\": [\n    {\"name\": }\n  ]\n}", "line 3, column 14",
         "syntax error while parsing value"},
        {"not an object", "[]", "(document)", "expected a machine description (an object), found an array"},
        {"slash in a pointer is escaped",
         Machine(R"(, "driverPropertyBag": {"A/B~C": {"type": "int32", "value": true}})"),
         "/printers/0/driverPropertyBag/A~1B~0C/value",
         "expected an integer from -2147483648 to 2147483647 for type \"int32\", found true"},
        {"job on an undeclared printer",
         Machine("", R"(, "jobs": [{"id": 1, "printer": "Q", "document": "d", "user": "ana", "totalPages": 1}])"),
         "/jobs/0/printer", "no printer of that name is declared in /printers"},
        {"registry of an undeclared user", Machine("", R"(, "registry": {"HKEY_USERS\\zed\\Printers": {}})"),
         "/registry/HKEY_USERS\\zed\\Printers", "no user of that name is declared in /users"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        std::ofstream(path, std::ios::binary) << c.text;
        try {
            platform::LoadMachineDescription(path);
            ADD_FAILURE() << "accepted";
        } catch (const platform::MachineDescriptionError& error) {
            EXPECT_EQ(SimulatedMachine::PrinterNames(), (std::vector<std::wstring>{kModern, kLegacy}));
            EXPECT_EQ(error.File(), path);
            EXPECT_EQ(error.Place(), c.place);
            if (c.place.rfind("line ", 0) == 0) {
                EXPECT_EQ(error.Reason().rfind(c.reason, 0), 0u) << error.Reason();
            } else {
                EXPECT_EQ(error.Reason(), c.reason);
            }
            EXPECT_EQ(std::string(error.what()), path + ": " + c.place + ": " + error.Reason());
            EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << "one line";
        }
    }
    fs::remove_all(folder);
}

}  // namespace
