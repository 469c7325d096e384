// The job's context and the driver's declared properties: the pipeline property bag proxy, the
// driver property bag sources (version 4 and legacy file), the spooler's records and the decoded
// driver properties.
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include <platform/comobject.h>
#include <platform/machine.h>
#include <platform/simulatedmachine.h>
#include <platform/text.h>
#include <winspool.h>
#include <wrl/client.h>

#include "driverutils.h"
#include "hrerror.h"
#include "jobattributesettings.h"
#include "legacydriverpropertybag.h"
#include "mesawidthquery.h"
#include "pipelinehost/pipelinecontrol.h"
#include "pipelinehost/propertybag.h"
#include "pipelinepropertybagproxy.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "jobcontext.h"
#include "testmachine.h"

using Microsoft::WRL::ComPtr;
using platform::DriverPropertyValue;
using platform::PrinterDescription;
using platform::SimulatedMachine;
using testsupport::JobContext;
using testsupport::LogTail;
namespace fs = std::filesystem;

namespace {

const wchar_t kLegacyFile[] = L"C:\\Windows\\System32\\spool\\drivers\\x64\\3\\qxtest.ldpb";

HRESULT ThrownBy(const std::function<void()>& action)
{
    try {
        action();
    } catch (const hr_error& error) {
        return error.hr;
    }
    return S_OK;
}

void WriteMachineFile(const std::wstring& windowsPath, const std::string& content)
{
    const fs::path path = *platform::HostPathOf(windowsPath);
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::map<std::wstring, DriverPropertyValue> CompleteBag()
{
    return {
        {L"Platform", std::wstring(L"Quarry")},
        {L"PDL", std::wstring(L"KESTREL")},
        {L"ManualMarginInMicrons", LONG{5000}},
        {L"TrayMarginInMicrons", LONG{3000}},
        {L"MaxPrinterWidthInMicrons", LONG{914400}},
        {L"EncryptedPinSupported", std::wstring(L"On")},
        {L"ConnectivityProtocolsSupported", std::wstring(L"KORU")},
        {L"FamilyPaperType", std::wstring(L"\"PMCategory\": \"Plain\"")},
        {L"DriverVersion", std::wstring(L"3.0.7.1")},
        {L"SoftwareUrl", std::wstring(L"https://example.com/driver")},
        {L"IsArssSupported", true},
        {L"CanDoCopies", true},
        {L"BidiInformation", false},
    };
}

PrinterDescription VersionFourPrinter(std::map<std::wstring, DriverPropertyValue> bag = CompleteBag())
{
    PrinterDescription printer;
    printer.name = L"QX Test V4";
    printer.port = L"USB001";
    printer.driverName = L"QX LFP Class Driver";
    printer.driverPropertyBag = std::move(bag);
    return printer;
}

PrinterDescription LegacyPrinter(std::vector<std::wstring> dependentFiles)
{
    PrinterDescription printer;
    printer.name = L"QX Test Legacy";
    printer.port = L"IP_10.0.0.7";
    printer.driverName = L"QX LFP Legacy XPS";
    printer.driverModelVersion = 3;
    printer.dependentFiles = std::move(dependentFiles);
    return printer;
}

// The driver properties a job on the printer decodes.
struct Decoded {
    explicit Decoded(const PrinterDescription& printer) : job(printer) {}

    JobContext job;
    PipelinePropertyBagProxy proxy{job.BagInterface()};
    PrinterAttributeSettings attributes{proxy};
    PrinterDriverProperties properties{proxy, attributes};
};

// ---- the pipeline property bag proxy

TEST(PipelinePropertyBagProxy, PublishesValuesAndReplacesThemWithSetProperty)
{
    JobContext job(VersionFourPrinter());
    PipelinePropertyBagProxy proxy(job.BagInterface());
    proxy.AddProperty(L"XPS_FP_INPUTBIN", 3);
    proxy.SetProperty(L"XPS_FP_INPUTBIN", 5);
    proxy.SetProperty(L"XPS_FP_NUMBERPAGES", std::wstring(L"12"));
    proxy.AddProperty(L"XPS_FP_PIN", std::string("caf\xe9 \x80"));  // the thread's ANSI code page

    std::int32_t number = 0;
    EXPECT_TRUE(proxy.GetProperty(L"XPS_FP_INPUTBIN", number));
    EXPECT_EQ(number, 5);
    std::wstring text;
    EXPECT_TRUE(proxy.GetProperty(L"XPS_FP_PIN", text));
    EXPECT_EQ(text, L"caf\u00e9 \u20ac");
    EXPECT_EQ(proxy.GetStringProperty(L"XPS_FP_NUMBERPAGES"), L"12");
    std::string narrow;
    EXPECT_TRUE(proxy.GetProperty(L"XPS_FP_PIN", narrow));
    EXPECT_EQ(narrow, "caf\xc3\xa9 \xe2\x82\xac") << "read back as UTF-8";
}

TEST(PipelinePropertyBagProxy, AbsentValuesReadAsTheirDefaults)
{
    JobContext job(VersionFourPrinter());
    PipelinePropertyBagProxy proxy(job.BagInterface());
    std::wstring text = L"kept";
    std::int32_t number = 42;
    std::string narrow = "replaced";
    EXPECT_FALSE(proxy.GetProperty(L"XPS_FP_PRNFILEPATH", text));
    EXPECT_EQ(text, L"kept");
    EXPECT_FALSE(proxy.GetProperty(L"XPS_FP_ROTATION", number));
    EXPECT_EQ(number, 42);
    EXPECT_TRUE(proxy.GetProperty(L"XPS_FP_PRNFILEPATH", narrow));
    EXPECT_EQ(narrow, "");
    EXPECT_EQ(proxy.GetStringProperty(L"XPS_FP_NUMBERPAGES"), L"");
}

TEST(PipelinePropertyBagProxy, ANarrowReadOfTextThatIsNotUnicodeFails)
{
    JobContext job(VersionFourPrinter());
    job.Bag().Set(L"XPS_FP_PIN", std::wstring(1, static_cast<wchar_t>(0xD800)));
    PipelinePropertyBagProxy proxy(job.BagInterface());
    std::string narrow;
    EXPECT_THROW(proxy.GetProperty(L"XPS_FP_PIN", narrow), std::range_error);
}

// A bag that refuses every new value, as a pipeline short of memory would.
class RefusingBag : public platform::ComObject<RefusingBag, IPrintPipelinePropertyBag> {
public:
    explicit RefusingBag(ComPtr<IPrintPipelinePropertyBag> inner) : inner_(std::move(inner)) {}
    HRESULT AddProperty(const wchar_t*, const VARIANT*) override { return E_OUTOFMEMORY; }
    HRESULT GetProperty(const wchar_t* name, VARIANT* value) override { return inner_->GetProperty(name, value); }
    BOOL DeleteProperty(const wchar_t* name) override { return inner_->DeleteProperty(name); }

private:
    ComPtr<IPrintPipelinePropertyBag> inner_;
};

TEST(PipelinePropertyBagProxy, ARefusedValueIsLoggedWithItsNameAndValue)
{
    JobContext job(VersionFourPrinter());
    ComPtr<IPrintPipelinePropertyBag> refusing;
    refusing.Attach(new RefusingBag(job.BagInterface()));
    PipelinePropertyBagProxy proxy(refusing);
    const LogTail log;
    EXPECT_NO_THROW(proxy.AddProperty(L"XPS_FP_PIN", std::wstring(L"1234")));
    EXPECT_NO_THROW(proxy.SetProperty(L"XPS_FP_ROTATION", -1));
    EXPECT_TRUE(log.WaitFor(L"[ERR] [pipelinepropertybagproxy:PipelinePropertyBagProxy::AddProperty:"));
    EXPECT_TRUE(log.WaitFor(L"Could not add XPS_FP_PIN key with value 1234"));
    EXPECT_TRUE(log.WaitFor(L"[ERR] [pipelinepropertybagproxy:PipelinePropertyBagProxy::SetProperty:"));
    EXPECT_TRUE(log.WaitFor(L"Could not add XPS_FP_ROTATION key with value -1 when SetProperty"));
}

TEST(PipelinePropertyBagProxy, MissingJobContextIsLoggedAndThrown)
{
    const struct {
        const wchar_t* property;
        const wchar_t* function;
        std::function<void(PipelinePropertyBagProxy&)> read;
    } rows[] = {
        {L"PrintJobId", L"PipelinePropertyBagProxy::GetJobID", [](PipelinePropertyBagProxy& p) { p.GetJobID(); }},
        {L"PrinterName", L"PipelinePropertyBagProxy::GetPrinterName", [](PipelinePropertyBagProxy& p) { p.GetPrinterName(); }},
        {L"PrinterHandle", L"PipelinePropertyBagProxy::GetPrinterHandle", [](PipelinePropertyBagProxy& p) { p.GetPrinterHandle(); }},
        {L"UserSecurityToken", L"PipelinePropertyBagProxy::GetUserToken", [](PipelinePropertyBagProxy& p) { p.GetUserToken(); }},
        {L"ProgressReport", L"PipelinePropertyBagProxy::GetPrintPipelineProgressReport",
         [](PipelinePropertyBagProxy& p) { p.GetPrintPipelineProgressReport(); }},
    };
    for (const auto& row : rows) {
        JobContext job(VersionFourPrinter());
        job.Bag().DeleteProperty(row.property);
        PipelinePropertyBagProxy proxy(job.BagInterface());
        const LogTail log;
        EXPECT_EQ(ThrownBy([&] { row.read(proxy); }), pipelinehost::kPropertyNotFound) << platform::ToUtf8(row.property);
        EXPECT_TRUE(log.WaitFor(std::wstring(L"[ERR] [pipelinepropertybagproxy:") + row.function + L":"));
        EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult -2147023728"));
        // A value of another VARIANT type is refused the same way, never read as the payload.
        if (std::wstring(row.property) == L"PrinterName") {
            job.Bag().Set(row.property, LONG{7});
        } else {
            job.Bag().Set(row.property, std::wstring(L"7"));
        }
        EXPECT_EQ(ThrownBy([&] { row.read(proxy); }), DISP_E_TYPEMISMATCH) << platform::ToUtf8(row.property);
        EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult -2147352571"));
    }
}

// ---- finding the job's driver property bag

TEST(DriverPropertyBagDiscovery, RefusesADriverBagThatIsNoPropertyBag)
{
    JobContext job(VersionFourPrinter());
    const auto notABag = pipelinehost::PipelineControl::Create();
    job.Bag().SetUnknown(L"DriverPropertyBag", notABag.Get());
    const LogTail log;
    EXPECT_EQ(ThrownBy([&] { PipelinePropertyBagProxy proxy(job.BagInterface()); }), E_NOINTERFACE);
    EXPECT_TRUE(log.WaitFor(L"[ERR] [pipelinepropertybagproxy:PipelinePropertyBagProxy::PipelinePropertyBagProxy:"));
}

TEST(DriverPropertyBagDiscovery, NeedsAPrinterHandleWithoutAVersionFourBag)
{
    JobContext job(LegacyPrinter({kLegacyFile}));
    job.Bag().DeleteProperty(L"PrinterHandle");
    EXPECT_EQ(ThrownBy([&] { PipelinePropertyBagProxy proxy(job.BagInterface()); }), pipelinehost::kPropertyNotFound);
}

TEST(DriverPropertyBagDiscovery, FindsTheLegacyFileOrGoesWithout)
{
    WriteMachineFile(kLegacyFile, "<Properties><Property Name=\"Platform\"><String>Mesa</String></Property></Properties>");
    const struct {
        const char* what;
        std::vector<std::wstring> dependentFiles;
        bool found;
        bool logsNotFound;
    } rows[] = {
        {"listed and present", {L"C:\\drivers\\qxui.dll", kLegacyFile, L"C:\\drivers\\other.ldpb"}, true, false},
        {"listed but missing", {L"C:\\drivers\\missing.ldpb"}, false, false},
        {"not listed", {L"C:\\drivers\\qxui.dll"}, false, true},
        {"no dependent files", {}, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        JobContext job(LegacyPrinter(row.dependentFiles));
        const LogTail log;
        PipelinePropertyBagProxy proxy(job.BagInterface());
        EXPECT_EQ(proxy.HasDriverPropertyBag(), row.found);
        EXPECT_EQ(log.Settled().find("V3 XPS: Legacy Driver Property Bag not found") != std::string::npos, row.logsNotFound);
        if (!row.found) {
            EXPECT_EQ(ThrownBy([&] { proxy.GetDriverPropertyBag(); }), E_FAIL);
            PrinterAttributeSettings attributes(proxy);
            EXPECT_TRUE(attributes.IsPdfDriver());
        }
    }
    std::wstring none;
    EXPECT_FALSE(DriverUtils::GetLDPBFile(nullptr, none));
}

// ---- the driver property bag lookups

TEST(DriverPropertyBagProxy, AVersionFourBagRequiresStringKeysAndLogsMissingNumbers)
{
    JobContext job(VersionFourPrinter());
    PipelinePropertyBagProxy proxy(job.BagInterface());
    IDriverPropertyBagProxy* bag = proxy.GetDriverPropertyBag();
    const LogTail log;
    std::wstring text = L"kept";
    EXPECT_EQ(ThrownBy([&] { bag->GetString(L"NoSuchText", text); }), E_INVALIDARG);
    EXPECT_EQ(text, L"kept");
    LONG number = 17;
    bag->GetInt(L"NoSuchNumber", &number);
    EXPECT_EQ(number, 17);
    BOOL flag = TRUE;
    bag->GetBool(L"NoSuchFlag", &flag);
    EXPECT_EQ(flag, TRUE);
    EXPECT_TRUE(log.WaitFor(L"[WAR] [driverpropertybagproxy:DriverPropertyBagProxy::GetString:"));
    EXPECT_TRUE(log.WaitFor(L"Key not found NoSuchText"));
    EXPECT_TRUE(log.WaitFor(L"[ERR] [driverpropertybagproxy:DriverPropertyBagProxy::GetInt:"));
    EXPECT_TRUE(log.WaitFor(L"[ERR] [driverpropertybagproxy:DriverPropertyBagProxy::GetBool:"));

    const LogTail quiet;
    bag->GetString(nullptr, text);
    bag->GetInt(nullptr, &number);
    EXPECT_EQ(quiet.Settled().find("Key not found"), std::string::npos) << "a null key is no lookup";
}

TEST(LegacyDriverPropertyBag, ReadsTheFileByItsRules)
{
    WriteMachineFile(kLegacyFile,
                     "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                     "<Properties>\r\n"
                     "  <Property Name=\"Yes\"><Bool>true</Bool></Property>\r\n"
                     "  <Property Name=\"Capital\"><Bool>True</Bool></Property>\r\n"
                     "  <Property Name=\"One\"><Bool>1</Bool></Property>\r\n"
                     "  <Property Name=\"Digits\"><Int32>42abc</Int32></Property>\r\n"
                     "  <Property Name=\"Letters\"><Int32>abc</Int32></Property>\r\n"
                     "  <Property Name=\"Negative\"><Int32> -7</Int32></Property>\r\n"
                     "  <Property Name=\"Huge\"><Int32>99999999999</Int32></Property>\r\n"
                     "  <Property Name=\"Twice\"><String>first</String></Property>\r\n"
                     "  <Property Name=\"Twice\"><String>second</String></Property>\r\n"
                     "  <Property Name=\"Twice\"><Int32>5</Int32></Property>\r\n"
                     "  <Other Name=\"Foreign\"><String>read too</String></Other>\r\n"
                     "  <Property Name=\"TextFirst\">loose<String>skipped</String></Property>\r\n"
                     "  <Property Name=\"Lines\"><String>a\r\nb &amp; c</String></Property>\r\n"
                     "  <Property Name=\"Gr\xC3\xBC\xC3\x9F" "e\"><String>\xE2\x82\xAC</String></Property>\r\n"
                     "</Properties>\r\n");
    LegacyDriverPropertyBag bag(kLegacyFile);
    const auto flag = [&](const wchar_t* key) {
        BOOL value = -1;
        EXPECT_EQ(bag.GetBool(key, &value), S_OK);
        return value;
    };
    const auto number = [&](const wchar_t* key) {
        LONG value = -1;
        EXPECT_EQ(bag.GetInt(key, &value), S_OK);
        return value;
    };
    const auto text = [&](const wchar_t* key) {
        const wchar_t* value = nullptr;
        EXPECT_EQ(bag.GetString(key, &value), S_OK);
        return std::wstring(value);
    };
    EXPECT_EQ(flag(L"Yes"), 1);
    EXPECT_EQ(flag(L"Capital"), 0);
    EXPECT_EQ(flag(L"One"), 0);
    EXPECT_EQ(number(L"Digits"), 42);
    EXPECT_EQ(number(L"Letters"), 0);
    EXPECT_EQ(number(L"Negative"), -7);
    EXPECT_EQ(number(L"Huge"), 2147483647);
    EXPECT_EQ(text(L"Twice"), L"first");
    EXPECT_EQ(number(L"Twice"), 5);
    EXPECT_EQ(text(L"Foreign"), L"read too");
    EXPECT_EQ(text(L"TextFirst"), L"");
    EXPECT_EQ(text(L"Lines"), L"a\nb & c");
    EXPECT_EQ(text(L"Gr\u00fc\u00dfe"), L"\u20ac");
    EXPECT_EQ(text(L"Undefined"), L"");
    EXPECT_EQ(number(L"Undefined"), 0);
    EXPECT_EQ(flag(L"Undefined"), 0);
}

TEST(LegacyDriverPropertyBag, BrokenFilesFailTheConstruction)
{
    WriteMachineFile(kLegacyFile, "<Properties><Property Name=\"x\"><String>open");
    EXPECT_THROW(LegacyDriverPropertyBag bag(kLegacyFile), std::exception);
    WriteMachineFile(kLegacyFile, "<Properties><Property Name=\"\xff\"><String>x</String></Property></Properties>");
    EXPECT_THROW(LegacyDriverPropertyBag bag(kLegacyFile), std::range_error);
    EXPECT_NO_THROW(LegacyDriverPropertyBag bag(L"C:\\nowhere\\missing.ldpb")) << "a file that cannot be opened is empty";
}

// ---- the decoded driver properties

TEST(PrinterDriverProperties, DecodesTheDeclaredTextsAndReadsNumbersAndFlags)
{
    const struct {
        const wchar_t* platform;
        const wchar_t* pdl;
        const wchar_t* encryptedPin;
        const wchar_t* protocols;
        EPlatform expectedPlatform;
        EPdl expectedPdl;
        bool expectedPin;
        std::int32_t expectedKoruOnly;
    } rows[] = {
        {L"Quarry", L"PS3", L"oKAV", L"KORU", Quarry, PS3, true, 1},
        {L"mesa", L"KESTREL", L"On", L"oKAV,KORU", OtherPlatform, KESTREL, true, 0},
        {L"Other", L"PDF", L"on", L"", OtherPlatform, OtherPdl, false, 0},
        {L"", L"ps3", L"", L"USB KORU", OtherPlatform, OtherPdl, false, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(platform::ToUtf8(row.platform) + " " + platform::ToUtf8(row.pdl));
        auto bag = CompleteBag();
        bag[L"Platform"] = std::wstring(row.platform);
        bag[L"PDL"] = std::wstring(row.pdl);
        bag[L"EncryptedPinSupported"] = std::wstring(row.encryptedPin);
        bag[L"ConnectivityProtocolsSupported"] = std::wstring(row.protocols);
        Decoded driver(VersionFourPrinter(bag));
        EXPECT_EQ(driver.properties.GetPlatform(), row.expectedPlatform);
        EXPECT_EQ(driver.properties.GetPDL(), row.expectedPdl);
        EXPECT_EQ(driver.properties.IsEncryptedPinSupported(), row.expectedPin);
        EXPECT_EQ(driver.properties.IsKoruOnly(), row.expectedKoruOnly);
        EXPECT_EQ(driver.properties.GetMaxPrinterWidthInMicrons(), 914400) << "lower-case mesa asks the printer nothing";
    }

    Decoded driver(VersionFourPrinter());
    EXPECT_EQ(driver.properties.GetManualMarginInMicrons(), 5000);
    EXPECT_EQ(driver.properties.GetTrayMarginInMicrons(), 3000);
    EXPECT_TRUE(driver.properties.IsArssSupported());
    EXPECT_TRUE(driver.properties.CanDoCopies());
    EXPECT_FALSE(driver.properties.HasBidiInformation());
    EXPECT_FALSE(driver.properties.CanDoCollate()) << "an absent flag reads false";
    std::wstring version;
    driver.properties.GetDriverVersionProperty(version);
    EXPECT_EQ(version, L"3.0.7.1");
    std::wstring familyPaperType;
    std::wstring category;
    driver.properties.GetFamilyPaperType(familyPaperType);
    ExtractQuotedValue(familyPaperType, L"PMCategory", category);
    EXPECT_EQ(category, L"Plain");
}

TEST(PrinterDriverProperties, AVersionFourBagWithoutAMandatoryTextFailsTheConstruction)
{
    auto bag = CompleteBag();
    bag.erase(L"PDL");
    JobContext job(VersionFourPrinter(bag));
    PipelinePropertyBagProxy proxy(job.BagInterface());
    PrinterAttributeSettings attributes(proxy);
    EXPECT_EQ(ThrownBy([&] { PrinterDriverProperties properties(proxy, attributes); }), E_INVALIDARG);
}

TEST(PrinterDriverProperties, AJobWithoutDriverBagIsAPdfDriversJob)
{
    Decoded driver(LegacyPrinter({}));
    EXPECT_EQ(driver.properties.GetPDL(), OtherPdl);
    EXPECT_EQ(driver.properties.GetMaxPrinterWidthInMicrons(), 0);
    EXPECT_EQ(ThrownBy([&] { driver.properties.CanDoCopies(); }), E_FAIL);
}

TEST(PrinterDriverProperties, ALegacyFileGivesDefaultsForWhatItLacks)
{
    WriteMachineFile(kLegacyFile, "<Properties><Property Name=\"CanDoCopies\"><Bool>true</Bool></Property>"
                                  "<Property Name=\"TrayMarginInMicrons\"><Int32>2500</Int32></Property></Properties>");
    Decoded driver(LegacyPrinter({kLegacyFile}));
    EXPECT_EQ(driver.properties.GetPlatform(), OtherPlatform);
    EXPECT_EQ(driver.properties.GetPDL(), OtherPdl);
    EXPECT_FALSE(driver.properties.IsEncryptedPinSupported());
    EXPECT_EQ(driver.properties.GetTrayMarginInMicrons(), 2500);
    EXPECT_TRUE(driver.properties.CanDoCopies());
    std::wstring url = L"kept";
    driver.properties.GetSoftwareUrl(url);
    EXPECT_EQ(url, L"");
}

TEST(PrinterDriverProperties, AMesaPrinterReportsItsOwnWidth)
{
    auto bag = CompleteBag();
    bag[L"Platform"] = std::wstring(L"Mesa");
    PrinterDescription printer = VersionFourPrinter(bag);
    printer.bidiValues[L"\\Printer.DeviceInfo:MachineWidth"] = {L"BIDI_STRING", L"QXMESA_1118x2000"};
    EXPECT_EQ(Decoded(printer).properties.GetMaxPrinterWidthInMicrons(), 1118000);
    printer.bidiReachable = false;
    EXPECT_EQ(Decoded(printer).properties.GetMaxPrinterWidthInMicrons(), 914400)
        << "a printer that cannot be asked keeps the driver's width";
}

TEST(MesaWidth, IsTheNumberBetweenTheLastUnderscoreAndTheLastX)
{
    const std::pair<const wchar_t*, std::optional<std::int32_t>> rows[] = {
        {L"QXMESA_1118x2000", 1118},      {L"A_B_610x1", 610},       {L"QXMESA1118x2000", std::nullopt},
        {L"QXMESA_11a8x2000", std::nullopt}, {L"x10_20", std::nullopt}, {L"QXMESA_x", std::nullopt},
        {L"_99999999999x", std::nullopt},
    };
    for (const auto& [text, width] : rows) {
        EXPECT_EQ(ParseMachineWidth(text), width) << platform::ToUtf8(text);
    }
}

TEST(ExtractQuotedValue, PicksTheQuotedValueAfterTheKey)
{
    const struct {
        const wchar_t* text;
        const wchar_t* key;
        const wchar_t* value;
    } rows[] = {
        {L"{\"RenderRes\": \"600\"}", L"RenderRes", L"600"},
        {L"PMCategory:\"\"", L"PMCategory", L""},
        {L"a:\"1\" PMCategory : \"Photo\"", L"PMCategory", L"Photo"},
        {L"RenderRes=600", L"RenderRes", L"unchanged"},
        {L"nothing here", L"RenderRes", L"unchanged"},
    };
    for (const auto& row : rows) {
        std::wstring value = L"unchanged";
        ExtractQuotedValue(row.text, row.key, value);
        EXPECT_EQ(value, row.value) << platform::ToUtf8(row.text);
    }
}

// ---- the spooler's printer and job records

TEST(SpoolerRecords, AStaleHandleFailsTheConstructionWithInvalidArg)
{
    JobContext job(VersionFourPrinter());
    PipelinePropertyBagProxy proxy(job.BagInterface());
    job.SetHandle(L"PrinterHandle", reinterpret_cast<HANDLE>(0x7FFF0));
    const LogTail log;
    EXPECT_EQ(ThrownBy([&] { PrinterAttributeSettings attributes(proxy); }), E_INVALIDARG);
    EXPECT_EQ(ThrownBy([&] { JobAttributeSettings attributes(proxy); }), E_INVALIDARG);
    EXPECT_TRUE(log.WaitFor(L"[ERR] [printerattributesettings:PrinterAttributeSettings::InitializeStructure:"));
    EXPECT_TRUE(log.WaitFor(L"[ERR] [jobattributesettings:JobAttributeSettings::InitializeStructure:"));
    EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult -2147024809"));
}

TEST(JobAttributeSettings, ReducesTheDocumentNameToItsLastComponent)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"C:\\Users\\ana\\Documents\\poster.pdf", L"poster.pdf"},
        {L"https://example.com/plans/site.dwg", L"site.dwg"},
        {L"plain name.xps", L"plain name.xps"},
        {L"C:\\web/exports\\a/b.png", L"b.png"},
        {L"C:\\folder\\", L"folder"},
        {L"", L""},
    };
    for (const auto& [document, name] : rows) {
        JobContext job(VersionFourPrinter());
        SimulatedMachine::AddJob({7, L"QX Test V4", document, L"ana", 1});
        PipelinePropertyBagProxy proxy(job.BagInterface());
        EXPECT_EQ(JobAttributeSettings(proxy).GetDocumentName(), name) << platform::ToUtf8(document);
    }
}

}  // namespace
