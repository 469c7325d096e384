#include "frameheader.h"

namespace qxicl {

namespace {

void PutLittleEndian(std::uint32_t value, unsigned char* bytes)
{
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

std::uint32_t GetLittleEndian(const unsigned char* bytes)
{
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        value |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    }
    return value;
}

}  // namespace

std::array<unsigned char, kFrameHeaderSize> FrameHeader::Encode() const
{
    std::array<unsigned char, kFrameHeaderSize> bytes{};
    PutLittleEndian(magic, bytes.data());
    PutLittleEndian(static_cast<std::uint32_t>(message), bytes.data() + 4);
    PutLittleEndian(size, bytes.data() + 8);
    return bytes;
}

FrameHeader FrameHeader::Decode(const unsigned char* bytes)
{
    FrameHeader header;
    header.magic = GetLittleEndian(bytes);
    header.message = static_cast<std::int32_t>(GetLittleEndian(bytes + 4));
    header.size = GetLittleEndian(bytes + 8);
    return header;
}

}  // namespace qxicl
