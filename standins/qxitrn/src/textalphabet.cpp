#include "textalphabet.h"

namespace qxitrn {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
static_assert(sizeof kAlphabet - 1 == 1u << kBitsPerCharacter, "one character per six-bit symbol");

}  // namespace

char CharacterOf(unsigned symbol)
{
    return kAlphabet[symbol & ((1u << kBitsPerCharacter) - 1)];
}

int SymbolOf(char character)
{
    if (character >= 'A' && character <= 'Z') {
        return character - 'A';
    }
    if (character >= 'a' && character <= 'z') {
        return character - 'a' + 26;
    }
    if (character >= '0' && character <= '9') {
        return character - '0' + 52;
    }
    if (character == '-') {
        return 62;
    }
    return character == '_' ? 63 : -1;
}

}  // namespace qxitrn
