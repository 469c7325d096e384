// The media that a KORU printer names in its paper source description.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The numeric media identifier (the print ticket's PageMediaType option value of the medium) for
// one of the 40 media identifiers a KORU printer reports loaded media by: the generic media kinds
// ("stationery", "photographic-glossy", ...) and the maker's most common branded media
// ("qx-coated-paper-90", ...). Nothing for a name outside the map.
std::optional<std::int32_t> KoruMediaTypeId(const std::wstring& mediaName);

// The width in 1/720 inch of a known media size name: the nominal roll widths ("roll_36in") and
// the usual ISO A and ANSI/architectural sheets in their PWG names ("iso_a0_841x1189mm").
std::optional<std::int32_t> KoruMediaSizeWidth(const std::wstring& sizeName);
