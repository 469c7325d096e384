#include "papersourcemeasure.h"

#include <limits>

namespace {

constexpr double kMicronsPerInch = 25400.0;
constexpr double kPrinterUnitsPerInch = 720.0;

}  // namespace

std::int32_t MicronsFromPrinterUnits(std::int32_t value)
{
    // The single-precision product is part of the conversion: widths the printer and the preview
    // application compare must come out the same to the micrometre.
    const float product = static_cast<float>(value * kMicronsPerInch);
    const double microns = product / kPrinterUnitsPerInch + 0.5;
    // A length beyond some 2 km is no paper; it is held at the ends of the range rather than overflow.
    constexpr double kLargest = std::numeric_limits<std::int32_t>::max();
    constexpr double kSmallest = std::numeric_limits<std::int32_t>::min();
    if (microns >= kLargest) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (microns <= kSmallest) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(microns);
}

std::int32_t RollWidthTolerance(std::int32_t width)
{
    if (width <= 150000) {
        return 1500;
    }
    return width <= 600000 ? 2000 : 3000;
}

std::int32_t SnapRollWidth(std::int32_t width)
{
    const std::int64_t tolerance = RollWidthTolerance(width);
    for (const std::int32_t nominal : kRollWidthsInMicrons) {
        if (width > nominal && static_cast<std::int64_t>(width) - nominal < tolerance) {
            return nominal;
        }
    }
    return width;
}
