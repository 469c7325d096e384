// The stand-in of the driver's closed encoding library "qxitrn.dll": the settings record as a short
// text that the data block carries to the preview application, and the text back as a record. No
// export lets an exception out to its C callers.
#include <cstring>

#include "morvikrecord.h"
#include "settingstext.h"

#ifdef _WIN32
#define QXITRN_EXPORT extern "C" __declspec(dllexport)
#else
#define QXITRN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {

constexpr std::int32_t kEncoded = 0;
constexpr std::int32_t kNoOutput = 1;
constexpr std::int32_t kNotEncoded = 2;

MorvikSettingsRecord UnsetRecord()
{
    MorvikSettingsRecord record;
    std::memset(&record, 0xFF, sizeof record);
    return record;
}

}  // namespace

// output: 512 bytes; it receives the zero-terminated text and zeros after it.
QXITRN_EXPORT std::int32_t EncodeFibonacciUnmanaged(MorvikSettingsRecord record, char* output)
{
    if (output == nullptr) {
        return kNoOutput;
    }
    std::memset(output, 0, qxitrn::kTextBufferSize);
    try {
        const std::string text = qxitrn::SettingsText::Encode(record);
        std::memcpy(output, text.data(), text.size());
        return kEncoded;
    } catch (...) {
        return kNotEncoded;
    }
}

// The text is read up to its terminator and never past 512 bytes; 512 bytes without one are too long.
QXITRN_EXPORT MorvikSettingsRecord DecodeFibonacci(const char* text, std::uint8_t* success)
{
    if (success != nullptr) {
        *success = 0;
    }
    if (text == nullptr || success == nullptr) {
        return UnsetRecord();
    }
    try {
        const std::size_t length = ::strnlen(text, qxitrn::kTextBufferSize);
        const auto record = qxitrn::SettingsText::Decode(std::string_view(text, length));
        if (!record) {
            return UnsetRecord();
        }
        *success = 1;
        return *record;
    } catch (...) {
        return UnsetRecord();
    }
}
