#include "morvikmanager.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

#include "driverlibrarypath.h"
#include "scopedlibrary.h"

namespace {

template <class Value>
std::int32_t Field(Value value)
{
    return static_cast<std::int32_t>(value);
}

MorvikSettingsRecord UnsetRecord()
{
    MorvikSettingsRecord record;
    std::memset(&record, 0xFF, sizeof(record));
    return record;
}

// The application's codes for the render resolutions it knows; 1 stands for any other.
std::int32_t ResolutionCode(unsigned int dotsPerInch)
{
    switch (dotsPerInch) {
    case 75:
        return 3;
    case 150:
        return 4;
    case 300:
        return 0;
    case 1200:
        return 2;
    default:
        return 1;
    }
}

// A percentage scaling of 100 % is no scaling to the application.
std::int32_t ScalingModeField(PTSettings& settings)
{
    const std::uint32_t mode = settings.GetScalingMode();
    if (mode == Scaling::ScaleByPercentage && settings.GetScaling().percentage == 100) {
        return 0;
    }
    return Field(mode);
}

std::int32_t ColorAdjustmentsField(const PTSettings& settings)
{
    if (!settings.HasColorAdjustments()) {
        return kMorvikUnset;
    }
    const bool adjusted = settings.GetColorAdjustmentLightness() != 0 || settings.GetColorAdjustmentRed() != 0 ||
                          settings.GetColorAdjustmentGreen() != 0 || settings.GetColorAdjustmentBlue() != 0;
    return adjusted ? 1 : 0;
}

}  // namespace

MorvikManager::MorvikManager(const std::wstring& libraryPath)
    : m_library(std::make_unique<ScopedLibrary>(libraryPath)), m_record(UnsetRecord())
{
    if (!m_library->IsLoaded()) {
        throw std::runtime_error("Morvik not loaded");
    }
    m_exports.encode = m_library->Export<EncodeFunction>("EncodeFibonacciUnmanaged");
    m_exports.decode = m_library->Export<DecodeFunction>("DecodeFibonacci");
}

MorvikManager::MorvikManager(const Exports& exports) : m_exports(exports), m_record(UnsetRecord()) {}

MorvikManager::~MorvikManager() = default;

void MorvikManager::Fill(PTSettings& settings)
{
    std::int32_t* const fields = m_record.fields;
    fields[kMorvikFormat] = kMorvikFormatVersion;
    // The application offers auto-rotation only for a job it does not rotate itself.
    fields[kMorvikAutorotate] =
        settings.GetRotation() == ERotate::None ? Field(settings.GetAutorotate()) : kMorvikUnset;
    fields[kMorvikCollate] = Field(settings.GetCollate());
    fields[kMorvikColorManagement] = Field(settings.GetColorManagement());
    fields[kMorvikOutputColor] = Field(settings.GetOutputColor());
    fields[kMorvikCropLines] = Field(settings.GetCropLines());
    fields[kMorvikCmykColorManagement] = Field(settings.GetCmykColorManagement());
    fields[kMorvikRgbColorManagement] = Field(settings.GetRgbColorManagement());
    fields[kMorvikCutter] = Field(settings.GetCutter());
    fields[kMorvikEconomode] = Field(settings.GetEconomode());
    fields[kMorvikFolderStyle] =
        settings.GetOutputBin() == EOutputBin::Folder ? Field(settings.GetFolderStyle()) : kMorvikUnset;
    fields[kMorvikHoldForAttendedMode] = Field(settings.GetHoldForAttendedMode());
    fields[kMorvikUserMargin] = Field(settings.GetUserMargin());
    fields[kMorvikMarginsLayout] = Field(settings.GetMarginsLayout());
    fields[kMorvikMaxDetail] = Field(settings.GetMaxDetail());
    fields[kMorvikMirrorImage] = Field(settings.GetMirror());
    fields[kMorvikMorePasses] = Field(settings.GetMorePasses());
    fields[kMorvikOrientation] = Field(settings.GetOrientation());
    fields[kMorvikOutputBin] = Field(settings.GetOutputBin());
    fields[kMorvikPageOrder] = Field(settings.GetPageOrder());
    fields[kMorvikMediaSizeId] = Field(settings.GetMediaSize());
    fields[kMorvikInputBin] = Field(settings.GetInputBin());
    // A custom medium is named by its identifier; the application shows no listed type for it.
    fields[kMorvikMediaType] = settings.NamesCustomMediaTypeId() ? 0 : Field(settings.GetMediaType());
    fields[kMorvikOutputQuality] = Field(settings.GetQuality());
    fields[kMorvikPrinterEmulation] = Field(settings.GetEmulatedPrinter());
    fields[kMorvikRemoveBlankAreas] = Field(settings.GetRemoveBlankAreas());
    fields[kMorvikResolution] = ResolutionCode(settings.GetResolution());
    fields[kMorvikRotation] = Field(settings.GetRotation());
    fields[kMorvikUnidirectional] = Field(settings.GetUnidirectional());
    fields[kMorvikScalingMode] = ScalingModeField(settings);
    fields[kMorvikCustomMediaTypeEmpty] = settings.NamesCustomMediaTypeId() ? 0 : 1;
    fields[kMorvikPrintQualitySettings] = Field(settings.GetPrintQualitySettings());
    fields[kMorvikCopiesNotOne] = settings.HasMultipleCopies() ? 1 : 0;
    fields[kMorvikPrivacyLevel] = settings.GetPrivacyLevelForPreview();
    fields[kMorvikAlignment] = Field(settings.GetAlignment());
    fields[kMorvikPantoneEmulation] = Field(settings.GetPantoneEmulation());
    fields[kMorvikVerticalCutter] = Field(settings.GetVerticalCutter());
    fields[kMorvikPrintPreview] = Field(settings.GetPrintPreview());
    fields[kMorvikGlossEnhancer] = Field(settings.GetGlossEnhancer());
    fields[kMorvikAlwaysOne] = 1;
    fields[kMorvikRenderingIntent] = Field(settings.GetRenderingIntent());
    fields[kMorvikSettingsChangedInPreview] = settings.GetSettingsChangedInPrintPreview();
    fields[kMorvikColorAdjustments] = ColorAdjustmentsField(settings);
    fields[kMorvikFastRenderingMode] = Field(settings.GetFastRenderingMode());
}

std::string MorvikManager::Encode() const
{
    std::array<char, kEncodedCharacters> output{};
    if (m_exports.encode == nullptr) {
        return {};
    }
    m_exports.encode(m_record, output.data());
    // The library promises a terminator; the buffer's end stands in for one it left out.
    return std::string(output.begin(), std::find(output.begin(), output.end(), '\0'));
}

bool MorvikManager::Decode(PTSettings& settings, const std::string& text) const
{
    if (m_exports.decode == nullptr) {
        return false;
    }
    std::uint8_t success = 0;
    const MorvikSettingsRecord decoded = m_exports.decode(text.c_str(), &success);
    if (success == 0) {
        return false;
    }
    settings.SetInputBin(static_cast<EInputBin>(decoded.fields[kMorvikInputBin]));
    settings.SetRotation(static_cast<ERotate>(decoded.fields[kMorvikRotation]));
    settings.SetOutputColor(static_cast<EOutputColor>(decoded.fields[kMorvikOutputColor]));
    settings.SetScalingMode(static_cast<std::uint32_t>(decoded.fields[kMorvikScalingMode]));
    return true;
}

void MorvikManager::Unload()
{
    m_exports = Exports{};
    m_library.reset();
}

std::unique_ptr<MorvikManager> LoadMorvikBesideModule()
{
    return std::make_unique<MorvikManager>(DriverLibraryPath(L"qxitrn.dll"));
}
