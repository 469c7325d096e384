// The header in front of every message on a connection: magic "QXIC", message number and payload
// size, each 32 bits little-endian.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qxicl {

inline constexpr std::uint32_t kFrameMagic = 0x51584943;
inline constexpr std::uint32_t kMaxFramePayload = 1u << 20;
inline constexpr std::size_t kFrameHeaderSize = 12;

struct FrameHeader {
    std::uint32_t magic = kFrameMagic;
    std::int32_t message = 0;
    std::uint32_t size = 0;

    std::array<unsigned char, kFrameHeaderSize> Encode() const;
    static FrameHeader Decode(const unsigned char* bytes);
    // A frame with another magic or a payload over 1 MiB is not read; its connection is dropped.
    bool IsAcceptable() const { return magic == kFrameMagic && size <= kMaxFramePayload; }
};

}  // namespace qxicl
