#include "papersourcetext.h"

#include <limits>

#include "bidipapersource.h"

namespace {

struct TypeName {
    const wchar_t* name;
    std::int32_t type;
};

// Names are compared exactly: the printers spell the roll both ways.
constexpr TypeName kTypeNames[] = {
    {L"sheetFeedAutoNonRemovable", PaperSourceTypeTray},
    {L"sheetFeedAutoNonRemovableTray", PaperSourceTypeTray},
    {L"Tray1", PaperSourceTypeTray},
    {L"continuousRoll", PaperSourceTypeRoll},
    {L"ContinuousRoll", PaperSourceTypeRoll},
    {L"Roll1", PaperSourceTypeRoll},
    {L"sheetFeedManual", PaperSourceTypeManual},
    {L"TopFeedTray", PaperSourceTypeManual},
};

constexpr const wchar_t* kInstalledTexts[] = {L"true", L"2", L"engaged", L"installed"};

}  // namespace

std::optional<std::int32_t> ParseDecimalInt32(const std::wstring& text)
{
    std::size_t position = 0;
    const bool negative = !text.empty() && text[0] == L'-';
    if (!text.empty() && (text[0] == L'-' || text[0] == L'+')) {
        position = 1;
    }
    if (position == text.size()) {
        return std::nullopt;
    }
    // Accumulated as a negative number, so that the smallest 32-bit value fits too.
    std::int64_t value = 0;
    for (; position < text.size(); ++position) {
        const wchar_t c = text[position];
        if (c < L'0' || c > L'9') {
            return std::nullopt;
        }
        value = value * 10 - (c - L'0');
        if (value < std::numeric_limits<std::int32_t>::min()) {
            return std::nullopt;
        }
    }
    if (!negative) {
        value = -value;
        if (value > std::numeric_limits<std::int32_t>::max()) {
            return std::nullopt;
        }
    }
    return static_cast<std::int32_t>(value);
}

std::int32_t PaperSourceTypeFromText(const std::wstring& text)
{
    for (const TypeName& known : kTypeNames) {
        if (text == known.name) {
            return known.type;
        }
    }
    return PaperSourceTypeOther;
}

std::uint32_t InstalledFromText(const std::wstring& text)
{
    for (const wchar_t* installed : kInstalledTexts) {
        if (text == installed) {
            return 1;
        }
    }
    return 0;
}
