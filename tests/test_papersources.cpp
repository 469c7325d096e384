// The paper source query: the printer's bidi (and KORU) answers read into paper source records,
// the wait for a loaded source to be measured, and the choice of input bin and rotation.
#include <atomic>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <bidispl.h>
#include <objbase.h>
#include <platform/comobject.h>
#include <platform/machinedescription.h>
#include <platform/simulatedmachine.h>
#include <platform/text.h>

#include "arssmanager.h"
#include "bidiconnection.h"
#include "bidipapersourceanswer.h"
#include "bidipapersourcereader.h"
#include "connectionprintername.h"
#include "filterjob.h"
#include "jobcontext.h"
#include "korupapersourcedescription.h"
#include "papersourcemeasure.h"
#include "pipelinepropertybagproxy.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "raiiowners.h"
#include "testmachine.h"

using platform::PaperSource;
using platform::PaperSourceAnswer;
using platform::PrinterDescription;
using platform::SimulatedMachine;
using testsupport::LogTail;

namespace {

const wchar_t kPrinter[] = L"QX Plotter";
const std::wstring kSources = L"\\Printer.PaperSource.Source";

// Source types and lengths as the printer reports them, in 1/720 inch.
const wchar_t kTray[] = L"sheetFeedAutoNonRemovable";
const wchar_t kRoll[] = L"continuousRoll";
constexpr std::int32_t kTrayWidth = 31680;   // 1117600 µm
constexpr std::int32_t kTrayLength = 50400;  // 1778000 µm
constexpr std::int32_t kNarrowRoll = 25920;  // 36 inches, narrower than the tray
constexpr std::int32_t kWideRoll = 43200;    // 60 inches, wider than the tray

// Option values.
constexpr std::int32_t kAutoSelect = 0, kTrayBin = 2, kRollBin = 3;
constexpr std::int32_t kRotateNone = 0, kRotate90 = 1, kRotate0 = 4;

std::wstring SourceKey(int number, const wchar_t* property)
{
    return kSources + std::to_wstring(number) + L":" + property;
}

// An installed source of the type; a width or length left out is not reported.
PaperSource Source(const wchar_t* type, std::optional<LONG> width, std::optional<LONG> length = std::nullopt)
{
    PaperSource source;
    source.type = type;
    source.installed = L"installed";
    source.width = width;
    source.length = length;
    return source;
}

// Every source ready, as a mask with no bit set says.
PaperSourceAnswer Ready(std::vector<PaperSource> sources)
{
    PaperSourceAnswer answer;
    answer.notReadyMask = 0;
    answer.sources = std::move(sources);
    return answer;
}

PaperSourceAnswer TrayAndRoll(LONG rollWidth, LONG trayWidth = kTrayWidth)
{
    return Ready({Source(kRoll, rollWidth), Source(kTray, trayWidth, kTrayLength)});
}

PaperSourceAnswer OnlyTray() { return Ready({Source(kTray, kTrayWidth, kTrayLength)}); }

// The tray of TrayAndRoll, loaded but not yet measured across.
PaperSourceAnswer TrayBeingMeasured()
{
    PaperSourceAnswer answer = TrayAndRoll(kNarrowRoll);
    answer.sources[1].width = 0;
    return answer;
}

// A printer that answers the paper source queries in turn.
PrinterDescription Printer(std::vector<PaperSourceAnswer> answers, const std::wstring& name = kPrinter)
{
    PrinterDescription printer;
    printer.name = name;
    printer.port = L"USB001";
    printer.driverName = L"QX LFP Class Driver";
    printer.paperSourceAnswers = std::move(answers);
    return printer;
}

std::size_t Queries() { return SimulatedMachine::PaperSourceQueries(kPrinter); }

// The ticket values the paper source choice reads; an A0 portrait page, media type AutoSelect.
struct Ticket : IPaperSourceSettings {
    std::int32_t inputBin = kAutoSelect, rotation = kRotateNone, mediaType = 1, width = 841000, height = 1189000;
    std::int32_t scalingMode = 0, percentage = 100, fitWidth = 0, fitHeight = 0, orientation = 0;
    std::int32_t marginsLayout = 0, userMargin = -1;

    std::int32_t GetInputBin() const override { return inputBin; }
    std::int32_t GetRotation() const override { return rotation; }
    std::int32_t GetMediaType() const override { return mediaType; }
    std::int32_t GetMediaSizeWidth() const override { return width; }
    std::int32_t GetMediaSizeHeight() const override { return height; }
    std::int32_t GetScalingMode() const override { return scalingMode; }
    std::int32_t GetScalingPercentage() const override { return percentage; }
    std::int32_t GetFitToPaperWidth() const override { return fitWidth; }
    std::int32_t GetFitToPaperHeight() const override { return fitHeight; }
    std::int32_t GetOrientation() const override { return orientation; }
    std::int32_t GetMarginsLayout() const override { return marginsLayout; }
    std::int32_t GetUserMargin() const override { return userMargin; }
};

// A page of the size; orientation 1 is landscape.
Ticket Page(std::int32_t width, std::int32_t height, std::int32_t orientation = 0, std::int32_t mediaType = 1)
{
    Ticket ticket;
    ticket.width = width;
    ticket.height = height;
    ticket.orientation = orientation;
    ticket.mediaType = mediaType;
    return ticket;
}

Ticket Oversize(Ticket ticket, std::int32_t userMargin)
{
    ticket.marginsLayout = 2;
    ticket.userMargin = userMargin;
    return ticket;
}

// Every field of a source record, in one line a failure shows whole.
std::wstring Fields(const BIDI_PAPERSOURCE_ITEM& s)
{
    std::wostringstream out;
    out << s.stateFlag << ' ' << s.installed << ' ' << s.number << ' ' << s.width << ' ' << s.length << ' '
        << s.mediaProtected << ' ' << s.type << " [" << s.mediaType << "] [" << s.name << "] [" << s.vendor << ']';
    return out.str();
}

// Stands in front of the spooler's bidi object: requests go through to it, but for the one, counted
// from 0, that fails.
class InterceptedBidi : public platform::ComObject<InterceptedBidi, IBidiSpl2> {
public:
    InterceptedBidi(Microsoft::WRL::ComPtr<IBidiSpl2> spooler, int failing, std::shared_ptr<std::atomic<int>> requests)
        : spooler_(std::move(spooler)), failing_(failing), requests_(std::move(requests))
    {
    }
    HRESULT BindDevice(const wchar_t* device, DWORD access) override { return spooler_->BindDevice(device, access); }
    HRESULT UnbindDevice() override { return spooler_->UnbindDevice(); }
    HRESULT SendRecvXMLString(BSTR request, BSTR* response) override
    {
        return (*requests_)++ == failing_ ? E_FAIL : spooler_->SendRecvXMLString(request, response);
    }

private:
    Microsoft::WRL::ComPtr<IBidiSpl2> spooler_;
    int failing_;
    std::shared_ptr<std::atomic<int>> requests_;
};

// Puts the interception in place of the spooler's bidi object for as long as it lives.
class BidiInterception {
public:
    explicit BidiInterception(int failing)
    {
        Microsoft::WRL::ComPtr<IBidiSpl2> spooler;
        EXPECT_EQ(CoCreateInstance(CLSID_BidiSpl, nullptr, CLSCTX_INPROC_SERVER, IID_IBidiSpl2,
                                   reinterpret_cast<void**>(spooler.GetAddressOf())),
                  S_OK);
        Microsoft::WRL::ComPtr<IUnknown> factory;
        factory.Attach(static_cast<IClassFactory*>(
            new platform::FunctionClassFactory([spooler, failing, requests = requests_]() -> IUnknown* {
                return static_cast<IBidiSpl2*>(new InterceptedBidi(spooler, failing, requests));
            })));
        EXPECT_EQ(CoRegisterClassObject(CLSID_BidiSpl, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                        &cookie_),
                  S_OK);
    }
    ~BidiInterception() { CoRevokeClassObject(cookie_); }
    int Requests() const { return *requests_; }

private:
    std::shared_ptr<std::atomic<int>> requests_ = std::make_shared<std::atomic<int>>(0);
    DWORD cookie_ = 0;
};

using Choice = std::pair<std::int32_t, std::int32_t>;

class PaperSources : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        SimulatedMachine::Clear();
    }

    // What SelectPaperSource makes of input bin and rotation, from those given, on the manager or
    // for the printer's answer.
    static Choice Select(ArssManager& manager, const Ticket& ticket, Choice choice = {})
    {
        manager.SelectPaperSource(ticket, choice.first, choice.second);
        return choice;
    }
    static Choice Select(const PaperSourceAnswer& answer, const Ticket& ticket, Choice choice = {})
    {
        SimulatedMachine::AddPrinter(Printer({answer}));
        ArssManager manager(kPrinter);
        return Select(manager, ticket, choice);
    }

    ComApartment apartment_{COINIT_MULTITHREADED};
};

// ---- lengths

TEST(PaperSourceLengths, PrinterUnitsBecomeMicronsThroughASinglePrecisionProduct)
{
    const std::pair<std::int32_t, std::int32_t> rows[] = {
        {25920, 914400}, {25950, 915458}, {7200, 254000}, {0, 0}, {-1, -34}, {kTrayWidth, 1117600},
        {kTrayLength, 1778000},
        {5319, 187642},  // 187643 if the product were kept in double precision
    };
    for (const auto& [units, microns] : rows) {
        EXPECT_EQ(MicronsFromPrinterUnits(units), microns) << units;
    }
}

TEST(PaperSourceLengths, ARollWidthSnapsToTheNominalWidthJustBelowIt)
{
    const std::pair<std::int32_t, std::int32_t> rows[] = {
        {914400, 914400},    // a nominal width stays
        {915458, 914400},    // 1058 above, tolerance 3000
        {917399, 914400},    // 2999 above
        {917400, 917400},    // 3000 above: no longer that width
        {254000, 254000},    // nothing lies less than 2000 below
        {433799, 431800},    // 1999 above, tolerance 2000
        {433800, 433800},
        {596359, 594360},    // a width late in the table
        {914399, 914399},    // below a nominal width: not snapped up
        {1499, 0},           // the table's zero widths, tolerance 1500
        {1500, 1500},
        {0, 0},
    };
    for (const auto& [measured, snapped] : rows) {
        EXPECT_EQ(SnapRollWidth(measured), snapped) << measured;
    }
}

// ---- the bidi answer

// The answer is read with the platform's DOM, which needs the thread in an apartment.
TEST_F(PaperSources, TheBidiResponseIsReadWithEachValuesTypeAndTextThatIsNotXmlIsNoAnswer)
{
    const auto entries = ReadBidiSchemaEntries(
        L"<bidi:Get xmlns:bidi='http://schemas.microsoft.com/windows/2005/03/printing/bidi'>"
        L"<Query schema='\\Printer.PaperSource'>"
        L"<Schema name='\\Printer.PaperSource.Source1:Width'><BIDI_INT>25920</BIDI_INT></Schema>"
        L"<Schema name='\\Printer.PaperSource.Source1:Name'><BIDI_STRING>Roll &amp; more</BIDI_STRING></Schema>"
        L"<Schema name='\\Printer.PaperSource.Source1:Vendor'>QX</Schema>"
        L"</Query></bidi:Get>");
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 3u);
    EXPECT_EQ(entries->at(SourceKey(1, L"Width")).type, L"BIDI_INT");
    EXPECT_EQ(entries->at(SourceKey(1, L"Width")).text, L"25920");
    EXPECT_EQ(entries->at(SourceKey(1, L"Name")).type, L"BIDI_STRING");
    EXPECT_EQ(entries->at(SourceKey(1, L"Name")).text, L"Roll & more");
    EXPECT_EQ(entries->at(SourceKey(1, L"Vendor")).type, L"") << "no typed value element";

    EXPECT_FALSE(ReadBidiSchemaEntries(L"not <xml"));
    EXPECT_FALSE(ReadBidiSchemaEntries(L""));
}

TEST(BidiAnswerRecords, EverySourceFieldIsRead)
{
    const BidiEntries answer = {
        {L"\\Printer.PaperSource:DefaultSource", {L"BIDI_INT", L"2"}},
        {L"\\Printer.PaperSource:NotReady", {L"BIDI_INT", L"1"}},
        {SourceKey(1, L"Type"), {L"BIDI_ENUM", L"continuousRoll"}},
        {SourceKey(1, L"InputInstalled"), {L"BIDI_ENUM", L"installed"}},
        {SourceKey(1, L"Width"), {L"BIDI_INT", L"25920"}}, {SourceKey(1, L"Length"), {L"BIDI_INT", L"720000"}},
        {SourceKey(1, L"MediaProtected"), {L"BIDI_INT", L"2"}}, {SourceKey(1, L"Id"), {L"BIDI_INT", L"48"}},
        {SourceKey(1, L"Name"), {L"BIDI_STRING", L"Roll 1"}}, {SourceKey(1, L"Vendor"), {L"BIDI_STRING", L"QX"}},
        {SourceKey(2, L"Name"), {L"BIDI_STRING", L"Tray"}},
    };
    const BIDI_PAPERSOURCE sources = PaperSourcesFromBidiAnswer(answer);
    EXPECT_EQ(sources.defaultSource, 2);
    EXPECT_EQ(sources.notReadyMask, 1);
    ASSERT_EQ(sources.sources.size(), 2u);
    // state, installed, number, width, length, protected, type (2 a roll, -1 not reported), id, name, vendor
    EXPECT_EQ(Fields(sources.sources[0]), L"0 1 1 25920 720000 2 2 [48] [Roll 1] [QX]");
    EXPECT_EQ(Fields(sources.sources[1]), L"1 0 2 -1 -1 -1 -1 [] [Tray] []");

    const BIDI_PAPERSOURCE none = PaperSourcesFromBidiAnswer({});
    EXPECT_EQ(none.defaultSource, -1);
    EXPECT_EQ(none.notReadyMask, -1);
    EXPECT_TRUE(none.sources.empty());
}

TEST(BidiAnswerRecords, SourcesEndAtTheFirstNumberWithoutEntries)
{
    const BidiEntries entries = {
        {SourceKey(1, L"Width"), {L"BIDI_INT", L"100"}},
        {SourceKey(10, L"Width"), {L"BIDI_INT", L"1000"}},  // sorts between 1 and 2
        {SourceKey(2, L"Width"), {L"BIDI_INT", L"200"}},
        {SourceKey(4, L"Width"), {L"BIDI_INT", L"400"}},
        {L"\\Printer.PaperSource.Source3", {L"BIDI_INT", L"300"}},  // not an entry of source 3
    };
    const BIDI_PAPERSOURCE sources = PaperSourcesFromBidiAnswer(entries);
    ASSERT_EQ(sources.sources.size(), 2u);
    EXPECT_EQ(sources.sources[0].width, 100);
    EXPECT_EQ(sources.sources[1].width, 200);
}

TEST(BidiAnswerRecords, TypesLoadedStatesAndMediaIdsAreReadOnlyInTheirKnownForms)
{
    const auto field = [](const std::wstring& property, const BIDI_PAPERSOURCE_ITEM& source) {
        return property == L"Type" ? std::to_wstring(source.type)
               : property == L"Id" ? source.mediaType
                                   : std::to_wstring(source.installed);
    };
    const struct {
        const wchar_t *property, *valueType, *text, *read;
    } rows[] = {
        // Types: 1 a tray, 2 a roll, 4 a manual feed, 0 none the reader knows.
        {L"Type", L"BIDI_ENUM", L"sheetFeedAutoNonRemovable", L"1"}, {L"Type", L"BIDI_ENUM", L"Tray1", L"1"},
        {L"Type", L"BIDI_ENUM", L"sheetFeedAutoNonRemovableTray", L"1"}, {L"Type", L"BIDI_ENUM", L"Roll1", L"2"},
        {L"Type", L"BIDI_ENUM", L"continuousRoll", L"2"}, {L"Type", L"BIDI_ENUM", L"ContinuousRoll", L"2"},
        {L"Type", L"BIDI_ENUM", L"sheetFeedManual", L"4"}, {L"Type", L"BIDI_ENUM", L"TopFeedTray", L"4"},
        {L"Type", L"BIDI_ENUM", L"continuousroll", L"0"}, {L"Type", L"BIDI_ENUM", L"envelope", L"0"},
        {L"Type", L"BIDI_ENUM", L"", L"0"},
        // Installed states that count as loaded.
        {L"InputInstalled", L"BIDI_ENUM", L"true", L"1"}, {L"InputInstalled", L"BIDI_ENUM", L"2", L"1"},
        {L"InputInstalled", L"BIDI_ENUM", L"engaged", L"1"}, {L"InputInstalled", L"BIDI_ENUM", L"installed", L"1"},
        {L"InputInstalled", L"BIDI_ENUM", L"false", L"0"}, {L"InputInstalled", L"BIDI_ENUM", L"1", L"0"},
        {L"InputInstalled", L"BIDI_ENUM", L"notInstalled", L"0"}, {L"InputInstalled", L"BIDI_ENUM", L"Installed", L"0"},
        // The media type is the id only when it is an integer.
        {L"Id", L"BIDI_INT", L"27", L"27"}, {L"Id", L"BIDI_INT", L"+0027", L"27"}, {L"Id", L"BIDI_INT", L"-3", L"-3"},
        {L"Id", L"BIDI_STRING", L"27", L""}, {L"Id", L"BIDI_INT", L"27a", L""}, {L"Id", L"BIDI_INT", L"", L""},
        {L"Id", L"BIDI_INT", L"4294967296", L""},
    };
    for (const auto& row : rows) {
        const BidiEntries entries = {{SourceKey(1, row.property), {row.valueType, row.text}}};
        EXPECT_EQ(field(row.property, PaperSourcesFromBidiAnswer(entries).sources.at(0)), row.read)
            << platform::ToUtf8(row.property) << " " << platform::ToUtf8(row.valueType) << " "
            << platform::ToUtf8(row.text);
    }
}

TEST(BidiAnswerRecords, TheStateFlagFollowsTheMaskWhenThePrinterReportsOne)
{
    BidiEntries entries = {{L"\\Printer.PaperSource:NotReady", {L"BIDI_INT", L"5"}}};  // sources 1 and 3
    for (int number = 1; number <= 3; ++number) {
        entries[SourceKey(number, L"InputInstalled")] = {L"BIDI_ENUM", L"engaged"};
        entries[SourceKey(number, L"NotReady")] = {L"BIDI_BOOL", L"true"};  // the mask wins over both
    }
    const BIDI_PAPERSOURCE sources = PaperSourcesFromBidiAnswer(entries);
    ASSERT_EQ(sources.sources.size(), 3u);
    EXPECT_EQ(sources.sources[0].stateFlag, 0u);
    EXPECT_EQ(sources.sources[1].stateFlag, 1u);
    EXPECT_EQ(sources.sources[2].stateFlag, 0u);

    entries = {{L"\\Printer.PaperSource:NotReady", {L"BIDI_INT", L"-1"}}};  // every bit set
    for (int number = 1; number <= 33; ++number) {
        entries[SourceKey(number, L"Width")] = {L"BIDI_INT", L"100"};
    }
    const BIDI_PAPERSOURCE many = PaperSourcesFromBidiAnswer(entries);
    ASSERT_EQ(many.sources.size(), 33u);
    EXPECT_EQ(many.sources[31].stateFlag, 0u);
    EXPECT_EQ(many.sources[32].stateFlag, 1u) << "the mask has no bit for source 33";
}

TEST(BidiAnswerRecords, WithoutMaskTheStateFlagComesFromNotReadyOrEngaged)
{
    const struct {
        const wchar_t* notReady;  // null: not reported
        const wchar_t* installed;
        std::uint32_t flag;
    } rows[] = {{L"true", L"installed", 1}, {L"false", L"engaged", 1}, {nullptr, L"engaged", 1},
                {L"false", L"installed", 0}, {nullptr, L"true", 0},    {L"TRUE", L"installed", 0}};
    for (const auto& row : rows) {
        BidiEntries entries = {{SourceKey(1, L"InputInstalled"), {L"BIDI_ENUM", row.installed}}};
        if (row.notReady != nullptr) {
            entries[SourceKey(1, L"NotReady")] = {L"BIDI_BOOL", row.notReady};
        }
        EXPECT_EQ(PaperSourcesFromBidiAnswer(entries).sources.at(0).stateFlag, row.flag)
            << (row.notReady ? platform::ToUtf8(row.notReady) : "-") << " " << platform::ToUtf8(row.installed);
    }
}

TEST(BidiAnswerRecords, NumbersThatDoNotReadAreNotReported)
{
    const wchar_t* const texts[] = {L"", L"wide", L"12.5", L"2147483648", L" 100", L"-5"};
    for (const wchar_t* text : texts) {
        const BidiEntries entries = {{L"\\Printer.PaperSource:DefaultSource", {L"BIDI_INT", text}},
                                     {SourceKey(1, L"Width"), {L"BIDI_INT", text}},
                                     {SourceKey(1, L"Length"), {L"BIDI_INT", text}},
                                     {SourceKey(1, L"MediaProtected"), {L"BIDI_INT", text}}};
        const BIDI_PAPERSOURCE sources = PaperSourcesFromBidiAnswer(entries);
        EXPECT_EQ(sources.defaultSource, std::wstring(text) == L"-5" ? -5 : -1) << platform::ToUtf8(text);
        EXPECT_EQ(sources.sources.at(0).width, -1) << "a length is never negative: " << platform::ToUtf8(text);
        EXPECT_EQ(sources.sources.at(0).length, -1) << platform::ToUtf8(text);
        EXPECT_EQ(sources.sources.at(0).mediaProtected, 0) << "reported, but not 2: " << platform::ToUtf8(text);
    }
    const BidiEntries largest = {{SourceKey(1, L"Width"), {L"BIDI_INT", L"2147483647"}}};
    EXPECT_EQ(PaperSourcesFromBidiAnswer(largest).sources.at(0).width, 2147483647);
}

TEST(BidiAnswerRecords, EntriesOfAnUnknownValueTypeAreLeftOut)
{
    const BidiEntries entries = {{L"\\Printer.PaperSource:NotReady", {L"BIDI_LONG", L"1"}},
                                 {SourceKey(1, L"Width"), {L"BIDI_INT", L"100"}},
                                 {SourceKey(1, L"Length"), {L"", L"200"}},
                                 {SourceKey(2, L"Width"), {L"BIDI_NUMBER", L"300"}}};
    const BIDI_PAPERSOURCE sources = PaperSourcesFromBidiAnswer(entries);
    EXPECT_EQ(sources.notReadyMask, -1);
    ASSERT_EQ(sources.sources.size(), 1u) << "source 2 has nothing the reader knows";
    EXPECT_EQ(sources.sources[0].width, 100);
    EXPECT_EQ(sources.sources[0].length, -1);
}

// ---- the reader

TEST_F(PaperSources, AnEmptyPrinterNameIsRefused)
{
    try {
        BidiPaperSourceReader reader(L"");
        FAIL() << "no exception";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "Printer name is blank or null");
    }
    EXPECT_THROW(ArssManager(L""), std::invalid_argument);
}

TEST_F(PaperSources, TheReaderAsksThePrinterOnceOpen)
{
    PaperSourceAnswer answer = TrayAndRoll(kNarrowRoll);
    answer.defaultSource = 2;
    answer.sources[0].id = 48;
    answer.sources[1].mediaProtected = 2;
    SimulatedMachine::AddPrinter(Printer({answer}));
    BidiPaperSourceReader reader(kPrinter);
    EXPECT_FALSE(reader.Read(true)) << "not open yet";
    EXPECT_EQ(reader.Open(), BidiPaperSourceReader::kOpened);
    EXPECT_EQ(reader.Open(), BidiPaperSourceReader::kAlreadyOpen);
    const auto sources = reader.Read(false);
    ASSERT_TRUE(sources);
    EXPECT_EQ(sources->defaultSource, 2);
    EXPECT_EQ(sources->notReadyMask, 0);
    ASSERT_EQ(sources->sources.size(), 2u);
    EXPECT_EQ(Fields(sources->sources[0]), L"1 1 1 25920 -1 -1 2 [48] [] []");
    EXPECT_EQ(Fields(sources->sources[1]), L"1 1 2 31680 50400 2 1 [] [] []");
    EXPECT_FALSE(reader.Read(false)) << "an answer is held";
    EXPECT_TRUE(reader.Read(true));
    EXPECT_EQ(Queries(), 2u);
}

TEST_F(PaperSources, APrinterThatCannotBeBoundAnswersNothingAndLeavesBinAndRotation)
{
    PrinterDescription printer = Printer({TrayAndRoll(kNarrowRoll)});
    printer.bidiReachable = false;
    SimulatedMachine::AddPrinter(printer);
    BidiPaperSourceReader reader(kPrinter);
    EXPECT_EQ(reader.Open(), BidiPaperSourceReader::kOpened);
    EXPECT_FALSE(reader.Read(true));
    ArssManager manager(kPrinter);
    EXPECT_EQ(Select(manager, Page(841000, 1189000), {7, 3}), Choice(7, 3));

    BidiPaperSourceReader unknown(L"QX Nowhere");
    EXPECT_EQ(unknown.Open(), BidiPaperSourceReader::kOpened);
    EXPECT_FALSE(unknown.Read(true));
}

// ---- the KORU description

TEST(KoruDescription, LengthsInEveryUnitBecomePrinterUnitsRoundedToTheNearest)
{
    const struct {
        const wchar_t *unit, *width, *length;
        std::int32_t widthUnits, lengthUnits;
    } rows[] = {
        {L"meters", L"0.9144", L"1", 25920, 28346},
        {L"millimeters", L"914.4", L"1.5", 25920, 43},
        {L"inches", L"36", L"0.5", 25920, 360},
        {L"tenThousandthsOfInches", L"360000", L"7", 25920, 1},
        {L"points", L"2592", L"0.05", 25920, 1},
        {L"feet", L"3", L"100", 25920, 864000},
        {L"micrometers", L"914400", L"17", 25920, 0},
        {L"yards", L"1", L"1", -1, -1},
        {L"Inches", L"36", L"36", -1, -1},
        {L"inches", L"3000000", L"2982616", -1, 2147483520},  // beyond 32 bits: not reported
    };
    for (const auto& row : rows) {
        const std::wstring description = std::wstring(L"Source1_MediaUnits=") + row.unit + L"\nSource1_MediaWidth=" +
                                         row.width + L"\nSource1_MediaLength=" + row.length + L"\n";
        const BIDI_PAPERSOURCE sources = PaperSourcesFromKoruDescription(description);
        ASSERT_EQ(sources.sources.size(), 1u);
        EXPECT_EQ(sources.sources[0].width, row.widthUnits) << platform::ToUtf8(row.unit);
        EXPECT_EQ(sources.sources[0].length, row.lengthUnits) << platform::ToUtf8(row.unit);
    }
}

TEST(KoruDescription, NumbersAreDigitsWithAnOptionalFraction)
{
    const wchar_t* const texts[] = {L"", L"-5", L"+5", L"9,14", L"1e3", L".5", L"5.", L" 5", L"5 "};
    for (const wchar_t* text : texts) {
        const BIDI_PAPERSOURCE sources =
            PaperSourcesFromKoruDescription(std::wstring(L"Source1_MediaUnits=inches\nSource1_MediaWidth=") + text);
        EXPECT_EQ(sources.sources.at(0).width, -1) << platform::ToUtf8(text);
    }
    EXPECT_TRUE(PaperSourcesFromKoruDescription(L"").sources.empty());
    EXPECT_TRUE(PaperSourcesFromKoruDescription(L"Source_Name=x\nSourceA_Name=y\n").sources.empty());
}

TEST(KoruDescription, AKnownMediaSizeNameGivesTheWidth)
{
    const std::pair<const wchar_t*, std::int32_t> rows[] = {
        {L"iso_a0_841x1189mm", 23839}, {L"roll_36in", 25920}, {L"na_letter_8.5x11in", 6120},
        {L"custom_1x1in", 720},  // unknown: the width as measured
    };
    for (const auto& [sizeName, width] : rows) {
        const std::wstring description = std::wstring(L"Source1_MediaSizeName=") + sizeName +
                                         L"\nSource1_MediaUnits=inches\nSource1_MediaWidth=1\n";
        EXPECT_EQ(PaperSourcesFromKoruDescription(description).sources.at(0).width, width) << platform::ToUtf8(sizeName);
    }
}

TEST(KoruDescription, SourcesAreReadLikeTheBidiAnswer)
{
    const BIDI_PAPERSOURCE sources = PaperSourcesFromKoruDescription(
        L"Source1_Name=Roll 1\r\nSource1_Type=continuousRoll\r\nSource1_InputInstalled=installed\r\n"
        L"Source1_NotReady=true\r\nSource1_MediaID=48\na line without a value\n"
        L"Source2_Name=Tray=A\nSource2_Type=Tray1\nSource2_InputInstalled=engaged\n"
        L"Source2_MediaID=photographic-glossy\n"
        L"Source3_MediaID=qx-not-in-the-map\nSource3_MediaType=stationery\nSource3_NotReady=false\n"
        L"Source4_MediaType=Plain Paper\nSource6_Name=after a gap\n");
    ASSERT_EQ(sources.sources.size(), 4u);
    EXPECT_EQ(Fields(sources.sources[0]), L"1 1 1 -1 -1 -1 2 [48] [Roll 1] []");
    EXPECT_EQ(Fields(sources.sources[1]), L"0 1 2 -1 -1 -1 1 [48] [Tray=A] []") << "only \"_NotReady\" counts";
    EXPECT_EQ(Fields(sources.sources[2]), L"0 0 3 -1 -1 -1 -1 [2] [] []");
    EXPECT_EQ(Fields(sources.sources[3]), L"0 0 4 -1 -1 -1 -1 [] [] []") << "a name the map does not know";
}

// ---- the KORU library

// The reader's way through the library; what the description says is read as above.
TEST_F(PaperSources, AKoruPrinterDescribesItsSourcesThroughTheDriversLibrary)
{
    PrinterDescription printer = Printer({});
    platform::KoruPaperSource roll;
    roll.type = kRoll;
    roll.name = L"Roll 1";
    roll.inputInstalled = L"installed";
    roll.mediaUnits = L"inches";
    roll.mediaWidth = L"36";
    roll.mediaLength = L"1968.5";
    roll.mediaType = L"photographic-glossy";
    printer.koruPaperSources = {roll};
    SimulatedMachine::AddPrinter(printer);

    const auto sources = BidiPaperSourceReader(kPrinter).ReadThroughKoru();
    ASSERT_TRUE(sources);
    ASSERT_EQ(sources->sources.size(), 1u);
    EXPECT_EQ(Fields(sources->sources[0]), L"0 1 1 25920 1417320 -1 2 [48] [Roll 1] []");
    EXPECT_EQ(Queries(), 0u) << "bidi is not asked";
    EXPECT_FALSE(BidiPaperSourceReader(L"QX Nowhere").ReadThroughKoru()) << "a printer the library does not know";
}

// ---- the connection name of a printer named by its GUID

class ConnectionNames : public PaperSources {
protected:
    static constexpr wchar_t kGuid[] = L"{0E2F1C4A-7B7D-4C1B-9E55-3F1D2A6B8C90}";

    void SetUp() override
    {
        PaperSources::SetUp();
        SimulatedMachine::AddUser({L"ana"});
    }

    static void AddConnection(const std::wstring& name, const platform::RegistryData& guid)
    {
        SimulatedMachine::SetRegistryValue(platform::RegistryHive::UserOf(L"ana"),
                                           L"Printers\\Connections\\" + name, L"GuidPrinter", guid);
    }
};

TEST_F(ConnectionNames, AGuidNamedPrinterIsAskedUnderItsConnectionName)
{
    using platform::RegistryData;
    AddConnection(L",,srv,draft", RegistryData::String(L"{11111111-2222-3333-4444-555555555555}"));
    AddConnection(L",,srv,number", RegistryData::Dword(7));
    AddConnection(L",,srv,plotter", RegistryData::String(kGuid));
    AddConnection(L",,srv,plotter2", RegistryData::String(kGuid));
    SimulatedMachine::CreateRegistryKey(platform::RegistryHive::UserOf(L"ana"), L"Printers\\Connections\\,,srv,empty");
    SimulatedMachine::AddPrinter(Printer({TrayAndRoll(kNarrowRoll)}, L"\\\\srv\\plotter"));

    const std::wstring guidName = std::wstring(L"\\\\srv\\") + kGuid;
    EXPECT_EQ(ConnectionPrinterName(guidName), L"\\\\srv\\plotter");
    EXPECT_EQ(ConnectionPrinterName(L"\\\\srv\\{x}" + std::wstring(kGuid)), L"\\\\srv\\plotter")
        << "from the last brace on";

    BidiPaperSourceReader reader(guidName);
    EXPECT_EQ(reader.PrinterName(), L"\\\\srv\\plotter");
    reader.Open();
    const auto sources = reader.Read(true);
    ASSERT_TRUE(sources);
    EXPECT_EQ(sources->sources.size(), 2u);
}

TEST_F(ConnectionNames, OtherNamesStayAsTheyAre)
{
    const std::wstring guid = kGuid;
    EXPECT_EQ(ConnectionPrinterName(L"\\\\srv\\" + guid), L"\\\\srv\\" + guid) << "a user without connections";
    AddConnection(L",,srv,plotter", platform::RegistryData::String(kGuid));
    const std::wstring names[] = {
        L"QX Plotter",
        L"srv\\" + guid,                                          // no leading backslashes
        L"\\\\" + guid,                                           // no "\{" after them
        L"\\\\srv\\plotter",                                      // no GUID
        L"\\\\srv\\{0E2F1C4A-7B7D-4C1B-9E55-3F1D2A6B8C90",        // no closing brace
        L"\\\\srv\\{x}0E2F1C4A-7B7D-4C1B-9E55-3F1D2A6B8C90}{",    // closing brace before the last opening
        L"\\\\srv\\{0e2f1c4a-7b7d-4c1b-9e55-3f1d2a6b8c90}",       // GUIDs compare exactly
        L"\\\\srv\\{00000000-0000-0000-0000-000000000000}",       // no such connection
    };
    for (const std::wstring& name : names) {
        EXPECT_EQ(ConnectionPrinterName(name), name) << platform::ToUtf8(name);
    }
}

// ---- whether to ask

class PaperSourceConditions : public PaperSources {
protected:
    bool CanQuery(bool arssSupported, bool bidiInformation, const Ticket& ticket)
    {
        PrinterDescription printer = testsupport::FilterPrinter(kPrinter);
        printer.paperSourceAnswers = {TrayAndRoll(kNarrowRoll)};
        (*printer.driverPropertyBag)[L"IsArssSupported"] = arssSupported;
        (*printer.driverPropertyBag)[L"BidiInformation"] = bidiInformation;
        testsupport::JobContext job(printer);
        PipelinePropertyBagProxy proxy(job.BagInterface());
        PrinterAttributeSettings attributes(proxy);
        PrinterDriverProperties properties(proxy, attributes);
        return ArssManager(kPrinter).CanQueryPaperSources(ticket, properties);
    }
};

TEST_F(PaperSourceConditions, TheDriverMustSupportItAndTheTicketLeaveBinAndRotationOpen)
{
    const struct {
        const char* name;
        bool arss, bidi;
        std::int32_t inputBin, rotation;
        bool query;
    } rows[] = {
        {"all open", true, true, kAutoSelect, kRotateNone, true},
        {"no paper source support", false, true, kAutoSelect, kRotateNone, false},
        {"no bidi information", true, false, kAutoSelect, kRotateNone, false},
        {"ticket without input bin", true, true, -1, kRotateNone, false},
        {"input bin chosen", true, true, kTrayBin, kRotateNone, false},
        {"ticket without rotation", true, true, kAutoSelect, -1, false},
        {"rotation chosen", true, true, kAutoSelect, kRotate0, false},
    };
    for (const auto& row : rows) {
        Ticket ticket;
        ticket.inputBin = row.inputBin;
        ticket.rotation = row.rotation;
        EXPECT_EQ(CanQuery(row.arss, row.bidi, ticket), row.query) << row.name;
        EXPECT_EQ(Queries(), 0u) << "deciding asks the printer nothing: " << row.name;
    }
}

// ---- the choice

TEST_F(PaperSources, AutoSelectedMediaGoesToTheTrayWhenThePageFitsIt)
{
    const Ticket a0 = Page(841000, 1189000);
    const struct {
        const char* name;
        PaperSourceAnswer answer;
        Ticket ticket;
        Choice choice;
    } rows[] = {
        {"portrait fits the tray", TrayAndRoll(kNarrowRoll), a0, {kTrayBin, kRotate0}},
        {"landscape fits the tray turned", TrayAndRoll(kNarrowRoll), Page(841000, 1189000, 1), {kTrayBin, kRotate90}},
        {"the page exactly as wide and long as the tray", TrayAndRoll(kNarrowRoll), Page(1117600, 1778000),
         {kTrayBin, kRotate0}},
        {"a wider roll does not matter", TrayAndRoll(kWideRoll), a0, {kTrayBin, kRotate0}},
        {"too wide for the tray, fits the roll", TrayAndRoll(kWideRoll), Page(1200000, 3000000),
         {kRollBin, kRotateNone}},
        {"only its length fits the roll", TrayAndRoll(kNarrowRoll), Page(2000000, 900000), {kRollBin, kRotateNone}},
        // 1118000 fits the measured 1118306 but not the 1117600 it snaps to; turned it fits.
        {"the tray width is snapped", TrayAndRoll(kNarrowRoll, 31700), Page(1118000, 1000000),
         {kTrayBin, kRotate90}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Select(row.answer, row.ticket), row.choice) << row.name;
    }
    EXPECT_EQ(Select(TrayAndRoll(kNarrowRoll), Page(1600000, 1900000), {7, 3}), Choice(7, 3)) << "fits nothing";
}

TEST_F(PaperSources, OversizeMarginsAreAddedToBothSides)
{
    // Across the tray there is room for 6000 µm more, not for 10000.
    const Ticket page = Page(1111600, 1000000);
    const struct {
        const char* name;
        Ticket ticket;
        Choice choice;
    } rows[] = {
        {"no oversize", page, {kTrayBin, kRotate0}},
        {"oversize with 3 mm margins", Oversize(page, 1), {kTrayBin, kRotate0}},
        {"oversize with 0 mm margins", Oversize(page, 0), {kTrayBin, kRotate90}},
        {"oversize with 5 mm margins", Oversize(page, 2), {kTrayBin, kRotate90}},
        {"oversize without a user margin", Oversize(page, -1), {kTrayBin, kRotate90}},
        // Along the tray too: 1772000 + 6000 still fits its 1778000, + 10000 does not.
        {"length with 3 mm margins", Oversize(Page(800000, 1772000), 1), {kTrayBin, kRotate0}},
        {"length with 5 mm margins", Oversize(Page(800000, 1772000), 2), {kRollBin, kRotateNone}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Select(TrayAndRoll(kNarrowRoll), row.ticket), row.choice) << row.name;
    }
}

TEST_F(PaperSources, ScalingChangesThePageBeforeItIsFitted)
{
    const auto scaled = [](Ticket ticket, std::int32_t mode, std::int32_t percentage, std::int32_t fitWidth = 0,
                           std::int32_t fitHeight = 0) {
        ticket.scalingMode = mode;
        ticket.percentage = percentage;
        ticket.fitWidth = fitWidth;
        ticket.fitHeight = fitHeight;
        return ticket;
    };
    const auto tray = TrayAndRoll(kNarrowRoll);
    EXPECT_EQ(Select(tray, scaled(Page(2000000, 3000000), 1, 50)), Choice(kTrayBin, kRotate0)) << "1000000 x 1500000";
    EXPECT_EQ(Select(tray, scaled(Page(5000000, 5000000), 2, 100, 1189000, 841000)), Choice(kTrayBin, kRotate90));
    EXPECT_EQ(Select(tray, scaled(Page(2000000, 3000000), 0, 50, 800000, 800000), {7, 3}), Choice(7, 3))
        << "only mode 1 scales by the percentage";
    // 3% of 36920033 is 1107600.99, taken as 1107600: with the oversize margin exactly the tray's
    // width; rounded up it would fit nothing. A 30 m banner's percentage does not overflow.
    EXPECT_EQ(Select(tray, scaled(Oversize(Page(36920033, 40000000), 2), 1, 3)), Choice(kTrayBin, kRotate0));
    EXPECT_EQ(Select(tray, scaled(Page(800000, 30000000), 1, 100)), Choice(kRollBin, kRotateNone));
}

TEST_F(PaperSources, OtherMediaLeaveTheBinToThePrinterAndMayTurnThePage)
{
    const auto coated = [](std::int32_t width, std::int32_t height, std::int32_t orientation = 0) {
        return Page(width, height, orientation, 23);
    };
    const Ticket a0 = coated(841000, 1189000, 1);  // landscape
    const struct {
        const char* name;
        PaperSourceAnswer answer;
        Ticket ticket;
        Choice choice;
    } rows[] = {
        {"a tray wider than the roll", TrayAndRoll(kNarrowRoll), a0, {kAutoSelect, 3}},
        {"fits the tray turned", TrayAndRoll(kWideRoll), a0, {kAutoSelect, kRotate90}},
        {"fits the tray only as it is", TrayAndRoll(kWideRoll), coated(1000000, 1500000), {kAutoSelect, kRotate0}},
        {"fits no tray, the roll takes it", TrayAndRoll(kWideRoll), coated(1600000, 1600000), {kAutoSelect, 3}},
        {"only a tray, fits turned", OnlyTray(), a0, {kAutoSelect, kRotate90}},
        {"only a tray, fits it as it is", OnlyTray(), coated(1000000, 1500000), {kAutoSelect, kRotate0}},
        {"only a tray, fits nothing", OnlyTray(), coated(1600000, 1900000), {kAutoSelect, kRotate0}},
        {"only a tray, media AutoSelect", OnlyTray(), Page(841000, 1189000, 1), {kAutoSelect, kRotate90}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Select(row.answer, row.ticket, {7, 3}), row.choice) << row.name;
    }
}

TEST_F(PaperSources, WithoutAReadyTrayTheBinIsLeftToThePrinter)
{
    PaperSourceAnswer trayNotReady = TrayAndRoll(kWideRoll);
    trayNotReady.notReadyMask = 2;
    const std::pair<const char*, PaperSourceAnswer> rows[] = {
        {"only a roll", Ready({Source(kRoll, kWideRoll)})},
        {"tray not ready", trayNotReady},
        {"tray not measured", Ready({Source(kRoll, kWideRoll), Source(kTray, std::nullopt)})},
        {"manual feed only", Ready({Source(L"sheetFeedManual", kTrayWidth, kTrayLength)})},
        {"no sources", Ready({})},
    };
    for (const auto& [name, answer] : rows) {
        EXPECT_EQ(Select(answer, Page(841000, 1189000), {7, 3}), Choice(kAutoSelect, 3)) << name;
    }
}

// The printer is asked once per manager: a second choice keeps what it is given.
TEST_F(PaperSources, TheLastReadyTrayAndRollAreChosenUntilBothAreFound)
{
    SimulatedMachine::AddPrinter(Printer({Ready({
        Source(kTray, 100, kTrayLength),
        Source(kTray, kTrayWidth, kTrayLength),
        Source(kRoll, kNarrowRoll),
        Source(kTray, 200, kTrayLength),  // after both were found
        Source(kRoll, kWideRoll),
    })}));
    ArssManager manager(kPrinter);
    EXPECT_EQ(Select(manager, Page(841000, 1189000)), Choice(kTrayBin, kRotate0));
    ASSERT_TRUE(manager.TraySource());
    ASSERT_TRUE(manager.RollSource());
    EXPECT_EQ(manager.TraySource()->number, 2u);
    EXPECT_EQ(manager.RollSource()->number, 3u);
    EXPECT_FALSE(manager.GetPaperSourceInfo());
    EXPECT_EQ(Select(manager, Page(841000, 1189000), {7, 3}), Choice(7, 3));
    EXPECT_EQ(Queries(), 1u);
}

// ---- waiting for a loaded source to be measured

TEST_F(PaperSources, AnUnmeasuredSourceIsAskedForAgainAfter100Ms)
{
    SimulatedMachine::AddPrinter(Printer({TrayBeingMeasured(), TrayAndRoll(kNarrowRoll)}));
    const LogTail log;
    ArssManager manager(kPrinter);
    EXPECT_EQ(Select(manager, Page(841000, 1189000)), Choice(kTrayBin, kRotate0)) << "chosen on the second answer";
    EXPECT_EQ(Queries(), 2u);
    EXPECT_TRUE(log.WaitFor(L"[INF] [arssmanager:ArssManager::GetPaperSourceInfo:"));
    EXPECT_TRUE(log.WaitFor(L"Waiting for 100 ms for next query."));
    EXPECT_TRUE(log.WaitFor(L"[INF] [arssmanager:ArssManager::RetryGetPaperSourceInfo:"));
    EXPECT_TRUE(log.WaitFor(L"Executing GetPaperSourceInfo query."));
    const std::string logged = log.Settled();
    const std::size_t waiting = logged.find("Waiting for 100 ms for next query.");
    const std::size_t executing = logged.find("Executing GetPaperSourceInfo query.");
    EXPECT_LT(waiting, executing);
    EXPECT_EQ(logged.find("Waiting for", executing), std::string::npos) << "no third query";
}

TEST_F(PaperSources, OnlyALoadedReadySourceWithALengthIsWaitedFor)
{
    PaperSourceAnswer notInstalled = TrayBeingMeasured();
    notInstalled.sources[1].installed = L"notInstalled";
    PaperSourceAnswer notReady = TrayBeingMeasured();
    notReady.notReadyMask = 2;
    PaperSourceAnswer noLength = TrayBeingMeasured();
    noLength.sources[1].length = std::nullopt;
    for (const PaperSourceAnswer& answer : {notInstalled, notReady, noLength}) {
        SimulatedMachine::AddPrinter(Printer({answer}));
        ArssManager manager(kPrinter);
        EXPECT_TRUE(manager.GetPaperSourceInfo());
        EXPECT_EQ(Queries(), 1u);
    }
}

TEST_F(PaperSources, ASourceThatIsNeverMeasuredIsGivenUpOnAfterTheBound)
{
    SimulatedMachine::AddPrinter(Printer({TrayBeingMeasured()}));
    const LogTail log;
    ArssManager manager(kPrinter, 3);
    const auto answer = manager.GetPaperSourceInfo();
    ASSERT_TRUE(answer) << "the last answer is used";
    EXPECT_EQ(answer->sources.at(1).width, 0);
    EXPECT_EQ(Queries(), 4u);
    EXPECT_TRUE(log.WaitFor(L"[WAR] [arssmanager:ArssManager::GetPaperSourceInfo:"));
    EXPECT_TRUE(log.WaitFor(L"Paper source still not measured after 300 ms; going on with the last answer"));
}

TEST_F(PaperSources, AFailedRepeatedQueryIsNoAnswer)
{
    SimulatedMachine::AddPrinter(Printer({TrayBeingMeasured(), TrayAndRoll(kNarrowRoll)}));
    const BidiInterception bidi(1);
    ArssManager manager(kPrinter);
    EXPECT_EQ(Select(manager, Page(841000, 1189000), {7, 3}), Choice(7, 3));
    EXPECT_EQ(bidi.Requests(), 2);
}

}  // namespace
