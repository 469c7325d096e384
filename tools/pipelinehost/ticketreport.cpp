#include "pipelinehost/ticketreport.h"

#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include <objbase.h>
#include <platform/text.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "hrerror.h"
#include "pipelinehost/hresulttext.h"
#include "pipelinepropertybagproxy.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "ptfeaturedescs.h"
#include "ptmanager.h"
#include "raiiowners.h"

using Microsoft::WRL::ComPtr;

namespace pipelinehost {
namespace {

struct SettingRow {
    std::string feature;
    std::string value;
    std::string keyword;
    bool found;
};

template <class T>
std::int64_t NumberOf(T value)
{
    return static_cast<std::int64_t>(value);
}

// A pick-one-option feature: its value, the option keyword that stands for it, and whether the
// ticket gave it (a flagged value reads -1 when it did not).
template <class T>
SettingRow ListRow(const FeatureDesc<T>& desc, T value)
{
    SettingRow row{platform::ToUtf8(desc.keyword), std::to_string(NumberOf(value)), "", NumberOf(value) != -1};
    for (std::uint64_t option = 0; option < desc.optionCount; ++option) {
        if (desc.options[option].value == value) {
            row.keyword = platform::ToUtf8(desc.options[option].keyword);
            break;
        }
    }
    return row;
}

SettingRow NumberRow(const std::string& feature, std::int64_t value, bool found)
{
    return {feature, std::to_string(value), "", found};
}

SettingRow TextRow(const std::string& feature, const wchar_t* text)
{
    return {feature, "\"" + platform::ToUtf8(text) + "\"", "", text[0] != L'\0'};
}

std::vector<SettingRow> RowsOf(PTSettings& settings)
{
    const Scaling scaling = settings.GetScaling();
    wchar_t pin[Settings::kPinCharacters] = {};
    wchar_t accountId[Settings::kAccountIdCharacters] = {};
    wchar_t customMediaName[Settings::kCustomMediaTypeNameCharacters] = {};
    settings.GetPin(pin, std::size(pin));
    settings.GetAccountId(accountId, std::size(accountId));
    settings.GetCustomMediaTypeName(customMediaName, std::size(customMediaName));
    const bool loaded = settings.GetResolution() != 0;
    return {
        NumberRow("JobCopiesAllDocuments", settings.GetCopies(), loaded),
        NumberRow("resolution (dpi)", settings.GetResolution(), loaded),
        ListRow(inputBinDesc, settings.GetInputBin()),
        ListRow(mediaTypeDesc, settings.GetMediaType()),
        ListRow(mediaSizeDesc, settings.GetMediaSize()),
        NumberRow("  media width (um)", settings.GetMediaSizeWidth(), settings.GetMediaSize() != EMediaSize::NotSpecified),
        NumberRow("  media height (um)", settings.GetMediaSizeHeight(), settings.GetMediaSize() != EMediaSize::NotSpecified),
        NumberRow("cutter (combined)", NumberOf(settings.GetCutter()), settings.GetCutter() != ECutter::NotSpecified),
        ListRow(qualityDesc, settings.GetQuality()),
        ListRow(economodeDesc, settings.GetEconomode()),
        ListRow(maxDetailDesc, settings.GetMaxDetail()),
        ListRow(morePassesDesc, settings.GetMorePasses()),
        ListRow(unidirectionalDesc, settings.GetUnidirectional()),
        ListRow(cropLinesDesc, settings.GetCropLines()),
        ListRow(pantoneEmulationDesc, settings.GetPantoneEmulation()),
        ListRow(holdForAttendedDesc, settings.GetHoldForAttendedMode()),
        ListRow(verticalCutterDesc, settings.GetVerticalCutter()),
        ListRow(printPreviewDesc, settings.GetPrintPreview()),
        ListRow(removeBlankAreasDesc, settings.GetRemoveBlankAreas()),
        ListRow(marginsLayoutDesc, settings.GetMarginsLayout()),
        NumberRow("PageScaling mode", settings.GetScalingMode(), settings.GetScalingMode() != 0xFFFFFFFFu),
        NumberRow("  percentage", scaling.percentage, settings.GetScalingMode() == 1),
        NumberRow("  paper width", scaling.paperWidth, settings.GetScalingMode() >= 2 && scaling.mode != 0xFFFFFFFFu),
        NumberRow("  paper height", scaling.paperHeight, settings.GetScalingMode() >= 2 && scaling.mode != 0xFFFFFFFFu),
        ListRow(outputColorDesc, settings.GetOutputColor()),
        ListRow(jobStorageDesc, settings.GetPrivacyLevel()),
        NumberRow("  privacy level for preview", settings.GetPrivacyLevelForPreview(), settings.GetPrivacyLevelForPreview() != -1),
        ListRow(emulatedPrinterDesc, settings.GetEmulatedPrinter()),
        ListRow(ColorMgmDesc, settings.GetColorManagement()),
        ListRow(rgbColorMgmDesc, settings.GetRgbColorManagement()),
        ListRow(cmykColorMgmDesc, settings.GetCmykColorManagement()),
        ListRow(collateDesc, settings.GetCollate()),
        ListRow(reverseDesc, settings.GetPageOrder()),
        ListRow(alignmentDesc, settings.GetAlignment()),
        ListRow(outputBinDesc, settings.GetOutputBin()),
        ListRow(mirrorDesc, settings.GetMirror()),
        ListRow(foldingStylesDesc, settings.GetFolderStyle()),
        TextRow("  folding style keyword", settings.GetMesaFolderStyle()),
        ListRow(userMarginDesc, settings.GetUserMargin()),
        ListRow(orientationDesc, settings.GetOrientation()),
        ListRow(rotateDesc, settings.GetRotation()),
        ListRow(autorotateDesc, settings.GetAutorotate()),
        ListRow(printQualitySettingsDesc, settings.GetPrintQualitySettings()),
        ListRow(glossEnhancerDesc, settings.GetGlossEnhancer()),
        ListRow(renderingIntentDesc, settings.GetRenderingIntent()),
        ListRow(fastRenderingModeDesc, settings.GetFastRenderingMode()),
        ListRow(sizePassTroughDesc, settings.GetSizePassThrough()),
        TextRow("JobPin", pin),
        TextRow("JobAccountId", accountId),
        TextRow("PageMediaTypeInit", customMediaName),
        NumberRow("colour adjustment lightness", settings.GetColorAdjustmentLightness(), settings.HasColorAdjustments()),
        NumberRow("colour adjustment red", settings.GetColorAdjustmentRed(), settings.HasColorAdjustments()),
        NumberRow("colour adjustment green", settings.GetColorAdjustmentGreen(), settings.HasColorAdjustments()),
        NumberRow("colour adjustment blue", settings.GetColorAdjustmentBlue(), settings.HasColorAdjustments()),
    };
}

// A column of the table: padded to its width, and never running into the next column.
std::string Cell(const std::string& text, std::size_t width)
{
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text + "  ";
}

void PrintRow(std::ostream& out, const std::string& feature, const std::string& value, const std::string& keyword,
              const std::string& found)
{
    out << "  " << Cell(feature, 34) << Cell(value, 12) << Cell(keyword, 26) << found << "\n";
}

void PrintSettings(std::ostream& out, PTSettings& settings, const std::string& source, bool ticketRead)
{
    out << "Print ticket settings of " << source << (ticketRead ? "" : " (ticket not read: nothing loaded)") << "\n";
    PrintRow(out, "feature", "value", "keyword", "found");
    for (const SettingRow& row : RowsOf(settings)) {
        PrintRow(out, row.feature, row.value, row.keyword.empty() ? "-" : row.keyword, row.found ? "yes" : "no");
    }
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

ComPtr<IStream> MemoryStreamOf(const std::string& bytes)
{
    HGLOBAL memory = ::GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    if (memory == nullptr) {
        throw hr_error{E_OUTOFMEMORY};
    }
    if (!bytes.empty()) {  // an empty movable block is discarded: nothing to lock
        std::memcpy(::GlobalLock(memory), bytes.data(), bytes.size());
        ::GlobalUnlock(memory);
    }
    ComPtr<IStream> stream;
    if (FAILED(CreateStreamOnHGlobal(memory, TRUE, &stream))) {
        ::GlobalFree(memory);
        throw hr_error{E_OUTOFMEMORY};
    }
    return stream;
}

void Check(HRESULT hr)
{
    if (FAILED(hr)) {
        throw hr_error{hr};
    }
}

// Runs the load under the filter's failure rules and tells why it would fail the job.
bool Reported(std::ostream& out, const std::function<void()>& load)
{
    try {
        load();
        return true;
    } catch (const hr_error& error) {
        out << "The filter cannot read this ticket: " << HresultDescription(error.hr) << "\n";
    } catch (const std::exception& error) {
        out << "The filter cannot read this ticket: " << error.what() << "\n";
    }
    return false;
}

}  // namespace

bool PrintJobTicket(std::ostream& out, IPrintPipelinePropertyBag* bag, const std::string& xpsPath)
{
    return Reported(out, [&] {
        ComPtr<IXpsOMObjectFactory> factory;
        Check(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)));
        ComPtr<IXpsOMPackage> package;
        Check(factory->CreatePackageFromStream(MemoryStreamOf(ReadFile(xpsPath)).Get(), FALSE, &package));
        ComPtr<IXpsOMDocumentSequence> sequence;
        Check(package->GetDocumentSequence(&sequence));
        PipelinePropertyBagProxy proxy(bag);
        bool ticketRead = false;
        PTSettings settings = PTManager::GetJobTicket(ticketRead, proxy, sequence.Get());
        PrintSettings(out, settings, xpsPath, ticketRead);
    });
}

bool PrintBareTicket(std::ostream& out, IPrintPipelinePropertyBag* bag, const std::string& ticketPath)
{
    return Reported(out, [&] {
        ComPtr<IXMLDOMDocument2> document;
        Check(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&document)));
        ScopedVariant source;
        source.Get().vt = VT_UNKNOWN;
        source.Get().punkVal = MemoryStreamOf(ReadFile(ticketPath)).Detach();
        VARIANT_BOOL loaded = VARIANT_FALSE;
        if (FAILED(document->load(source.Get(), &loaded)) || loaded != VARIANT_TRUE) {
            throw std::runtime_error(ticketPath + " is no XML document");
        }
        PipelinePropertyBagProxy proxy(bag);
        PrinterAttributeSettings printerAttributes(proxy);
        PrinterDriverProperties driverProperties(proxy, printerAttributes);
        PTSettings settings(&driverProperties);
        settings.LoadPrintTicket(document.Get());
        PrintSettings(out, settings, ticketPath, true);
    });
}

}  // namespace pipelinehost
