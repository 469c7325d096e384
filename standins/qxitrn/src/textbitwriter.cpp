#include "textbitwriter.h"

#include "textalphabet.h"

namespace qxitrn {

void TextBitWriter::Write(bool bit)
{
    m_pending = (m_pending << 1) | (bit ? 1u : 0u);
    if (++m_pendingBits == kBitsPerCharacter) {
        m_text += CharacterOf(m_pending);
        m_pending = 0;
        m_pendingBits = 0;
    }
}

std::string TextBitWriter::Finish() const
{
    if (m_pendingBits == 0) {
        return m_text;
    }
    return m_text + CharacterOf(m_pending << (kBitsPerCharacter - m_pendingBits));
}

}  // namespace qxitrn
