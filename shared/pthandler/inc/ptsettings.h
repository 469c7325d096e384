// The settings as the preview session and the paper source query see them: the getters of
// Settings in the order of this interface's own table, a few more views, and the setters through
// which the printer's paper sources and the preview's verdict are written back.
#pragma once

#include <cstdint>

#include "settings.h"

class IPTSettings {
public:
    virtual ~IPTSettings() = default;

    virtual unsigned int GetResolution() = 0;
    virtual EQuality GetQuality() = 0;
    virtual unsigned int GetCopies() = 0;
    virtual bool HasMultipleCopies() = 0;
    virtual EInputBin GetInputBin() = 0;
    virtual EMirror GetMirror() = 0;
    virtual EMediaType GetMediaType() = 0;
    virtual EMediaSize GetMediaSize() = 0;
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
    virtual EOnOff GetVerticalCutter() = 0;
    virtual EOnOff GetPrintPreview() = 0;
    virtual std::uint32_t GetScalingMode() = 0;
    virtual Scaling GetScaling() = 0;
    virtual EOutputColor GetOutputColor() = 0;
    virtual EPrivacyLevel GetPrivacyLevel() = 0;
    virtual EColorManagement GetColorManagement() = 0;
    virtual ERgbColorManagement GetRgbColorManagement() = 0;
    virtual ECmykColorManagement GetCmykColorManagement() = 0;
    virtual EEmulatedPrinter GetEmulatedPrinter() = 0;
    virtual ECollate GetCollate() = 0;
    virtual EOnOff GetPantoneEmulation() = 0;
    virtual EOnOff GetHoldForAttendedMode() = 0;
    virtual EReverse GetPageOrder() = 0;
    virtual EOutputBin GetOutputBin() = 0;
    virtual EFolderStyle GetFolderStyle() = 0;
    // The folding style's own keyword; empty when the ticket names none.
    virtual const wchar_t* GetMesaFolderStyle() = 0;
    virtual EUserMargin GetUserMargin() = 0;
    virtual EOrientation GetOrientation() = 0;
    virtual ERotate GetRotation() = 0;
    virtual EAutorotate GetAutorotate() = 0;
    virtual EOnOff GetRemoveBlankAreas() = 0;
    virtual EPrintQualitySettings GetPrintQualitySettings() = 0;
    virtual EGlossEnhancer GetGlossEnhancer() = 0;
    virtual ERenderingIntent GetRenderingIntent() = 0;
    // The privacy level, or kEncryptedPinPrivacyLevel for a PIN job the printer receives encrypted.
    virtual std::int32_t GetPrivacyLevelForPreview() = 0;
    virtual void SetRotation(ERotate rotation) = 0;
    virtual void SetInputBin(EInputBin inputBin) = 0;
    virtual void SetOutputColor(EOutputColor outputColor) = 0;
    virtual void SetScalingMode(std::uint32_t mode) = 0;
    // Returns the new mode.
    virtual std::uint32_t SetScaling(const Scaling& scaling) = 0;
    // The media size's flag stays as the ticket left it.
    virtual void SetMediaSizeWidth(std::uint32_t width) = 0;
    virtual void SetMediaSizeHeight(std::uint32_t height) = 0;

    // The preview application's privacy level beyond the ticket's four.
    static constexpr std::int32_t kEncryptedPinPrivacyLevel = 4;
};

// One object implements both tables: a getter of either interface is the same function.
class PTSettings : public Settings, public IPTSettings {
public:
    explicit PTSettings(PrinterDriverProperties* driverProperties = nullptr);

    unsigned int GetResolution() override { return m_resolution; }
    EQuality GetQuality() override { return Flagged(m_qualityFound, m_quality); }
    unsigned int GetCopies() override { return m_copies; }
    bool HasMultipleCopies() override { return m_copies != 1; }
    EInputBin GetInputBin() override { return Flagged(m_inputBinFound, m_inputBin); }
    EMirror GetMirror() override { return Flagged(m_mirrorFound, m_mirror); }
    EMediaType GetMediaType() override { return Flagged(m_mediaTypeFound, m_mediaType); }
    EMediaSize GetMediaSize() override { return Flagged(m_pageMediaSizeFound, m_pageMediaSize.size); }
    std::uint32_t GetMediaSizeWidth() override { return m_pageMediaSizeFound ? m_pageMediaSize.width : 0; }
    std::uint32_t GetMediaSizeHeight() override { return m_pageMediaSizeFound ? m_pageMediaSize.height : 0; }
    EAlignment GetAlignment() override { return Flagged(m_alignmentFound, m_alignment); }
    EMarginsLayout GetMarginsLayout() override { return Flagged(m_marginsLayoutFound, m_marginsLayout); }
    EOnOff GetEconomode() override { return Flagged(m_economodeFound, m_economode); }
    EOnOff GetMaxDetail() override { return Flagged(m_maxDetailFound, m_maxDetail); }
    EOnOff GetMorePasses() override { return Flagged(m_morePassesFound, m_morePasses); }
    EOnOff GetUnidirectional() override { return Flagged(m_unidirectionalFound, m_unidirectional); }
    EOnOff GetCropLines() override { return Flagged(m_cropLinesFound, m_cropLines); }
    ECutter GetCutter() override { return Flagged(m_cutterFound, m_cutter); }
    std::uint32_t GetScalingMode() override { return Flagged(m_scalingFound, m_scaling.mode); }
    Scaling GetScaling() override { return m_scaling; }
    EOutputColor GetOutputColor() override { return Flagged(m_outputColorFound, m_outputColor); }
    EPrivacyLevel GetPrivacyLevel() override;
    EColorManagement GetColorManagement() override { return Flagged(m_colorManagementFound, m_colorManagement); }
    ERgbColorManagement GetRgbColorManagement() override
    {
        return Flagged(m_rgbColorManagementFound, m_rgbColorManagement);
    }
    ECmykColorManagement GetCmykColorManagement() override
    {
        return Flagged(m_cmykColorManagementFound, m_cmykColorManagement);
    }
    EEmulatedPrinter GetEmulatedPrinter() override { return Flagged(m_emulatedPrinterFound, m_emulatedPrinter); }
    ECollate GetCollate() override { return Flagged(m_collateFound, m_collate); }
    EOnOff GetPantoneEmulation() override { return Flagged(m_pantoneEmulationFound, m_pantoneEmulation); }
    EOnOff GetHoldForAttendedMode() override { return Flagged(m_holdForAttendedModeFound, m_holdForAttendedMode); }
    EOnOff GetVerticalCutter() override { return Flagged(m_verticalCutterFound, m_verticalCutter); }
    EOnOff GetPrintPreview() override { return Flagged(m_printPreviewFound, m_printPreview); }
    EReverse GetPageOrder() override { return Flagged(m_pageOrderFound, m_pageOrder); }
    EOutputBin GetOutputBin() override { return Flagged(m_outputBinFound, m_outputBin); }
    EFolderStyle GetFolderStyle() override { return Flagged(m_folderStyleFound, m_folderStyle); }
    const wchar_t* GetMesaFolderStyle() override { return m_foldingStyleFound ? m_foldingStyle : L""; }
    EUserMargin GetUserMargin() override { return Flagged(m_userMarginFound, m_userMargin); }
    EOrientation GetOrientation() override { return Flagged(m_orientationFound, m_orientation); }
    ERotate GetRotation() override { return Flagged(m_rotationFound, m_rotation); }
    EAutorotate GetAutorotate() override { return Flagged(m_autorotateFound, m_autorotate); }
    EOnOff GetRemoveBlankAreas() override { return Flagged(m_removeBlankAreasFound, m_removeBlankAreas); }
    EOnOff GetFastRenderingMode() override { return m_fastRenderingMode; }
    EPrintQualitySettings GetPrintQualitySettings() override
    {
        return Flagged(m_printQualitySettingsFound, m_printQualitySettings);
    }
    EGlossEnhancer GetGlossEnhancer() override { return Flagged(m_glossEnhancerFound, m_glossEnhancer); }
    ERenderingIntent GetRenderingIntent() override { return Flagged(m_renderingIntentFound, m_renderingIntent); }
    std::int32_t GetPrivacyLevelForPreview() override;

    void SetRotation(ERotate rotation) override;
    void SetInputBin(EInputBin inputBin) override;
    void SetOutputColor(EOutputColor outputColor) override;
    void SetScalingMode(std::uint32_t mode) override;
    std::uint32_t SetScaling(const Scaling& scaling) override;
    void SetMediaSizeWidth(std::uint32_t width) override { m_pageMediaSize.width = width; }
    void SetMediaSizeHeight(std::uint32_t height) override { m_pageMediaSize.height = height; }
};
