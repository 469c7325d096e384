// Paper source lengths: the printer's 1/720 inch in the driver's micrometres, and the nominal roll
// widths that a measured roll is recognised as.
#pragma once

#include <array>
#include <cstdint>

// The nominal roll widths in micrometres, in the order they are tried; the preview's auto-rotate
// roll widths are the same table.
inline constexpr std::array<std::int32_t, 18> kRollWidthsInMicrons = {
    0,       0,       431800,  457200,  609600,  762000, 914400, 1016000, 1066800,
    1117600, 1270000, 1371600, 1524000, 840740, 594360, 419100, 1031240, 728980,
};

// A printer's 1/720 inch value in micrometres. The product is taken in single precision before
// the division, then truncated after adding one half, so -1 (not reported) gives -34.
std::int32_t MicronsFromPrinterUnits(std::int32_t value);

// How far below a nominal width a measured roll may be and still count as that width: 1500 µm up
// to 150000 µm, 2000 µm up to 600000 µm, 3000 µm above.
std::int32_t RollWidthTolerance(std::int32_t width);

// The first nominal width that the measured width lies just above (by less than its tolerance);
// the width itself when there is none.
std::int32_t SnapRollWidth(std::int32_t width);
