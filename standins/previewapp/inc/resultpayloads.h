// The payloads of message 106 this program can send.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "previewrecords.h"
#include "settingschanges.h"
#include "settingscodec.h"

namespace previewapp {

// The size of the short result, well inside the settings text.
inline constexpr std::size_t kShortResultSize = 100;

// The job as it came: the data block's scaling values and settings text.
PrintPreviewResult UnchangedResult(const PrintPreviewData& data);
// The job with the changes made; the settings text is decoded and encoded again only when a setting
// inside it changes. Throws PreviewFailure (kExitSettings) when the text does not decode or the
// changed record does not encode.
PrintPreviewResult ChangedResult(const PrintPreviewData& data, const SettingsChanges& changes,
                                 const SettingsCodec& codec);

std::vector<std::uint8_t> ResultBytes(const PrintPreviewResult& result);
// The first bytes of the unchanged result, as a sender that stops early would leave them.
std::vector<std::uint8_t> ShortResultBytes(const PrintPreviewData& data);
std::vector<std::uint8_t> RandomResultBytes();

}  // namespace previewapp
