#include "ptfeaturedescs.h"

#include "ptnamespaces.h"

namespace {

template <class T, std::size_t N>
constexpr FeatureDesc<T> Describe(const wchar_t* keyword, const wchar_t* namespaceUri,
                                  const FeatureOption<T> (&options)[N], std::int64_t defaultValue)
{
    return FeatureDesc<T>{keyword, namespaceUri, options, N, static_cast<T>(defaultValue)};
}

constexpr const wchar_t* kKeywords = PrintSchemaKeywordsNamespaceUri;
constexpr const wchar_t* kPrivate = PrivateNamespaceUri;

constexpr FeatureOption<EInputBin> inputBinOptions[] = {QX_INPUT_BIN_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EQuality> qualityOptions[] = {QX_QUALITY_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EOnOff> onOffOptions[] = {QX_ON_OFF_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EMarginsLayout> marginsLayoutOptions[] = {QX_MARGINS_LAYOUT_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EAlignment> alignmentOptions[] = {QX_ALIGNMENT_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EOutputColor> outputColorOptions[] = {QX_OUTPUT_COLOR_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EEmulatedPrinter> emulatedPrinterOptions[] = {QX_EMULATED_PRINTER_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<ERgbColorManagement> rgbColorMgmOptions[] = {QX_RGB_COLOR_MANAGEMENT_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<ECmykColorManagement> cmykColorMgmOptions[] = {QX_CMYK_COLOR_MANAGEMENT_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<ECollate> collateOptions[] = {QX_COLLATE_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EReverse> reverseOptions[] = {QX_REVERSE_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EOutputBin> outputBinOptions[] = {QX_OUTPUT_BIN_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EPrivacyLevel> privacyLevelOptions[] = {QX_PRIVACY_LEVEL_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EMirror> mirrorOptions[] = {QX_MIRROR_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EFolderStyle> folderStyleOptions[] = {QX_FOLDER_STYLE_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EUserMargin> userMarginOptions[] = {QX_USER_MARGIN_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EOrientation> orientationOptions[] = {QX_ORIENTATION_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<ERotate> rotateOptions[] = {QX_ROTATE_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EAutorotate> autorotateOptions[] = {QX_AUTOROTATE_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EColorManagement> colorMgmOptions[] = {QX_COLOR_MANAGEMENT_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EPrintQualitySettings> printQualitySettingsOptions[] = {
    QX_PRINT_QUALITY_SETTINGS_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EGlossEnhancer> glossEnhancerOptions[] = {QX_GLOSS_ENHANCER_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<ERenderingIntent> renderingIntentOptions[] = {QX_RENDERING_INTENT_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EInternalCutter> autoCutterOptions[] = {QX_AUTO_CUTTER_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EInternalCutter> multiPageCutterOptions[] = {QX_MULTI_PAGE_CUTTER_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<unsigned int> resolutionOptions[] = {QX_RESOLUTION_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EMediaType> mediaTypeOptions[] = {QX_MEDIA_TYPE_OPTIONS(QX_OPTION_ROW)};
constexpr FeatureOption<EMediaSize> mediaSizeOptions[] = {QX_MEDIA_SIZE_OPTIONS(QX_OPTION_ROW)};

}  // namespace

const FeatureDesc<EInputBin> inputBinDesc = Describe(L"JobInputBin", kKeywords, inputBinOptions, 0);
const FeatureDesc<EQuality> qualityDesc = Describe(L"PageOutputQuality", kKeywords, qualityOptions, 1);
const FeatureDesc<EOnOff> economodeDesc = Describe(L"JobEconomode", kPrivate, onOffOptions, -1);
const FeatureDesc<EOnOff> unidirectionalDesc = Describe(L"JobUnidirectional", kPrivate, onOffOptions, -1);
const FeatureDesc<EOnOff> maxDetailDesc = Describe(L"JobMaxDetail", kPrivate, onOffOptions, 0);
const FeatureDesc<EOnOff> morePassesDesc = Describe(L"JobMorePasses", kPrivate, onOffOptions, -1);
const FeatureDesc<EMarginsLayout> marginsLayoutDesc = Describe(L"JobMarginsLayout", kPrivate, marginsLayoutOptions, 0);
const FeatureDesc<EAlignment> alignmentDesc = Describe(L"JobAlignment", kPrivate, alignmentOptions, -1);
const FeatureDesc<EOutputColor> outputColorDesc = Describe(L"PageOutputColor", kKeywords, outputColorOptions, -1);
const FeatureDesc<EEmulatedPrinter> emulatedPrinterDesc =
    Describe(L"JobPrinterEmulation", kPrivate, emulatedPrinterOptions, -1);
const FeatureDesc<ERgbColorManagement> rgbColorMgmDesc =
    Describe(L"PageRGBColorManagement", kPrivate, rgbColorMgmOptions, -1);
const FeatureDesc<ECmykColorManagement> cmykColorMgmDesc =
    Describe(L"PageCMYKColorManagement", kPrivate, cmykColorMgmOptions, 0);
const FeatureDesc<EOnOff> cropLinesDesc = Describe(L"JobEnableCropLines", kPrivate, onOffOptions, -1);
const FeatureDesc<ECollate> collateDesc = Describe(L"DocumentCollate", kKeywords, collateOptions, 0);
const FeatureDesc<EReverse> reverseDesc = Describe(L"JobPageOrder", kPrivate, reverseOptions, 0);
const FeatureDesc<EOutputBin> outputBinDesc = Describe(L"JobOutputBin", kPrivate, outputBinOptions, -1);
const FeatureDesc<EOnOff> pantoneEmulationDesc = Describe(L"PagePantoneEmulation", kPrivate, onOffOptions, -1);
const FeatureDesc<EOnOff> holdForAttendedDesc = Describe(L"JobHoldForAttendedMode", kPrivate, onOffOptions, -1);
const FeatureDesc<EOnOff> verticalCutterDesc = Describe(L"JobEnableVerticalCutter", kPrivate, onOffOptions, -1);
const FeatureDesc<EOnOff> printPreviewDesc = Describe(L"JobPrintPreview", kPrivate, onOffOptions, 0);
const FeatureDesc<EOnOff> removeBlankAreasDesc = Describe(L"JobRemoveBlankAreas", kPrivate, onOffOptions, 0);
const FeatureDesc<EPrivacyLevel> jobStorageDesc = Describe(L"JobStorage", kPrivate, privacyLevelOptions, -1);
const FeatureDesc<EMirror> mirrorDesc = Describe(L"PageMirrorImage", kKeywords, mirrorOptions, 0);
const FeatureDesc<EFolderStyle> foldingStylesDesc = Describe(L"JobFolderStyle", kPrivate, folderStyleOptions, -1);
const FeatureDesc<EUserMargin> userMarginDesc = Describe(L"JobUserMargin", kPrivate, userMarginOptions, 2);
const FeatureDesc<EOrientation> orientationDesc = Describe(L"PageOrientation", kKeywords, orientationOptions, 0);
const FeatureDesc<ERotate> rotateDesc = Describe(L"JobRotate", kPrivate, rotateOptions, 0);
const FeatureDesc<EAutorotate> autorotateDesc = Describe(L"PageAutorotate", kPrivate, autorotateOptions, 0);
const FeatureDesc<EColorManagement> ColorMgmDesc = Describe(L"PageColorManagement", kKeywords, colorMgmOptions, 1);
const FeatureDesc<EPrintQualitySettings> printQualitySettingsDesc =
    Describe(L"JobPrintQualitySettings", kPrivate, printQualitySettingsOptions, 0);
const FeatureDesc<EGlossEnhancer> glossEnhancerDesc = Describe(L"JobGlossEnhancer", kPrivate, glossEnhancerOptions, -1);
const FeatureDesc<ERenderingIntent> renderingIntentDesc =
    Describe(L"PageICMRenderingIntent", kKeywords, renderingIntentOptions, 1);
const FeatureDesc<EOnOff> fastRenderingModeDesc = Describe(L"JobFastRenderingMode", kPrivate, onOffOptions, -1);
// Spelled so in the driver's tickets.
const FeatureDesc<EOnOff> sizePassTroughDesc = Describe(L"JobSizePassTrough", kPrivate, onOffOptions, 0);
const FeatureDesc<EOnOff> storageMesaDesc = Describe(L"JobStorageMesa", kPrivate, onOffOptions, -1);
const FeatureDesc<EOnOff> deleteJobStorageMesaDesc = Describe(L"JobDeleteJobStorageMesa", kPrivate, onOffOptions, -1);
const FeatureDesc<EInternalCutter> cutterAutoDesc = Describe(L"JobEnableAutoCutter", kPrivate, autoCutterOptions, 0);
const FeatureDesc<EInternalCutter> cutterMultiPageDesc =
    Describe(L"JobEnableMultiPageCutter", kPrivate, multiPageCutterOptions, 0);
const FeatureDesc<unsigned int> resolutionDesc = Describe(L"PageResolution", kKeywords, resolutionOptions, 600);
const FeatureDesc<EMediaType> mediaTypeDesc = Describe(L"PageMediaType", kKeywords, mediaTypeOptions, 1);
const FeatureDesc<EMediaSize> mediaSizeDesc = Describe(L"PageMediaSize", kKeywords, mediaSizeOptions, 1);
