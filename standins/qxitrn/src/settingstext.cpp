#include "settingstext.h"

#include <cstdint>

#include "textbitreader.h"
#include "textbitwriter.h"

namespace qxitrn {

namespace {

std::uint64_t CodeNumberOf(std::int32_t field)
{
    return std::uint64_t{static_cast<std::uint32_t>(field) + 1u} + 1;
}

std::int32_t FieldOf(std::uint64_t codeNumber)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(codeNumber - 1) - 1u);
}

}  // namespace

std::string SettingsText::Encode(const MorvikSettingsRecord& record)
{
    TextBitWriter writer;
    for (const std::int32_t field : record.fields) {
        FibonacciCode::Write(CodeNumberOf(field), writer);
    }
    return kTextVersion + writer.Finish();
}

std::optional<MorvikSettingsRecord> SettingsText::Decode(std::string_view text)
{
    if (text.empty() || text.size() > kMaxTextLength || text.front() != kTextVersion) {
        return std::nullopt;
    }
    std::optional<TextBitReader> reader = TextBitReader::Of(text.substr(1));
    if (!reader) {
        return std::nullopt;
    }
    MorvikSettingsRecord record{};
    for (std::int32_t& field : record.fields) {
        const std::optional<std::uint64_t> codeNumber = FibonacciCode::Read(*reader);
        if (!codeNumber) {
            return std::nullopt;
        }
        field = FieldOf(*codeNumber);
    }
    if (!reader->RestIsPadding()) {
        return std::nullopt;
    }
    return record;
}

}  // namespace qxitrn
