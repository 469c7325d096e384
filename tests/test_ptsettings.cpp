// The job's settings: a whole ticket read into typed values on a simulated version-4 printer,
// what absence reads as, the setters, and the resolution that follows the driver's print modes.
#include <cstdint>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <msxml6.h>
#include <objbase.h>
#include <platform/simulatedmachine.h>
#include <platform/text.h>
#include <wrl/client.h>

#include "hrerror.h"
#include "jobcontext.h"
#include "pipelinepropertybagproxy.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "printmode.h"
#include "ptsettings.h"
#include "testbstr.h"
#include "testmachine.h"

using Microsoft::WRL::ComPtr;
using platform::DriverPropertyValue;
using testsupport::Bstr;
using testsupport::JobContext;
using testsupport::LogTail;

namespace {

using DriverBag = std::map<std::wstring, DriverPropertyValue>;

// Which print-mode category each medium prints in; AutoSelect's stands for every unlisted medium.
const std::wstring kFamilyPaperType =
    LR"([{"Media": "Plainpaper", "PMCategory": "Plain"}, {"Media": "PhotoGlossPaper", "PMCategory": "Photo"}, )"
    LR"({"Media": "AutoSelect", "PMCategory": "Auto"}])";

DriverBag RasterDriverBag()
{
    return {
        {L"Platform", std::wstring(L"Quarry")},
        {L"PDL", std::wstring(L"KESTREL")},
        {L"EncryptedPinSupported", std::wstring(L"On")},
        {L"ConnectivityProtocolsSupported", std::wstring(L"USB,KORU")},
        {L"ColorAdjustment", true},
        {L"FamilyPaperType", kFamilyPaperType},
        {L"Plain-33", std::wstring(LR"({"RenderRes": "600"})")},
        {L"Photo-98", std::wstring(LR"({"RenderRes": "1200"})")},
    };
}

// The driver's declared properties of a printer with the given bag, as a job sees them.
class Driver {
public:
    explicit Driver(DriverBag bag = RasterDriverBag())
        : job_(Printer(std::move(bag))), proxy_(job_.BagInterface()), attributes_(proxy_), properties_(proxy_, attributes_)
    {
    }

    PrinterDriverProperties* Properties() { return &properties_; }

private:
    static platform::PrinterDescription Printer(DriverBag bag)
    {
        platform::PrinterDescription printer;
        printer.name = L"QX Ticket Printer";
        printer.port = L"USB001";
        printer.driverName = L"QX LFP Class Driver";
        printer.driverPropertyBag = std::move(bag);
        return printer;
    }

    JobContext job_;
    PipelinePropertyBagProxy proxy_;
    PrinterAttributeSettings attributes_;
    PrinterDriverProperties properties_;
};

DriverBag With(DriverBag bag, const std::wstring& key, DriverPropertyValue value)
{
    bag[key] = std::move(value);
    return bag;
}

DriverBag Without(DriverBag bag, const std::wstring& key)
{
    bag.erase(key);
    return bag;
}

const std::wstring kTicketStart = LR"(<?xml version="1.0" encoding="UTF-8"?>
<psf:PrintTicket xmlns:psf="http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework"
    xmlns:psk="http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords"
    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema"
    xmlns:ns0000="http://schemas.qx.com/lfp/ptpc/2006/1" version="1">
)";
const std::wstring kTicketEnd = L"</psf:PrintTicket>\n";

// What every ticket the driver writes carries: a copy count and a page size.
const std::wstring kCopiesAndSize = LR"(
  <psf:ParameterInit name="psk:JobCopiesAllDocuments">
    <psf:Value xsi:type="xsd:integer">1</psf:Value>
  </psf:ParameterInit>
  <psf:Feature name="psk:PageMediaSize">
    <psf:Option name="psk:ISOA1">
      <psf:ScoredProperty name="psk:MediaSizeWidth"><psf:Value xsi:type="xsd:integer">594000</psf:Value></psf:ScoredProperty>
      <psf:ScoredProperty name="psk:MediaSizeHeight"><psf:Value xsi:type="xsd:integer">841000</psf:Value></psf:ScoredProperty>
    </psf:Option>
  </psf:Feature>
)";

std::wstring BareTicket(const std::wstring& body) { return kTicketStart + body + kTicketEnd; }
std::wstring Ticket(const std::wstring& body) { return BareTicket(kCopiesAndSize + body); }

// prefix:Feature with its option in the same namespace.
std::wstring Option(const std::wstring& feature, const std::wstring& option)
{
    const std::wstring prefix = feature.substr(0, feature.find(L':') + 1);
    return L"<psf:Feature name=\"" + feature + L"\"><psf:Option name=\"" + prefix + option + L"\"/></psf:Feature>\n";
}

std::wstring Parameter(const std::wstring& parameter, const std::wstring& value, const std::wstring& type = L"string")
{
    return L"<psf:ParameterInit name=\"" + parameter + L"\"><psf:Value xsi:type=\"xsd:" + type + L"\">" + value +
           L"</psf:Value></psf:ParameterInit>\n";
}

// A poster on a custom gloss medium, as the driver's configuration writes it: every feature the
// settings read, each with an option other than its default, and features they do not read.
const std::wstring kWholeTicket = LR"(<?xml version="1.0" encoding="UTF-8"?>
<psf:PrintTicket xmlns:psf="http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework"
    xmlns:psk="http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords"
    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema"
    xmlns:ns0000="http://schemas.qx.com/lfp/ptpc/2006/1" version="1">
  <psf:Feature name="psk:JobDuplexAllDocumentsContiguously"><psf:Option name="psk:OneSided"/></psf:Feature>
  <psf:ParameterInit name="psk:JobCopiesAllDocuments"><psf:Value xsi:type="xsd:integer">3</psf:Value></psf:ParameterInit>
  <psf:Feature name="psk:JobInputBin"><psf:Option name="psk:Roll2"/></psf:Feature>
  <psf:Feature name="ns0000:JobEconomode"><psf:Option name="ns0000:OFF"/></psf:Feature>
  <psf:Feature name="ns0000:JobUnidirectional"><psf:Option name="ns0000:OFF"/></psf:Feature>
  <psf:Feature name="ns0000:JobMaxDetail"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobMorePasses"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobMarginsLayout"><psf:Option name="ns0000:Oversize"/></psf:Feature>
  <psf:Feature name="ns0000:JobAlignment"><psf:Option name="ns0000:KeepRight"/></psf:Feature>
  <psf:Feature name="ns0000:JobPrinterEmulation"><psf:Option name="ns0000:QXColorwave3000"/></psf:Feature>
  <psf:Feature name="ns0000:JobEnableCropLines"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobEnableAutoCutter"><psf:Option name="ns0000:OFF"/></psf:Feature>
  <psf:Feature name="ns0000:JobEnableMultiPageCutter"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobEnableVerticalCutter"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobPageOrder"><psf:Option name="ns0000:Reverse"/></psf:Feature>
  <psf:Feature name="ns0000:JobOutputBin"><psf:Option name="ns0000:Stacker"/></psf:Feature>
  <psf:Feature name="ns0000:JobHoldForAttendedMode"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobPrintPreview"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobRemoveBlankAreas"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobStorage"><psf:Option name="ns0000:Personal"/></psf:Feature>
  <psf:Feature name="ns0000:JobDeleteJobStorageMesa"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobFolderStyle"><psf:Option name="ns0000:Predefined3"/></psf:Feature>
  <psf:Feature name="ns0000:JobUserMargin"><psf:Option name="ns0000:_3mm"/></psf:Feature>
  <psf:Feature name="ns0000:JobRotate"><psf:Option name="ns0000:Rotate90"/></psf:Feature>
  <psf:Feature name="ns0000:JobPrintQualitySettings"><psf:Option name="ns0000:Custom"/></psf:Feature>
  <psf:Feature name="ns0000:JobGlossEnhancer"><psf:Option name="ns0000:FullPage"/></psf:Feature>
  <psf:Feature name="ns0000:JobFastRenderingMode"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:JobSizePassTrough"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:ParameterInit name="ns0000:JobPin"><psf:Value xsi:type="xsd:string">2468</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="ns0000:JobAccountId"><psf:Value xsi:type="xsd:string">STUDIO-0815</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="ns0000:JobName"><psf:Value xsi:type="xsd:string">Spring campaign poster</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="ns0000:JobUserName"><psf:Value xsi:type="xsd:string">ana</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="psk:JobComment"><psf:Value xsi:type="xsd:string">Proof for Thursday</psf:Value></psf:ParameterInit>
  <psf:Feature name="psk:DocumentCollate"><psf:Option name="psk:Collated"/></psf:Feature>
  <psf:Feature name="psk:PageMediaSize">
    <psf:Option name="psk:ISOA1">
      <psf:ScoredProperty name="psk:MediaSizeWidth"><psf:Value xsi:type="xsd:integer">594000</psf:Value></psf:ScoredProperty>
      <psf:ScoredProperty name="psk:MediaSizeHeight"><psf:Value xsi:type="xsd:integer">841000</psf:Value></psf:ScoredProperty>
    </psf:Option>
  </psf:Feature>
  <psf:Feature name="psk:PageMediaType">
    <psf:Option name="psk:Plainpaper">
      <psf:ScoredProperty name="psk:Material"><psf:Value xsi:type="xsd:QName">psk:Paper</psf:Value></psf:ScoredProperty>
    </psf:Option>
  </psf:Feature>
  <psf:ParameterInit name="ns0000:PageMediaTypeId"><psf:Value xsi:type="xsd:string">GL190-Studio</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="ns0000:PageMediaTypeInit"><psf:Value xsi:type="xsd:string">Studio gloss 190</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="ns0000:PageMediaTypeDonorId"><psf:Value xsi:type="xsd:string">PhotoGlossPaper</psf:Value></psf:ParameterInit>
  <psf:Feature name="psk:PageOrientation"><psf:Option name="psk:Landscape"/></psf:Feature>
  <psf:Feature name="psk:PageOutputColor"><psf:Option name="psk:Grayscale"/></psf:Feature>
  <psf:Feature name="psk:PageOutputQuality"><psf:Option name="psk:High"/></psf:Feature>
  <psf:Feature name="psk:PageResolution"><psf:Option name="psk:_300dpi"/></psf:Feature>
  <psf:ParameterInit name="ns0000:PageRenderResolution"><psf:Value xsi:type="xsd:string">_1200dpi</psf:Value></psf:ParameterInit>
  <psf:Feature name="psk:PageColorManagement"><psf:Option name="psk:None"/></psf:Feature>
  <psf:Feature name="psk:PageICMRenderingIntent"><psf:Option name="psk:AbsoluteColorimetric"/></psf:Feature>
  <psf:Feature name="ns0000:PageRGBColorManagement"><psf:Option name="ns0000:AdobeRGB"/></psf:Feature>
  <psf:Feature name="ns0000:PageCMYKColorManagement"><psf:Option name="ns0000:TOYO"/></psf:Feature>
  <psf:Feature name="ns0000:PagePantoneEmulation"><psf:Option name="ns0000:ON"/></psf:Feature>
  <psf:Feature name="ns0000:PageAutorotate"><psf:Option name="ns0000:_36inches"/></psf:Feature>
  <psf:Feature name="psk:PageMirrorImage"><psf:Option name="psk:MirrorImageWidth"/></psf:Feature>
  <psf:Feature name="ns0000:PageScaling">
    <psf:Option name="ns0000:FitToPaperSize">
      <psf:ScoredProperty name="ns0000:PaperWidth"><psf:Value xsi:type="xsd:integer">420000</psf:Value></psf:ScoredProperty>
      <psf:ScoredProperty name="ns0000:PaperHeight"><psf:Value xsi:type="xsd:integer">594000</psf:Value></psf:ScoredProperty>
      <psf:ScoredProperty name="ns0000:PaperName"><psf:Value xsi:type="xsd:string">ISOA2</psf:Value></psf:ScoredProperty>
    </psf:Option>
  </psf:Feature>
  <psf:ParameterInit name="ns0000:PageColorAdjustmentLightness"><psf:Value xsi:type="xsd:integer">12</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="ns0000:PageColorAdjustmentRed"><psf:Value xsi:type="xsd:integer">-7</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="ns0000:PageColorAdjustmentGreen"><psf:Value xsi:type="xsd:integer">3</psf:Value></psf:ParameterInit>
  <psf:ParameterInit name="ns0000:PageColorAdjustmentBlue"><psf:Value xsi:type="xsd:integer">9</psf:Value></psf:ParameterInit>
  <psf:Feature name="psk:PageGrayScaleProcessing"><psf:Option name="psk:PureBlack"/></psf:Feature>
</psf:PrintTicket>
)";

HRESULT ThrownBy(const std::function<void()>& action)
{
    try {
        action();
    } catch (const hr_error& error) {
        return error.hr;
    }
    return S_OK;
}

// The records a tail saw, one per line.
std::vector<std::string> Records(const LogTail& tail)
{
    std::vector<std::string> records;
    const std::string text = tail.Settled();
    // What follows the last line break is the start of the sentinel record that ended the tail.
    std::istringstream lines(text.substr(0, text.rfind('\n') + 1));
    for (std::string line; std::getline(lines, line);) {
        records.push_back(line);
    }
    return records;
}

// Index of the first record logged at the site ("[WAR] [file:Class::Function:") with exactly the
// message; -1 when there is none.
int IndexOf(const std::vector<std::string>& records, const std::string& site, const std::string& message)
{
    const std::string tail = "] - " + message;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const std::string& record = records[i];
        if (record.find(site) != std::string::npos && record.size() >= tail.size() &&
            record.compare(record.size() - tail.size(), tail.size(), tail) == 0) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

const std::string kResolutionSite = "[WAR] [settings:Settings::LoadResolutionForPrintMode:";
const std::string kNotUpdating = "Resolution info not found in PB. Not updating";
const std::string kCategorySite = "[ERR] [printmode:PrintMode::GetTypeFamilyNameBasedOnPaperType:";
const std::string kNoCategory = "We haven't found a PM category for the media type. Default one will be selected";

class SettingsTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))); }
    void TearDown() override
    {
        documents_.clear();
        CoUninitialize();
    }

    // The ticket as a DOM that lives as long as the test.
    IXMLDOMDocument2* Document(const std::wstring& xml)
    {
        ComPtr<IXMLDOMDocument2> document;
        EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&document)), S_OK);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        EXPECT_EQ(document->loadXML(Bstr(xml), &loaded), S_OK);
        EXPECT_EQ(loaded, VARIANT_TRUE);
        documents_.push_back(document);
        return document.Get();
    }

    PTSettings Load(const std::wstring& xml, Driver& driver)
    {
        PTSettings settings(driver.Properties());
        settings.LoadPrintTicket(Document(xml));
        return settings;
    }

    HRESULT LoadFails(const std::wstring& xml, PTSettings& settings)
    {
        IXMLDOMDocument2* document = Document(xml);
        return ThrownBy([&] { settings.LoadPrintTicket(document); });
    }

private:
    std::vector<ComPtr<IXMLDOMDocument2>> documents_;
};

std::wstring Pin(const Settings& settings)
{
    wchar_t pin[Settings::kPinCharacters] = {};
    settings.GetPin(pin, Settings::kPinCharacters);
    return pin;
}

// ---- a whole ticket

TEST_F(SettingsTest, AWholeTicketLoadsIntoEveryField)
{
    Driver driver;
    PTSettings settings = Load(kWholeTicket, driver);

    EXPECT_EQ(settings.GetCopies(), 3u);
    EXPECT_TRUE(settings.HasMultipleCopies());
    EXPECT_EQ(settings.GetQuality(), EQuality::High);
    EXPECT_EQ(settings.GetInputBin(), EInputBin::Roll2);
    EXPECT_EQ(settings.GetMediaType(), EMediaType::Plainpaper);
    EXPECT_EQ(settings.GetMediaSize(), EMediaSize::ISOA1);
    EXPECT_EQ(settings.GetMediaSizeWidth(), 594000u);
    EXPECT_EQ(settings.GetMediaSizeHeight(), 841000u);
    EXPECT_EQ(settings.GetEconomode(), EOnOff::OFF);
    EXPECT_EQ(settings.GetMaxDetail(), EOnOff::ON);
    EXPECT_EQ(settings.GetMorePasses(), EOnOff::ON);
    EXPECT_EQ(settings.GetUnidirectional(), EOnOff::OFF);
    EXPECT_EQ(settings.GetMarginsLayout(), EMarginsLayout::Oversize);
    EXPECT_EQ(settings.GetAlignment(), EAlignment::KeepRight);
    EXPECT_EQ(settings.GetScalingMode(), Scaling::FitToPaper);
    const Scaling scaling = settings.GetScaling();
    EXPECT_EQ(scaling.percentage, 100u);
    EXPECT_EQ(scaling.paperWidth, 420000u);
    EXPECT_EQ(scaling.paperHeight, 594000u);
    EXPECT_EQ(scaling.paperSize, EMediaSize::ISOA2);
    EXPECT_EQ(settings.GetOutputColor(), EOutputColor::Grayscale);
    EXPECT_EQ(settings.GetEmulatedPrinter(), EEmulatedPrinter::QXColorwave3000);
    EXPECT_EQ(settings.GetRgbColorManagement(), ERgbColorManagement::AdobeRGB);
    EXPECT_EQ(settings.GetCmykColorManagement(), ECmykColorManagement::TOYO);
    EXPECT_EQ(settings.GetCropLines(), EOnOff::ON);
    EXPECT_EQ(settings.GetCutter(), ECutter::AutoCutterOff);
    EXPECT_EQ(settings.GetCollate(), ECollate::Collated);
    EXPECT_EQ(settings.GetPageOrder(), EReverse::Reverse);
    EXPECT_EQ(settings.GetMirror(), EMirror::MirrorImageWidth);
    EXPECT_EQ(settings.GetOutputBin(), EOutputBin::Stacker);
    EXPECT_EQ(settings.GetPantoneEmulation(), EOnOff::ON);
    EXPECT_EQ(settings.GetHoldForAttendedMode(), EOnOff::ON);
    EXPECT_EQ(settings.GetVerticalCutter(), EOnOff::ON);
    EXPECT_EQ(settings.GetPrintPreview(), EOnOff::ON);
    EXPECT_EQ(settings.GetRemoveBlankAreas(), EOnOff::ON);
    EXPECT_EQ(settings.GetPrivacyLevel(), EPrivacyLevel::Personal);
    EXPECT_EQ(settings.GetPrivacyLevelForPreview(), 2);
    EXPECT_EQ(settings.GetFolderStyle(), EFolderStyle::Predefined3);
    EXPECT_EQ(std::wstring(settings.GetMesaFolderStyle()), L"Predefined3");
    EXPECT_EQ(settings.GetUserMargin(), EUserMargin::_3mm);
    EXPECT_EQ(settings.GetOrientation(), EOrientation::Landscape);
    EXPECT_EQ(settings.GetRotation(), ERotate::Rotate90);
    EXPECT_EQ(settings.GetAutorotate(), EAutorotate::_36inches);
    EXPECT_EQ(settings.GetColorManagement(), EColorManagement::None);
    EXPECT_EQ(settings.GetPrintQualitySettings(), EPrintQualitySettings::Custom);
    EXPECT_EQ(settings.GetGlossEnhancer(), EGlossEnhancer::FullPage);
    EXPECT_EQ(settings.GetRenderingIntent(), ERenderingIntent::AbsoluteColorimetric);
    EXPECT_EQ(settings.GetFastRenderingMode(), EOnOff::ON);
    EXPECT_EQ(settings.GetSizePassThrough(), EOnOff::ON);
    EXPECT_EQ(settings.GetResolution(), 1200u) << "Photo-98 is a print mode of the driver";
    EXPECT_EQ(settings.GetSettingsChangedInPrintPreview(), -1);

    EXPECT_EQ(Pin(settings), L"2468");
    wchar_t accountId[Settings::kAccountIdCharacters] = {};
    settings.GetAccountId(accountId, Settings::kAccountIdCharacters);
    EXPECT_EQ(std::wstring(accountId), L"STUDIO-0815");
    wchar_t mediaName[Settings::kCustomMediaTypeNameCharacters] = {};
    settings.GetCustomMediaTypeName(mediaName, Settings::kCustomMediaTypeNameCharacters);
    EXPECT_EQ(std::wstring(mediaName), L"Studio gloss 190");
    EXPECT_TRUE(settings.HasCustomMediaTypeId());
    EXPECT_TRUE(settings.HasCustomMediaTypeName());
    EXPECT_TRUE(settings.HasColorAdjustments());
    EXPECT_EQ(settings.GetColorAdjustmentLightness(), 12u);
    EXPECT_EQ(static_cast<std::int32_t>(settings.GetColorAdjustmentRed()), -7);
    EXPECT_EQ(settings.GetColorAdjustmentGreen(), 3u);
    EXPECT_EQ(settings.GetColorAdjustmentBlue(), 9u);
}

TEST_F(SettingsTest, BothInterfacesReadTheSameSettings)
{
    Driver driver;
    PTSettings settings = Load(kWholeTicket, driver);
    Settings& base = settings;
    IPTSettings& view = settings;
    EXPECT_EQ(base.GetCopies(), 3u);
    EXPECT_EQ(view.GetCopies(), 3u);
    EXPECT_EQ(base.GetInputBin(), EInputBin::Roll2);
    EXPECT_EQ(view.GetInputBin(), EInputBin::Roll2);
    EXPECT_EQ(base.GetScalingMode(), view.GetScalingMode());
    EXPECT_EQ(base.GetSizePassThrough(), EOnOff::ON);
    EXPECT_EQ(view.GetRenderingIntent(), ERenderingIntent::AbsoluteColorimetric);
    view.SetRotation(ERotate::Rotate270);
    EXPECT_EQ(base.GetRotation(), ERotate::Rotate270);
}

// ---- copies

TEST_F(SettingsTest, ZeroCopiesEndTheLoadWithInvalidArgAndNoLogLine)
{
    Driver driver;
    PTSettings settings(driver.Properties());
    const std::wstring ticket = BareTicket(Parameter(L"psk:JobCopiesAllDocuments", L"0", L"integer"));
    IXMLDOMDocument2* document = Document(ticket);
    LogTail log;
    EXPECT_EQ(ThrownBy([&] { settings.LoadPrintTicket(document); }), E_INVALIDARG);
    EXPECT_EQ(log.Settled().find("[settings:"), std::string::npos);
}

TEST_F(SettingsTest, AbsentCopiesEndTheLoadWithTheQuerysEPointer)
{
    Driver driver;
    PTSettings settings(driver.Properties());
    LogTail log;
    EXPECT_EQ(LoadFails(BareTicket(Option(L"psk:JobInputBin", L"Roll1")), settings), E_POINTER);
    EXPECT_TRUE(log.WaitFor(L"No match found for the query psf:PrintTicket/psf:ParameterInit[substring-after(@name,':')="
                            L"'JobCopiesAllDocuments']"));
    EXPECT_EQ(settings.GetInputBin(), EInputBin::NotSpecified) << "nothing after the copies is read";
}

// ---- privacy level

struct PrivacyRow {
    const wchar_t* jobStorage;   // nullptr: no such feature
    const wchar_t* storageMesa;  // nullptr: no such feature
    std::int32_t privacyLevel;
    std::int32_t forPreview;  // on a printer that encrypts PINs
};

std::string Narrow(const wchar_t* text) { return text == nullptr ? "(absent)" : platform::ToUtf8(text); }

void PrintTo(const PrivacyRow& row, std::ostream* out)
{
    *out << "JobStorage " << Narrow(row.jobStorage) << ", JobStorageMesa " << Narrow(row.storageMesa);
}

class PrivacyLevel : public SettingsTest, public testing::WithParamInterface<PrivacyRow> {};

TEST_P(PrivacyLevel, FollowsJobStorageUnlessTheMesaStorageSaysOtherwise)
{
    const PrivacyRow& row = GetParam();
    std::wstring body;
    if (row.jobStorage != nullptr) {
        body += Option(L"ns0000:JobStorage", row.jobStorage);
    }
    if (row.storageMesa != nullptr) {
        body += Option(L"ns0000:JobStorageMesa", row.storageMesa);
    }
    Driver driver;
    PTSettings settings = Load(Ticket(body), driver);
    EXPECT_EQ(static_cast<std::int32_t>(settings.GetPrivacyLevel()), row.privacyLevel);
    EXPECT_EQ(settings.GetPrivacyLevelForPreview(), row.forPreview);
}

// The Mesa storage is read after the encrypted-PIN test, so on its own it never makes a job an
// encrypted-PIN job.
INSTANTIATE_TEST_SUITE_P(Storage, PrivacyLevel,
                         testing::Values(PrivacyRow{nullptr, nullptr, -1, -1}, PrivacyRow{nullptr, L"ON", 3, 3},
                                         PrivacyRow{nullptr, L"OFF", 0, 0}, PrivacyRow{L"Personal", nullptr, 2, 2},
                                         PrivacyRow{L"Pin", nullptr, 3, 4}, PrivacyRow{L"Pin", L"OFF", 0, 4},
                                         PrivacyRow{L"Delete", L"ON", 3, 3}));

struct EncryptedPinRow {
    const wchar_t* support;
    std::int32_t forPreview;
};

void PrintTo(const EncryptedPinRow& row, std::ostream* out) { *out << "EncryptedPinSupported \"" << Narrow(row.support) << '"'; }

class EncryptedPin : public SettingsTest, public testing::WithParamInterface<EncryptedPinRow> {};

TEST_P(EncryptedPin, APinJobIsShownAsEncryptedWhereThePrinterEncryptsPins)
{
    Driver driver(With(RasterDriverBag(), L"EncryptedPinSupported", std::wstring(GetParam().support)));
    PTSettings settings = Load(Ticket(Option(L"ns0000:JobStorage", L"Pin")), driver);
    EXPECT_EQ(settings.GetPrivacyLevel(), EPrivacyLevel::Pin);
    EXPECT_EQ(settings.GetPrivacyLevelForPreview(), GetParam().forPreview);
}

INSTANTIATE_TEST_SUITE_P(Support, EncryptedPin,
                         testing::Values(EncryptedPinRow{L"On", 4}, EncryptedPinRow{L"oKAV", 4},
                                         EncryptedPinRow{L"on", 3}, EncryptedPinRow{L"", 3}));

// ---- page media size

TEST_F(SettingsTest, APageSizeThatCannotBeReadEndsTheLoadAndReadsAsNone)
{
    // A custom size whose parameters are missing: neither the named nor the custom reading works.
    const std::wstring ticket = BareTicket(Parameter(L"psk:JobCopiesAllDocuments", L"1", L"integer") + LR"(
  <psf:Feature name="psk:PageMediaSize">
    <psf:Option name="psk:CustomMediaSize">
      <psf:ScoredProperty name="psk:MediaSizeWidth"><psf:ParameterRef name="psk:PageMediaSizeMediaSizeWidth"/></psf:ScoredProperty>
      <psf:ScoredProperty name="psk:MediaSizeHeight"><psf:ParameterRef name="psk:PageMediaSizeMediaSizeHeight"/></psf:ScoredProperty>
    </psf:Option>
  </psf:Feature>
)");
    Driver driver;
    PTSettings settings(driver.Properties());
    EXPECT_EQ(LoadFails(ticket, settings), E_POINTER);
    EXPECT_EQ(settings.GetMediaSizeWidth(), 0u);
    EXPECT_EQ(settings.GetMediaSizeHeight(), 0u);
    EXPECT_EQ(settings.GetMediaSize(), EMediaSize::NotSpecified);
}

// ---- setters

TEST_F(SettingsTest, SetScalingDecidesTheModeEvenWithoutPageScaling)
{
    Driver driver;
    PTSettings settings = Load(Ticket(L""), driver);
    EXPECT_EQ(settings.GetScalingMode(), Scaling::NoScaling);
    Scaling fit;
    fit.paperWidth = 914000;
    fit.paperHeight = 1189000;
    fit.paperSize = EMediaSize::ISOA0;
    fit.mode = Scaling::FitToPaper;
    EXPECT_EQ(settings.SetScaling(fit), Scaling::FitToPaper);
    EXPECT_EQ(settings.GetScalingMode(), Scaling::FitToPaper);
    EXPECT_EQ(settings.GetScaling().paperHeight, 1189000u);
    EXPECT_EQ(settings.GetScaling().paperSize, EMediaSize::ISOA0);
}

TEST_F(SettingsTest, SettersMakeTheirValuesFoundExceptTheMediaSize)
{
    PTSettings settings;
    settings.SetRotation(ERotate::Rotate180);
    settings.SetInputBin(EInputBin::Roll4);
    settings.SetOutputColor(EOutputColor::Monochrome);
    settings.SetScalingMode(Scaling::ScaleByPercentage);
    settings.SetMediaSizeWidth(610000);
    settings.SetMediaSizeHeight(900000);
    settings.SetSettingsChangedInPrintPreview(1);
    EXPECT_EQ(settings.GetRotation(), ERotate::Rotate180);
    EXPECT_EQ(settings.GetInputBin(), EInputBin::Roll4);
    EXPECT_EQ(settings.GetOutputColor(), EOutputColor::Monochrome);
    EXPECT_EQ(settings.GetScalingMode(), Scaling::ScaleByPercentage);
    EXPECT_EQ(settings.GetMediaSizeWidth(), 0u) << "the size stays as not given";
    EXPECT_EQ(settings.GetMediaSizeHeight(), 0u);
    EXPECT_EQ(settings.GetSettingsChangedInPrintPreview(), 1);
}

TEST_F(SettingsTest, TheMediaSizeSettersChangeALoadedSize)
{
    Driver driver;
    PTSettings settings = Load(Ticket(L""), driver);
    settings.SetMediaSizeWidth(610000);
    settings.SetMediaSizeHeight(2000000);
    EXPECT_EQ(settings.GetMediaSizeWidth(), 610000u);
    EXPECT_EQ(settings.GetMediaSizeHeight(), 2000000u);
    EXPECT_EQ(settings.GetMediaSize(), EMediaSize::ISOA1);
}

// ---- colour adjustments

struct ColorAdjustmentRow {
    const wchar_t* pdl;
    bool capability;
    bool applied;
};

void PrintTo(const ColorAdjustmentRow& row, std::ostream* out)
{
    *out << "PDL " << Narrow(row.pdl) << (row.capability ? " with" : " without") << " ColorAdjustment";
}

class ColorAdjustment : public SettingsTest, public testing::WithParamInterface<ColorAdjustmentRow> {};

TEST_P(ColorAdjustment, CountOnlyForTheRasterLanguageWithTheCapability)
{
    const ColorAdjustmentRow& row = GetParam();
    DriverBag bag = With(RasterDriverBag(), L"PDL", std::wstring(row.pdl));
    Driver driver(With(bag, L"ColorAdjustment", row.capability));
    PTSettings settings = Load(kWholeTicket, driver);
    EXPECT_EQ(settings.HasColorAdjustments(), row.applied);
    EXPECT_EQ(settings.GetColorAdjustmentLightness(), row.applied ? 12u : 0u);
    EXPECT_EQ(settings.GetColorAdjustmentBlue(), row.applied ? 9u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Drivers, ColorAdjustment,
                         testing::Values(ColorAdjustmentRow{L"KESTREL", true, true},
                                         ColorAdjustmentRow{L"PS3", true, false},
                                         ColorAdjustmentRow{L"PDF", true, false},
                                         ColorAdjustmentRow{L"KESTREL", false, false}));

// ---- settings that were never loaded, and copies

// Every getter that reports a feature's absence as -1.
const std::vector<std::pair<const char*, std::function<std::int32_t(PTSettings&)>>> kFlaggedGetters = {
#define QX_FLAGGED(getter) {#getter, [](PTSettings& s) { return static_cast<std::int32_t>(s.getter()); }}
    QX_FLAGGED(GetQuality),          QX_FLAGGED(GetInputBin),          QX_FLAGGED(GetMirror),
    QX_FLAGGED(GetMediaType),        QX_FLAGGED(GetMediaSize),         QX_FLAGGED(GetAlignment),
    QX_FLAGGED(GetMarginsLayout),    QX_FLAGGED(GetEconomode),         QX_FLAGGED(GetMaxDetail),
    QX_FLAGGED(GetMorePasses),       QX_FLAGGED(GetUnidirectional),    QX_FLAGGED(GetCropLines),
    QX_FLAGGED(GetCutter),           QX_FLAGGED(GetScalingMode),       QX_FLAGGED(GetOutputColor),
    QX_FLAGGED(GetColorManagement),  QX_FLAGGED(GetRgbColorManagement), QX_FLAGGED(GetCmykColorManagement),
    QX_FLAGGED(GetEmulatedPrinter),  QX_FLAGGED(GetCollate),           QX_FLAGGED(GetPantoneEmulation),
    QX_FLAGGED(GetHoldForAttendedMode), QX_FLAGGED(GetVerticalCutter), QX_FLAGGED(GetPrintPreview),
    QX_FLAGGED(GetPageOrder),        QX_FLAGGED(GetOutputBin),         QX_FLAGGED(GetFolderStyle),
    QX_FLAGGED(GetUserMargin),       QX_FLAGGED(GetOrientation),       QX_FLAGGED(GetRotation),
    QX_FLAGGED(GetAutorotate),       QX_FLAGGED(GetRemoveBlankAreas),  QX_FLAGGED(GetPrintQualitySettings),
    QX_FLAGGED(GetGlossEnhancer),    QX_FLAGGED(GetRenderingIntent),
#undef QX_FLAGGED
};

TEST_F(SettingsTest, SettingsNeverLoadedReportEveryFeatureAsAbsent)
{
    PTSettings settings;
    for (const auto& [name, read] : kFlaggedGetters) {
        EXPECT_EQ(read(settings), -1) << name;
    }
    EXPECT_EQ(settings.GetCopies(), 0u);
    EXPECT_EQ(settings.GetResolution(), 0u);
    EXPECT_EQ(settings.GetMediaSizeWidth(), 0u);
    EXPECT_EQ(settings.GetMediaSizeHeight(), 0u);
    EXPECT_EQ(std::wstring(settings.GetMesaFolderStyle()), L"");
    EXPECT_EQ(Pin(settings), L"");
    EXPECT_FALSE(settings.HasColorAdjustments());
    EXPECT_EQ(settings.GetSettingsChangedInPrintPreview(), 0);
    // These three report their field without a flag: the constructor's 0.
    EXPECT_EQ(settings.GetPrivacyLevel(), EPrivacyLevel::Public);
    EXPECT_EQ(settings.GetFastRenderingMode(), EOnOff::OFF);
    EXPECT_EQ(settings.GetSizePassThrough(), EOnOff::OFF);
}

TEST_F(SettingsTest, WithoutDriverPropertiesTheTicketIsNotRead)
{
    PTSettings settings;
    settings.LoadPrintTicket(Document(kWholeTicket));
    EXPECT_EQ(settings.GetCopies(), 0u);
    EXPECT_EQ(settings.GetPrintPreview(), EOnOff::NotSpecified);
}

TEST_F(SettingsTest, ACopyKeepsEveryValueAndItsOwnTexts)
{
    Driver driver;
    PTSettings original = Load(kWholeTicket, driver);
    PTSettings copy(original);
    copy.DetachDriverProperties();
    original.SetRotation(ERotate::None);

    EXPECT_EQ(copy.GetRotation(), ERotate::Rotate90);
    for (const auto& [name, read] : kFlaggedGetters) {
        if (std::string(name) != "GetRotation") {
            EXPECT_EQ(read(copy), read(original)) << name;
        }
    }
    EXPECT_EQ(copy.GetCopies(), 3u);
    EXPECT_EQ(copy.GetResolution(), 1200u);
    EXPECT_EQ(copy.GetMediaSizeWidth(), 594000u);
    EXPECT_EQ(copy.GetPrivacyLevelForPreview(), 2);
    EXPECT_EQ(copy.GetSettingsChangedInPrintPreview(), -1);
    EXPECT_EQ(copy.GetColorAdjustmentGreen(), 3u);
    EXPECT_EQ(Pin(copy), L"2468");
    EXPECT_EQ(std::wstring(copy.GetMesaFolderStyle()), L"Predefined3");
    EXPECT_NE(copy.GetMesaFolderStyle(), original.GetMesaFolderStyle()) << "the copy owns its texts";
}

// ---- render resolution

TEST_F(SettingsTest, WithoutDriverPropertiesTheResolutionIs600AndNothingIsQueried)
{
    PTSettings settings;
    IXMLDOMDocument2* document = Document(BareTicket(L""));
    LogTail log;
    settings.LoadResolutionForPrintMode(document);
    EXPECT_EQ(settings.GetResolution(), 600u);
    const auto records = Records(log);
    EXPECT_NE(IndexOf(records, kResolutionSite,
                      "Resolution info not found because m_driverProperties is NULL. PDF driver temporally doesn't "
                      "implement this functionality. Resolution is set by default to 600"),
              -1);
    EXPECT_EQ(records.size(), 1u) << "no query, so no no-match line";
}

struct RenderRow {
    const wchar_t* renderResolution;  // nullptr: no PageRenderResolution
    unsigned int resolution;
};

void PrintTo(const RenderRow& row, std::ostream* out) { *out << "PageRenderResolution " << Narrow(row.renderResolution); }

class RenderResolution : public SettingsTest, public testing::WithParamInterface<RenderRow> {};

// Plain paper, Normal quality and max detail ON: print mode Plain-33, which the driver declares.
const std::wstring kPlainNormalMaxDetail = Option(L"psk:PageMediaType", L"Plainpaper") +
                                           Option(L"psk:PageOutputQuality", L"Normal") +
                                           Option(L"ns0000:JobEconomode", L"OFF") +
                                           Option(L"ns0000:JobMaxDetail", L"ON") +
                                           Option(L"ns0000:JobMorePasses", L"OFF") +
                                           Option(L"ns0000:JobUnidirectional", L"OFF") +
                                           Option(L"psk:PageResolution", L"_300dpi");

TEST_P(RenderResolution, ReplacesThePageResolutionForAKnownPrintMode)
{
    std::wstring body = kPlainNormalMaxDetail;
    if (GetParam().renderResolution != nullptr) {
        body += Parameter(L"ns0000:PageRenderResolution", GetParam().renderResolution);
    }
    Driver driver;
    LogTail log;
    PTSettings settings = Load(Ticket(body), driver);
    EXPECT_EQ(settings.GetResolution(), GetParam().resolution);
    const bool kept = GetParam().renderResolution == nullptr;
    EXPECT_EQ(IndexOf(Records(log), kResolutionSite, kNotUpdating) != -1, kept);
}

INSTANTIATE_TEST_SUITE_P(Texts, RenderResolution,
                         testing::Values(RenderRow{L"_600dpi", 600}, RenderRow{L"_1200dpi", 1200},
                                         RenderRow{L"_150dpi", 150}, RenderRow{L"_75dpi", 75},
                                         RenderRow{L"_72dpi", 1200}, RenderRow{L"600", 1200}, RenderRow{L"", 1200},
                                         RenderRow{nullptr, 300}));

TEST_F(SettingsTest, APrintModeTheDriverDoesNotDeclareKeepsThePageResolution)
{
    Driver driver(Without(RasterDriverBag(), L"Plain-33"));
    LogTail log;
    PTSettings settings =
        Load(Ticket(kPlainNormalMaxDetail + Parameter(L"ns0000:PageRenderResolution", L"_600dpi")), driver);
    EXPECT_EQ(settings.GetResolution(), 300u);
    const auto records = Records(log);
    const int keyNotFound =
        IndexOf(records, "[WAR] [driverpropertybagproxy:DriverPropertyBagProxy::GetString:", "Key not found Plain-33");
    ASSERT_NE(keyNotFound, -1);
    EXPECT_GT(IndexOf(records, kResolutionSite, kNotUpdating), keyNotFound);
}

TEST_F(SettingsTest, ADriverWithoutFamilyPaperTypeKeepsThePageResolution)
{
    Driver driver(Without(RasterDriverBag(), L"FamilyPaperType"));
    LogTail log;
    PTSettings settings =
        Load(Ticket(kPlainNormalMaxDetail + Parameter(L"ns0000:PageRenderResolution", L"_600dpi")), driver);
    EXPECT_EQ(settings.GetResolution(), 300u);
    EXPECT_NE(IndexOf(Records(log), kResolutionSite, kNotUpdating), -1);
}

// ---- print mode key

struct KeyRow {
    const char* name;
    std::wstring features;
    std::wstring key;
};

class PrintModeKey : public SettingsTest, public testing::WithParamInterface<KeyRow> {};

TEST_P(PrintModeKey, IsTheCategoryAndTheCodeOfQualityAndOnOffFeatures)
{
    Driver driver;
    PrintMode printMode(Document(Ticket(Option(L"psk:PageMediaType", L"Plainpaper") + GetParam().features)),
                        driver.Properties());
    EXPECT_EQ(printMode.GetPrintModeKey(), GetParam().key);
}

std::wstring OnOff(const std::wstring& economode, const std::wstring& maxDetail, const std::wstring& morePasses,
                   const std::wstring& unidirectional)
{
    std::wstring features;
    const std::pair<const wchar_t*, const std::wstring*> settings[] = {{L"ns0000:JobEconomode", &economode},
                                                                       {L"ns0000:JobMaxDetail", &maxDetail},
                                                                       {L"ns0000:JobMorePasses", &morePasses},
                                                                       {L"ns0000:JobUnidirectional", &unidirectional}};
    for (const auto& [feature, option] : settings) {
        if (!option->empty()) {
            features += Option(feature, *option);
        }
    }
    return features;
}

INSTANTIATE_TEST_SUITE_P(
    Codes, PrintModeKey,
    testing::Values(
        KeyRow{"NormalMaxDetail", Option(L"psk:PageOutputQuality", L"Normal") + OnOff(L"OFF", L"ON", L"OFF", L"OFF"),
               L"Plain-33"},
        KeyRow{"AllOnHighDetail", Option(L"psk:PageOutputQuality", L"HighDetail") + OnOff(L"ON", L"ON", L"ON", L"ON"),
               L"Plain-245"},
        KeyRow{"DraftAllOff", Option(L"psk:PageOutputQuality", L"Draft") + OnOff(L"OFF", L"OFF", L"OFF", L"OFF"),
               L"Plain-0"},
        KeyRow{"QualityDefaultsToNormal", OnOff(L"ON", L"OFF", L"OFF", L"OFF"), L"Plain-17"},
        KeyRow{"MaxDetailDefaultsToOff", OnOff(L"OFF", L"", L"OFF", L"OFF"), L"Plain-1"},
        KeyRow{"NoEconomodeSetsEveryBitFromFourUp", OnOff(L"", L"ON", L"OFF", L"OFF"), L"Plain-4294967281"},
        KeyRow{"NoMorePassesSetsEveryBitFromSixUp", OnOff(L"OFF", L"ON", L"", L"OFF"), L"Plain-4294967265"},
        KeyRow{"NoUnidirectionalSetsEveryBitFromSevenUp", OnOff(L"OFF", L"ON", L"OFF", L""), L"Plain-4294967201"},
        KeyRow{"NothingAtAll", L"", L"Plain-4294967281"}),
    [](const testing::TestParamInfo<KeyRow>& info) { return std::string(info.param.name); });

TEST_F(SettingsTest, AKeyWithoutEconomodeNamesNoPrintModeSoThePageResolutionStands)
{
    Driver driver;
    PTSettings settings = Load(Ticket(Option(L"psk:PageMediaType", L"Plainpaper") +
                                      Option(L"psk:PageResolution", L"_150dpi") +
                                      Parameter(L"ns0000:PageRenderResolution", L"_1200dpi")),
                               driver);
    EXPECT_EQ(settings.GetResolution(), 150u);
}

// ---- print-mode category of the medium

struct CategoryRow {
    const char* name;
    std::wstring media;
    std::wstring category;
    bool unlisted;  // the error line, then AutoSelect's category
};

class MediumCategory : public SettingsTest, public testing::WithParamInterface<CategoryRow> {};

TEST_P(MediumCategory, IsTheFirstCategoryAfterTheMediumsName)
{
    Driver driver;
    IXMLDOMDocument2* document = Document(Ticket(GetParam().media));
    LogTail log;
    EXPECT_EQ(PrintMode(document, driver.Properties()).GetTypeFamilyNameBasedOnPaperType(), GetParam().category);
    EXPECT_EQ(IndexOf(Records(log), kCategorySite, kNoCategory) != -1, GetParam().unlisted);
}

INSTANTIATE_TEST_SUITE_P(
    Media, MediumCategory,
    testing::Values(
        CategoryRow{"Listed", Option(L"psk:PageMediaType", L"PhotoGlossPaper"), L"Photo", false},
        CategoryRow{"DonorOfACustomMedium",
                    Option(L"psk:PageMediaType", L"Plainpaper") +
                        Parameter(L"ns0000:PageMediaTypeDonorId", L"PhotoGlossPaper"),
                    L"Photo", false},
        CategoryRow{"Unlisted", Option(L"psk:PageMediaType", L"Canvas"), L"Auto", true},
        CategoryRow{"UnlistedDonor",
                    Option(L"psk:PageMediaType", L"Plainpaper") + Parameter(L"ns0000:PageMediaTypeDonorId", L"Canvas"),
                    L"Auto", true},
        CategoryRow{"NoMediaTypeIsAutoSelect", L"", L"Auto", false}),
    [](const testing::TestParamInfo<CategoryRow>& info) { return std::string(info.param.name); });

TEST_F(SettingsTest, AMediumWithoutAnyCategoryKeepsThePageResolution)
{
    Driver driver(With(RasterDriverBag(), L"FamilyPaperType",
                       std::wstring(LR"([{"Media": "Plainpaper", "PMCategory": "Plain"}])")));
    const std::wstring body = Option(L"psk:PageMediaType", L"Canvas") + Option(L"psk:PageResolution", L"_300dpi") +
                              Parameter(L"ns0000:PageRenderResolution", L"_1200dpi");
    IXMLDOMDocument2* document = Document(Ticket(body));
    EXPECT_EQ(ThrownBy([&] { PrintMode(document, driver.Properties()).GetTypeFamilyNameBasedOnPaperType(); }),
              HRESULT_FROM_WIN32(ERROR_NOT_FOUND));
    LogTail().Settled();  // the direct call's records reach the file before the mark
    LogTail log;
    PTSettings settings = Load(Ticket(body), driver);
    EXPECT_EQ(settings.GetResolution(), 300u);
    const auto records = Records(log);
    const int noCategory = IndexOf(records, kCategorySite, kNoCategory);
    ASSERT_NE(noCategory, -1);
    EXPECT_GT(IndexOf(records, kResolutionSite, kNotUpdating), noCategory);
}

}  // namespace
