#include "resultpayloads.h"

#include <cstring>
#include <random>

#include "previewfailure.h"

namespace previewapp {

PrintPreviewResult UnchangedResult(const PrintPreviewData& data)
{
    PrintPreviewResult result{};
    result.fitToPaperWidth = data.fitToPaperWidth;
    result.fitToPaperHeight = data.fitToPaperHeight;
    result.fitToPaperOption = data.fitToPaperOption;
    result.scalingPercentage = data.scalingPercentage;
    std::memcpy(result.encodedSettings, data.encodedSettings, sizeof(result.encodedSettings));
    // A text that filled its field without a terminator goes back terminated, as the filter reads it.
    result.encodedSettings[sizeof(result.encodedSettings) - 1] = '\0';
    return result;
}

PrintPreviewResult ChangedResult(const PrintPreviewData& data, const SettingsChanges& changes,
                                 const SettingsCodec& codec)
{
    PrintPreviewResult result = UnchangedResult(data);
    changes.ApplyTo(result);
    if (!changes.AnyInSettings()) {
        return result;
    }
    std::optional<MorvikSettingsRecord> record = codec.Decode(result.encodedSettings);
    if (!record.has_value()) {
        throw PreviewFailure(kExitSettings, "the settings text of the job does not decode");
    }
    changes.ApplyTo(*record);
    const std::optional<std::string> text = codec.Encode(*record);
    if (!text.has_value() || text->size() >= sizeof(result.encodedSettings)) {
        throw PreviewFailure(kExitSettings, "the changed settings do not encode");
    }
    std::memset(result.encodedSettings, 0, sizeof(result.encodedSettings));
    std::memcpy(result.encodedSettings, text->data(), text->size());
    return result;
}

std::vector<std::uint8_t> ResultBytes(const PrintPreviewResult& result)
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&result);
    return std::vector<std::uint8_t>(bytes, bytes + sizeof(result));
}

std::vector<std::uint8_t> ShortResultBytes(const PrintPreviewData& data)
{
    std::vector<std::uint8_t> bytes = ResultBytes(UnchangedResult(data));
    bytes.resize(kShortResultSize);
    return bytes;
}

std::vector<std::uint8_t> RandomResultBytes()
{
    std::random_device seed;
    std::mt19937 generator(seed());
    std::uniform_int_distribution<int> byte(0, 255);
    std::vector<std::uint8_t> bytes(sizeof(PrintPreviewResult));
    for (std::uint8_t& value : bytes) {
        value = static_cast<std::uint8_t>(byte(generator));
    }
    return bytes;
}

}  // namespace previewapp
