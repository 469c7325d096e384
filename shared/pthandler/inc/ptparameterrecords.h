// The values that the parameter features read from a ticket: records for the features that carry
// several numbers, and the one value the two cutter features fold into.
#pragma once

#include <cstdint>

#include "ptfeaturedescs.h"

struct Scaling {
    // How the page is scaled, as the ticket's PageScaling feature says.
    enum Mode : std::uint32_t {
        NoScaling = 0,       // no PageScaling that could be read
        ScaleByPercentage = 1,
        FitToPaper = 2,      // fit to the paper given by width, height and name
        FitToRollWidth = 3,  // the same, with the FitToRollWidth option selected
    };

    std::uint32_t percentage = 100;
    std::uint32_t paperWidth = 0;  // in the ticket's own units
    std::uint32_t paperHeight = 0;
    EMediaSize paperSize = EMediaSize::NotSpecified;
    std::uint32_t mode = NoScaling;
};

struct ColorAdjustments {
    std::uint32_t lightness = 0;
    std::uint32_t red = 0;
    std::uint32_t green = 0;
    std::uint32_t blue = 0;
};

struct PageMediaSize {
    std::uint32_t width = 0;  // microns
    std::uint32_t height = 0;
    // CustomSize: width and height come from the custom-size parameters; UnlistedSize: a named
    // size the table does not know; otherwise the listed size.
    EMediaSize size = EMediaSize::NotSpecified;
};

// The auto cutter and the multi-page cutter folded into one value; the two "off" states differ so
// that the printer can tell which cutter the job switched off.
enum class ECutter : std::int32_t {
    NotSpecified = -1,
    CutterOn = 1,
    AutoCutterOff = 2,
    MultiPageCutterOff = 3,
};
