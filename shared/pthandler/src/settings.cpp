#include "settings.h"

#include <cwchar>

#include "hrerror.h"
#include "printmode.h"
#include "ptaccountid.h"
#include "ptcoloradjustments.h"
#include "ptcomment.h"
#include "ptcopies.h"
#include "ptcutter.h"
#include "ptfoldingstylesmesa.h"
#include "ptjobname.h"
#include "ptlist.h"
#include "ptmediatype.h"
#include "ptpagemediasizefactory.h"
#include "ptpin.h"
#include "ptresolution.h"
#include "ptscaling.h"
#include "ptusername.h"

static_assert(Settings::kCommentCharacters == PTComment::kCharacters);
static_assert(Settings::kAccountIdCharacters == PTAccountId::kCharacters);
static_assert(Settings::kPinCharacters == PTPin::kCharacters);
static_assert(Settings::kJobNameCharacters == PTJobName::kCharacters);
static_assert(Settings::kUserNameCharacters == PTUserName::kCharacters);
static_assert(Settings::kCustomMediaTypeIdCharacters == PTMediaType::kCustomMediaCharacters);
static_assert(Settings::kCustomMediaTypeNameCharacters == PTMediaType::kCustomMediaCharacters);
static_assert(Settings::kFoldingStyleCharacters == PTFoldingStylesMesa::kCharacters);

namespace {

constexpr unsigned int kResolutionWithoutDriverProperties = 600;

// Fits or stays empty, as every fixed text of the driver does.
void CopyText(const wchar_t* text, wchar_t* buffer, std::size_t size)
{
    if (size == 0) {
        return;
    }
    buffer[0] = L'\0';
    if (std::wcslen(text) < size) {
        std::wcscpy(buffer, text);
    }
}

}  // namespace

// Every feature object of one load, built in declaration order before the first read, so that a
// ticket the model cannot even query fails before any field changes.
struct Settings::TicketFeatures {
    TicketFeatures(IXMLDOMDocument2* document, EPdl pdl)
        : copies(document),
          inputBin(document),
          mediaType(document),
          pageMediaSize(PTPageMediaSizeFactory::CreatePageMediaSize(document, pdl)),
          quality(document),
          economode(document),
          unidirectional(document),
          maxDetail(document),
          morePasses(document),
          marginsLayout(document),
          alignment(document),
          scaling(document),
          outputColor(document),
          emulatedPrinter(document),
          rgbColorManagement(document),
          cmykColorManagement(document),
          cropLines(document),
          cutter(document),
          collate(document),
          pageOrder(document),
          outputBin(document),
          pantoneEmulation(document),
          holdForAttendedMode(document),
          verticalCutter(document),
          printPreview(document),
          removeBlankAreas(document),
          privacyLevel(document),
          comment(document),
          accountId(document),
          pin(document),
          jobName(document),
          userName(document),
          mirror(document),
          folderStyle(document),
          foldingStyle(document),
          userMargin(document),
          orientation(document),
          rotation(document),
          autorotate(document),
          colorManagement(document),
          printQualitySettings(document),
          glossEnhancer(document),
          renderingIntent(document),
          fastRenderingMode(document),
          colorAdjustments(document),
          sizePassThrough(document),
          storageMesa(document),
          deleteJobStorageMesa(document)
    {
    }

    PTCopies copies;
    GenericPTFeatureList<EInputBin, inputBinDesc> inputBin;
    PTMediaType mediaType;
    MemScopePtr<IPageMediaSize> pageMediaSize;
    GenericPTFeatureList<EQuality, qualityDesc> quality;
    GenericPTFeatureList<EOnOff, economodeDesc> economode;
    GenericPTFeatureList<EOnOff, unidirectionalDesc> unidirectional;
    GenericPTFeatureList<EOnOff, maxDetailDesc> maxDetail;
    GenericPTFeatureList<EOnOff, morePassesDesc> morePasses;
    GenericPTFeatureList<EMarginsLayout, marginsLayoutDesc> marginsLayout;
    GenericPTFeatureList<EAlignment, alignmentDesc> alignment;
    PTScaling scaling;
    GenericPTFeatureList<EOutputColor, outputColorDesc> outputColor;
    GenericPTFeatureList<EEmulatedPrinter, emulatedPrinterDesc> emulatedPrinter;
    GenericPTFeatureList<ERgbColorManagement, rgbColorMgmDesc> rgbColorManagement;
    GenericPTFeatureList<ECmykColorManagement, cmykColorMgmDesc> cmykColorManagement;
    GenericPTFeatureList<EOnOff, cropLinesDesc> cropLines;
    PTCutter cutter;
    GenericPTFeatureList<ECollate, collateDesc> collate;
    GenericPTFeatureList<EReverse, reverseDesc> pageOrder;
    GenericPTFeatureList<EOutputBin, outputBinDesc> outputBin;
    GenericPTFeatureList<EOnOff, pantoneEmulationDesc> pantoneEmulation;
    GenericPTFeatureList<EOnOff, holdForAttendedDesc> holdForAttendedMode;
    GenericPTFeatureList<EOnOff, verticalCutterDesc> verticalCutter;
    GenericPTFeatureList<EOnOff, printPreviewDesc> printPreview;
    GenericPTFeatureList<EOnOff, removeBlankAreasDesc> removeBlankAreas;
    GenericPTFeatureList<EPrivacyLevel, jobStorageDesc> privacyLevel;
    PTComment comment;
    PTAccountId accountId;
    PTPin pin;
    PTJobName jobName;
    PTUserName userName;
    GenericPTFeatureList<EMirror, mirrorDesc> mirror;
    GenericPTFeatureList<EFolderStyle, foldingStylesDesc> folderStyle;
    PTFoldingStylesMesa foldingStyle;
    GenericPTFeatureList<EUserMargin, userMarginDesc> userMargin;
    GenericPTFeatureList<EOrientation, orientationDesc> orientation;
    GenericPTFeatureList<ERotate, rotateDesc> rotation;
    GenericPTFeatureList<EAutorotate, autorotateDesc> autorotate;
    GenericPTFeatureList<EColorManagement, ColorMgmDesc> colorManagement;
    GenericPTFeatureList<EPrintQualitySettings, printQualitySettingsDesc> printQualitySettings;
    GenericPTFeatureList<EGlossEnhancer, glossEnhancerDesc> glossEnhancer;
    GenericPTFeatureList<ERenderingIntent, renderingIntentDesc> renderingIntent;
    GenericPTFeatureList<EOnOff, fastRenderingModeDesc> fastRenderingMode;
    PTColorAdjustments colorAdjustments;
    GenericPTFeatureList<EOnOff, sizePassTroughDesc> sizePassThrough;
    GenericPTFeatureList<EOnOff, storageMesaDesc> storageMesa;
    GenericPTFeatureList<EOnOff, deleteJobStorageMesaDesc> deleteJobStorageMesa;
};

Settings::Settings(PrinterDriverProperties* driverProperties) : m_driverProperties(driverProperties) {}

EOnOff Settings::GetSizePassThrough() { return m_sizePassThroughFound ? m_sizePassThrough : EOnOff::OFF; }

void Settings::LoadPrintTicket(IXMLDOMDocument2* document)
{
    if (m_driverProperties == nullptr) {
        return;
    }
    TicketFeatures features(document, m_driverProperties->GetPDL());

    ReadCopiesAndMedia(features);
    ReadPrintModeAndColor(features);
    ReadFinishing(features);
    ReadJobTexts(features);
    ReadPageHandling(features);

    // Storage on a Mesa printer is named here as the other way to a PIN job, but it is read only
    // further down, so at this point it still holds the constructor's OFF and never counts.
    m_encryptedPinJob = (m_privacyLevel == EPrivacyLevel::Pin || m_storageMesa == EOnOff::ON) &&
                        m_driverProperties->IsEncryptedPinSupported();
    m_settingsChangedInPrintPreview = -1;
    ReadColorAdjustments(features);
    ReadStorage(features);
    LoadResolutionForPrintMode(document);
}

void Settings::ReadCopiesAndMedia(TicketFeatures& features)
{
    m_qualityFound = features.quality.GetValue(&m_quality);
    features.copies.GetValue(&m_copies);
    if (m_copies == 0) {
        throw hr_error{E_INVALIDARG};
    }
    m_comment[0] = L'\0';
    m_accountId[0] = L'\0';
    m_customMediaTypeId[0] = L'\0';
    m_pin[0] = L'\0';
    m_inputBinFound = features.inputBin.GetValue(&m_inputBin);
    m_mediaTypeFound = features.mediaType.GetValue(&m_mediaType);
    m_pageMediaSizeFound = features.pageMediaSize->GetValue(&m_pageMediaSize);
}

void Settings::ReadPrintModeAndColor(TicketFeatures& features)
{
    m_economodeFound = features.economode.GetValue(&m_economode);
    m_maxDetailFound = features.maxDetail.GetValue(&m_maxDetail);
    m_morePassesFound = features.morePasses.GetValue(&m_morePasses);
    m_marginsLayoutFound = features.marginsLayout.GetValue(&m_marginsLayout);
    m_alignmentFound = features.alignment.GetValue(&m_alignment);
    m_scalingFound = features.scaling.GetValue(&m_scaling);
    m_outputColorFound = features.outputColor.GetValue(&m_outputColor);
    m_emulatedPrinterFound = features.emulatedPrinter.GetValue(&m_emulatedPrinter);
    m_rgbColorManagementFound = features.rgbColorManagement.GetValue(&m_rgbColorManagement);
    m_cmykColorManagementFound = features.cmykColorManagement.GetValue(&m_cmykColorManagement);
}

void Settings::ReadFinishing(TicketFeatures& features)
{
    m_cropLinesFound = features.cropLines.GetValue(&m_cropLines);
    m_cutterFound = features.cutter.GetValue(&m_cutter);
    m_multiPageCutterPresent = features.cutter.IsMultiPageCutterPresent();
    m_collateFound = features.collate.GetValue(&m_collate);
    m_pageOrderFound = features.pageOrder.GetValue(&m_pageOrder);
    m_mirrorFound = features.mirror.GetValue(&m_mirror);
    m_outputBinFound = features.outputBin.GetValue(&m_outputBin);
    m_unidirectionalFound = features.unidirectional.GetValue(&m_unidirectional);
    m_pantoneEmulationFound = features.pantoneEmulation.GetValue(&m_pantoneEmulation);
    m_holdForAttendedModeFound = features.holdForAttendedMode.GetValue(&m_holdForAttendedMode);
    m_verticalCutterFound = features.verticalCutter.GetValue(&m_verticalCutter);
    m_printPreviewFound = features.printPreview.GetValue(&m_printPreview);
    m_removeBlankAreasFound = features.removeBlankAreas.GetValue(&m_removeBlankAreas);
    m_privacyLevelFound = features.privacyLevel.GetValue(&m_privacyLevel);
}

void Settings::ReadJobTexts(TicketFeatures& features)
{
    m_commentFound = features.comment.GetValue(m_comment);
    m_accountIdFound = features.accountId.GetValue(m_accountId);
    m_customMediaTypeIdFound = features.mediaType.GetValueCustomMediaID(m_customMediaTypeId);
    m_customMediaTypeNameFound = features.mediaType.GetValueCustomMediaName(m_customMediaTypeName);
    m_customMediaTypeTextFound = features.mediaType.GetMesaCustom(m_customMediaTypeText);
    m_pinFound = features.pin.GetValue(m_pin);
    m_jobNameFound = features.jobName.GetValue(m_jobName);
    m_userNameFound = features.userName.GetValue(m_userName);
    m_folderStyleFound = features.folderStyle.GetValue(&m_folderStyle);
    m_foldingStyleFound = features.foldingStyle.GetValue(m_foldingStyle);
}

void Settings::ReadPageHandling(TicketFeatures& features)
{
    m_userMarginFound = features.userMargin.GetValue(&m_userMargin);
    m_orientationFound = features.orientation.GetValue(&m_orientation);
    m_rotationFound = features.rotation.GetValue(&m_rotation);
    m_autorotateFound = features.autorotate.GetValue(&m_autorotate);
    m_colorManagementFound = features.colorManagement.GetValue(&m_colorManagement);
    m_printQualitySettingsFound = features.printQualitySettings.GetValue(&m_printQualitySettings);
    m_glossEnhancerFound = features.glossEnhancer.GetValue(&m_glossEnhancer);
    m_renderingIntentFound = features.renderingIntent.GetValue(&m_renderingIntent);
    m_fastRenderingModeFound = features.fastRenderingMode.GetValue(&m_fastRenderingMode);
}

void Settings::ReadColorAdjustments(TicketFeatures& features)
{
    // Only the maker's raster language applies colour adjustments, and only where the driver
    // offers them.
    if (m_driverProperties->GetColorAdjustment() && m_driverProperties->GetPDL() == KESTREL) {
        m_colorAdjustmentsFound = features.colorAdjustments.GetValue(&m_colorAdjustments);
    }
}

void Settings::ReadStorage(TicketFeatures& features)
{
    m_sizePassThroughFound = features.sizePassThrough.GetValue(&m_sizePassThrough);
    m_storageMesaFound = features.storageMesa.GetValue(&m_storageMesa);
    m_deleteJobStorageMesaFound = features.deleteJobStorageMesa.GetValue(&m_deleteJobStorageMesa);
}

void Settings::LoadResolutionForPrintMode(IXMLDOMDocument2* document)
{
    if (m_driverProperties == nullptr) {
        m_resolution = kResolutionWithoutDriverProperties;
        QXLOG_WARNING(L"Resolution info not found because m_driverProperties is NULL. PDF driver temporally "
                      L"doesn't implement this functionality. Resolution is set by default to 600");
        return;
    }
    PTResolution resolution(document);
    resolution.GetValue(&m_resolution);
    try {
        PrintMode printMode(document, m_driverProperties);
        const std::wstring key = printMode.GetPrintModeKey();
        XpsResolution(m_driverProperties).LoadPrintModeRecord(key);
        m_resolution = resolution.GetRenderResolution();
    } catch (const hr_error&) {
        QXLOG_WARNING(L"Resolution info not found in PB. Not updating");
    }
}

void Settings::GetPin(wchar_t* buffer, std::size_t size) const { CopyText(m_pin, buffer, size); }
void Settings::GetAccountId(wchar_t* buffer, std::size_t size) const { CopyText(m_accountId, buffer, size); }
void Settings::GetCustomMediaTypeName(wchar_t* buffer, std::size_t size) const
{
    CopyText(m_customMediaTypeName, buffer, size);
}

std::uint32_t Settings::GetColorAdjustmentLightness() const
{
    return m_colorAdjustmentsFound ? m_colorAdjustments.lightness : 0;
}
std::uint32_t Settings::GetColorAdjustmentRed() const { return m_colorAdjustmentsFound ? m_colorAdjustments.red : 0; }
std::uint32_t Settings::GetColorAdjustmentGreen() const { return m_colorAdjustmentsFound ? m_colorAdjustments.green : 0; }
std::uint32_t Settings::GetColorAdjustmentBlue() const { return m_colorAdjustmentsFound ? m_colorAdjustments.blue : 0; }
