// How a printer's words and numbers for its paper sources become the record's values; the bidi
// answer and the KORU description use the same words.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// A whole decimal integer with an optional sign that fits 32 bits; nothing for any other text.
std::optional<std::int32_t> ParseDecimalInt32(const std::wstring& text);

// The source type code for a reported type name (see EPaperSourceType): sheet trays, rolls and
// manual feed by the names the printers use; any other name is PaperSourceTypeOther.
std::int32_t PaperSourceTypeFromText(const std::wstring& text);

// 1 when the reported installed state says something is loaded ("true", "2", "engaged",
// "installed"), else 0.
std::uint32_t InstalledFromText(const std::wstring& text);
