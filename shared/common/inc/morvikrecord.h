// The settings record the encoding library turns into text and back, shared byte for byte with
// that library and with the preview application.
#pragma once

#include <cstddef>
#include <cstdint>

// 53 little-endian 32-bit fields; a field holds the option value of its setting, or kMorvikUnset
// when the ticket lacks the feature or the field is not used.
struct MorvikSettingsRecord {
    std::int32_t fields[53];
};
static_assert(sizeof(MorvikSettingsRecord) == 212, "the record is exchanged as 212 bytes");

inline constexpr std::int32_t kMorvikUnset = -1;
inline constexpr std::int32_t kMorvikFormatVersion = 2;

// Field indexes (byte offset / 4). Indexes 1, 2, 35..39, 47, 50 are not used and stay unset.
enum MorvikField : std::size_t {
    kMorvikFormat = 0,
    kMorvikAutorotate = 3,
    kMorvikCollate = 4,
    kMorvikColorManagement = 5,
    kMorvikOutputColor = 6,
    kMorvikCropLines = 7,
    kMorvikCmykColorManagement = 8,
    kMorvikRgbColorManagement = 9,
    kMorvikCutter = 10,
    kMorvikEconomode = 11,
    kMorvikFolderStyle = 12,
    kMorvikHoldForAttendedMode = 13,
    kMorvikUserMargin = 14,
    kMorvikMarginsLayout = 15,
    kMorvikMaxDetail = 16,
    kMorvikMirrorImage = 17,
    kMorvikMorePasses = 18,
    kMorvikOrientation = 19,
    kMorvikOutputBin = 20,
    kMorvikPageOrder = 21,
    kMorvikMediaSizeId = 22,
    kMorvikInputBin = 23,
    kMorvikMediaType = 24,
    kMorvikOutputQuality = 25,
    kMorvikPrinterEmulation = 26,
    kMorvikRemoveBlankAreas = 27,
    kMorvikResolution = 28,
    kMorvikRotation = 29,
    kMorvikUnidirectional = 30,
    kMorvikScalingMode = 31,
    kMorvikCustomMediaTypeEmpty = 32,
    kMorvikPrintQualitySettings = 33,
    kMorvikCopiesNotOne = 34,
    kMorvikPrivacyLevel = 40,
    kMorvikAlignment = 41,
    kMorvikPantoneEmulation = 42,
    kMorvikVerticalCutter = 43,
    kMorvikPrintPreview = 44,
    kMorvikGlossEnhancer = 45,
    kMorvikAlwaysOne = 46,
    kMorvikRenderingIntent = 48,
    kMorvikSettingsChangedInPreview = 49,
    kMorvikColorAdjustments = 51,
    kMorvikFastRenderingMode = 52,
    kMorvikFieldCount = 53,
};
