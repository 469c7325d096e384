#include "previewresultapplier.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

// The text up to its terminator, or the whole field when the application left none.
std::string ReturnedText(const PrintPreviewResult& result)
{
    const char* const text = result.encodedSettings;
    return std::string(text, std::find(text, text + std::size(result.encodedSettings), '\0'));
}

Scaling ZeroScaling()
{
    Scaling scaling;
    scaling.percentage = 0;
    scaling.paperWidth = 0;
    scaling.paperHeight = 0;
    scaling.paperSize = static_cast<EMediaSize>(0);
    scaling.mode = Scaling::NoScaling;
    return scaling;
}

}  // namespace

PreviewResultApplier::PreviewResultApplier(PreviewDataSet::MorvikLoader loadMorvik)
    : m_loadMorvik(std::move(loadMorvik))
{
}

void PreviewResultApplier::Apply(PTSettings& settings, const std::string& sentText,
                                 const PrintPreviewResult& result) const
{
    const std::unique_ptr<MorvikManager> morvik = m_loadMorvik();
    const std::string returnedText = ReturnedText(result);
    if (morvik->Decode(settings, returnedText)) {
        settings.SetSettingsChangedInPrintPreview(returnedText != sentText ? 1 : 0);
        settings.SetScaling(ScalingAfterPreview(settings.GetScalingMode(), result));
    }
    morvik->Unload();
}

Scaling PreviewResultApplier::ScalingAfterPreview(std::uint32_t mode, const PrintPreviewResult& result)
{
    Scaling scaling = ZeroScaling();
    switch (mode) {
    case Scaling::ScaleByPercentage:
        scaling.percentage = result.scalingPercentage;
        scaling.mode = Scaling::ScaleByPercentage;
        break;
    case Scaling::FitToPaper:
    case Scaling::FitToRollWidth:
        scaling.paperWidth = result.fitToPaperWidth;
        scaling.paperHeight = result.fitToPaperHeight;
        scaling.paperSize = static_cast<EMediaSize>(result.fitToPaperOption);
        scaling.mode = mode;
        break;
    default:
        scaling.percentage = 100;
        scaling.mode = Scaling::ScaleByPercentage;
        break;
    }
    return scaling;
}
