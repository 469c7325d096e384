// A whole preview session over the real communication and encoding libraries and the real preview
// application, started as the job's user from the machine's registry: the verdicts, the settings
// the user changed, the data the application was given, and the job file that never outlives the
// session. The pieces around it (temporary file, roll width, driver version, names) are checked on
// their own.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <msxml6.h>
#include <nlohmann/json.hpp>
#include <objbase.h>
#include <platform/machine.h>
#include <platform/simulatedmachine.h>
#include <wrl/client.h>

#include "driverversion.h"
#include "jobcontext.h"
#include "pipelinehost/readstream.h"
#include "pipelinepropertybagproxy.h"
#include "previewinstall.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "printpreviewmanager.h"
#include "ptsettings.h"
#include "testbstr.h"
#include "testmachine.h"
#include "tickettext.h"
#include "xpsbuilder.h"
#include "xpsfpkeys.h"

namespace fs = std::filesystem;
using Microsoft::WRL::ComPtr;
using platform::DriverPropertyValue;
using platform::RegistryData;
using platform::RegistryHive;
using platform::SimulatedMachine;
using testsupport::LogTail;
using testsupport::Option;
using testsupport::Ticket;

namespace {

const wchar_t kPrinterName[] = L"QX Session Printer";
const wchar_t kUser[] = L"ana";
constexpr std::int32_t kMaxWidth = 1117600;

using DriverBag = std::map<std::wstring, DriverPropertyValue>;

DriverBag SessionDriverBag()
{
    return {
        {L"Platform", std::wstring(L"Mesa")},
        {L"PDL", std::wstring(L"PS3")},
        {L"MaxPrinterWidthInMicrons", LONG{kMaxWidth}},
        {L"SoftwareUrl", std::wstring(L"https://example.com/qx/software")},
        {L"BidiInformation", true},
        {L"ConnectivityProtocolsSupported", std::wstring(L"USB")},
        {L"EncryptedPinSupported", std::wstring(L"None")},
        {L"IsArssSupported", false},
        {L"ColorAdjustment", false},
        {L"PureBlackAndWhiteSupported", false},
        {L"CanDoCropLinesAndRBAAndAutoRotatePDF", false},
    };
}

platform::PaperSourceAnswer OneRoll()
{
    platform::PaperSourceAnswer answer;
    platform::PaperSource roll;
    roll.type = L"continuousRoll";
    roll.installed = L"installed";
    roll.width = 31680;
    roll.name = L"Roll 1";
    answer.sources.push_back(roll);
    return answer;
}

platform::PrinterDescription SessionPrinter(DriverBag bag)
{
    platform::PrinterDescription printer;
    printer.name = kPrinterName;
    printer.port = L"USB001";
    printer.driverName = L"QX LFP Class Driver";
    printer.driverFileVersion = 0x0003000000070001ULL;
    printer.driverPropertyBag = std::move(bag);
    printer.paperSourceAnswers = {OneRoll()};
    return printer;
}

fs::path Host(const std::wstring& windowsPath) { return *platform::HostPathOf(windowsPath); }

fs::path UserTempFolder() { return Host(std::wstring(L"C:\\Users\\") + kUser + L"\\AppData\\Local\\Temp"); }

// A job of the user on the session printer, its settings read from a ticket.
class SessionJob {
public:
    SessionJob(const std::wstring& ticket, DriverBag bag = SessionDriverBag())
        : job_(SessionPrinter(std::move(bag))), token_(SimulatedMachine::TokenFor(kUser))
    {
        job_.SetHandle(L"UserSecurityToken", token_);
        proxy_ = std::make_unique<PipelinePropertyBagProxy>(job_.BagInterface());
        proxy_->SetProperty(XPS_FP_NUMBERPAGES, std::wstring(L"2"));
        attributes_ = std::make_unique<PrinterAttributeSettings>(*proxy_);
        properties_ = std::make_unique<PrinterDriverProperties>(*proxy_, *attributes_);
        ComPtr<IXMLDOMDocument2> document;
        EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&document)), S_OK);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        EXPECT_EQ(document->loadXML(testsupport::Bstr(ticket), &loaded), S_OK);
        settings_ = PTSettings(properties_.get());
        settings_.LoadPrintTicket(document.Get());
        settings_.DetachDriverProperties();
    }
    ~SessionJob() { CloseHandle(token_); }

    PipelinePropertyBagProxy& Proxy() { return *proxy_; }
    PrinterDriverProperties& Properties() { return *properties_; }
    PTSettings& Settings() { return settings_; }
    HANDLE Token() const { return token_; }

private:
    testsupport::JobContext job_;
    HANDLE token_;
    std::unique_ptr<PipelinePropertyBagProxy> proxy_;
    std::unique_ptr<PrinterAttributeSettings> attributes_;
    std::unique_ptr<PrinterDriverProperties> properties_;
    PTSettings settings_;
};

// The settings-changed flag of a ticket that does not carry it; any other value was applied.
constexpr std::int32_t kNotCarried = -1;

const std::wstring kPreviewOn = Option(L"ns0000:JobPrintPreview", L"ON");

class PreviewSession : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        testsupport::TestMachine::Get();
        SimulatedMachine::Replace({L"", {{kUser}}, {}, {}, {}});
        testsupport::InstallPreviewApplication(QX_PREVIEWAPP_PATH);
        report_ = testsupport::TestMachine::Get().Root() / "preview-report.json";
        fs::remove(report_);
        for (const char* name : {"QXPREVIEW_MODE", "QXPREVIEW_EXIT_CODE", "QXPREVIEW_INPUT_BIN", "QXPREVIEW_ROTATION",
                                 "QXPREVIEW_OUTPUT_COLOR", "QXPREVIEW_SCALING_MODE", "QXPREVIEW_SCALING_PERCENTAGE",
                                 "QXPREVIEW_FIT_WIDTH", "QXPREVIEW_FIT_HEIGHT", "QXPREVIEW_FIT_OPTION"}) {
            ::unsetenv(name);
        }
        ::setenv("QXPREVIEW_REPORT", report_.c_str(), 1);
        ::setenv("QXPREVIEW_TIMEOUT_MS", "20000", 1);
    }
    void TearDown() override
    {
        PrintPreviewManager::ReleaseInstance();
        EXPECT_TRUE(fs::is_empty(UserTempFolder())) << "a session leaves nothing in the user's temporary folder";
        ::unsetenv("QXPREVIEW_REPORT");
        CoUninitialize();
    }

    static void Mode(const char* mode) { ::setenv("QXPREVIEW_MODE", mode, 1); }

    // The session with the job's file written from its bytes first, as a pass-through job does.
    bool Run(SessionJob& job, const std::string& jobBytes = "job bytes")
    {
        PrintPreviewManager& manager = PrintPreviewManager::GetInstance();
        auto input = pipelinehost::ReadStream::FromBytes(std::vector<BYTE>(jobBytes.begin(), jobBytes.end()));
        EXPECT_TRUE(manager.CreatePrnTempFile(input.Get(), job.Token()));
        prnFile_ = manager.PrnFilePath();
        return manager.StartPrintPreview(job.Settings(), job.Proxy());
    }

    nlohmann::json Report() const
    {
        std::ifstream in(report_);
        return in ? nlohmann::json::parse(in) : nlohmann::json();
    }

    fs::path report_;
    std::wstring prnFile_;
};

// ---- verdicts and the user's changes

TEST_F(PreviewSession, AnAcceptedPreviewPrintsWithTheSettingsUnchanged)
{
    Mode("accept");
    SessionJob job(Ticket(kPreviewOn + Option(L"psk:JobInputBin", L"Roll2")));
    const LogTail log;
    EXPECT_TRUE(Run(job));
    EXPECT_EQ(job.Settings().GetInputBin(), EInputBin::Roll2);
    EXPECT_EQ(job.Settings().GetSettingsChangedInPrintPreview(), 0);

    for (const wchar_t* line : {L"ComLibManager created 0x", L"Print Preview file attribute = 32",
                                L"Register callbacks", L"Set Print Preview Data", L"Driver version: 3.0.7.1",
                                L"PrintPreview 2.0 launched correctly", L"Print Preview result: ok"}) {
        EXPECT_TRUE(log.WaitFor(line)) << fs::path(line).string();
    }
    const nlohmann::json report = Report();
    ASSERT_TRUE(report.is_object());
    EXPECT_EQ(report["version"], "61.2405.0.0");
    EXPECT_EQ(report["mode"], "accept");
    EXPECT_EQ(report["data"]["pdlId"], 0);
    EXPECT_EQ(report["data"]["rollWidth"], kMaxWidth) << "no auto-rotate option: the printer's width";
    EXPECT_EQ(report["data"]["prnFilePath"], fs::path(prnFile_).string());
    EXPECT_EQ(report["softwareUrl"], "https://example.com/qx/software");
    EXPECT_EQ(report["paperSources"].size(), 1u);
    const std::string input = report["inputPipe"];
    const std::string output = report["outputPipe"];
    EXPECT_EQ(input.size(), 35u);
    EXPECT_EQ(input.substr(32), "_IN");
    EXPECT_EQ(output.substr(32), "_OUT");
    EXPECT_NE(input.substr(0, 32), output.substr(0, 32));
    EXPECT_NE(prnFile_.find(L"\\AppData\\Local\\Temp\\QX_"), std::wstring::npos);
}

struct ScalingCase {
    const char* scalingMode;
    std::uint32_t percentage;
    std::uint32_t paperWidth;
    std::uint32_t mode;
};

class ChangedScaling : public PreviewSession, public testing::WithParamInterface<ScalingCase> {};

TEST_P(ChangedScaling, TheUsersChoicesAreWrittenIntoTheSettings)
{
    const ScalingCase& expected = GetParam();
    Mode("change");
    ::setenv("QXPREVIEW_INPUT_BIN", "2", 1);
    ::setenv("QXPREVIEW_ROTATION", "1", 1);
    ::setenv("QXPREVIEW_OUTPUT_COLOR", "1", 1);
    ::setenv("QXPREVIEW_SCALING_MODE", expected.scalingMode, 1);
    ::setenv("QXPREVIEW_SCALING_PERCENTAGE", "60", 1);
    ::setenv("QXPREVIEW_FIT_WIDTH", "420000", 1);
    ::setenv("QXPREVIEW_FIT_HEIGHT", "594000", 1);
    ::setenv("QXPREVIEW_FIT_OPTION", "7", 1);
    SessionJob job(Ticket(kPreviewOn));
    EXPECT_TRUE(Run(job));

    PTSettings& settings = job.Settings();
    EXPECT_EQ(settings.GetInputBin(), EInputBin::Tray);
    EXPECT_EQ(static_cast<int>(settings.GetRotation()), 1);
    EXPECT_EQ(settings.GetOutputColor(), EOutputColor::Grayscale);
    EXPECT_EQ(settings.GetSettingsChangedInPrintPreview(), 1);
    const Scaling scaling = settings.GetScaling();
    EXPECT_EQ(scaling.mode, expected.mode);
    EXPECT_EQ(scaling.percentage, expected.percentage);
    EXPECT_EQ(scaling.paperWidth, expected.paperWidth);
    EXPECT_EQ(scaling.paperHeight, expected.paperWidth == 0 ? 0u : 594000u);
    EXPECT_EQ(static_cast<int>(scaling.paperSize), expected.paperWidth == 0 ? 0 : 7);
}

INSTANTIATE_TEST_SUITE_P(Modes, ChangedScaling,
                         testing::Values(ScalingCase{"1", 60, 0, 1}, ScalingCase{"2", 0, 420000, 2},
                                         ScalingCase{"3", 0, 420000, 3}, ScalingCase{"0", 100, 0, 1}));

struct EndCase {
    const char* mode;
    bool prints;
    const wchar_t* verdict;
};

class SessionEnd : public PreviewSession, public testing::WithParamInterface<EndCase> {};

// However the application ends without a result, or with one the encoding library refuses, nothing
// of it reaches the settings and the job file is gone; only an exit code of 1 cancels the job.
TEST_P(SessionEnd, WithoutAResultTheSettingsStayAsTheTicketSaid)
{
    Mode(GetParam().mode);
    ::setenv("QXPREVIEW_EXIT_CODE", "2", 1);
    SessionJob job(Ticket(kPreviewOn + Option(L"psk:JobInputBin", L"Roll2")));
    const LogTail log;
    EXPECT_EQ(Run(job), GetParam().prints);
    EXPECT_TRUE(log.WaitFor(std::wstring(L"Print Preview result: ") + GetParam().verdict));
    EXPECT_EQ(job.Settings().GetInputBin(), EInputBin::Roll2);
    EXPECT_EQ(job.Settings().GetSettingsChangedInPrintPreview(), kNotCarried);
    EXPECT_FALSE(fs::exists(Host(prnFile_)));
}

INSTANTIATE_TEST_SUITE_P(Verdicts, SessionEnd,
                         testing::Values(EndCase{"cancel", false, L"cancel"}, EndCase{"exit", true, L"cancel"},
                                         EndCase{"crash", true, L"cancel"}, EndCase{"silent", true, L"ok"},
                                         EndCase{"garbage", true, L"ok"}),
                         [](const testing::TestParamInfo<EndCase>& info) { return std::string(info.param.mode); });

// ---- when no application is shown

TEST_F(PreviewSession, WithoutThePreviewOptionNothingIsLaunchedAndTheJobPrints)
{
    SessionJob job(Ticket(Option(L"psk:JobInputBin", L"Roll2")));
    const LogTail log;
    EXPECT_TRUE(Run(job));
    const std::string logged = log.Settled();
    EXPECT_EQ(logged.find("Register callbacks"), std::string::npos);
    EXPECT_EQ(logged.find("launched"), std::string::npos);
    EXPECT_FALSE(fs::exists(report_));
    EXPECT_EQ(job.Settings().GetInputBin(), EInputBin::Roll2);
}

TEST_F(PreviewSession, AMissingInstallationCountsAsInstalledAndTheFailedLaunchPrints)
{
    SimulatedMachine::DeleteRegistryKey(RegistryHive::LocalMachine(), PrintPreviewManager::kRegistryKey);
    SessionJob job(Ticket(kPreviewOn));
    const LogTail log;
    EXPECT_TRUE(Run(job));
    EXPECT_TRUE(log.WaitFor(L"Error 2 opening registry key SOFTWARE\\QX\\QX Print Preview2"));
    EXPECT_TRUE(log.WaitFor(L"Print Preview file attribute = 4294967295"));
    EXPECT_TRUE(log.WaitFor(L"Error to CreateProcessAsUser"));
    EXPECT_TRUE(log.WaitFor(L"Cannot launch PrintPreview 2.0"));
    EXPECT_TRUE(log.WaitFor(L"Print Preview result: ok"));
    EXPECT_EQ(job.Settings().GetSettingsChangedInPrintPreview(), kNotCarried) << "nothing is applied";
}

TEST_F(PreviewSession, AMissingValueNamesItInTheLog)
{
    SimulatedMachine::DeleteRegistryKey(RegistryHive::LocalMachine(), PrintPreviewManager::kRegistryKey);
    SimulatedMachine::SetRegistryValue(RegistryHive::LocalMachine(), PrintPreviewManager::kRegistryKey, L"PPExecPath",
                                       RegistryData::String(testsupport::kPreviewFolder));
    const LogTail log;
    EXPECT_EQ(PrintPreviewManager::GetPrintPreviewInstallationPath(), L"");
    EXPECT_TRUE(log.WaitFor(L"Error 2 query registry key PPExecFile"));
}

// ---- what the application is given

TEST_F(PreviewSession, APdfPrintersPrintableFileReplacesTheJobFileAndIsDeletedToo)
{
    Mode("accept");
    DriverBag bag = SessionDriverBag();
    bag[L"PDL"] = std::wstring(L"PDF");
    SessionJob job(Ticket(kPreviewOn), bag);
    const std::wstring printable = L"C:\\Users\\ana\\AppData\\Local\\Temp\\printable.pdf";
    std::ofstream(Host(printable)) << "%PDF-1.7";
    job.Proxy().SetProperty(XPS_FP_PRNFILEPATH, printable);
    EXPECT_TRUE(Run(job));
    EXPECT_EQ(Report()["data"]["pdlId"], 2);
    EXPECT_EQ(Report()["data"]["prnFilePath"], fs::path(printable).string());
    EXPECT_FALSE(fs::exists(Host(printable)));
}

TEST_F(PreviewSession, APrinterWithoutBidiInformationIsNotAskedForPaperSources)
{
    Mode("accept");
    DriverBag bag = SessionDriverBag();
    bag[L"BidiInformation"] = false;
    SessionJob job(Ticket(kPreviewOn), bag);
    EXPECT_TRUE(Run(job));
    EXPECT_EQ(SimulatedMachine::PaperSourceQueries(kPrinterName), 0u);
    EXPECT_TRUE(Report()["paperSources"].empty());
}

TEST_F(PreviewSession, TheRollWidthFollowsTheAutoRotateOptionOrThePrintersWidth)
{
    const std::pair<std::wstring, std::int32_t> rows[] = {
        {L"", kMaxWidth},           {L"None", kMaxWidth},       {L"Printer", kMaxWidth},
        {L"_17inches", 431800},     {L"_44inches", 1117600},    {L"_60inches", 1524000},
        {L"AUTOROTATEA0", 840740}, {L"AUTOROTATEJISB1", 728980},
    };
    for (const auto& [option, width] : rows) {
        SessionJob job(Ticket(option.empty() ? L"" : Option(L"ns0000:PageAutorotate", option)));
        EXPECT_EQ(PrintPreviewManager::GetAutorotateRollWidth(job.Properties(), job.Settings()), width)
            << fs::path(option).string();
    }
}

// ---- the job file

TEST_F(PreviewSession, TheJobFileHoldsTheStreamWhateverItsLength)
{
    SessionJob job(Ticket(L""));
    for (const std::size_t size : {std::size_t{0}, std::size_t{4096}, std::size_t{10000}}) {
        PrintPreviewManager manager;
        const std::string bytes(size, 'x');
        auto input = pipelinehost::ReadStream::FromBytes(std::vector<BYTE>(bytes.begin(), bytes.end()));
        ASSERT_TRUE(manager.CreatePrnTempFile(input.Get(), job.Token()));
        const fs::path file = Host(manager.PrnFilePath());
        EXPECT_EQ(fs::file_size(file), size);
        EXPECT_EQ(GetFileAttributesW(manager.PrnFilePath().c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    }
}

TEST_F(PreviewSession, ThePackageCopyIsReadOnlyAndStillRemoved)
{
    SessionJob job(Ticket(L""));
    testsupport::XpsJobPlan plan;
    ComPtr<IXpsOMObjectFactory> factory;
    ASSERT_EQ(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
              S_OK);
    ComPtr<IXpsOMPackage> package;
    ASSERT_EQ(factory->CreatePackageFromStream(testsupport::MemoryStream(testsupport::BuildXps(plan)).Get(), TRUE,
                                               &package),
              S_OK);
    std::wstring path;
    {
        PrintPreviewManager manager;
        ASSERT_TRUE(manager.CreatePrnTempFile(package.Get(), job.Token()));
        path = manager.PrnFilePath();
        EXPECT_NE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    }
    EXPECT_FALSE(fs::exists(Host(path))) << "the manager removes the file it made";
}

// ---- names and texts

// Records written by helpers name the session step they work for, and the line of their own call.
TEST_F(PreviewSession, RecordsNameTheSessionStepTheyWereWrittenFor)
{
    const auto from = [](const LogTail& log, const std::string& message) {
        std::set<std::string> functions;
        for (const std::string& site : log.SitesOf(message)) {
            functions.insert(site.substr(0, site.rfind(':')));
        }
        return functions;
    };
    SessionJob job(Ticket(kPreviewOn));
    PrintPreviewManager manager;
    auto unreadable = pipelinehost::ReadStream::FromBytes(std::vector<BYTE>(10, 'x'));
    unreadable->FailReadsWith(pipelinehost::kReadFault);
    const LogTail failedCopy;
    EXPECT_FALSE(manager.CreatePrnTempFile(unreadable.Get(), job.Token()));
    EXPECT_EQ(from(failedCopy, "Prn not processed"),
              std::set<std::string>{"printpreviewmanager:PrintPreviewManager::CreatePrnTempFile"});
    const std::vector<std::string> failures = failedCopy.SitesOf("Exception thrown because of failed hresult");
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].rfind("prnfilewriter:PrnFileWriter::TempFileProcessing:", 0), 0u) << failures[0];
}

TEST(PreviewTexts, TheDriverVersionLeavesOutLeadingZeroWords)
{
    EXPECT_EQ(DriverVersionText(0x0003000000070001ULL), L"3.0.7.1");
    EXPECT_EQ(DriverVersionText(0x0000000500000002ULL), L"5.0.2");
    EXPECT_EQ(DriverVersionText(0x0001000000000000ULL), L"1.0.0.0");
    EXPECT_EQ(DriverVersionText(0), L"");
    EXPECT_EQ(GetDriverVersion(L"No Such Printer"), L"");
}

TEST(PreviewTexts, PipeNamesAre32DistinctCharactersAndTheArgumentsFollowTheApplicationsForm)
{
    const std::wstring first = PrintPreviewManager::MakeRandomName();
    const std::wstring second = PrintPreviewManager::MakeRandomName();
    EXPECT_EQ(first.size(), 32u);
    EXPECT_EQ(std::set<wchar_t>(first.begin(), first.end()).size(), 32u);
    EXPECT_EQ(first.find_first_not_of(L"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"),
              std::wstring::npos);
    EXPECT_NE(first, second);
    EXPECT_EQ(PrintPreviewManager::PreviewArguments(L"61.2405.0.0", L"a_IN", L"b_OUT"),
              L"--Version=61.2405.0.0 --Input=a_IN --Output=b_OUT");
}

}  // namespace
