// The 64 characters of the settings text, six bits each: the URL-safe base64 alphabet, which holds no
// quote, blank, backslash or percent sign and so travels unchanged through command lines, registry
// values and the fixed narrow field of the data block.
#pragma once

namespace qxitrn {

inline constexpr int kBitsPerCharacter = 6;

char CharacterOf(unsigned symbol);
// -1 for a character outside the alphabet.
int SymbolOf(char character);

}  // namespace qxitrn
