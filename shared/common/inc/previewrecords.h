// The fixed binary records exchanged with the preview application. Integers are little-endian,
// wide text is UTF-16LE and narrow text is bytes, each zero-terminated inside its field.
#pragma once

#include <cstddef>
#include <cstdint>

// Every field sits at its natural alignment, so the layout needs no packing (which would make
// pointers to the text fields unaligned); the asserts below pin every offset.

// The job as the application shows it (message 102).
struct PrintPreviewData {
    std::uint8_t pureBlackAndWhiteSupported;
    std::uint8_t paperSourceQuerySupported;
    std::uint8_t reserved;
    std::uint8_t sizePassThrough;
    std::uint32_t platformId;
    std::uint32_t copies;
    std::int32_t pageCount;
    std::uint32_t mediaWidth;
    std::uint32_t mediaHeight;
    std::uint32_t rollWidth;  // µm
    std::uint32_t scalingPercentage;
    std::uint32_t fitToPaperWidth;
    std::uint32_t fitToPaperHeight;
    std::uint32_t fitToPaperOption;
    std::uint32_t pdlId;
    char16_t prnFilePath[256];
    char16_t documentName[128];
    char16_t printerName[256];
    char encodedSettings[512];
    char16_t customMediaTypeName[100];
    std::uint8_t cropLinesRbaAutorotatePdf;
    std::uint8_t padding[7];
};

// One paper source the printer reports (message 103, at the start of a zero-filled payload).
struct PaperSourceEntry {
    std::uint8_t state;
    std::uint8_t installed;
    std::uint8_t padding[2];
    std::uint32_t position;  // in the list, from 1
    std::uint32_t constant8;
    std::int32_t width;   // µm
    std::int32_t length;  // µm
    std::int32_t mediaTypeId;
    std::uint32_t sourceType;
    char16_t name[256];
};

// What the user chose in the application (message 106).
struct PrintPreviewResult {
    std::uint32_t fitToPaperWidth;
    std::uint32_t fitToPaperHeight;
    std::uint32_t fitToPaperOption;
    char encodedSettings[512];
    std::uint32_t scalingPercentage;
};

static_assert(sizeof(PrintPreviewData) == 2048, "message 102 carries exactly 2048 bytes");
static_assert(offsetof(PrintPreviewData, pureBlackAndWhiteSupported) == 0);
static_assert(offsetof(PrintPreviewData, paperSourceQuerySupported) == 1);
static_assert(offsetof(PrintPreviewData, reserved) == 2);
static_assert(offsetof(PrintPreviewData, sizePassThrough) == 3);
static_assert(offsetof(PrintPreviewData, platformId) == 4);
static_assert(offsetof(PrintPreviewData, copies) == 8);
static_assert(offsetof(PrintPreviewData, pageCount) == 12);
static_assert(offsetof(PrintPreviewData, mediaWidth) == 16);
static_assert(offsetof(PrintPreviewData, mediaHeight) == 20);
static_assert(offsetof(PrintPreviewData, rollWidth) == 24);
static_assert(offsetof(PrintPreviewData, scalingPercentage) == 28);
static_assert(offsetof(PrintPreviewData, fitToPaperWidth) == 32);
static_assert(offsetof(PrintPreviewData, fitToPaperHeight) == 36);
static_assert(offsetof(PrintPreviewData, fitToPaperOption) == 40);
static_assert(offsetof(PrintPreviewData, pdlId) == 44);
static_assert(offsetof(PrintPreviewData, prnFilePath) == 48);
static_assert(offsetof(PrintPreviewData, documentName) == 560);
static_assert(offsetof(PrintPreviewData, printerName) == 816);
static_assert(offsetof(PrintPreviewData, encodedSettings) == 1328);
static_assert(offsetof(PrintPreviewData, customMediaTypeName) == 1840);
static_assert(offsetof(PrintPreviewData, cropLinesRbaAutorotatePdf) == 2040);
static_assert(offsetof(PrintPreviewData, padding) == 2041);

static_assert(sizeof(PaperSourceEntry) == 540, "a paper source entry is 540 bytes");
static_assert(offsetof(PaperSourceEntry, state) == 0);
static_assert(offsetof(PaperSourceEntry, installed) == 1);
static_assert(offsetof(PaperSourceEntry, padding) == 2);
static_assert(offsetof(PaperSourceEntry, position) == 4);
static_assert(offsetof(PaperSourceEntry, constant8) == 8);
static_assert(offsetof(PaperSourceEntry, width) == 12);
static_assert(offsetof(PaperSourceEntry, length) == 16);
static_assert(offsetof(PaperSourceEntry, mediaTypeId) == 20);
static_assert(offsetof(PaperSourceEntry, sourceType) == 24);
static_assert(offsetof(PaperSourceEntry, name) == 28);

static_assert(sizeof(PrintPreviewResult) == 528, "message 106 is read as 528 bytes");
static_assert(offsetof(PrintPreviewResult, fitToPaperWidth) == 0);
static_assert(offsetof(PrintPreviewResult, fitToPaperHeight) == 4);
static_assert(offsetof(PrintPreviewResult, fitToPaperOption) == 8);
static_assert(offsetof(PrintPreviewResult, encodedSettings) == 12);
static_assert(offsetof(PrintPreviewResult, scalingPercentage) == 524);

// The wire format is little-endian and the records are copied as they are in memory.
static_assert(sizeof(char16_t) == 2);
