#include "previewdataset.h"

#include <exception>
#include <optional>
#include <string_view>
#include <utility>

#include "bidipapersourcereader.h"
#include "jobattributesettings.h"
#include "papersourcemeasure.h"
#include "qxdrvlogger.h"
#include "recordtext.h"
#include "textconversion.h"
#include "xpsfpkeys.h"

namespace {

template <std::size_t N>
void CopyWideOrLog(const wchar_t* what, const std::u16string& text, char16_t (&field)[N], const LogSite& caller)
{
    if (!CopyToRecordField(std::u16string_view(text), field)) {
        LogAt(LogLevel::Error, QX_FOR(caller), L"The %s of %u characters does not fit the preview data and is left out",
              what, static_cast<unsigned>(text.size()));
    }
}

template <std::size_t N>
void CopyNarrowOrLog(const wchar_t* what, const std::string& text, char (&field)[N], const LogSite& caller)
{
    if (!CopyToRecordField(std::string_view(text), field)) {
        LogAt(LogLevel::Error, QX_FOR(caller), L"The %s of %u bytes does not fit the preview data and is left out", what,
              static_cast<unsigned>(text.size()));
    }
}

std::uint8_t Flag(bool value) { return value ? 1 : 0; }

std::int32_t MediaTypeId(const std::wstring& text, const LogSite& caller)
{
    if (text.empty()) {
        return PreviewDataSet::kNoMediaTypeId;
    }
    try {
        const std::int32_t id = std::stoi(text);
        LogAt(LogLevel::Info, QX_FOR(caller), L"Media Type Id value = %i", id);
        return id;
    } catch (const std::exception& exception) {
        LogAt(LogLevel::Error, QX_FOR(caller), L"Convert Media Type Id exception: %s.",
              AnsiToWide(exception.what()).c_str());
        const std::int32_t id = 0;
        LogAt(LogLevel::Info, QX_FOR(caller), L"Media Type Custom Id = %i", id);
        return id;
    }
}

std::optional<BIDI_PAPERSOURCE> ReadPaperSources(BidiPaperSourceReader& reader, bool useKoru)
{
    return useKoru ? reader.ReadThroughKoru() : reader.Read(true);
}

}  // namespace

PreviewDataSet::PreviewDataSet(PreviewChannelState& state, MorvikLoader loadMorvik)
    : m_state(state), m_loadMorvik(std::move(loadMorvik))
{
}

void PreviewDataSet::SetPrintPreviewData(PTSettings settings, PipelinePropertyBagProxy& propertyBag,
                                         PrinterDriverProperties& driverProperties, const LogSite& caller)
{
    SetEncodedSettings(settings, caller);
    m_state.data.copies = settings.GetCopies();
    SetPageCount(propertyBag);
    SetNames(settings, propertyBag, caller);
    SetMediaAndScaling(settings);
    SetDriverFlags(settings, driverProperties);
}

void PreviewDataSet::SetEncodedSettings(PTSettings& settings, const LogSite& caller)
{
    // Loaded only around its use; it is freed on every way out.
    const std::unique_ptr<MorvikManager> morvik = m_loadMorvik();
    morvik->Fill(settings);
    CopyNarrowOrLog(L"encoded settings text", morvik->Encode(), m_state.data.encodedSettings, caller);
    morvik->Unload();
}

void PreviewDataSet::SetPageCount(PipelinePropertyBagProxy& propertyBag)
{
    m_state.data.pageCount = std::stoi(propertyBag.GetStringProperty(XPS_FP_NUMBERPAGES));
}

void PreviewDataSet::SetNames(PTSettings& settings, PipelinePropertyBagProxy& propertyBag, const LogSite& caller)
{
    JobAttributeSettings job(propertyBag);
    const std::u16string documentName =
        CutRecordUtf16(ToRecordUtf16(job.GetDocumentName()), kDocumentNameCharacters);
    CopyWideOrLog(L"document name", documentName, m_state.data.documentName, caller);
    CopyWideOrLog(L"printer name", ToRecordUtf16(propertyBag.GetPrinterName()), m_state.data.printerName, caller);
    if (settings.HasCustomMediaTypeName()) {
        wchar_t name[Settings::kCustomMediaTypeNameCharacters] = {};
        settings.GetCustomMediaTypeName(name, Settings::kCustomMediaTypeNameCharacters);
        // The application's own limit, one below its field.
        std::u16string text = ToRecordUtf16(name);
        if (text.size() > kCustomMediaTypeNameLimit) {
            LogAt(LogLevel::Error, QX_FOR(caller),
                  L"The custom media type name of %u characters is longer than %u and is left out",
                  static_cast<unsigned>(text.size()), static_cast<unsigned>(kCustomMediaTypeNameLimit));
            text.clear();
        }
        CopyWideOrLog(L"custom media type name", text, m_state.data.customMediaTypeName, caller);
    }
}

void PreviewDataSet::SetMediaAndScaling(PTSettings& settings)
{
    PrintPreviewData& data = m_state.data;
    data.mediaWidth = settings.GetMediaSizeWidth();
    data.mediaHeight = settings.GetMediaSizeHeight();
    const Scaling scaling = settings.GetScaling();
    data.fitToPaperWidth = scaling.paperWidth;
    data.fitToPaperHeight = scaling.paperHeight;
    data.fitToPaperOption = static_cast<std::uint32_t>(scaling.paperSize);
    data.scalingPercentage = scaling.percentage;
}

void PreviewDataSet::SetDriverFlags(PTSettings& settings, PrinterDriverProperties& driverProperties)
{
    PrintPreviewData& data = m_state.data;
    data.pureBlackAndWhiteSupported = Flag(driverProperties.IsPureBlackAndWhiteSupported() != 0);
    data.paperSourceQuerySupported = Flag(driverProperties.IsArssSupported() != 0);
    // The platform enumeration's values are the application's platform ids.
    data.platformId = static_cast<std::uint32_t>(driverProperties.GetPlatform());
    data.sizePassThrough = Flag(settings.GetSizePassThrough() == EOnOff::ON);
    data.cropLinesRbaAutorotatePdf = Flag(driverProperties.CanDoCropLinesAndRBAAndAutoRotatePDF() != 0);
}

void PreviewDataSet::SetPrnFilePath(const std::wstring& path, const LogSite& caller)
{
    CopyWideOrLog(L"prn file path", ToRecordUtf16(path), m_state.data.prnFilePath, caller);
}

void PreviewDataSet::SetPaperSourcesData(IPipelinePropertyBagProxy& propertyBag, bool useKoru, const LogSite& caller)
{
    BidiPaperSourceReader reader(propertyBag.GetPrinterName());
    if (reader.Open() != BidiPaperSourceReader::kOpened) {
        return;
    }
    const std::optional<BIDI_PAPERSOURCE> paperSources = ReadPaperSources(reader, useKoru);
    if (paperSources) {
        AppendPaperSources(*paperSources, caller);
    }
}

void PreviewDataSet::AppendPaperSources(const BIDI_PAPERSOURCE& paperSources, const LogSite& caller)
{
    std::uint32_t position = 1;
    for (const BIDI_PAPERSOURCE_ITEM& source : paperSources.sources) {
        m_state.paperSources.push_back(MakePaperSourceEntry(source, position++, caller));
    }
}

PaperSourceEntry PreviewDataSet::MakePaperSourceEntry(const BIDI_PAPERSOURCE_ITEM& source, std::uint32_t position,
                                                      const LogSite& caller)
{
    PaperSourceEntry entry{};
    entry.state = Flag(source.stateFlag != 0);
    entry.installed = Flag(source.installed != 0);
    entry.position = position;
    entry.constant8 = kPaperSourceConstant;
    entry.width = MicronsFromPrinterUnits(source.width);
    entry.length = MicronsFromPrinterUnits(source.length);
    entry.mediaTypeId = MediaTypeId(source.mediaType, caller);
    entry.sourceType = static_cast<std::uint32_t>(source.type);
    CopyWideOrLog(L"paper source name", CutRecordUtf16(ToRecordUtf16(source.name), kSourceNameCharacters), entry.name,
                  caller);
    return entry;
}
