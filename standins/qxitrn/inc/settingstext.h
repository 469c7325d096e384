// The settings record as text: a version character, then the Fibonacci code words of the 53 fields
// in field order, packed six bits to a character of the text alphabet. A field's code number is its
// 32-bit value plus one, taken modulo 2^32, plus one: an unset field (-1) becomes the shortest word,
// "11", so a typical record, mostly unset, makes a short text; 0xFFFFFFFE becomes 2^32, the longest.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "fibonaccicode.h"
#include "morvikrecord.h"
#include "textalphabet.h"

namespace qxitrn {

inline constexpr char kTextVersion = 'F';

// Every record fits the 512-byte output with its terminator, even with every field at the longest
// code word.
inline constexpr std::size_t kMaxTextLength =
    1 + (kMorvikFieldCount * kMaxCodeWordBits + kBitsPerCharacter - 1) / kBitsPerCharacter;
inline constexpr std::size_t kTextBufferSize = 512;
static_assert(kMaxTextLength == 417, "53 words of at most 47 bits in six-bit characters, and the version");
static_assert(kMaxTextLength < kTextBufferSize, "the longest text and its terminator fit the output");

class SettingsText {
public:
    static std::string Encode(const MorvikSettingsRecord& record);
    // Nothing unless the text is exactly the encoding of a record: the version, characters of the
    // alphabet only, 53 well-formed words and nothing after them but the last character's zero fill.
    static std::optional<MorvikSettingsRecord> Decode(std::string_view text);
};

}  // namespace qxitrn
