// Lengths in a KORU paper source description: a decimal number with an optional fraction and
// the name of its unit, turned into the printer's 1/720 inch.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Digits with an optional fraction ("914.4"); nothing for any other text.
std::optional<double> ParseKoruNumber(const std::wstring& text);

// The length in 1/720 inch, rounded to the nearest; nothing for a unit other than "meters",
// "millimeters", "inches", "tenThousandthsOfInches", "points", "feet" and "micrometers", or a
// length that does not fit 32 bits.
std::optional<std::int32_t> PrinterUnitsFromKoruLength(double value, const std::wstring& unit);
