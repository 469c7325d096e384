// The job's settings: a whole ticket read into typed values on a simulated version-4 printer,
// what absence reads as, and the resolution that follows the driver's print modes.
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
#include "tickettext.h"

using Microsoft::WRL::ComPtr;
using platform::DriverPropertyValue;
using testsupport::BareTicket;
using testsupport::Bstr;
using testsupport::Feature;
using testsupport::JobContext;
using testsupport::LogTail;
using testsupport::Option;
using testsupport::Parameter;
using testsupport::ParameterRef;
using testsupport::Ticket;

namespace {

using DriverBag = std::map<std::wstring, DriverPropertyValue>;

// Which print-mode category each medium prints in; AutoSelect's stands for every unlisted medium.
DriverBag RasterDriverBag()
{
    return {
        {L"Platform", std::wstring(L"Quarry")},
        {L"PDL", std::wstring(L"KESTREL")},
        {L"EncryptedPinSupported", std::wstring(L"On")},
        {L"ConnectivityProtocolsSupported", std::wstring(L"USB,KORU")},
        {L"ColorAdjustment", true},
        {L"FamilyPaperType", std::wstring(LR"([{"Media": "Plainpaper", "PMCategory": "Plain"}, )"
                                          LR"({"Media": "PhotoGlossPaper", "PMCategory": "Photo"}, )"
                                          LR"({"Media": "AutoSelect", "PMCategory": "Auto"}])")},
        {L"Plain-33", std::wstring(LR"({"RenderRes": "600"})")},
        {L"Photo-226", std::wstring(LR"({"RenderRes": "1200"})")},
    };
}

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

// The preview's settings record checks what each feature reads as; here, what the record leaves out.
const std::wstring kWholeTicket = testsupport::PosterTicket();

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

private:
    std::vector<ComPtr<IXMLDOMDocument2>> documents_;
};

std::wstring Pin(const Settings& settings)
{
    wchar_t pin[Settings::kPinCharacters] = {};
    settings.GetPin(pin, Settings::kPinCharacters);
    return pin;
}

std::string Narrow(const wchar_t* text) { return text == nullptr ? "(absent)" : platform::ToUtf8(text); }

// ---- a whole ticket

TEST_F(SettingsTest, AWholeTicketLoadsTheTextsNumbersAndViewsTheSettingsRecordLeavesOut)
{
    Driver driver;
    PTSettings settings = Load(kWholeTicket, driver);
    EXPECT_TRUE(settings.HasMultipleCopies());
    EXPECT_EQ(settings.GetRotation(), ERotate::None);
    EXPECT_EQ(settings.GetPrivacyLevelForPreview(), 2);
    EXPECT_EQ(std::wstring(settings.GetMesaFolderStyle()), L"Predefined3");
    EXPECT_EQ(settings.GetResolution(), 1200u) << "Photo-226 is a print mode of the driver";
    EXPECT_EQ(Pin(settings), L"2468");
    wchar_t accountId[Settings::kAccountIdCharacters] = {};
    settings.GetAccountId(accountId, Settings::kAccountIdCharacters);
    EXPECT_EQ(std::wstring(accountId), L"STUDIO-0815");
    EXPECT_TRUE(settings.HasCustomMediaTypeId());
    EXPECT_TRUE(settings.HasCustomMediaTypeName());
    EXPECT_EQ(settings.GetColorAdjustmentLightness(), 12u);
    EXPECT_EQ(static_cast<std::int32_t>(settings.GetColorAdjustmentRed()), -7);
    EXPECT_EQ(settings.GetColorAdjustmentGreen(), 3u);
    EXPECT_EQ(settings.GetColorAdjustmentBlue(), 9u);
}

// ---- copies

TEST_F(SettingsTest, ZeroOrAbsentCopiesEndTheLoadBeforeAnythingElseIsRead)
{
    Driver driver;
    PTSettings zero(driver.Properties());
    IXMLDOMDocument2* document = Document(BareTicket(testsupport::Copies(0)));
    LogTail quiet;
    EXPECT_EQ(ThrownBy([&] { zero.LoadPrintTicket(document); }), E_INVALIDARG);
    EXPECT_EQ(quiet.Settled().find("[settings:"), std::string::npos);

    PTSettings absent(driver.Properties());
    document = Document(BareTicket(Option(L"psk:JobInputBin", L"Roll1")));
    LogTail log;
    EXPECT_EQ(ThrownBy([&] { absent.LoadPrintTicket(document); }), E_POINTER);
    EXPECT_TRUE(log.WaitFor(L"No match found for the query psf:PrintTicket/psf:ParameterInit[substring-after(@name,':')="
                            L"'JobCopiesAllDocuments']"));
    EXPECT_EQ(absent.GetInputBin(), EInputBin::NotSpecified) << "nothing after the copies is read";
}

// ---- privacy level

TEST_F(SettingsTest, PrivacyLevelFollowsJobStorageUnlessTheMesaStorageSaysOtherwise)
{
    const struct {
        const wchar_t* jobStorage;   // nullptr: no such feature
        const wchar_t* storageMesa;  // nullptr: no such feature
        std::int32_t privacyLevel;
        std::int32_t forPreview;  // on a printer that encrypts PINs
    } rows[] = {
        // The Mesa storage is read after the encrypted-PIN test, so on its own it never makes a
        // job an encrypted-PIN job.
        {nullptr, nullptr, -1, -1}, {nullptr, L"ON", 3, 3},  {nullptr, L"OFF", 0, 0}, {L"Personal", nullptr, 2, 2},
        {L"Pin", nullptr, 3, 4},    {L"Pin", L"OFF", 0, 4},  {L"Delete", L"ON", 3, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("JobStorage " + Narrow(row.jobStorage) + ", JobStorageMesa " + Narrow(row.storageMesa));
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
}

// ---- page media size

TEST_F(SettingsTest, APageSizeThatCannotBeReadEndsTheLoadAndReadsAsNone)
{
    // A custom size whose parameters are missing: neither the named nor the custom reading works.
    const std::wstring ticket = BareTicket(
        testsupport::Copies(1) +
        Feature(L"psk:PageMediaSize", L"psk:CustomMediaSize",
                ParameterRef(L"psk:MediaSizeWidth", L"psk:PageMediaSizeMediaSizeWidth") +
                    ParameterRef(L"psk:MediaSizeHeight", L"psk:PageMediaSizeMediaSizeHeight")));
    Driver driver;
    PTSettings settings(driver.Properties());
    IXMLDOMDocument2* document = Document(ticket);
    EXPECT_EQ(ThrownBy([&] { settings.LoadPrintTicket(document); }), E_POINTER);
    EXPECT_EQ(settings.GetMediaSizeWidth(), 0u);
    EXPECT_EQ(settings.GetMediaSizeHeight(), 0u);
    EXPECT_EQ(settings.GetMediaSize(), EMediaSize::NotSpecified);
}

// The preview's size correction sets the size only of settings that read one.
TEST_F(SettingsTest, TheMediaSizeSettersChangeOnlyALoadedSize)
{
    PTSettings unloaded;
    unloaded.SetMediaSizeWidth(610000);
    unloaded.SetMediaSizeHeight(900000);
    EXPECT_EQ(unloaded.GetMediaSizeWidth(), 0u) << "the size stays as not given";
    EXPECT_EQ(unloaded.GetMediaSizeHeight(), 0u);

    Driver driver;
    PTSettings settings = Load(Ticket(L""), driver);
    settings.SetMediaSizeWidth(610000);
    settings.SetMediaSizeHeight(2000000);
    EXPECT_EQ(settings.GetMediaSizeWidth(), 610000u);
    EXPECT_EQ(settings.GetMediaSizeHeight(), 2000000u);
    EXPECT_EQ(settings.GetMediaSize(), EMediaSize::ISOA1);
}

// ---- settings that were never loaded, and copies

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

TEST_F(SettingsTest, ACopyKeepsEveryValueAndItsOwnTexts)
{
    Driver driver;
    PTSettings original = Load(kWholeTicket, driver);
    PTSettings copy(original);
    copy.DetachDriverProperties();
    original.SetRotation(ERotate::Rotate90);

    EXPECT_EQ(copy.GetRotation(), ERotate::None);
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

TEST_F(SettingsTest, WithoutDriverPropertiesTheTicketIsNotReadAndTheResolutionIs600)
{
    PTSettings settings;
    settings.LoadPrintTicket(Document(kWholeTicket));
    EXPECT_EQ(settings.GetCopies(), 0u);
    EXPECT_EQ(settings.GetPrintPreview(), EOnOff::NotSpecified);

    IXMLDOMDocument2* document = Document(BareTicket(L""));
    LogTail().Settled();
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

// Plain paper, Normal quality and max detail ON: print mode Plain-33, which the driver declares.
const std::wstring kPlainNormalMaxDetail = Option(L"psk:PageMediaType", L"Plainpaper") +
                                           Option(L"psk:PageOutputQuality", L"Normal") +
                                           Option(L"ns0000:JobEconomode", L"OFF") +
                                           Option(L"ns0000:JobMaxDetail", L"ON") +
                                           Option(L"ns0000:JobMorePasses", L"OFF") +
                                           Option(L"ns0000:JobUnidirectional", L"OFF") +
                                           Option(L"psk:PageResolution", L"_300dpi");

TEST_F(SettingsTest, TheRenderResolutionReplacesThePageResolutionForAKnownPrintMode)
{
    const std::pair<const wchar_t*, unsigned int> rows[] = {
        {L"_600dpi", 600}, {L"_1200dpi", 1200}, {L"_150dpi", 150}, {L"_75dpi", 75},
        {L"_72dpi", 1200}, {L"600", 1200},      {L"", 1200},       {nullptr, 300},  // nullptr: none
    };
    for (const auto& [renderResolution, resolution] : rows) {
        SCOPED_TRACE("PageRenderResolution " + Narrow(renderResolution));
        std::wstring body = kPlainNormalMaxDetail;
        if (renderResolution != nullptr) {
            body += Parameter(L"ns0000:PageRenderResolution", renderResolution);
        }
        Driver driver;
        LogTail().Settled();
        LogTail log;
        PTSettings settings = Load(Ticket(body), driver);
        EXPECT_EQ(settings.GetResolution(), resolution);
        EXPECT_EQ(IndexOf(Records(log), kResolutionSite, kNotUpdating) != -1, renderResolution == nullptr);
    }
}

TEST_F(SettingsTest, APrintModeOrCategoriesTheDriverDoesNotDeclareKeepThePageResolution)
{
    for (const wchar_t* missing : {L"Plain-33", L"FamilyPaperType"}) {
        SCOPED_TRACE(Narrow(missing));
        Driver driver(Without(RasterDriverBag(), missing));
        LogTail().Settled();
        LogTail log;
        PTSettings settings =
            Load(Ticket(kPlainNormalMaxDetail + Parameter(L"ns0000:PageRenderResolution", L"_600dpi")), driver);
        EXPECT_EQ(settings.GetResolution(), 300u);
        const auto records = Records(log);
        const int notUpdating = IndexOf(records, kResolutionSite, kNotUpdating);
        EXPECT_NE(notUpdating, -1);
        if (std::wstring(missing) == L"Plain-33") {
            const int keyNotFound = IndexOf(records, "[WAR] [driverpropertybagproxy:DriverPropertyBagProxy::GetString:",
                                            "Key not found Plain-33");
            ASSERT_NE(keyNotFound, -1);
            EXPECT_GT(notUpdating, keyNotFound);
        }
    }
}

// ---- print mode key

TEST_F(SettingsTest, ThePrintModeKeyIsTheCategoryAndTheCodeOfQualityAndOnOffFeatures)
{
    // Economode, max detail, more passes and unidirectional in turn: 1 ON, 0 OFF, - no feature.
    const auto onOff = [](const char* codes) {
        const wchar_t* const features[] = {L"ns0000:JobEconomode", L"ns0000:JobMaxDetail", L"ns0000:JobMorePasses",
                                           L"ns0000:JobUnidirectional"};
        std::wstring markup;
        for (int i = 0; i < 4; ++i) {
            if (codes[i] != '-') {
                markup += Option(features[i], codes[i] == '1' ? L"ON" : L"OFF");
            }
        }
        return markup;
    };
    const auto quality = [](const wchar_t* option) { return Option(L"psk:PageOutputQuality", option); };
    const struct {
        const char* name;
        std::wstring features;
        std::wstring key;
    } rows[] = {
        {"NormalMaxDetail", quality(L"Normal") + onOff("0100"), L"Plain-33"},
        {"AllOnHighDetail", quality(L"HighDetail") + onOff("1111"), L"Plain-245"},
        {"DraftAllOff", quality(L"Draft") + onOff("0000"), L"Plain-0"},
        {"QualityDefaultsToNormal", onOff("1000"), L"Plain-17"},
        {"MaxDetailDefaultsToOff", onOff("0-00"), L"Plain-1"},
        {"NoEconomodeSetsEveryBitFromFourUp", onOff("-100"), L"Plain-4294967281"},
        {"NoMorePassesSetsEveryBitFromSixUp", onOff("01-0"), L"Plain-4294967265"},
        {"NoUnidirectionalSetsEveryBitFromSevenUp", onOff("010-"), L"Plain-4294967201"},
        {"NothingAtAll", L"", L"Plain-4294967281"},
    };
    Driver driver;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        PrintMode printMode(Document(Ticket(Option(L"psk:PageMediaType", L"Plainpaper") + row.features)),
                            driver.Properties());
        EXPECT_EQ(printMode.GetPrintModeKey(), row.key);
    }
}

// ---- print-mode category of the medium

TEST_F(SettingsTest, TheMediumsCategoryIsTheFirstAfterItsName)
{
    const std::wstring plainWithDonor = Option(L"psk:PageMediaType", L"Plainpaper");
    const struct {
        const char* name;
        std::wstring media;
        std::wstring category;
        bool unlisted;  // the error line, then AutoSelect's category
    } rows[] = {
        {"Listed", Option(L"psk:PageMediaType", L"PhotoGlossPaper"), L"Photo", false},
        {"DonorOfACustomMedium", plainWithDonor + Parameter(L"ns0000:PageMediaTypeDonorId", L"PhotoGlossPaper"),
         L"Photo", false},
        {"Unlisted", Option(L"psk:PageMediaType", L"Canvas"), L"Auto", true},
        {"UnlistedDonor", plainWithDonor + Parameter(L"ns0000:PageMediaTypeDonorId", L"Canvas"), L"Auto", true},
        {"NoMediaTypeIsAutoSelect", L"", L"Auto", false},
    };
    Driver driver;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        IXMLDOMDocument2* document = Document(Ticket(row.media));
        LogTail().Settled();  // the rows before log the same lines
        LogTail log;
        EXPECT_EQ(PrintMode(document, driver.Properties()).GetTypeFamilyNameBasedOnPaperType(), row.category);
        EXPECT_EQ(IndexOf(Records(log), kCategorySite, kNoCategory) != -1, row.unlisted);
    }
}

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
