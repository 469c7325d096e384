// The preview session's channel and data set: the data block and the paper source entries as the
// application receives them, the settings record of the encoding library, and the message handlers
// over a double of the communication library, one session's handlers kept apart from another's.
// The whole conversation over the real libraries is test_previewsession's.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <msxml6.h>
#include <objbase.h>
#include <platform/simulatedmachine.h>
#include <wrl/client.h>

#include "comlibmanager.h"
#include "jobcontext.h"
#include "morvikmanager.h"
#include "morvikrecord.h"
#include "pipelinepropertybagproxy.h"
#include "previewchannelstate.h"
#include "previewdataset.h"
#include "previewhandlerslot.h"
#include "previewmessages.h"
#include "previewrecords.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "ptsettings.h"
#include "testbstr.h"
#include "testmachine.h"
#include "tickettext.h"
#include "xpsfpkeys.h"

using Microsoft::WRL::ComPtr;
using platform::DriverPropertyValue;
using testsupport::Bstr;
using testsupport::JobContext;
using testsupport::LogTail;
using testsupport::Option;
using testsupport::PageScaling;
using testsupport::Parameter;
using testsupport::Scored;
using testsupport::Ticket;

namespace {

using Bytes = std::vector<std::uint8_t>;
using DriverBag = std::map<std::wstring, DriverPropertyValue>;

template <class Record>
Bytes BytesOf(const Record& record)
{
    const auto* begin = reinterpret_cast<const std::uint8_t*>(&record);
    return Bytes(begin, begin + sizeof(record));
}

std::uint32_t U32At(const Bytes& bytes, std::size_t offset)
{
    std::uint32_t value = 0;
    for (std::size_t byte = 4; byte-- > 0;) {
        value = value << 8 | bytes.at(offset + byte);
    }
    return value;
}

bool AllZero(const Bytes& bytes, std::size_t from, std::size_t to)
{
    return std::all_of(bytes.begin() + from, bytes.begin() + to, [](std::uint8_t byte) { return byte == 0; });
}

Bytes Slice(const Bytes& bytes, std::size_t offset, std::size_t size)
{
    return Bytes(bytes.begin() + offset, bytes.begin() + offset + size);
}

// The record the tail saw with the text, level and site included; empty when there is none.
std::string LoggedLine(const LogTail& log, const std::string& text)
{
    const std::string logged = log.Settled();
    const std::size_t found = logged.find(text);
    if (found == std::string::npos) {
        return {};
    }
    const std::size_t start = logged.rfind('\n', found);
    return logged.substr(start == std::string::npos ? 0 : start + 1, logged.find('\n', found) - start);
}

bool LoggedAsError(const LogTail& log, const std::string& text)
{
    return LoggedLine(log, text).find("[ERR]") != std::string::npos;
}

template <std::size_t N>
std::u16string Text(const char16_t (&field)[N])
{
    return std::u16string(field, std::find(field, field + N, u'\0'));
}

template <class Enum>
constexpr std::int32_t Code(Enum value)
{
    return static_cast<std::int32_t>(value);
}

// The message of the runtime error the call throws; empty when it throws none.
template <class Call>
std::string ErrorOf(Call call)
{
    try {
        call();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

// ---- the communication library's double: what was started, registered and sent

struct SentMessage {
    std::string pipe;
    std::int32_t message;
    Bytes payload;
};

struct Registration {
    std::string pipe;
    std::int32_t message;
    PipeMessageHandler handler;
};

struct FakeComLib {
    std::vector<std::string> started;
    std::vector<std::string> stopped;
    std::vector<Registration> registrations;
    std::vector<SentMessage> sent;
    // The status of each send, by the message and how many were sent before it.
    std::function<std::int32_t(std::int32_t message, std::size_t index)> status;
};

FakeComLib fakeComLib;

ComLibManager::Exports FakeExports()
{
    ComLibManager::Exports exports;
    exports.startPipe = [](const char* pipe) { fakeComLib.started.emplace_back(pipe); };
    exports.stopPipe = [](const char* pipe) { fakeComLib.stopped.emplace_back(pipe); };
    exports.registerForMessage = [](const char* pipe, std::int32_t message, PipeMessageHandler handler) {
        fakeComLib.registrations.push_back({pipe, message, handler});
    };
    exports.sendPipeMessage = [](const char* pipe, std::int32_t message, const void* payload,
                                 std::int32_t size) -> std::int32_t {
        const auto* bytes = static_cast<const std::uint8_t*>(payload);
        const std::size_t index = fakeComLib.sent.size();
        fakeComLib.sent.push_back({pipe, message, Bytes(bytes, bytes + size)});
        return fakeComLib.status ? fakeComLib.status(message, index) : 0;
    };
    return exports;
}

std::vector<std::int32_t> SentNumbers()
{
    std::vector<std::int32_t> numbers;
    for (const SentMessage& message : fakeComLib.sent) {
        numbers.push_back(message.message);
    }
    return numbers;
}

// What the library hands a handler: the payload and zeros up to 4096 bytes.
Bytes Delivered(const Bytes& payload)
{
    Bytes buffer(std::max<std::size_t>(payload.size(), 4096), 0);
    std::copy(payload.begin(), payload.end(), buffer.begin());
    return buffer;
}

PaperSourceEntry Entry(std::uint32_t position)
{
    PaperSourceEntry entry{};
    entry.state = 1;
    entry.position = position;
    entry.constant8 = 8;
    entry.width = static_cast<std::int32_t>(100000 * position);
    entry.name[0] = u'R';
    return entry;
}

// One session over the double: its channel, its state and its handlers in a slot.
struct Session {
    explicit Session(const std::string& name, std::size_t sources = 0)
        : channel(name + "_IN", FakeExports()), slot(state, channel, name + "_OUT")
    {
        state.data.copies = 3;
        state.data.pageCount = 12;
        state.data.printerName[0] = u'P';
        for (std::uint32_t position = 1; position <= sources; ++position) {
            state.paperSources.push_back(Entry(position));
        }
    }

    void Request(PipeMessageHandler handler, const Bytes& payload = {}) const
    {
        Bytes buffer = Delivered(payload);
        handler(buffer.data());
    }

    PreviewChannelState state;
    ComLibManager channel;
    PreviewHandlerSlot slot;
};

class ChannelTest : public testing::Test {
protected:
    void SetUp() override { fakeComLib = FakeComLib{}; }
    void TearDown() override { fakeComLib = FakeComLib{}; }
};

// ---- the encoding library's double

struct FakeMorvik {
    MorvikSettingsRecord encoded{};
    std::string output = "ENCODED-SETTINGS";
    std::string decodedText;
    MorvikSettingsRecord decoded{};
    std::uint8_t success = 1;
};

FakeMorvik fakeMorvik;

MorvikManager::Exports FakeMorvikExports()
{
    MorvikManager::Exports exports;
    exports.encode = [](MorvikSettingsRecord record, char* output) -> std::int32_t {
        fakeMorvik.encoded = record;
        std::memcpy(output, fakeMorvik.output.data(), std::min<std::size_t>(fakeMorvik.output.size(), 512));
        return 0;
    };
    exports.decode = [](const char* text, std::uint8_t* success) -> MorvikSettingsRecord {
        fakeMorvik.decodedText = text;
        *success = fakeMorvik.success;
        return fakeMorvik.decoded;
    };
    return exports;
}

// ---- tickets and the printer they are read for

std::wstring AdjustmentParameters(const std::wstring& lightness, const std::wstring& red, const std::wstring& green,
                              const std::wstring& blue)
{
    return Parameter(L"ns0000:PageColorAdjustmentLightness", lightness, L"integer") +
           Parameter(L"ns0000:PageColorAdjustmentRed", red, L"integer") +
           Parameter(L"ns0000:PageColorAdjustmentGreen", green, L"integer") +
           Parameter(L"ns0000:PageColorAdjustmentBlue", blue, L"integer");
}

const std::wstring kPosterTicket = testsupport::PosterTicket();

DriverBag RasterDriverBag()
{
    return {
        {L"Platform", std::wstring(L"Mesa")},
        {L"PDL", std::wstring(L"KESTREL")},
        {L"ColorAdjustment", true},
        {L"PureBlackAndWhiteSupported", true},
        {L"IsArssSupported", false},
        {L"CanDoCropLinesAndRBAAndAutoRotatePDF", true},
        {L"EncryptedPinSupported", std::wstring(L"On")},
        {L"ConnectivityProtocolsSupported", std::wstring(L"USB,KORU")},
    };
}

DriverBag With(DriverBag bag, const std::wstring& key, DriverPropertyValue value)
{
    bag[key] = std::move(value);
    return bag;
}

const wchar_t kPrinterName[] = L"QX Preview Printer";

platform::PrinterDescription Printer(DriverBag bag)
{
    platform::PrinterDescription printer;
    printer.name = kPrinterName;
    printer.port = L"USB001";
    printer.driverName = L"QX LFP Class Driver";
    printer.driverPropertyBag = std::move(bag);
    return printer;
}

// A job on the printer, seen through the pipeline property bag, with the driver's properties.
class Job {
public:
    explicit Job(DriverBag bag = RasterDriverBag(), platform::PrinterDescription printer = {})
        : job_(printer.name.empty() ? Printer(std::move(bag)) : std::move(printer)),
          proxy_(job_.BagInterface()),
          attributes_(proxy_),
          properties_(proxy_, attributes_)
    {
    }

    PipelinePropertyBagProxy& Proxy() { return proxy_; }
    PrinterDriverProperties& Properties() { return properties_; }

private:
    JobContext job_;
    PipelinePropertyBagProxy proxy_;
    PrinterAttributeSettings attributes_;
    PrinterDriverProperties properties_;
};

class TicketTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        fakeMorvik = FakeMorvik{};
    }
    void TearDown() override
    {
        documents_.clear();
        CoUninitialize();
    }

    PTSettings Load(const std::wstring& xml, Job& job)
    {
        ComPtr<IXMLDOMDocument2> document;
        EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&document)), S_OK);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        EXPECT_EQ(document->loadXML(Bstr(xml), &loaded), S_OK);
        EXPECT_EQ(loaded, VARIANT_TRUE);
        documents_.push_back(document);
        PTSettings settings(&job.Properties());
        settings.LoadPrintTicket(document.Get());
        settings.DetachDriverProperties();
        return settings;
    }

    MorvikSettingsRecord Filled(const std::wstring& xml, DriverBag bag = RasterDriverBag())
    {
        Job job(std::move(bag));
        PTSettings settings = Load(xml, job);
        MorvikManager morvik(FakeMorvikExports());
        morvik.Fill(settings);
        return morvik.Record();
    }

private:
    std::vector<ComPtr<IXMLDOMDocument2>> documents_;
};

PreviewDataSet::MorvikLoader FakeMorvikLoader()
{
    return [] { return std::make_unique<MorvikManager>(FakeMorvikExports()); };
}

}  // namespace

// ---- paper source entries

TEST(PaperSourceEntries, SizesAreConvertedFromTheTenThousandthsOfTheInchPrinterUnit)
{
    const std::pair<std::int32_t, std::int32_t> rows[] = {{-1, -34}, {7200, 254000}, {0, 0}, {1, 35}, {30240, 1066800}};
    for (const auto& [printerUnits, microns] : rows) {
        BIDI_PAPERSOURCE_ITEM source;
        source.width = printerUnits;
        source.length = printerUnits;
        const PaperSourceEntry entry = PreviewDataSet::MakePaperSourceEntry(source, 1, QX_HERE);
        EXPECT_EQ(entry.width, microns) << printerUnits;
        EXPECT_EQ(entry.length, microns) << printerUnits;
    }
}

TEST(PaperSourceEntries, TheMediaTypeTextIsItsValueMinusTwoWhenEmptyAndZeroWithAnErrorLine)
{
    const struct {
        const wchar_t* text;
        std::int32_t id;
        std::vector<std::string> logged;
        std::string error;  // logged as an error
        std::string absent;
    } rows[] = {
        {L"", -2, {}, "", "Media Type"},
        {L"12", 12, {"Media Type Id value = 12"}, "", "Convert Media Type Id exception"},
        // The standard library names the failing conversion only.
        {L"abc", 0, {"Media Type Custom Id = 0"}, "Convert Media Type Id exception: stoi.", "Media Type Id value"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.id);
        BIDI_PAPERSOURCE_ITEM source;
        source.mediaType = row.text;
        LogTail log;
        EXPECT_EQ(PreviewDataSet::MakePaperSourceEntry(source, 1, QX_HERE).mediaTypeId, row.id);
        const std::string logged = log.Settled();
        for (const std::string& line : row.logged) {
            EXPECT_NE(logged.find(line), std::string::npos) << line;
        }
        if (!row.error.empty()) {
            EXPECT_TRUE(LoggedAsError(log, row.error));
        }
        EXPECT_EQ(logged.find(row.absent), std::string::npos);
    }
}

TEST(PaperSourceEntries, CarryFlagsPositionConstantTypeAndTheNameCutTo254Characters)
{
    BIDI_PAPERSOURCE_ITEM source;
    source.stateFlag = 7;
    source.installed = 1;
    source.type = PaperSourceTypeRoll;
    source.name = std::wstring(300, L'n');
    const PaperSourceEntry entry = PreviewDataSet::MakePaperSourceEntry(source, 4, QX_HERE);
    EXPECT_EQ(entry.state, 1);
    EXPECT_EQ(entry.installed, 1);
    EXPECT_EQ(entry.padding[0] | entry.padding[1], 0);
    EXPECT_EQ(entry.position, 4u);
    EXPECT_EQ(entry.constant8, 8u);
    EXPECT_EQ(entry.sourceType, 2u);
    EXPECT_EQ(Text(entry.name), std::u16string(254, u'n'));

    source.type = PaperSourceTypeNotReported;
    source.name = L"Tray";
    source.installed = 0;
    const PaperSourceEntry tray = PreviewDataSet::MakePaperSourceEntry(source, 1, QX_HERE);
    EXPECT_EQ(tray.sourceType, 0xFFFFFFFFu);
    EXPECT_EQ(tray.installed, 0);
    EXPECT_EQ(Text(tray.name), u"Tray");
}

TEST(PaperSourceEntries, AreAppendedAndNumberedInTheListsOrder)
{
    PreviewChannelState state;
    state.paperSources.push_back(Entry(9));
    PreviewDataSet dataSet(state, FakeMorvikLoader());
    BIDI_PAPERSOURCE sources;
    sources.sources.resize(2);
    sources.sources[0].name = L"Roll 1";
    sources.sources[1].name = L"Tray";
    dataSet.AppendPaperSources(sources, QX_HERE);
    ASSERT_EQ(state.paperSources.size(), 3u);
    EXPECT_EQ(state.paperSources[1].position, 1u);
    EXPECT_EQ(Text(state.paperSources[1].name), u"Roll 1");
    EXPECT_EQ(state.paperSources[2].position, 2u);
    EXPECT_EQ(Text(state.paperSources[2].name), u"Tray");
}

// ---- the data block

class DataBlockTest : public TicketTest {
protected:
    PrintPreviewData Fill(const std::wstring& ticket, const std::wstring& numberOfPages = L"12")
    {
        Job job;
        job.Proxy().SetProperty(XPS_FP_NUMBERPAGES, numberOfPages);
        PTSettings settings = Load(ticket, job);
        PreviewChannelState state;
        PreviewDataSet(state, FakeMorvikLoader()).SetPrintPreviewData(settings, job.Proxy(), job.Properties(), QX_HERE);
        return state.data;
    }
};

TEST_F(DataBlockTest, IsFilledFromTheSettingsTheBagAndTheDriver)
{
    const PrintPreviewData data = Fill(kPosterTicket);
    EXPECT_STREQ(data.encodedSettings, "ENCODED-SETTINGS");
    EXPECT_EQ(fakeMorvik.encoded.fields[kMorvikFormat], 2) << "the record was filled before encoding";
    EXPECT_EQ(data.copies, 3u);
    EXPECT_EQ(data.pageCount, 12);
    EXPECT_EQ(Text(data.documentName), u"poster.pdf");
    EXPECT_EQ(Text(data.printerName), u"QX Preview Printer");
    EXPECT_EQ(Text(data.customMediaTypeName), u"Studio gloss 190");
    EXPECT_EQ(data.mediaWidth, 594000u);
    EXPECT_EQ(data.mediaHeight, 841000u);
    EXPECT_EQ(data.fitToPaperWidth, 420000u);
    EXPECT_EQ(data.fitToPaperHeight, 594000u);
    EXPECT_EQ(data.fitToPaperOption, static_cast<std::uint32_t>(EMediaSize::ISOA2));
    EXPECT_EQ(data.scalingPercentage, 100u);
    EXPECT_EQ(data.pureBlackAndWhiteSupported, 1);
    EXPECT_EQ(data.paperSourceQuerySupported, 0);
    EXPECT_EQ(data.platformId, 2u);
    EXPECT_EQ(data.sizePassThrough, 1);
    EXPECT_EQ(data.cropLinesRbaAutorotatePdf, 1);
    // Left to the session.
    EXPECT_EQ(data.pdlId, 0u);
    EXPECT_EQ(data.rollWidth, 0u);
    EXPECT_EQ(Text(data.prnFilePath), u"");
    const Bytes bytes = BytesOf(data);
    EXPECT_EQ(bytes[2], 0);
    EXPECT_TRUE(AllZero(bytes, 2041, 2048));
}

TEST_F(DataBlockTest, TheDocumentNameIsCutTo127Characters)
{
    const std::pair<std::size_t, std::size_t> rows[] = {{200, 127}, {128, 127}, {127, 127}, {5, 5}};
    for (const auto& [length, kept] : rows) {
        Job job;
        platform::SimulatedMachine::AddJob(
            {JobContext::kJobId, kPrinterName, std::wstring(length, L'd'), L"ana", 3});
        job.Proxy().SetProperty(XPS_FP_NUMBERPAGES, std::wstring(L"3"));
        PTSettings settings = Load(Ticket(L""), job);
        PreviewChannelState state;
        PreviewDataSet(state, FakeMorvikLoader()).SetPrintPreviewData(settings, job.Proxy(), job.Properties(), QX_HERE);
        EXPECT_EQ(Text(state.data.documentName), std::u16string(kept, u'd')) << length;
    }
}

TEST_F(DataBlockTest, ACustomMediaTypeNameOf99CharactersFitsAndOf100IsLeftOutWithAnErrorLine)
{
    const std::wstring initial = L"ns0000:PageMediaTypeInit";
    EXPECT_EQ(Text(Fill(Ticket(Parameter(initial, std::wstring(99, L'm')))).customMediaTypeName),
              std::u16string(99, u'm'));
    LogTail log;
    EXPECT_EQ(Text(Fill(Ticket(Parameter(initial, std::wstring(100, L'm')))).customMediaTypeName), u"");
    EXPECT_TRUE(log.WaitFor(L"The custom media type name of 100 characters is longer than 99 and is left out"));
}

TEST_F(DataBlockTest, AnEncodedTextWithoutRoomForItsTerminatorIsLeftOutWithAnErrorLine)
{
    fakeMorvik.output = std::string(512, 'e');
    LogTail log;
    EXPECT_STREQ(Fill(Ticket(L""), L"1").encodedSettings, "");
    EXPECT_TRUE(log.WaitFor(L"The encoded settings text of 512 bytes does not fit the preview data and is left out"));
}

struct PageCountRow {
    const char* name;
    std::wstring text;
    bool outOfRange;
};

class PageCount : public DataBlockTest, public testing::WithParamInterface<PageCountRow> {};

// The description's "invalid stoi argument" and "stoi argument out of range": this standard library
// says "stoi" for both, and the kind of exception tells them apart.
TEST_P(PageCount, ThatIsNoDecimalNumberLeavesTheFillWithTheConversionsException)
{
    Job job;
    if (!GetParam().text.empty()) {
        job.Proxy().SetProperty(XPS_FP_NUMBERPAGES, GetParam().text);
    }
    PTSettings settings = Load(Ticket(L""), job);
    PreviewChannelState state;
    PreviewDataSet dataSet(state, FakeMorvikLoader());
    try {
        dataSet.SetPrintPreviewData(settings, job.Proxy(), job.Properties(), QX_HERE);
        FAIL() << "no exception";
    } catch (const std::out_of_range& error) {
        EXPECT_TRUE(GetParam().outOfRange);
        EXPECT_STREQ(error.what(), "stoi");
    } catch (const std::invalid_argument& error) {
        EXPECT_FALSE(GetParam().outOfRange);
        EXPECT_STREQ(error.what(), "stoi");
    }
    EXPECT_STREQ(state.data.encodedSettings, "ENCODED-SETTINGS") << "the encoded text comes first";
    EXPECT_EQ(state.data.copies, 1u);
    EXPECT_EQ(Text(state.data.printerName), u"") << "nothing after the page count";
}

INSTANTIATE_TEST_SUITE_P(Texts, PageCount,
                         testing::Values(PageCountRow{"Absent", L"", false}, PageCountRow{"Letters", L"many", false},
                                         PageCountRow{"TooLarge", L"4294967296", true}),
                         [](const testing::TestParamInfo<PageCountRow>& info) { return std::string(info.param.name); });

TEST_F(DataBlockTest, WithoutTheEncodingLibraryTheFillFailsWithMorvikNotLoaded)
{
    Job job;
    job.Proxy().SetProperty(XPS_FP_NUMBERPAGES, std::wstring(L"1"));
    PTSettings settings = Load(Ticket(L""), job);
    PreviewChannelState state;
    PreviewDataSet dataSet(state, [] { return std::make_unique<MorvikManager>(L"C:\\Nowhere\\qxitrn.dll"); });
    EXPECT_EQ(ErrorOf([&] { dataSet.SetPrintPreviewData(settings, job.Proxy(), job.Properties(), QX_HERE); }),
              "Morvik not loaded");
}

TEST(PrnFilePath, IsWrittenAsUtf16UpTo255CharactersAndOf256IsLeftOutWithAnErrorLine)
{
    PreviewChannelState state;
    PreviewDataSet dataSet(state, FakeMorvikLoader());
    dataSet.SetPrnFilePath(L"C:\\\U0001F5A8.prn", QX_HERE);
    EXPECT_EQ(Text(state.data.prnFilePath), u"C:\\\U0001F5A8.prn") << "a surrogate pair";
    dataSet.SetPrnFilePath(std::wstring(255, L'p'), QX_HERE);
    EXPECT_EQ(Text(state.data.prnFilePath), std::u16string(255, u'p'));
    LogTail log;
    dataSet.SetPrnFilePath(std::wstring(256, L'p'), QX_HERE);
    EXPECT_EQ(Text(state.data.prnFilePath), u"");
    EXPECT_TRUE(
        LoggedAsError(log, "The prn file path of 256 characters does not fit the preview data and is left out"));
}

// ---- the settings record

TEST_F(TicketTest, TheSettingsRecordCarriesEveryFieldOfALoadedTicket)
{
    const MorvikSettingsRecord record = Filled(kPosterTicket);
    const std::pair<std::size_t, std::int32_t> fields[] = {
        {kMorvikFormat, 2}, {kMorvikAutorotate, Code(EAutorotate::_24inches)},
        {kMorvikCollate, Code(ECollate::Collated)}, {kMorvikColorManagement, Code(EColorManagement::Driver)},
        {kMorvikOutputColor, Code(EOutputColor::Grayscale)}, {kMorvikCropLines, 1},
        {kMorvikCmykColorManagement, Code(ECmykColorManagement::TOYO)},
        {kMorvikRgbColorManagement, Code(ERgbColorManagement::AdobeRGB)}, {kMorvikCutter, Code(ECutter::AutoCutterOff)},
        {kMorvikEconomode, 0}, {kMorvikFolderStyle, Code(EFolderStyle::Predefined3)}, {kMorvikHoldForAttendedMode, 1},
        {kMorvikUserMargin, Code(EUserMargin::_3mm)}, {kMorvikMarginsLayout, Code(EMarginsLayout::Oversize)},
        {kMorvikMaxDetail, 1}, {kMorvikMirrorImage, Code(EMirror::MirrorImageWidth)}, {kMorvikMorePasses, 1},
        {kMorvikOrientation, Code(EOrientation::Landscape)}, {kMorvikOutputBin, Code(EOutputBin::Folder)},
        {kMorvikPageOrder, Code(EReverse::Reverse)}, {kMorvikMediaSizeId, Code(EMediaSize::ISOA1)},
        {kMorvikInputBin, Code(EInputBin::Roll2)}, {kMorvikMediaType, 0}, {kMorvikOutputQuality, Code(EQuality::High)},
        {kMorvikPrinterEmulation, Code(EEmulatedPrinter::QXColorwave3000)}, {kMorvikRemoveBlankAreas, 1},
        {kMorvikResolution, 4}, {kMorvikRotation, Code(ERotate::None)}, {kMorvikUnidirectional, 1},
        {kMorvikScalingMode, Code(Scaling::FitToPaper)}, {kMorvikCustomMediaTypeEmpty, 0},
        {kMorvikPrintQualitySettings, Code(EPrintQualitySettings::Custom)}, {kMorvikCopiesNotOne, 1},
        {kMorvikPrivacyLevel, Code(EPrivacyLevel::Personal)}, {kMorvikAlignment, Code(EAlignment::KeepRight)},
        {kMorvikPantoneEmulation, 1}, {kMorvikVerticalCutter, 1}, {kMorvikPrintPreview, 1},
        {kMorvikGlossEnhancer, Code(EGlossEnhancer::FullPage)}, {kMorvikAlwaysOne, 1},
        {kMorvikRenderingIntent, Code(ERenderingIntent::AbsoluteColorimetric)}, {kMorvikSettingsChangedInPreview, -1},
        {kMorvikColorAdjustments, 1}, {kMorvikFastRenderingMode, 1},
    };
    for (const auto& [index, value] : fields) {
        EXPECT_EQ(record.fields[index], value) << "field " << index;
    }
    for (const std::size_t unused : {1, 2, 35, 36, 37, 38, 39, 47, 50}) {
        EXPECT_EQ(record.fields[unused], kMorvikUnset) << "field " << unused;
    }
}

TEST_F(TicketTest, ATicketWithOnlyCopiesAndSizeLeavesTheFeatureFieldsUnset)
{
    const MorvikSettingsRecord record = Filled(Ticket(L""));
    // The scaling reads as "no scaling" (0) without a PageScaling; the colour adjustments are read
    // on this driver and are all zero.
    const std::pair<std::size_t, std::int32_t> fixed[] = {
        {kMorvikFormat, 2},       {kMorvikMediaType, -1},           {kMorvikResolution, 1},
        {kMorvikScalingMode, 0},  {kMorvikCustomMediaTypeEmpty, 1}, {kMorvikCopiesNotOne, 0},
        {kMorvikAlwaysOne, 1},    {kMorvikColorAdjustments, 0},     {kMorvikAutorotate, -1},
        {kMorvikFolderStyle, -1}, {kMorvikPrivacyLevel, -1},        {kMorvikInputBin, -1},
        {kMorvikRotation, -1},    {kMorvikOutputColor, -1},
    };
    for (const auto& [index, value] : fixed) {
        EXPECT_EQ(record.fields[index], value) << "field " << index;
    }
}

// The application reads the media type at byte 96 and the empty-identifier flag at byte 128; an
// identifier's parameter without text names no custom medium.
TEST_F(TicketTest, TheCustomMediaTypeBytesFollowTheIdentifierText)
{
    const std::wstring plain = Option(L"psk:PageMediaType", L"Plainpaper");
    const struct {
        const char* name;
        std::wstring id;
        std::int32_t atOffset96, atOffset128;
    } rows[] = {{"no identifier", L"", Code(EMediaType::Plainpaper), 1},
                {"empty identifier", Parameter(L"ns0000:PageMediaTypeId", L""), Code(EMediaType::Plainpaper), 1},
                {"identifier", Parameter(L"ns0000:PageMediaTypeId", L"MyCanvas"), 0, 0}};
    for (const auto& row : rows) {
        const MorvikSettingsRecord record = Filled(Ticket(plain + row.id));
        std::int32_t at96 = 0;
        std::int32_t at128 = 0;
        std::memcpy(&at96, reinterpret_cast<const unsigned char*>(&record) + 96, sizeof at96);
        std::memcpy(&at128, reinterpret_cast<const unsigned char*>(&record) + 128, sizeof at128);
        EXPECT_EQ(at96, row.atOffset96) << row.name;
        EXPECT_EQ(at128, row.atOffset128) << row.name;
    }
}

struct ConditionalRow {
    const char* name;
    std::wstring body;
    std::size_t field;
    std::int32_t value;
    DriverBag bag = RasterDriverBag();
};

class ConditionalField : public TicketTest, public testing::WithParamInterface<ConditionalRow> {};

TEST_P(ConditionalField, FollowsTheFeatureOrDriverItDependsOn)
{
    EXPECT_EQ(Filled(Ticket(GetParam().body), GetParam().bag).fields[GetParam().field], GetParam().value);
}

const std::wstring kBlueAdjusted = AdjustmentParameters(L"0", L"0", L"0", L"4");
const std::wstring kPinJob = Option(L"ns0000:JobStorage", L"Pin");

// The option, with the feature it depends on when that is given.
std::wstring WithOption(const std::wstring& option, const wchar_t* feature, const wchar_t* value)
{
    return value == nullptr ? option : option + Option(feature, value);
}
std::wstring Autorotate24(const wchar_t* rotation)
{
    return WithOption(Option(L"ns0000:PageAutorotate", L"_24inches"), L"ns0000:JobRotate", rotation);
}
std::wstring NotFolded(const wchar_t* outputBin)
{
    return WithOption(Option(L"ns0000:JobFolderStyle", L"NotFolded"), L"ns0000:JobOutputBin", outputBin);
}

ConditionalRow Resolution(const char* name, const wchar_t* option, std::int32_t code)
{
    return {name, Option(L"psk:PageResolution", option), kMorvikResolution, code};
}

// The poster ticket's record shows each rule's case that carries the value; these, the others.
INSTANTIATE_TEST_SUITE_P(
    Rules, ConditionalField,
    testing::ValuesIn(std::vector<ConditionalRow>{
        {"AutorotateWithRotationNone", Autorotate24(L"None"), kMorvikAutorotate, 4},
        {"AutorotateWithRotation90", Autorotate24(L"Rotate90"), kMorvikAutorotate, -1},
        {"AutorotateWithRotate0", Autorotate24(L"Rotate0"), kMorvikAutorotate, -1},
        {"AutorotateWithoutRotation", Autorotate24(nullptr), kMorvikAutorotate, -1},
        {"FolderStyleWithOutputBinFolder", NotFolded(L"Folder"), kMorvikFolderStyle, 5},
        {"FolderStyleWithOutputBinStacker", NotFolded(L"Stacker"), kMorvikFolderStyle, -1},
        {"FolderStyleWithoutOutputBin", NotFolded(nullptr), kMorvikFolderStyle, -1},
        {"MediaTypeWithoutCustomId", Option(L"psk:PageMediaType", L"Plainpaper"), kMorvikMediaType,
         Code(EMediaType::Plainpaper)},
        {"ScalingOneHundredPercent", PageScaling(L"Custom", Scored(L"psk:Scale", L"100")), kMorvikScalingMode, 0},
        {"ScalingFiftyPercent", PageScaling(L"Custom", Scored(L"psk:Scale", L"50")), kMorvikScalingMode, 1},
        Resolution("Resolution75", L"_75dpi", 3), Resolution("Resolution300", L"_300dpi", 0),
        Resolution("Resolution600", L"_600dpi", 1), Resolution("Resolution1200", L"_1200dpi", 2),
        {"ColorAdjustmentsAllZero", AdjustmentParameters(L"0", L"0", L"0", L"0"), kMorvikColorAdjustments, 0},
        {"ColorAdjustmentsBlue", kBlueAdjusted, kMorvikColorAdjustments, 1},
        {"ColorAdjustmentsOnPostScript", kBlueAdjusted, kMorvikColorAdjustments, kMorvikUnset,
         With(RasterDriverBag(), L"PDL", std::wstring(L"PS3"))},
        {"ColorAdjustmentsNotSupported", kBlueAdjusted, kMorvikColorAdjustments, kMorvikUnset,
         With(RasterDriverBag(), L"ColorAdjustment", false)},
        {"PinJobOnAnEncryptingPrinter", kPinJob, kMorvikPrivacyLevel, 4},
        {"PinJobWithoutEncryption", kPinJob, kMorvikPrivacyLevel, 3,
         With(RasterDriverBag(), L"EncryptedPinSupported", std::wstring(L"Off"))}}),
    [](const testing::TestParamInfo<ConditionalRow>& info) { return std::string(info.param.name); });

// ---- encoding and decoding through the library

TEST_F(TicketTest, EncodeHandsTheRecordToTheLibraryAndReturnsItsTextUpToTheZero)
{
    Job job;
    PTSettings settings = Load(kPosterTicket, job);
    MorvikManager morvik(FakeMorvikExports());
    morvik.Fill(settings);
    fakeMorvik.output = std::string("2abc\0junk", 9);
    EXPECT_EQ(morvik.Encode(), "2abc");
    EXPECT_EQ(std::memcmp(&fakeMorvik.encoded, &morvik.Record(), sizeof(MorvikSettingsRecord)), 0);
}

TEST_F(TicketTest, ASuccessfulDecodeWritesInputBinRotationOutputColorAndScalingMode)
{
    Job job;
    PTSettings settings = Load(kPosterTicket, job);
    std::memset(&fakeMorvik.decoded, 0xFF, sizeof(fakeMorvik.decoded));
    fakeMorvik.decoded.fields[kMorvikInputBin] = Code(EInputBin::Tray);
    fakeMorvik.decoded.fields[kMorvikRotation] = Code(ERotate::Rotate270);
    fakeMorvik.decoded.fields[kMorvikOutputColor] = Code(EOutputColor::Monochrome);
    fakeMorvik.decoded.fields[kMorvikScalingMode] = Code(Scaling::FitToRollWidth);
    fakeMorvik.decoded.fields[kMorvikCopiesNotOne] = 0;

    MorvikManager morvik(FakeMorvikExports());
    EXPECT_TRUE(morvik.Decode(settings, "2changed"));
    EXPECT_EQ(fakeMorvik.decodedText, "2changed");
    EXPECT_EQ(settings.GetInputBin(), EInputBin::Tray);
    EXPECT_EQ(settings.GetRotation(), ERotate::Rotate270);
    EXPECT_EQ(settings.GetOutputColor(), EOutputColor::Monochrome);
    EXPECT_EQ(settings.GetScalingMode(), static_cast<std::uint32_t>(Scaling::FitToRollWidth));
    EXPECT_EQ(settings.GetCopies(), 3u) << "nothing else is written back";
}

TEST_F(TicketTest, AfterUnloadNothingIsEncodedOrDecoded)
{
    Job job;
    PTSettings settings = Load(kPosterTicket, job);
    MorvikManager morvik(FakeMorvikExports());
    morvik.Unload();
    EXPECT_EQ(morvik.Encode(), "");
    EXPECT_FALSE(morvik.Decode(settings, "2abc"));
    EXPECT_EQ(fakeMorvik.decodedText, "") << "the library was not called";
}

// ---- the channel

TEST_F(ChannelTest, StartsTheIncomingPipeAndStopsItOnceWhenClosed)
{
    EXPECT_EQ(ErrorOf([] { ComLibManager("abc_IN", L"C:\\Nowhere\\qxicl.dll"); }), "ComLibrary not loaded");
    {
        ComLibManager channel("abc_IN", FakeExports());
        EXPECT_EQ(fakeComLib.started, std::vector<std::string>{"abc_IN"});
        EXPECT_TRUE(fakeComLib.stopped.empty());
        channel.Close();
        channel.Close();
        EXPECT_EQ(channel.SendPipeMessage("abc_OUT", PP_MSG_DATA, "", 0), ComLibManager::kSendUnavailable);
    }
    EXPECT_EQ(fakeComLib.stopped, std::vector<std::string>{"abc_IN"});
}

TEST_F(ChannelTest, TheHandlersAreRegisteredOnTheIncomingPipeAsDataRequestUrlRequestAndResult)
{
    Session session("S1");
    session.slot.Register();
    ASSERT_EQ(fakeComLib.registrations.size(), 3u);
    const std::int32_t order[] = {101, 107, 106};
    const PipeMessageHandler handlers[] = {session.slot.DataRequestHandler(), session.slot.SoftwareUrlRequestHandler(),
                                           session.slot.PreviewResultHandler()};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(fakeComLib.registrations[i].pipe, "S1_IN");
        EXPECT_EQ(fakeComLib.registrations[i].message, order[i]);
        EXPECT_EQ(fakeComLib.registrations[i].handler, handlers[i]);
    }
}

TEST_F(ChannelTest, ADataRequestSendsTheDataBlockEverySourceAndTheEndMarker)
{
    Session session("S1", 3);
    session.Request(session.slot.DataRequestHandler(), {'r', 'e', 'q', 0});
    EXPECT_EQ(SentNumbers(), (std::vector<std::int32_t>{102, 103, 103, 103, 104}));
    for (const SentMessage& message : fakeComLib.sent) {
        EXPECT_EQ(message.pipe, "S1_OUT");
        EXPECT_EQ(message.payload.size(), 2048u);
    }
    EXPECT_EQ(fakeComLib.sent[0].payload, BytesOf(session.state.data));
    for (std::size_t i = 0; i < 3; ++i) {
        const Bytes& payload = fakeComLib.sent[1 + i].payload;
        EXPECT_EQ(Slice(payload, 0, sizeof(PaperSourceEntry)), BytesOf(session.state.paperSources[i]));
        EXPECT_TRUE(AllZero(payload, sizeof(PaperSourceEntry), 2048));
    }
    EXPECT_TRUE(AllZero(fakeComLib.sent[4].payload, 0, 2048));
}

TEST_F(ChannelTest, AFailedSendEndsTheAnswerOnlyWhereNothingCanFollow)
{
    const struct {
        const char* name;
        std::size_t sources;
        std::function<std::int32_t(std::int32_t message, std::size_t index)> status;
        std::vector<std::int32_t> sent;
        const wchar_t* logged;
    } rows[] = {
        {"no paper sources", 0, nullptr, {102, 104}, nullptr},
        {"the last paper source", 3, [](std::int32_t, std::size_t index) { return index == 3 ? 2 : 0; },
         {102, 103, 103, 103}, L"Preview message 103 not sent, status 2"},
        {"an earlier paper source", 3, [](std::int32_t, std::size_t index) { return index == 1 ? 2 : 0; },
         {102, 103, 103, 103, 104}, nullptr},
        {"the data block", 2, [](std::int32_t message, std::size_t) { return message == PP_MSG_DATA ? 1 : 0; },
         {102}, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fakeComLib = FakeComLib{};
        fakeComLib.status = row.status;
        Session session("S1", row.sources);
        LogTail log;
        session.Request(session.slot.DataRequestHandler());
        EXPECT_EQ(SentNumbers(), row.sent);
        if (row.logged != nullptr) {
            EXPECT_TRUE(log.WaitFor(row.logged));
        }
    }
}

TEST_F(ChannelTest, TheSoftwareUrlIsSentInUtf8FollowedByZerosOrAsZerosWhenItDoesNotFit)
{
    std::string twoByteUtf8;
    while (twoByteUtf8.size() < 2048) {
        twoByteUtf8 += "\xC3\xA9";
    }
    const struct {
        const char* name;
        std::wstring url;
        std::string utf8;   // what the payload starts with
        std::string error;  // logged as an error when the URL does not fit
    } rows[] = {
        {"short", L"https://example.com/driver", "https://example.com/driver", ""},
        {"empty", L"", "", ""},
        {"fills the payload without terminator", std::wstring(2048, L'u'), std::string(2048, 'u'), ""},
        {"two-byte characters filling the payload", std::wstring(1024, L'\u00E9'), twoByteUtf8, ""},
        {"one byte too long", std::wstring(2047, L'u') + L"\u00E9", "",
         "Software URL of 2049 bytes does not fit the message and is not sent"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        fakeComLib = FakeComLib{};
        Session session("S1");
        session.state.softwareUrl = row.url;
        LogTail log;
        session.Request(session.slot.SoftwareUrlRequestHandler());
        ASSERT_EQ(SentNumbers(), (std::vector<std::int32_t>{105}));
        const Bytes& payload = fakeComLib.sent[0].payload;
        ASSERT_EQ(payload.size(), 2048u);
        EXPECT_EQ(std::string(payload.begin(), payload.begin() + row.utf8.size()), row.utf8);
        EXPECT_TRUE(AllZero(payload, row.utf8.size(), 2048));
        if (!row.error.empty()) {
            EXPECT_TRUE(LoggedAsError(log, row.error));
        }
    }
}

TEST_F(ChannelTest, AFailedUrlSendIsOnlyLogged)
{
    Session session("S1");
    session.state.softwareUrl = L"https://example.com";
    fakeComLib.status = [](std::int32_t, std::size_t) { return 1; };
    LogTail log;
    session.Request(session.slot.SoftwareUrlRequestHandler());
    EXPECT_EQ(SentNumbers(), (std::vector<std::int32_t>{105}));
    EXPECT_TRUE(log.WaitFor(L"Preview message 105 not sent, status 1"));
}

TEST_F(ChannelTest, AResultIsStoredAndMarkedReceived)
{
    Session session("S1");
    EXPECT_FALSE(session.state.ResultReceived());
    PrintPreviewResult sent{};
    sent.fitToPaperWidth = 420000;
    sent.fitToPaperOption = 17;
    std::strcpy(sent.encodedSettings, "2changed");
    sent.scalingPercentage = 80;
    session.Request(session.slot.PreviewResultHandler(), BytesOf(sent));
    EXPECT_TRUE(session.state.ResultReceived());
    EXPECT_EQ(BytesOf(session.state.Result()), BytesOf(sent));
    EXPECT_EQ(session.state.ResultEncodedSettings(), "2changed");
    EXPECT_TRUE(fakeComLib.sent.empty());
}

TEST_F(ChannelTest, AnEncodedResultTextWithoutTerminatorIsReadToTheFieldsEnd)
{
    Session session("S1");
    PrintPreviewResult sent{};
    std::memset(sent.encodedSettings, 'x', sizeof(sent.encodedSettings));
    sent.scalingPercentage = 0x31;
    session.Request(session.slot.PreviewResultHandler(), BytesOf(sent));
    EXPECT_EQ(session.state.ResultEncodedSettings(), std::string(512, 'x'));
}

TEST_F(ChannelTest, AShortResultReadsAsZerosBeyondItsEnd)
{
    Session session("S1");
    session.Request(session.slot.PreviewResultHandler(), {0x10, 0, 0, 0, 0x20, 0, 0, 0});
    EXPECT_TRUE(session.state.ResultReceived());
    const PrintPreviewResult result = session.state.Result();
    EXPECT_EQ(result.fitToPaperWidth, 0x10u);
    EXPECT_EQ(result.fitToPaperHeight, 0x20u);
    EXPECT_STREQ(result.encodedSettings, "");
    EXPECT_EQ(result.scalingPercentage, 0u);
}

TEST_F(ChannelTest, TwoSessionsHandlersAnswerFromTheirOwnStateOnTheirOwnPipe)
{
    Session first("A", 1);
    Session second("B", 2);
    second.state.data.copies = 9;
    second.state.softwareUrl = L"https://b.example";
    EXPECT_NE(first.slot.Index(), second.slot.Index());
    EXPECT_NE(first.slot.DataRequestHandler(), second.slot.DataRequestHandler());

    second.Request(second.slot.DataRequestHandler());
    first.Request(first.slot.SoftwareUrlRequestHandler());
    ASSERT_EQ(SentNumbers(), (std::vector<std::int32_t>{102, 103, 103, 104, 105}));
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(fakeComLib.sent[i].pipe, "B_OUT");
    }
    EXPECT_EQ(U32At(fakeComLib.sent[0].payload, 8), 9u);
    EXPECT_EQ(fakeComLib.sent[4].pipe, "A_OUT");
    EXPECT_TRUE(AllZero(fakeComLib.sent[4].payload, 0, 2048)) << "A has no URL";

    PrintPreviewResult result{};
    result.scalingPercentage = 50;
    first.Request(first.slot.PreviewResultHandler(), BytesOf(result));
    EXPECT_TRUE(first.state.ResultReceived());
    EXPECT_FALSE(second.state.ResultReceived());
    EXPECT_EQ(first.state.Result().scalingPercentage, 50u);
}

TEST_F(ChannelTest, ASessionThatEndedClosesItsPipeAndIgnoresLateMessages)
{
    PipeMessageHandler lateHandler = nullptr;
    {
        Session session("S1", 1);
        lateHandler = session.slot.DataRequestHandler();
    }
    EXPECT_EQ(fakeComLib.stopped, std::vector<std::string>{"S1_IN"});
    Bytes payload(4096, 0);
    lateHandler(payload.data());
    EXPECT_TRUE(fakeComLib.sent.empty());
}

TEST_F(ChannelTest, ASessionBeyondEverySlotWaitsForOneInsteadOfFailing)
{
    std::vector<std::unique_ptr<Session>> sessions;
    for (std::size_t i = 0; i < PreviewHandlerSlot::kSlotCount; ++i) {
        sessions.push_back(std::make_unique<Session>("S" + std::to_string(i)));
    }
    LogTail log;
    std::promise<std::size_t> slotTaken;
    std::thread extra([&] {
        Session next("Y");
        next.Request(next.slot.DataRequestHandler());
        slotTaken.set_value(next.slot.Index());
    });
    EXPECT_TRUE(log.WaitFor(L"All 256 preview channels are in use; waiting for one"));
    std::future<std::size_t> taken = slotTaken.get_future();
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);

    const std::size_t freed = sessions[5]->slot.Index();
    sessions[5].reset();
    EXPECT_EQ(taken.get(), freed);
    extra.join();
    ASSERT_FALSE(fakeComLib.sent.empty());
    EXPECT_EQ(fakeComLib.sent.back().pipe, "Y_OUT");
}

TEST_F(ChannelTest, WithoutTheSendExportEveryAnswerStopsAtItsFirstSend)
{
    ComLibManager::Exports exports = FakeExports();
    exports.sendPipeMessage = nullptr;
    PreviewChannelState state;
    state.paperSources.push_back(Entry(1));
    ComLibManager channel("S1_IN", exports);
    PreviewHandlerSlot slot(state, channel, "S1_OUT");
    LogTail log;
    Bytes payload(4096, 0);
    slot.DataRequestHandler()(payload.data());
    EXPECT_TRUE(log.WaitFor(L"Preview message 102 not sent, status -1"));
    EXPECT_EQ(log.Settled().find("Preview message 103"), std::string::npos);
}
