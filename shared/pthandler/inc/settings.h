// The job's print ticket reduced to typed values: one field per feature the system uses, with a
// found flag beside most of them. A flagged getter reports -1 (NotSpecified) when the ticket did
// not carry its feature. The getters are declared in the order of the interface table that other
// modules of the driver were built against; keep that order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <msxml6.h>

#include "printerdriverproperties.h"
#include "ptfeaturedescs.h"
#include "ptparameterrecords.h"

class Settings {
public:
    // Fixed text fields, in characters with the terminator; the readers below need buffers at
    // least this large.
    static constexpr std::size_t kCommentCharacters = 1024;
    static constexpr std::size_t kAccountIdCharacters = 31;
    static constexpr std::size_t kPinCharacters = 11;
    static constexpr std::size_t kJobNameCharacters = 129;
    static constexpr std::size_t kUserNameCharacters = 31;
    static constexpr std::size_t kCustomMediaTypeIdCharacters = 129;
    static constexpr std::size_t kCustomMediaTypeNameCharacters = 129;
    static constexpr std::size_t kFoldingStyleCharacters = 129;

    // Nothing loaded: every value 0, every text empty, nothing found. The driver properties are
    // borrowed and may be null; loading the ticket needs them.
    explicit Settings(PrinterDriverProperties* driverProperties);
    virtual ~Settings() = default;

    virtual unsigned int GetResolution() = 0;
    virtual EQuality GetQuality() = 0;
    virtual unsigned int GetCopies() = 0;
    virtual EInputBin GetInputBin() = 0;
    virtual EMirror GetMirror() = 0;
    virtual EMediaType GetMediaType() = 0;
    virtual EMediaSize GetMediaSize() = 0;
    // Width and height are 0, not -1, when the ticket gave no media size.
    virtual std::uint32_t GetMediaSizeWidth() = 0;
    virtual std::uint32_t GetMediaSizeHeight() = 0;
    virtual EAlignment GetAlignment() = 0;
    virtual EMarginsLayout GetMarginsLayout() = 0;
    virtual EOnOff GetEconomode() = 0;
    virtual EOnOff GetMaxDetail() = 0;
    virtual EOnOff GetMorePasses() = 0;
    virtual EOnOff GetUnidirectional() = 0;
    virtual EOnOff GetCropLines() = 0;
    virtual ECutter GetCutter() = 0;
    virtual std::uint32_t GetScalingMode() = 0;
    virtual Scaling GetScaling() = 0;
    virtual EOutputColor GetOutputColor() = 0;
    // Storage on a Mesa printer decides when the ticket names it: ON is a PIN job, OFF a public one.
    virtual EPrivacyLevel GetPrivacyLevel() = 0;
    virtual EColorManagement GetColorManagement() = 0;
    virtual ERgbColorManagement GetRgbColorManagement() = 0;
    virtual ECmykColorManagement GetCmykColorManagement() = 0;
    virtual EEmulatedPrinter GetEmulatedPrinter() = 0;
    virtual ECollate GetCollate() = 0;
    virtual EOnOff GetPantoneEmulation() = 0;
    virtual EOnOff GetHoldForAttendedMode() = 0;
    virtual EOnOff GetVerticalCutter() = 0;
    virtual EOnOff GetPrintPreview() = 0;
    virtual EReverse GetPageOrder() = 0;
    virtual EOutputBin GetOutputBin() = 0;
    virtual EFolderStyle GetFolderStyle() = 0;
    virtual EUserMargin GetUserMargin() = 0;
    virtual EOrientation GetOrientation() = 0;
    virtual ERotate GetRotation() = 0;
    virtual EAutorotate GetAutorotate() = 0;
    virtual EOnOff GetRemoveBlankAreas() = 0;
    // The value as read, without its flag: the feature's default (-1) when the ticket lacks it.
    virtual EOnOff GetFastRenderingMode() = 0;
    // OFF when the ticket does not say.
    virtual EOnOff GetSizePassThrough();
    virtual EPrintQualitySettings GetPrintQualitySettings() = 0;
    virtual ERenderingIntent GetRenderingIntent() = 0;

    // Reads every feature of the ticket. Absent features keep their defaults with their flags
    // clear; absent or zero copies, a feature object that cannot be built and a page media size
    // that cannot be read at all throw hr_error. Without driver properties nothing is read.
    void LoadPrintTicket(IXMLDOMDocument2* document);
    // The page resolution, replaced by the ticket's render resolution when the driver declares
    // the job's print mode.
    void LoadResolutionForPrintMode(IXMLDOMDocument2* document);
    // The driver properties end with the job ticket's loading; copies handed on must not see them.
    void DetachDriverProperties() { m_driverProperties = nullptr; }

    // Copy the text into a buffer of the given size; it stays empty when the text does not fit.
    void GetPin(wchar_t* buffer, std::size_t size) const;
    void GetAccountId(wchar_t* buffer, std::size_t size) const;
    void GetCustomMediaTypeName(wchar_t* buffer, std::size_t size) const;
    bool HasCustomMediaTypeId() const { return m_customMediaTypeIdFound; }
    // A ticket may carry the identifier's parameter with no text; only a text names a custom medium.
    bool NamesCustomMediaTypeId() const { return m_customMediaTypeIdFound && m_customMediaTypeId[0] != L'\0'; }
    bool HasCustomMediaTypeName() const { return m_customMediaTypeNameFound; }
    bool HasColorAdjustments() const { return m_colorAdjustmentsFound; }
    // 0 unless the driver let the ticket's colour adjustments count.
    std::uint32_t GetColorAdjustmentLightness() const;
    std::uint32_t GetColorAdjustmentRed() const;
    std::uint32_t GetColorAdjustmentGreen() const;
    std::uint32_t GetColorAdjustmentBlue() const;
    // -1 after a load until the preview's verdict is known.
    std::int32_t GetSettingsChangedInPrintPreview() const { return m_settingsChangedInPrintPreview; }
    void SetSettingsChangedInPrintPreview(std::int32_t value) { m_settingsChangedInPrintPreview = value; }

protected:
    template <class T>
    static T Flagged(bool found, T value)
    {
        return found ? value : static_cast<T>(-1);
    }

    unsigned int m_copies = 0;
    EInputBin m_inputBin{};
    EMediaType m_mediaType{};
    PageMediaSize m_pageMediaSize{0, 0, EMediaSize{}};
    ECutter m_cutter{};
    EQuality m_quality{};
    EOnOff m_economode{};
    EOnOff m_maxDetail{};
    EOnOff m_morePasses{};
    EOnOff m_unidirectional{};
    EOnOff m_cropLines{};
    EOnOff m_pantoneEmulation{};
    EOnOff m_holdForAttendedMode{};
    EOnOff m_verticalCutter{};
    EOnOff m_printPreview{};
    EOnOff m_removeBlankAreas{};
    EMarginsLayout m_marginsLayout{};
    Scaling m_scaling{0, 0, 0, EMediaSize{}, 0};
    unsigned int m_resolution = 0;
    EOutputColor m_outputColor{};
    EPrivacyLevel m_privacyLevel{};
    EEmulatedPrinter m_emulatedPrinter{};
    EColorManagement m_colorManagement{};
    ERgbColorManagement m_rgbColorManagement{};
    ECmykColorManagement m_cmykColorManagement{};
    ECollate m_collate{};
    EReverse m_pageOrder{};
    EAlignment m_alignment{};
    EOutputBin m_outputBin{};
    EMirror m_mirror{};
    wchar_t m_comment[kCommentCharacters] = {};
    wchar_t m_accountId[kAccountIdCharacters] = {};
    wchar_t m_pin[kPinCharacters] = {};
    wchar_t m_jobName[kJobNameCharacters] = {};
    wchar_t m_userName[kUserNameCharacters] = {};
    wchar_t m_customMediaTypeId[kCustomMediaTypeIdCharacters] = {};
    wchar_t m_customMediaTypeName[kCustomMediaTypeNameCharacters] = {};
    std::wstring m_customMediaTypeText;
    EFolderStyle m_folderStyle{};
    wchar_t m_foldingStyle[kFoldingStyleCharacters] = {};
    EUserMargin m_userMargin{};
    EOrientation m_orientation{};
    ERotate m_rotation{};
    EAutorotate m_autorotate{};
    EPrintQualitySettings m_printQualitySettings{};
    EGlossEnhancer m_glossEnhancer{};
    ERenderingIntent m_renderingIntent{};
    std::int32_t m_settingsChangedInPrintPreview = 0;
    ColorAdjustments m_colorAdjustments{};
    EOnOff m_sizePassThrough{};
    EOnOff m_fastRenderingMode{};
    EOnOff m_storageMesa{};
    EOnOff m_deleteJobStorageMesa{};
    PrinterDriverProperties* m_driverProperties;

    bool m_qualityFound = false;
    bool m_inputBinFound = false;
    bool m_mirrorFound = false;
    bool m_mediaTypeFound = false;
    bool m_pageMediaSizeFound = false;
    bool m_alignmentFound = false;
    bool m_marginsLayoutFound = false;
    bool m_cutterFound = false;
    bool m_scalingFound = false;
    bool m_outputColorFound = false;
    bool m_privacyLevelFound = false;
    bool m_colorManagementFound = false;
    bool m_rgbColorManagementFound = false;
    bool m_cmykColorManagementFound = false;
    bool m_emulatedPrinterFound = false;
    bool m_collateFound = false;
    bool m_pageOrderFound = false;
    bool m_outputBinFound = false;
    bool m_folderStyleFound = false;
    bool m_foldingStyleFound = false;
    bool m_userMarginFound = false;
    bool m_orientationFound = false;
    bool m_rotationFound = false;
    bool m_autorotateFound = false;
    bool m_printQualitySettingsFound = false;
    bool m_economodeFound = false;
    bool m_maxDetailFound = false;
    bool m_morePassesFound = false;
    bool m_cropLinesFound = false;
    bool m_unidirectionalFound = false;
    bool m_pantoneEmulationFound = false;
    bool m_holdForAttendedModeFound = false;
    bool m_verticalCutterFound = false;
    bool m_printPreviewFound = false;
    bool m_removeBlankAreasFound = false;
    bool m_commentFound = false;
    bool m_accountIdFound = false;
    bool m_pinFound = false;
    bool m_jobNameFound = false;
    bool m_userNameFound = false;
    bool m_glossEnhancerFound = false;
    bool m_renderingIntentFound = false;
    // Not a feature's flag: a PIN job on a printer that encrypts PINs.
    bool m_encryptedPinJob = false;
    bool m_colorAdjustmentsFound = false;
    bool m_customMediaTypeIdFound = false;
    bool m_customMediaTypeNameFound = false;
    // Not a feature's flag: whether the ticket names the multi-page cutter at all.
    bool m_multiPageCutterPresent = false;
    bool m_sizePassThroughFound = false;
    bool m_fastRenderingModeFound = false;
    bool m_customMediaTypeTextFound = false;
    bool m_storageMesaFound = false;
    bool m_deleteJobStorageMesaFound = false;

private:
    struct TicketFeatures;

    // The reads of one load, in the order the driver has always read them.
    void ReadCopiesAndMedia(TicketFeatures& features);
    void ReadPrintModeAndColor(TicketFeatures& features);
    void ReadFinishing(TicketFeatures& features);
    void ReadJobTexts(TicketFeatures& features);
    void ReadPageHandling(TicketFeatures& features);
    void ReadColorAdjustments(TicketFeatures& features);
    void ReadStorage(TicketFeatures& features);
};
