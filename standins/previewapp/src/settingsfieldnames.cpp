#include "settingsfieldnames.h"

namespace previewapp {

const std::vector<SettingsFieldName>& SettingsFieldNames()
{
    static const std::vector<SettingsFieldName> names = {
        {kMorvikFormat, "format", "Record format"},
        {kMorvikAutorotate, "autorotate", "Page auto-rotate"},
        {kMorvikCollate, "collate", "Collate"},
        {kMorvikColorManagement, "colorManagement", "Color management"},
        {kMorvikOutputColor, "outputColor", "Output color"},
        {kMorvikCropLines, "cropLines", "Crop lines"},
        {kMorvikCmykColorManagement, "cmykColorManagement", "CMYK color management"},
        {kMorvikRgbColorManagement, "rgbColorManagement", "RGB color management"},
        {kMorvikCutter, "cutter", "Cutter"},
        {kMorvikEconomode, "economode", "Economode"},
        {kMorvikFolderStyle, "folderStyle", "Folder style"},
        {kMorvikHoldForAttendedMode, "holdForAttendedMode", "Hold for attended mode"},
        {kMorvikUserMargin, "userMargin", "User margin"},
        {kMorvikMarginsLayout, "marginsLayout", "Margins layout"},
        {kMorvikMaxDetail, "maxDetail", "Maximum detail"},
        {kMorvikMirrorImage, "mirrorImage", "Mirror image"},
        {kMorvikMorePasses, "morePasses", "More passes"},
        {kMorvikOrientation, "orientation", "Orientation"},
        {kMorvikOutputBin, "outputBin", "Output bin"},
        {kMorvikPageOrder, "pageOrder", "Page order"},
        {kMorvikMediaSizeId, "mediaSizeId", "Media size"},
        {kMorvikInputBin, "inputBin", "Input bin"},
        {kMorvikMediaType, "mediaType", "Media type"},
        {kMorvikOutputQuality, "outputQuality", "Output quality"},
        {kMorvikPrinterEmulation, "printerEmulation", "Printer emulation"},
        {kMorvikRemoveBlankAreas, "removeBlankAreas", "Remove blank areas"},
        {kMorvikResolution, "resolution", "Render resolution"},
        {kMorvikRotation, "rotation", "Rotation"},
        {kMorvikUnidirectional, "unidirectional", "Unidirectional"},
        {kMorvikScalingMode, "scalingMode", "Scaling mode"},
        {kMorvikCustomMediaTypeEmpty, "customMediaTypeEmpty", "No custom media type"},
        {kMorvikPrintQualitySettings, "printQualitySettings", "Print quality settings"},
        {kMorvikCopiesNotOne, "copiesNotOne", "More than one copy"},
        {kMorvikPrivacyLevel, "privacyLevel", "Privacy level"},
        {kMorvikAlignment, "alignment", "Alignment"},
        {kMorvikPantoneEmulation, "pantoneEmulation", "Pantone emulation"},
        {kMorvikVerticalCutter, "verticalCutter", "Vertical cutter"},
        {kMorvikPrintPreview, "printPreview", "Print preview"},
        {kMorvikGlossEnhancer, "glossEnhancer", "Gloss enhancer"},
        {kMorvikAlwaysOne, "alwaysOne", "Constant one"},
        {kMorvikRenderingIntent, "renderingIntent", "Rendering intent"},
        {kMorvikSettingsChangedInPreview, "settingsChangedInPreview", "Changed in a preview"},
        {kMorvikColorAdjustments, "colorAdjustments", "Color adjustments"},
        {kMorvikFastRenderingMode, "fastRenderingMode", "Fast rendering mode"},
    };
    return names;
}

}  // namespace previewapp
