#include "textbitreader.h"

#include "textalphabet.h"

namespace qxitrn {

std::optional<TextBitReader> TextBitReader::Of(std::string_view text)
{
    std::vector<unsigned char> symbols;
    symbols.reserve(text.size());
    for (const char character : text) {
        const int symbol = SymbolOf(character);
        if (symbol < 0) {
            return std::nullopt;
        }
        symbols.push_back(static_cast<unsigned char>(symbol));
    }
    return TextBitReader(std::move(symbols));
}

std::optional<bool> TextBitReader::Next()
{
    if (m_position >= m_symbols.size() * kBitsPerCharacter) {
        return std::nullopt;
    }
    return BitAt(m_position++);
}

bool TextBitReader::RestIsPadding() const
{
    const std::size_t end = m_symbols.size() * kBitsPerCharacter;
    if (end - m_position >= static_cast<std::size_t>(kBitsPerCharacter)) {
        return false;
    }
    for (std::size_t position = m_position; position < end; ++position) {
        if (BitAt(position)) {
            return false;
        }
    }
    return true;
}

bool TextBitReader::BitAt(std::size_t position) const
{
    const unsigned symbol = m_symbols[position / kBitsPerCharacter];
    return ((symbol >> (kBitsPerCharacter - 1 - position % kBitsPerCharacter)) & 1u) != 0;
}

}  // namespace qxitrn
