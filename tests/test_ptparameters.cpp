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
#include "ptcopies.h"
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

using Microsoft::WRL::ComPtr;
using testsupport::Bstr;
using testsupport::LogTail;

namespace {

// Every ticket binds the private namespace to ns0000 and the keywords to psk.
std::wstring Ticket(const std::wstring& body)
{
    return LR"(<?xml version="1.0" encoding="UTF-8"?>
<psf:PrintTicket xmlns:psf="http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework"
    xmlns:psk="http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords"
    xmlns:ns0000="http://schemas.qx.com/lfp/ptpc/2006/1"
    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema"
    version="1">)" + body + L"</psf:PrintTicket>";
}

std::wstring Parameter(const std::wstring& name, const std::wstring& value)
{
    return L"<psf:ParameterInit name=\"" + name + L"\"><psf:Value xsi:type=\"xsd:string\">" + value +
           L"</psf:Value></psf:ParameterInit>";
}

std::wstring Option(const std::wstring& feature, const std::wstring& option)
{
    return L"<psf:Feature name=\"" + feature + L"\"><psf:Option name=\"" + option + L"\"/></psf:Feature>";
}

std::wstring Scored(const std::wstring& name, const std::wstring& value)
{
    return L"<psf:ScoredProperty name=\"" + name + L"\"><psf:Value xsi:type=\"xsd:integer\">" + value +
           L"</psf:Value></psf:ScoredProperty>";
}

std::wstring FeatureWithOption(const std::wstring& feature, const std::wstring& option, const std::wstring& properties)
{
    return L"<psf:Feature name=\"" + feature + L"\"><psf:Option name=\"" + option + L"\">" + properties +
           L"</psf:Option></psf:Feature>";
}

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
        EXPECT_EQ(doc_->loadXML(Bstr(Ticket(body)), &ok), S_OK);
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

template <class Feature>
std::unique_ptr<PTFeature<wchar_t>> Make(IXMLDOMDocument2* document)
{
    return std::make_unique<Feature>(document);
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
    return Option(prefix + L":JobFolderStyle", L"ns0000:" + text);
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

TEST_F(ParameterFeatures, BufferSizesAreThoseTheRecordsReserve)
{
    EXPECT_EQ(PTPin::kCharacters, 11u);
    EXPECT_EQ(PTComment::kCharacters, 1024u);
    EXPECT_EQ(PTAccountId::kCharacters, 31u);
    EXPECT_EQ(PTJobName::kCharacters, 129u);
    EXPECT_EQ(PTUserName::kCharacters, 31u);
    EXPECT_EQ(PTFoldingStylesMesa::kCharacters, 129u);
}

TEST_F(ParameterFeatures, TextThatLeavesRoomForTheTerminatorIsCopiedWhole)
{
    for (const TextCase& row : kTextCases) {
        SCOPED_TRACE(row.feature);
        const std::wstring text = TextOfLength(row.characters - 1);
        auto feature = row.make(Load(row.markup(row.ownPrefix, text)));
        std::vector<wchar_t> buffer(row.characters, L'#');
        EXPECT_TRUE(feature->GetValue(buffer.data()));
        EXPECT_EQ(std::wstring(buffer.data()), text);
    }
}

TEST_F(ParameterFeatures, TextThatDoesNotFitComesBackEmptyButFound)
{
    for (const TextCase& row : kTextCases) {
        SCOPED_TRACE(row.feature);
        auto feature = row.make(Load(row.markup(row.ownPrefix, TextOfLength(row.characters))));
        std::vector<wchar_t> buffer(row.characters, L'#');
        EXPECT_TRUE(feature->GetValue(buffer.data()));
        EXPECT_EQ(std::wstring(buffer.data()), L"");
    }
}

TEST_F(ParameterFeatures, AbsentTextIsNotFoundWithAnInfoLineInTheFeaturesName)
{
    for (const TextCase& row : kTextCases) {
        SCOPED_TRACE(row.feature);
        auto feature = row.make(Load(Option(L"psk:JobInputBin", L"psk:Roll")));
        std::vector<wchar_t> buffer(row.characters, L'\0');
        const LogTail log;
        EXPECT_FALSE(feature->GetValue(buffer.data()));
        const std::string logged = log.Settled();
        EXPECT_TRUE(Logged(logged, "[INF]", row.site, row.absentLine)) << logged;
        EXPECT_NE(logged.find("[ERR] [xmlhandler:XMLHandler::GetComValue:"), std::string::npos) << logged;
    }
}

TEST_F(ParameterFeatures, TextUnderTheOtherNamespaceIsNotTheFeature)
{
    for (const TextCase& row : kTextCases) {
        SCOPED_TRACE(row.feature);
        auto feature = row.make(Load(row.markup(row.otherPrefix, L"12345")));
        std::vector<wchar_t> buffer(row.characters, L'\0');
        EXPECT_FALSE(feature->GetValue(buffer.data()));
    }
}

TEST_F(ParameterFeatures, PinOfTenCharactersIsKeptAndOfElevenDropped)
{
    wchar_t pin[PTPin::kCharacters] = {};
    EXPECT_TRUE(PTPin(Load(Parameter(L"ns0000:JobPin", L"0123456789"))).GetValue(pin));
    EXPECT_EQ(std::wstring(pin), L"0123456789");
    EXPECT_TRUE(PTPin(Load(Parameter(L"ns0000:JobPin", L"01234567890"))).GetValue(pin));
    EXPECT_EQ(std::wstring(pin), L"");
}

TEST_F(ParameterFeatures, FoldingStyleIsTheOptionKeywordWithoutItsPrefix)
{
    wchar_t style[PTFoldingStylesMesa::kCharacters] = {};
    EXPECT_TRUE(PTFoldingStylesMesa(Load(Option(L"ns0000:JobFolderStyle", L"psk:DIN_A4_Cross"))).GetValue(style));
    EXPECT_EQ(std::wstring(style), L"DIN_A4_Cross");
    EXPECT_TRUE(PTFoldingStylesMesa(Load(Option(L"ns0000:JobFolderStyle", L"NoPrefix"))).GetValue(style));
    EXPECT_EQ(std::wstring(style), L"NoPrefix");
}

// ---- copies and colour adjustments

TEST_F(ParameterFeatures, CopiesAreTheParameterValue)
{
    unsigned int copies = 0;
    EXPECT_TRUE(PTCopies(Load(Parameter(L"psk:JobCopiesAllDocuments", L"3"))).GetValue(&copies));
    EXPECT_EQ(copies, 3u);
}

TEST_F(ParameterFeatures, AbsentCopiesEndTheReadWithEPointer)
{
    PTCopies feature(Load(Parameter(L"ns0000:JobCopiesAllDocuments", L"3")));
    unsigned int copies = 7;
    EXPECT_EQ(ThrownHr([&] { feature.GetValue(&copies); }), E_POINTER);
}

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

std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, int, std::uint32_t> Fields(const Scaling& scaling)
{
    return {scaling.percentage, scaling.paperWidth, scaling.paperHeight, static_cast<int>(scaling.paperSize),
            scaling.mode};
}

TEST_F(ParameterFeatures, ScalingFitsToPaperScalesOrFallsBackToNone)
{
    const std::wstring a0 = Scored(L"ns0000:PaperWidth", L"841000") + Scored(L"ns0000:PaperHeight", L"1189000") +
                            L"<psf:ScoredProperty name=\"ns0000:PaperName\"><psf:Value xsi:type=\"xsd:string\">"
                            L"ISOA0xxx</psf:Value></psf:ScoredProperty>";
    const std::wstring scale50 = Scored(L"psk:Scale", L"50");
    const int a4 = static_cast<int>(EMediaSize::ISOA4);
    const struct {
        const char* name;
        std::wstring body;
        std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, int, std::uint32_t> expected;
    } rows[] = {
        {"fit to paper", FeatureWithOption(L"ns0000:PageScaling", L"ns0000:FitToPaper", a0),
         {100, 841000, 1189000, 17, Scaling::FitToPaper}},
        {"fit to roll width", FeatureWithOption(L"ns0000:PageScaling", L"ns0000:FitToRollWidth", a0),
         {100, 841000, 1189000, 17, Scaling::FitToRollWidth}},
        {"paper and a scale: the paper wins",
         FeatureWithOption(L"ns0000:PageScaling", L"ns0000:FitToPaper", a0 + scale50),
         {100, 841000, 1189000, 17, Scaling::FitToPaper}},
        {"scale only", FeatureWithOption(L"ns0000:PageScaling", L"ns0000:Custom", scale50),
         {50, 0, 0, a4, Scaling::ScaleByPercentage}},
        {"paper without a name falls back to the scale",
         FeatureWithOption(L"ns0000:PageScaling", L"ns0000:FitToPaper",
                           Scored(L"ns0000:PaperWidth", L"841000") + Scored(L"ns0000:PaperHeight", L"1189000") +
                               Scored(L"psk:Scale", L"75")),
         {75, 0, 0, a4, Scaling::ScaleByPercentage}},
        {"paper name too long for its buffer",
         FeatureWithOption(L"ns0000:PageScaling", L"ns0000:FitToPaper",
                           Scored(L"ns0000:PaperWidth", L"1") + Scored(L"ns0000:PaperHeight", L"2") +
                               Scored(L"ns0000:PaperName", L"ISOA0" + std::wstring(45, L'x'))),
         {100, 1, 2, 0, Scaling::FitToPaper}},
        {"scale under the private namespace", FeatureWithOption(L"ns0000:PageScaling", L"ns0000:Custom",
                                                                Scored(L"ns0000:Scale", L"50")),
         {100, 0, 0, a4, Scaling::NoScaling}},
        {"feature under the keywords namespace", FeatureWithOption(L"psk:PageScaling", L"ns0000:FitToPaper", a0),
         {100, 0, 0, a4, Scaling::NoScaling}},
        {"no scaling at all", L"", {100, 0, 0, a4, Scaling::NoScaling}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Scaling scaling{33, 44, 55, EMediaSize::ISOA4, 9};
        EXPECT_TRUE(PTScaling(Load(row.body)).GetValue(&scaling));
        EXPECT_EQ(Fields(scaling), row.expected);
    }
}

TEST_F(ParameterFeatures, PaperNameTakesTheFirstSizeItBeginsWith)
{
    const struct {
        const wchar_t* name;
        EMediaSize expected;
    } rows[] = {
        {L"ISOA0", EMediaSize::ISOA0},
        {L"ISOA0xxx", EMediaSize::ISOA0},
        {L"ISOA1", EMediaSize::ISOA1},
        {L"ISOC4_Rotated", EMediaSize::ISOC4},
        {L"NorthAmericaLetter", EMediaSize::NorthAmericaLetter},
        {L"F", EMediaSize::F},
        {L"Folio", EMediaSize::F},
        {L"FanFold", EMediaSize::F},
        {L"_30cmX40cm", EMediaSize::_30cmX40cm},
        {L"NorthAmerica", EMediaSize::CustomSize},
        {L"isoa0", EMediaSize::CustomSize},
        {L"A4", EMediaSize::CustomSize},
        {L"", EMediaSize::CustomSize},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(platform::ToUtf8(row.name));
        EXPECT_EQ(static_cast<int>(MediaSizeFromPaperName(row.name)), static_cast<int>(row.expected));
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
            body += Option(L"ns0000:JobEnableAutoCutter", std::wstring(L"ns0000:") + row.autoCutter);
        }
        if (row.multiPageCutter != nullptr) {
            body += Option(L"ns0000:JobEnableMultiPageCutter", std::wstring(L"ns0000:") + row.multiPageCutter);
        }
        ECutter cutter = ECutter::NotSpecified;
        EXPECT_EQ(PTCutter(Load(body)).GetValue(&cutter), row.found);
        EXPECT_EQ(static_cast<int>(cutter), static_cast<int>(row.expected));
    }
}

TEST_F(ParameterFeatures, MultiPageCutterIsPresentOnlyWithAKnownOption)
{
    EXPECT_TRUE(PTCutter(Load(Option(L"ns0000:JobEnableMultiPageCutter", L"ns0000:ON"))).IsMultiPageCutterPresent());
    EXPECT_TRUE(
        PTCutter(Load(Option(L"ns0000:JobEnableMultiPageCutter", L"ns0000:INVALID"))).IsMultiPageCutterPresent());
    EXPECT_FALSE(
        PTCutter(Load(Option(L"ns0000:JobEnableMultiPageCutter", L"ns0000:Maybe"))).IsMultiPageCutterPresent());
    EXPECT_FALSE(PTCutter(Load(Option(L"ns0000:JobEnableAutoCutter", L"ns0000:OFF"))).IsMultiPageCutterPresent());
}

// ---- media type

TEST_F(ParameterFeatures, MediaIdsCoverTheCatalogueButOneFilm)
{
    EXPECT_EQ(mediaIdByKeyword.size(), 164u);
    std::size_t catalogueMediaWithoutId = 0;
    for (std::uint64_t row = 2; row < mediaTypeDesc.optionCount; ++row) {
        if (mediaIdByKeyword.count(mediaTypeDesc.options[row].keyword) == 0) {
            ++catalogueMediaWithoutId;
        }
    }
    EXPECT_EQ(catalogueMediaWithoutId, 1u);
    EXPECT_EQ(mediaIdByKeyword.count(L"Invalid"), 0u);
    EXPECT_EQ(mediaIdByKeyword.count(L"AutoSelect"), 0u);
    EXPECT_EQ(mediaIdByKeyword.at(L"Plainpaper"), L"stationery");
    EXPECT_EQ(mediaIdByKeyword.at(L"CoatedPaper"), L"stationery-coated");
}

TEST_F(ParameterFeatures, MediaTypeIsStillAnOptionList)
{
    EMediaType type = EMediaType::NotSpecified;
    EXPECT_TRUE(PTMediaType(Load(Option(L"psk:PageMediaType", L"psk:CoatedPaper"))).GetValue(&type));
    EXPECT_EQ(static_cast<int>(type), 23);
}

TEST_F(ParameterFeatures, CustomMediaIdAndNameAreTexts)
{
    PTMediaType feature(Load(Parameter(L"ns0000:PageMediaTypeId", L"MyCanvas") +
                             Parameter(L"ns0000:PageMediaTypeInit", L"My canvas, 2nd batch")));
    wchar_t text[PTMediaType::kCustomMediaCharacters] = {};
    EXPECT_TRUE(feature.GetValueCustomMediaID(text));
    EXPECT_EQ(std::wstring(text), L"MyCanvas");
    EXPECT_TRUE(feature.GetValueCustomMediaName(text));
    EXPECT_EQ(std::wstring(text), L"My canvas, 2nd batch");
}

TEST_F(ParameterFeatures, AbsentCustomMediaIsLoggedInTheOperationsName)
{
    PTMediaType feature(Load(L""));
    wchar_t text[PTMediaType::kCustomMediaCharacters] = {};
    const LogTail log;
    EXPECT_FALSE(feature.GetValueCustomMediaID(text));
    EXPECT_FALSE(feature.GetValueCustomMediaName(text));
    const std::string logged = log.Settled();
    EXPECT_TRUE(Logged(logged, "[INF]", "ptmediatype:PTMediaType::GetValueCustomMediaID",
                       "Option for feature Custom media type not found"))
        << logged;
    EXPECT_TRUE(Logged(logged, "[INF]", "ptmediatype:PTMediaType::GetValueCustomMediaName",
                       "Option for feature Custom media type not found"))
        << logged;
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
    EXPECT_EQ(mediaIdByKeyword.size(), 164u) << "looking a donor up must not add it";
}

TEST_F(ParameterFeatures, DonorIsAppendedOrReplacedByTheMediaTypesKeyword)
{
    std::wstring donor = L"x";
    PTMediaType(Load(Parameter(L"ns0000:PageMediaTypeDonorId", L"QXArtistCanvas")))
        .GetMediaTypeDonor(EMediaType::CoatedPaper, donor);
    EXPECT_EQ(donor, L"xQXArtistCanvas");

    const struct {
        EMediaType type;
        const wchar_t* expected;
    } fallbacks[] = {
        {EMediaType::CoatedPaper, L"CoatedPaper"},
        {EMediaType::Invalid, L"Invalid"},
        {EMediaType::QXDecalPaper, L"QXDecalPaper"},
        {EMediaType::NotSpecified, L""},
    };
    for (const auto& row : fallbacks) {
        SCOPED_TRACE(platform::ToUtf8(row.expected));
        donor = L"x";
        const LogTail log;
        PTMediaType(Load(L"")).GetMediaTypeDonor(row.type, donor);
        EXPECT_EQ(donor, row.expected);
        EXPECT_EQ(log.Settled().find("[ptmediatype:"), std::string::npos);
    }
}

// ---- page media size

const std::wstring kIsoA1 = FeatureWithOption(L"psk:PageMediaSize", L"psk:ISOA1",
                                              Scored(L"psk:MediaSizeWidth", L"594000") +
                                                  Scored(L"psk:MediaSizeHeight", L"841000"));

std::wstring CustomSizeRef(const std::wstring& property, const std::wstring& parameter)
{
    return L"<psf:ScoredProperty name=\"psk:" + property + L"\"><psf:ParameterRef name=\"psk:" + parameter +
           L"\"/></psf:ScoredProperty>";
}

// Both custom-size variants in one ticket, with different numbers, so that a reader shows which
// parameters it took.
const std::wstring kCustomSize =
    FeatureWithOption(L"psk:PageMediaSize", L"psk:CustomMediaSize",
                      CustomSizeRef(L"MediaSizeWidth", L"PageMediaSizeMediaSizeWidth") +
                          CustomSizeRef(L"MediaSizeHeight", L"PageMediaSizeMediaSizeHeight")) +
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
        {"ISOA1, raster", kIsoA1, KESTREL, {594000, 841000, 18}},
        {"ISOA1, PostScript", kIsoA1, PS3, {594000, 841000, 18}},
        {"size not in the table",
         FeatureWithOption(L"psk:PageMediaSize", L"psk:Roll36Inch",
                           Scored(L"psk:MediaSizeWidth", L"914400") + Scored(L"psk:MediaSizeHeight", L"1000000")),
         KESTREL, {914400, 1000000, 1}},
        {"custom, raster", kCustomSize, KESTREL, {500000, 2000000, 0}},
        {"custom, PostScript", kCustomSize, PS3, {610000, 3000000, 0}},
        {"custom, other language", kCustomSize, OtherPdl, {610000, 3000000, 0}},
        {"named size missing its height",
         FeatureWithOption(L"psk:PageMediaSize", L"psk:ISOA1", Scored(L"psk:MediaSizeWidth", L"594000")) +
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

TEST_F(ParameterFeatures, FactoryChoosesTheVariantByLanguage)
{
    IXMLDOMDocument2* document = Load(L"");
    EXPECT_NE(dynamic_cast<PTPSPageMediaSize*>(PTPageMediaSizeFactory::CreatePageMediaSize(document, PS3).get()),
              nullptr);
    EXPECT_NE(dynamic_cast<PTPageMediaSize*>(PTPageMediaSizeFactory::CreatePageMediaSize(document, KESTREL).get()),
              nullptr);
    EXPECT_NE(dynamic_cast<PTPSPageMediaSize*>(PTPageMediaSizeFactory::CreatePageMediaSize(document, OtherPdl).get()),
              nullptr);
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
        {KESTREL,
         L"CustomMediaSize",
         {{L"PageMediaSizeMediaSizeWidth", 420000}, {L"PageMediaSizeMediaSizeHeight", 5000000}}},
        {PS3,
         L"PSCustomMediaSize",
         {{L"PageMediaSizePSWidth", 420000},
          {L"PageMediaSizePSHeight", 5000000},
          {L"PageMediaSizePSWidthOffset", 0},
          {L"PageMediaSizePSHeightOffset", 0},
          {L"PageMediaSizePSOrientation", 1}}},
    };
    // A named size left over with stale custom parameters, and a feature the write must not touch.
    const std::wstring before = Option(L"psk:JobInputBin", L"psk:Roll") + kIsoA1 +
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
