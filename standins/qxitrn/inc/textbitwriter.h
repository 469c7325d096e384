// Collects bits, first bit first, and writes them six to a character, the first bit of each group
// in the character's highest bit; the last character is filled up with zero bits.
#pragma once

#include <string>

namespace qxitrn {

class TextBitWriter {
public:
    void Write(bool bit);
    // The text so far, the last group padded with zeros.
    std::string Finish() const;

private:
    std::string m_text;
    unsigned m_pending = 0;
    int m_pendingBits = 0;
};

}  // namespace qxitrn
