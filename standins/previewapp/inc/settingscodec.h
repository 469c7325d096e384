// The encoding library: the settings record to its text and back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "morvikrecord.h"
#include "sharedlibrary.h"

namespace previewapp {

class SettingsCodec {
public:
    // Throws PreviewFailure (kExitLibrary) when the library or an export is missing.
    explicit SettingsCodec(const std::string& path);

    // Nothing when the library refuses the record.
    std::optional<std::string> Encode(const MorvikSettingsRecord& record) const;
    // Nothing when the text is not a settings text.
    std::optional<MorvikSettingsRecord> Decode(const std::string& text) const;

private:
    using EncodeFunction = std::int32_t (*)(MorvikSettingsRecord, char*);
    using DecodeFunction = MorvikSettingsRecord (*)(const char*, std::uint8_t*);

    SharedLibrary m_library;
    EncodeFunction m_encode;
    DecodeFunction m_decode;
};

}  // namespace previewapp
