// Reads back the bits a TextBitWriter wrote.
#pragma once

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace qxitrn {

class TextBitReader {
public:
    // Nothing when a character lies outside the alphabet.
    static std::optional<TextBitReader> Of(std::string_view text);

    // Nothing past the last bit.
    std::optional<bool> Next();
    // True when what is left is only the zero fill of the last character: fewer than six bits, all 0.
    bool RestIsPadding() const;

private:
    explicit TextBitReader(std::vector<unsigned char> symbols) : m_symbols(std::move(symbols)) {}
    bool BitAt(std::size_t position) const;

    std::vector<unsigned char> m_symbols;
    std::size_t m_position = 0;
};

}  // namespace qxitrn
