#include "settingscodec.h"

#include <array>

namespace previewapp {

namespace {

// The library writes at most 511 characters and a terminator.
constexpr std::size_t kEncodedCapacity = 512;

}  // namespace

SettingsCodec::SettingsCodec(const std::string& path)
    : m_library(path),
      m_encode(m_library.Export<EncodeFunction>("EncodeFibonacciUnmanaged")),
      m_decode(m_library.Export<DecodeFunction>("DecodeFibonacci"))
{
}

std::optional<std::string> SettingsCodec::Encode(const MorvikSettingsRecord& record) const
{
    std::array<char, kEncodedCapacity> output{};
    if (m_encode(record, output.data()) != 0) {
        return std::nullopt;
    }
    // The last byte stays zero whatever the library wrote before it.
    output.back() = '\0';
    return std::string(output.data());
}

std::optional<MorvikSettingsRecord> SettingsCodec::Decode(const std::string& text) const
{
    std::uint8_t success = 0;
    const MorvikSettingsRecord record = m_decode(text.c_str(), &success);
    if (success == 0) {
        return std::nullopt;
    }
    return record;
}

}  // namespace previewapp
