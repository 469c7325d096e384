#include "korumedia.h"

#include "koruunits.h"

namespace {

struct MediaName {
    const wchar_t* name;
    std::int32_t id;
};

// Identifiers that several catalogue media share stand for the first of them.
constexpr MediaName kMediaNames[] = {
    {L"stationery", 2},
    {L"stationery-lightweight", 3},
    {L"stationery-heavyweight", 4},
    {L"qx-universal-bond-80", 6},
    {L"qx-bright-white-bond-90", 7},
    {L"stationery-recycled", 8},
    {L"qx-tracing-paper", 10},
    {L"stationery-colored", 17},
    {L"stationery-inkjet", 21},
    {L"stationery-coated", 23},
    {L"stationery-heavyweight-coated", 25},
    {L"qx-coated-paper-90", 27},
    {L"qx-coated-paper-130", 28},
    {L"qx-heavyweight-coated-170", 29},
    {L"qx-universal-coated-95", 31},
    {L"cardstock", 45},
    {L"photographic-glossy", 48},
    {L"photographic-semi-gloss", 49},
    {L"photographic-satin", 50},
    {L"photographic-matte", 51},
    {L"photographic-high-gloss", 52},
    {L"photographic", 53},
    {L"qx-photo-gloss-190", 55},
    {L"qx-photo-satin-200", 59},
    {L"transparency", 81},
    {L"film", 83},
    {L"polyester", 84},
    {L"back-print-film", 85},
    {L"qx-backlit-film-180", 86},
    {L"qx-matte-polyester-film-160", 89},
    {L"self-adhesive-film", 102},
    {L"fabric", 107},
    {L"qx-matte-canvas-350", 108},
    {L"transfer", 128},
    {L"plastic", 133},
    {L"plastic-matte", 134},
    {L"qx-self-adhesive-vinyl-matte-80", 141},
    {L"qx-scrim-vinyl-banner-440", 149},
    {L"self-adhesive", 158},
    {L"labels", 163},
};
static_assert(sizeof kMediaNames / sizeof kMediaNames[0] == 40, "the KORU media map has 40 names");

struct MediaSize {
    const wchar_t* name;
    double width;
    const wchar_t* unit;
};

constexpr MediaSize kMediaSizes[] = {
    {L"roll_17in", 17, L"inches"},
    {L"roll_24in", 24, L"inches"},
    {L"roll_36in", 36, L"inches"},
    {L"roll_42in", 42, L"inches"},
    {L"roll_44in", 44, L"inches"},
    {L"roll_60in", 60, L"inches"},
    {L"iso_a0_841x1189mm", 841, L"millimeters"},
    {L"iso_a1_594x841mm", 594, L"millimeters"},
    {L"iso_a2_420x594mm", 420, L"millimeters"},
    {L"iso_a3_297x420mm", 297, L"millimeters"},
    {L"iso_a4_210x297mm", 210, L"millimeters"},
    {L"na_letter_8.5x11in", 8.5, L"inches"},
    {L"na_ledger_11x17in", 11, L"inches"},
    {L"na_arch-d_24x36in", 24, L"inches"},
    {L"na_arch-e_36x48in", 36, L"inches"},
};

}  // namespace

std::optional<std::int32_t> KoruMediaTypeId(const std::wstring& mediaName)
{
    for (const MediaName& known : kMediaNames) {
        if (mediaName == known.name) {
            return known.id;
        }
    }
    return std::nullopt;
}

std::optional<std::int32_t> KoruMediaSizeWidth(const std::wstring& sizeName)
{
    for (const MediaSize& known : kMediaSizes) {
        if (sizeName == known.name) {
            return PrinterUnitsFromKoruLength(known.width, known.unit);
        }
    }
    return std::nullopt;
}
