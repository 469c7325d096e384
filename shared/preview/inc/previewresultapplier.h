// What the user chose in the preview, written back into the job's settings: the four settings the
// application may change, whether anything changed, and the scaling that goes with the new mode.
#pragma once

#include <string>

#include "morvikmanager.h"
#include "previewdataset.h"
#include "previewrecords.h"
#include "ptsettings.h"

class PreviewResultApplier {
public:
    explicit PreviewResultApplier(PreviewDataSet::MorvikLoader loadMorvik = LoadMorvikBesideModule);

    // sentText is the encoded settings text the application was given. Throws std::runtime_error
    // "Morvik not loaded" without the encoding library; a result the library cannot decode leaves
    // the settings as they are.
    void Apply(PTSettings& settings, const std::string& sentText, const PrintPreviewResult& result) const;

    // The scaling record for the mode the preview left: the percentage for mode 1, the paper for
    // modes 2 and 3, and 100 percent for anything else.
    static Scaling ScalingAfterPreview(std::uint32_t mode, const PrintPreviewResult& result);

private:
    PreviewDataSet::MorvikLoader m_loadMorvik;
};
