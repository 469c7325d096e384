// The parameter features: texts copied into fixed buffers, records read from scored properties and
// parameters with their fallbacks, the folded cutter value, the custom media extras and the page
// media size that can be written back into a ticket.
#include <cstdint>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <msxml6.h>
#include <objbase.h>
#include <platform/text.h>
#include <wrl/client.h>

#include "hrerror.h"
#include "ptaccountid.h"
#include "ptcoloradjustments.h"
#include "ptcomment.h"
#include "ptcutter.h"
#include "ptfoldingstylesmesa.h"
#include "ptjobname.h"
#include "ptmediatype.h"
#include "ptnamespaces.h"
#include "ptpagemediasizefactory.h"
#include "ptpin.h"
#include "ptqueries.h"
#include "ptscaling.h"
#include "ptusername.h"
#include "testbstr.h"
#include "testmachine.h"
#include "tickettext.h"

using Microsoft::WRL::ComPtr;
using testsupport::BareTicket;
using testsupport::Bstr;
using testsupport::Feature;
using testsupport::LogTail;
using testsupport::PageScaling;
using testsupport::Parameter;
using testsupport::ParameterRef;
using testsupport::Scored;

namespace {

// Whether the log holds a record of that level from that site ("file:Class::Function") whose
// message is exactly the text.
bool Logged(const std::string& log, const std::string& tag, const std::string& site, const std::string& message)
{
    std::istringstream lines(log);
    const std::string ending = "] - " + message;
    for (std::string line; std::getline(lines, line);) {
        const bool fromSite = line.find(tag + " [" + site + ":") != std::string::npos;
        const bool endsWithMessage =
            line.size() >= ending.size() && line.compare(line.size() - ending.size(), ending.size(), ending) == 0;
        if (fromSite && endsWithMessage) {
            return true;
        }
    }
    return false;
}

HRESULT ThrownHr(const std::function<void()>& action)
{
    try {
        action();
    } catch (const hr_error& error) {
        return error.hr;
    }
    return S_OK;
}

class ParameterFeatures : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))); }
    void TearDown() override
    {
        doc_.Reset();
        CoUninitialize();
    }

    IXMLDOMDocument2* Load(const std::wstring& body)
    {
        doc_.Reset();
        EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                                   reinterpret_cast<void**>(doc_.GetAddressOf())),
                  S_OK);
        VARIANT_BOOL ok = VARIANT_FALSE;
        EXPECT_EQ(doc_->loadXML(Bstr(BareTicket(body)), &ok), S_OK);
        EXPECT_EQ(ok, VARIANT_TRUE) << platform::ToUtf8(body);
        return doc_.Get();
    }

    long Count(const std::wstring& query)
    {
        ComPtr<IXMLDOMNodeList> list;
        EXPECT_EQ(doc_->selectNodes(Bstr(query), &list), S_OK);
        long length = -1;
        EXPECT_EQ(list->get_length(&length), S_OK);
        return length;
    }

    ComPtr<IXMLDOMDocument2> doc_;
};

// ---- text parameters

template <class T>
std::unique_ptr<PTFeature<wchar_t>> Make(IXMLDOMDocument2* document)
{
    return std::make_unique<T>(document);
}

struct TextCase {
    const char* feature;
    std::unique_ptr<PTFeature<wchar_t>> (*make)(IXMLDOMDocument2*);
    std::size_t characters;
    // The ticket markup carrying the text, under the given prefix.
    std::wstring (*markup)(const std::wstring& prefix, const std::wstring& text);
    const wchar_t* ownPrefix;
    const wchar_t* otherPrefix;
    const char* site;
    const char* absentLine;
};

template <const wchar_t* keyword>
std::wstring ParameterMarkup(const std::wstring& prefix, const std::wstring& text)
{
    return Parameter(prefix + L":" + keyword, text);
}

std::wstring FolderStyleMarkup(const std::wstring& prefix, const std::wstring& text)
{
    return Feature(prefix + L":JobFolderStyle", L"ns0000:" + text);
}

constexpr wchar_t kJobPin[] = L"JobPin";
constexpr wchar_t kJobComment[] = L"JobComment";
constexpr wchar_t kJobAccountId[] = L"JobAccountId";
constexpr wchar_t kJobName[] = L"JobName";
constexpr wchar_t kJobUserName[] = L"JobUserName";

const TextCase kTextCases[] = {
    {"PTPin", &Make<PTPin>, 11, &ParameterMarkup<kJobPin>, L"ns0000", L"psk", "ptpin:PTPin::GetValue",
     "Option for feature JobPin not found"},
    {"PTComment", &Make<PTComment>, 1024, &ParameterMarkup<kJobComment>, L"psk", L"ns0000",
     "ptcomment:PTComment::GetValue", "Option for feature JobComment not found"},
    {"PTAccountId", &Make<PTAccountId>, 31, &ParameterMarkup<kJobAccountId>, L"ns0000", L"psk",
     "ptaccountid:PTAccountId::GetValue", "Option for feature JobAccountId not found"},
    {"PTJobName", &Make<PTJobName>, 129, &ParameterMarkup<kJobName>, L"ns0000", L"psk",
     "ptjobname:PTJobName::GetValue", "Option for feature JobName not found"},
    {"PTUserName", &Make<PTUserName>, 31, &ParameterMarkup<kJobUserName>, L"ns0000", L"psk",
     "ptusername:PTUserName::GetValue", "Option for feature JobUserName not found"},
    {"PTFoldingStylesMesa", &Make<PTFoldingStylesMesa>, 129, &FolderStyleMarkup, L"ns0000", L"psk",
     "ptfoldingstylesmesa:PTFoldingStylesMesa::GetValue", "Option for feature JobFolderStyle not found"},
};

// Digits, so that a clipped text would show where it was cut.
std::wstring TextOfLength(std::size_t length)
{
    std::wstring text;
    for (std::size_t i = 0; i < length; ++i) {
        text += static_cast<wchar_t>(L'0' + (i + 1) % 10);
    }
    return text;
}

TEST_F(ParameterFeatures, ATextIsCopiedWholeWhenItLeavesRoomForTheTerminatorAndOtherwiseNotAtAll)
{
    for (const TextCase& row : kTextCases) {
        SCOPED_TRACE(row.feature);
        for (const std::size_t length : {row.characters - 1, row.characters}) {
            const std::wstring text = TextOfLength(length);
            auto feature = row.make(Load(row.markup(row.ownPrefix, text)));
            std::vector<wchar_t> buffer(row.characters, L'#');
            EXPECT_TRUE(feature->GetValue(buffer.data())) << "a text that does not fit is still found";
            EXPECT_EQ(std::wstring(buffer.data()), length < row.characters ? text : L"");
        }
    }
}

TEST_F(ParameterFeatures, AnAbsentTextOrOneUnderTheOtherNamespaceIsNotFound)
{
    for (const TextCase& row : kTextCases) {
        SCOPED_TRACE(row.feature);
        auto feature = row.make(Load(Feature(L"psk:JobInputBin", L"psk:Roll")));
        std::vector<wchar_t> buffer(row.characters, L'\0');
        const LogTail log;
        EXPECT_FALSE(feature->GetValue(buffer.data()));
        const std::string logged = log.Settled();
        EXPECT_TRUE(Logged(logged, "[INF]", row.site, row.absentLine)) << logged;
        EXPECT_NE(logged.find("[ERR] [xmlhandler:XMLHandler::GetComValue:"), std::string::npos) << logged;

        feature = row.make(Load(row.markup(row.otherPrefix, L"12345")));
        EXPECT_FALSE(feature->GetValue(buffer.data()));
    }
}

TEST_F(ParameterFeatures, FoldingStyleIsTheOptionKeywordWithoutItsPrefix)
{
    wchar_t style[PTFoldingStylesMesa::kCharacters] = {};
    EXPECT_TRUE(PTFoldingStylesMesa(Load(Feature(L"ns0000:JobFolderStyle", L"psk:DIN_A4_Cross"))).GetValue(style));
    EXPECT_EQ(std::wstring(style), L"DIN_A4_Cross");
    EXPECT_TRUE(PTFoldingStylesMesa(Load(Feature(L"ns0000:JobFolderStyle", L"NoPrefix"))).GetValue(style));
    EXPECT_EQ(std::wstring(style), L"NoPrefix");
}

// ---- colour adjustments

TEST_F(ParameterFeatures, ColorAdjustmentsAreReadAllOrNothing)
{
    const std::wstring lightness = Parameter(L"ns0000:PageColorAdjustmentLightness", L"10");
    const std::wstring red = Parameter(L"ns0000:PageColorAdjustmentRed", L"20");
    const std::wstring green = Parameter(L"ns0000:PageColorAdjustmentGreen", L"30");
    const std::wstring blue = Parameter(L"ns0000:PageColorAdjustmentBlue", L"40");
    const struct {
        const char* name;
        std::wstring body;
        std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t> expected;
    } rows[] = {
        {"all four", lightness + red + green + blue, {10, 20, 30, 40}},
        {"in another order", blue + green + red + lightness, {10, 20, 30, 40}},
        {"blue missing", lightness + red + green, {0, 0, 0, 0}},
        {"lightness missing", red + green + blue, {0, 0, 0, 0}},
        {"none", L"", {0, 0, 0, 0}},
        {"lightness in the keywords namespace",
         Parameter(L"psk:PageColorAdjustmentLightness", L"10") + red + green + blue,
         {0, 0, 0, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ColorAdjustments adjustments{1, 2, 3, 4};
        EXPECT_TRUE(PTColorAdjustments(Load(row.body)).GetValue(&adjustments));
        EXPECT_EQ(std::make_tuple(adjustments.lightness, adjustments.red, adjustments.green, adjustments.blue),
                  row.expected);
    }
}

// ---- scaling

TEST_F(ParameterFeatures, ScalingFitsToPaperScalesOrFallsBackToNone)
{
    const std::wstring paper = Scored(L"ns0000:PaperWidth", L"841000") + Scored(L"ns0000:PaperHeight", L"1189000");
    const std::wstring a0 = paper + Scored(L"ns0000:PaperName", L"ISOA0xxx", L"string");
    const std::wstring scale50 = Scored(L"psk:Scale", L"50");
    const int a4 = static_cast<int>(EMediaSize::ISOA4);
    const struct {
        const char* name;
        std::wstring body;
        std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, int, std::uint32_t> expected;
    } rows[] = {
        {"fit to paper", PageScaling(L"FitToPaper", a0), {100, 841000, 1189000, 17, Scaling::FitToPaper}},
        {"fit to roll width", PageScaling(L"FitToRollWidth", a0), {100, 841000, 1189000, 17, Scaling::FitToRollWidth}},
        {"paper and a scale: the paper wins", PageScaling(L"FitToPaper", a0 + scale50),
         {100, 841000, 1189000, 17, Scaling::FitToPaper}},
        {"scale only", PageScaling(L"Custom", scale50), {50, 0, 0, a4, Scaling::ScaleByPercentage}},
        {"paper without a name falls back to the scale", PageScaling(L"FitToPaper", paper + Scored(L"psk:Scale", L"75")),
         {75, 0, 0, a4, Scaling::ScaleByPercentage}},
        {"paper name too long for its buffer",
         PageScaling(L"FitToPaper", Scored(L"ns0000:PaperWidth", L"1") + Scored(L"ns0000:PaperHeight", L"2") +
                                        Scored(L"ns0000:PaperName", L"ISOA0" + std::wstring(45, L'x'))),
         {100, 1, 2, 0, Scaling::FitToPaper}},
        {"scale under the private namespace", PageScaling(L"Custom", Scored(L"ns0000:Scale", L"50")),
         {100, 0, 0, a4, Scaling::NoScaling}},
        {"feature under the keywords namespace", Feature(L"psk:PageScaling", L"ns0000:FitToPaper", a0),
         {100, 0, 0, a4, Scaling::NoScaling}},
        {"no scaling at all", L"", {100, 0, 0, a4, Scaling::NoScaling}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Scaling scaling{33, 44, 55, EMediaSize::ISOA4, 9};
        EXPECT_TRUE(PTScaling(Load(row.body)).GetValue(&scaling));
        EXPECT_EQ(std::make_tuple(scaling.percentage, scaling.paperWidth, scaling.paperHeight,
                                  static_cast<int>(scaling.paperSize), scaling.mode),
                  row.expected);
    }
}

TEST_F(ParameterFeatures, PaperNameTakesTheFirstSizeItBeginsWith)
{
    const std::pair<const wchar_t*, EMediaSize> rows[] = {
        {L"ISOA0", EMediaSize::ISOA0},      {L"ISOA0xxx", EMediaSize::ISOA0},
        {L"ISOA1", EMediaSize::ISOA1},      {L"ISOC4_Rotated", EMediaSize::ISOC4},
        {L"F", EMediaSize::F},              {L"Folio", EMediaSize::F},
        {L"FanFold", EMediaSize::F},        {L"_30cmX40cm", EMediaSize::_30cmX40cm},
        {L"NorthAmericaLetter", EMediaSize::NorthAmericaLetter},
        {L"NorthAmerica", EMediaSize::CustomSize}, {L"isoa0", EMediaSize::CustomSize},
        {L"A4", EMediaSize::CustomSize},    {L"", EMediaSize::CustomSize},
    };
    for (const auto& [name, expected] : rows) {
        EXPECT_EQ(static_cast<int>(MediaSizeFromPaperName(name)), static_cast<int>(expected)) << platform::ToUtf8(name);
    }
}

// ---- cutter

TEST_F(ParameterFeatures, CuttersFoldIntoOneValue)
{
    const struct {
        const char* name;
        const wchar_t* autoCutter;  // option keyword, or nullptr for no feature
        const wchar_t* multiPageCutter;
        ECutter expected;
        bool found;
    } rows[] = {
        {"auto off", L"OFF", nullptr, ECutter::AutoCutterOff, true},
        {"auto on", L"ON", nullptr, ECutter::CutterOn, true},
        {"auto decides over multi-page", L"OFF", L"OFF", ECutter::AutoCutterOff, true},
        {"multi-page off", nullptr, L"OFF", ECutter::MultiPageCutterOff, true},
        {"multi-page on", nullptr, L"ON", ECutter::CutterOn, true},
        {"auto invalid defers to multi-page", L"INVALID", L"OFF", ECutter::MultiPageCutterOff, true},
        {"multi-page invalid", nullptr, L"INVALID", ECutter::CutterOn, true},
        {"both absent", nullptr, nullptr, ECutter::CutterOn, false},
        {"auto invalid, multi-page absent", L"INVALID", nullptr, ECutter::CutterOn, false},
        {"auto unknown keyword", L"Off", nullptr, ECutter::CutterOn, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::wstring body;
        if (row.autoCutter != nullptr) {
            body += Feature(L"ns0000:JobEnableAutoCutter", std::wstring(L"ns0000:") + row.autoCutter);
        }
        if (row.multiPageCutter != nullptr) {
            body += Feature(L"ns0000:JobEnableMultiPageCutter", std::wstring(L"ns0000:") + row.multiPageCutter);
        }
        ECutter cutter = ECutter::NotSpecified;
        EXPECT_EQ(PTCutter(Load(body)).GetValue(&cutter), row.found);
        EXPECT_EQ(static_cast<int>(cutter), static_cast<int>(row.expected));
    }
}

TEST_F(ParameterFeatures, MultiPageCutterIsPresentOnlyWithAKnownOption)
{
    EXPECT_TRUE(PTCutter(Load(Feature(L"ns0000:JobEnableMultiPageCutter", L"ns0000:ON"))).IsMultiPageCutterPresent());
    EXPECT_TRUE(
        PTCutter(Load(Feature(L"ns0000:JobEnableMultiPageCutter", L"ns0000:INVALID"))).IsMultiPageCutterPresent());
    EXPECT_FALSE(
        PTCutter(Load(Feature(L"ns0000:JobEnableMultiPageCutter", L"ns0000:Maybe"))).IsMultiPageCutterPresent());
    EXPECT_FALSE(PTCutter(Load(Feature(L"ns0000:JobEnableAutoCutter", L"ns0000:OFF"))).IsMultiPageCutterPresent());
}

// ---- media type

TEST_F(ParameterFeatures, CustomMediaIdAndNameAreTextsAndTheirAbsenceIsLoggedInTheOperationsName)
{
    PTMediaType feature(Load(Parameter(L"ns0000:PageMediaTypeId", L"MyCanvas") +
                             Parameter(L"ns0000:PageMediaTypeInit", L"My canvas, 2nd batch")));
    wchar_t text[PTMediaType::kCustomMediaCharacters] = {};
    EXPECT_TRUE(feature.GetValueCustomMediaID(text));
    EXPECT_EQ(std::wstring(text), L"MyCanvas");
    EXPECT_TRUE(feature.GetValueCustomMediaName(text));
    EXPECT_EQ(std::wstring(text), L"My canvas, 2nd batch");

    PTMediaType absent(Load(L""));
    const LogTail log;
    EXPECT_FALSE(absent.GetValueCustomMediaID(text));
    EXPECT_FALSE(absent.GetValueCustomMediaName(text));
    const std::string logged = log.Settled();
    for (const char* site : {"ptmediatype:PTMediaType::GetValueCustomMediaID",
                             "ptmediatype:PTMediaType::GetValueCustomMediaName"}) {
        EXPECT_TRUE(Logged(logged, "[INF]", site, "Option for feature Custom media type not found")) << logged;
    }
}

TEST_F(ParameterFeatures, MesaCustomNamesTheCustomMediumAfterItsDonor)
{
    const std::wstring id = Parameter(L"ns0000:PageMediaTypeId", L"MyCanvas");
    const struct {
        const char* name;
        std::wstring body;
        const wchar_t* expected;
        bool complete;
    } rows[] = {
        {"catalogue donor", id + Parameter(L"ns0000:PageMediaTypeDonorId", L"CoatedPaper"),
         L"before:derived-MyCanvas_stationery-coated", true},
        {"the film without an identifier", id + Parameter(L"ns0000:PageMediaTypeDonorId", L"QXMultiPurposeFilm"),
         L"before:derived-MyCanvas_", true},
        {"donor that is no medium", id + Parameter(L"ns0000:PageMediaTypeDonorId", L"Cardboard"),
         L"before:derived-MyCanvas_", true},
        {"donor missing", id, L"before:derived-MyCanvas_", false},
        {"id missing", Parameter(L"ns0000:PageMediaTypeDonorId", L"CoatedPaper"), L"before:derived-", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        PTMediaType feature(Load(row.body));
        std::wstring mesaCustom = L"before:";
        const LogTail log;
        EXPECT_EQ(feature.GetMesaCustom(mesaCustom), row.complete);
        EXPECT_EQ(mesaCustom, row.expected);
        EXPECT_EQ(Logged(log.Settled(), "[INF]", "ptmediatype:PTMediaType::GetMesaCustom",
                         "Option for feature Custom media type not found"),
                  !row.complete);
    }
}

TEST_F(ParameterFeatures, DonorIsAppendedOrReplacedByTheMediaTypesKeyword)
{
    std::wstring donor = L"x";
    PTMediaType(Load(Parameter(L"ns0000:PageMediaTypeDonorId", L"QXArtistCanvas")))
        .GetMediaTypeDonor(EMediaType::CoatedPaper, donor);
    EXPECT_EQ(donor, L"xQXArtistCanvas");

    const std::pair<EMediaType, const wchar_t*> fallbacks[] = {{EMediaType::CoatedPaper, L"CoatedPaper"},
                                                               {EMediaType::Invalid, L"Invalid"},
                                                               {EMediaType::QXDecalPaper, L"QXDecalPaper"},
                                                               {EMediaType::NotSpecified, L""}};
    for (const auto& [type, expected] : fallbacks) {
        SCOPED_TRACE(platform::ToUtf8(expected));
        donor = L"x";
        const LogTail log;
        PTMediaType(Load(L"")).GetMediaTypeDonor(type, donor);
        EXPECT_EQ(donor, expected);
        EXPECT_EQ(log.Settled().find("[ptmediatype:"), std::string::npos);
    }
}

// ---- page media size

using testsupport::kMediaSizeA1;

// Both custom-size variants in one ticket, with different numbers, so that a reader shows which
// parameters it took.
const std::wstring kCustomSize =
    Feature(L"psk:PageMediaSize", L"psk:CustomMediaSize",
            ParameterRef(L"psk:MediaSizeWidth", L"psk:PageMediaSizeMediaSizeWidth") +
                ParameterRef(L"psk:MediaSizeHeight", L"psk:PageMediaSizeMediaSizeHeight")) +
    Parameter(L"psk:PageMediaSizeMediaSizeWidth", L"500000") +
    Parameter(L"psk:PageMediaSizeMediaSizeHeight", L"2000000") + Parameter(L"psk:PageMediaSizePSWidth", L"610000") +
    Parameter(L"psk:PageMediaSizePSHeight", L"3000000");

// A reference to the parameter from a scored property of the selected page size.
std::wstring ParameterRefQuery(const std::wstring& parameter)
{
    return L"psf:PrintTicket/psf:Feature/psf:Option/psf:ScoredProperty/psf:ParameterRef[substring-after(@name,':')='" +
           parameter + L"']";
}

std::tuple<std::uint32_t, std::uint32_t, int> Fields(const PageMediaSize& size)
{
    return {size.width, size.height, static_cast<int>(size.size)};
}

TEST_F(ParameterFeatures, PageMediaSizeIsNamedOrTakenFromTheVariantsParameters)
{
    const struct {
        const char* name;
        std::wstring body;
        EPdl pdl;
        std::tuple<std::uint32_t, std::uint32_t, int> expected;
    } rows[] = {
        {"ISOA1, raster", kMediaSizeA1, KESTREL, {594000, 841000, 18}},
        {"ISOA1, PostScript", kMediaSizeA1, PS3, {594000, 841000, 18}},
        {"size not in the table",
         Feature(L"psk:PageMediaSize", L"psk:Roll36Inch",
                 Scored(L"psk:MediaSizeWidth", L"914400") + Scored(L"psk:MediaSizeHeight", L"1000000")),
         KESTREL, {914400, 1000000, 1}},
        {"custom, raster", kCustomSize, KESTREL, {500000, 2000000, 0}},
        {"custom, PostScript", kCustomSize, PS3, {610000, 3000000, 0}},
        {"custom, other language", kCustomSize, OtherPdl, {610000, 3000000, 0}},
        {"named size missing its height",
         Feature(L"psk:PageMediaSize", L"psk:ISOA1", Scored(L"psk:MediaSizeWidth", L"594000")) +
             Parameter(L"psk:PageMediaSizeMediaSizeWidth", L"1") + Parameter(L"psk:PageMediaSizeMediaSizeHeight", L"2"),
         KESTREL, {1, 2, 0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto feature = PTPageMediaSizeFactory::CreatePageMediaSize(Load(row.body), row.pdl);
        PageMediaSize size;
        EXPECT_TRUE(feature->GetValue(&size));
        EXPECT_EQ(Fields(size), row.expected);
    }
}

TEST_F(ParameterFeatures, PageMediaSizeWithoutSizeOrParametersLetsEPointerEscape)
{
    for (const EPdl pdl : {PS3, KESTREL}) {
        auto feature = PTPageMediaSizeFactory::CreatePageMediaSize(Load(L""), pdl);
        PageMediaSize size;
        EXPECT_EQ(ThrownHr([&] { feature->GetValue(&size); }), E_POINTER);
    }
}

TEST_F(ParameterFeatures, FactoryRejectsAnUnknownLanguage)
{
    IXMLDOMDocument2* document = Load(L"");
    const LogTail log;
    EXPECT_EQ(ThrownHr([&] { PTPageMediaSizeFactory::CreatePageMediaSize(document, static_cast<EPdl>(3)); }),
              E_INVALIDARG);
    const std::string logged = log.Settled();
    EXPECT_TRUE(Logged(logged, "[ERR]", "ptpagemediasizefactory:PTPageMediaSizeFactory::CreatePageMediaSize",
                       "Invalid Pdl type 3"))
        << logged;
}

TEST_F(ParameterFeatures, WrittenCustomSizeIsReadBackAndReplacesTheOldOne)
{
    const std::wstring kw = PrintSchemaKeywordsNamespaceUri;
    const struct {
        EPdl pdl;
        const wchar_t* option;
        std::vector<std::pair<const wchar_t*, std::int32_t>> parameters;
    } rows[] = {
        {KESTREL, L"CustomMediaSize", {{L"PageMediaSizeMediaSizeWidth", 420000}, {L"PageMediaSizeMediaSizeHeight", 5000000}}},
        {PS3, L"PSCustomMediaSize",
         {{L"PageMediaSizePSWidth", 420000}, {L"PageMediaSizePSHeight", 5000000}, {L"PageMediaSizePSWidthOffset", 0},
          {L"PageMediaSizePSHeightOffset", 0}, {L"PageMediaSizePSOrientation", 1}}},
    };
    // A named size left over with stale custom parameters, and a feature the write must not touch.
    const std::wstring before = Feature(L"psk:JobInputBin", L"psk:Roll") + kMediaSizeA1 +
                                Parameter(L"psk:PageMediaSizeMediaSizeWidth", L"111") +
                                Parameter(L"psk:PageMediaSizeMediaSizeHeight", L"222");
    for (const auto& row : rows) {
        SCOPED_TRACE(platform::ToUtf8(row.option));
        IXMLDOMDocument2* document = Load(before);
        PageMediaSize written;
        written.width = 420000;
        written.height = 5000000;
        written.size = EMediaSize::ISOA0;
        PTPageMediaSizeFactory::CreatePageMediaSize(document, row.pdl)->SetValue(written);

        PageMediaSize read;
        EXPECT_TRUE(PTPageMediaSizeFactory::CreatePageMediaSize(document, row.pdl)->GetValue(&read));
        EXPECT_EQ(Fields(read), std::make_tuple(420000u, 5000000u, 0));

        XMLHandler ticket(document);
        EXPECT_EQ(Count(FeatureNodeQuery(L"PageMediaSize", kw)), 1);
        wchar_t option[64] = {};
        ticket.GetOptionName(FeatureOptionQuery(L"PageMediaSize", kw), option, 64);
        EXPECT_EQ(std::wstring(option), row.option);
        for (const auto& [parameter, value] : row.parameters) {
            SCOPED_TRACE(platform::ToUtf8(parameter));
            EXPECT_EQ(Count(ParameterNodeQuery(parameter, kw)), 1);
            EXPECT_EQ(ticket.GetIntValue(ParameterValueQuery(parameter, kw)), value);
            EXPECT_TRUE(ticket.IsValuePresent(ParameterRefQuery(parameter)));
        }
        EXPECT_TRUE(ticket.IsValuePresent(FeatureNodeQuery(L"JobInputBin", kw)));
        if (row.pdl == PS3) {
            EXPECT_FALSE(ticket.IsValuePresent(ParameterNodeQuery(L"PageMediaSizeMediaSizeWidth", kw)));
            EXPECT_FALSE(ticket.IsValuePresent(ParameterNodeQuery(L"PageMediaSizeMediaSizeHeight", kw)));
        }
    }
}

}  // namespace
