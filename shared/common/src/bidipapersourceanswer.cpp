#include "bidipapersourceanswer.h"

#include <optional>
#include <string>

#include "papersourcetext.h"
#include "prefixedentries.h"

namespace {

const wchar_t kSourcesPrefix[] = L"\\Printer.PaperSource.Source";
const wchar_t kDefaultSource[] = L"\\Printer.PaperSource:DefaultSource";
const wchar_t kNotReadyMask[] = L"\\Printer.PaperSource:NotReady";

constexpr const wchar_t* kValueTypes[] = {L"BIDI_INT",  L"BIDI_STRING", L"BIDI_BOOL", L"BIDI_ENUM",
                                          L"BIDI_TEXT", L"BIDI_FLOAT",  L"BIDI_BLOB"};

bool IsValueType(const std::wstring& type)
{
    for (const wchar_t* known : kValueTypes) {
        if (type == known) {
            return true;
        }
    }
    return false;
}

BidiEntries TypedEntries(const BidiEntries& answer)
{
    BidiEntries typed;
    for (const auto& entry : answer) {
        if (IsValueType(entry.second.type)) {
            typed.insert(typed.end(), entry);
        }
    }
    return typed;
}

// The entries of one paper source: the names after its prefix ("Width" for "...Source1:Width").
class SourceEntries {
public:
    SourceEntries(const BidiEntries& answer, std::uint32_t number)
        : m_entries(answer, kSourcesPrefix + std::to_wstring(number) + L":")
    {
    }

    bool Any() const { return m_entries.Any(); }
    const BidiEntry* Find(const wchar_t* property) const { return m_entries.Find(property); }

    std::wstring Text(const wchar_t* property) const
    {
        const BidiEntry* entry = Find(property);
        return entry == nullptr ? std::wstring() : entry->text;
    }

    std::optional<std::int32_t> Number(const wchar_t* property) const
    {
        const BidiEntry* entry = Find(property);
        return entry == nullptr ? std::nullopt : ParseDecimalInt32(entry->text);
    }

private:
    PrefixedEntries<BidiEntry> m_entries;
};

std::optional<std::int32_t> NumberOf(const BidiEntries& answer, const wchar_t* name)
{
    const auto found = answer.find(name);
    return found == answer.end() ? std::nullopt : ParseDecimalInt32(found->second.text);
}

// A length in 1/720 inch; a negative one is no length.
std::int32_t LengthOf(const SourceEntries& source, const wchar_t* property)
{
    const std::int32_t length = source.Number(property).value_or(-1);
    return length < 0 ? -1 : length;
}

std::int32_t MediaProtectedOf(const SourceEntries& source)
{
    if (source.Find(L"MediaProtected") == nullptr) {
        return -1;
    }
    return source.Number(L"MediaProtected") == 2 ? 2 : 0;
}

std::int32_t TypeOf(const SourceEntries& source)
{
    const BidiEntry* type = source.Find(L"Type");
    return type == nullptr ? PaperSourceTypeNotReported : PaperSourceTypeFromText(type->text);
}

// The medium's identifier is only taken from an integer value.
std::wstring MediaTypeOf(const SourceEntries& source)
{
    const BidiEntry* id = source.Find(L"Id");
    if (id == nullptr || id->type != L"BIDI_INT") {
        return {};
    }
    const std::optional<std::int32_t> number = ParseDecimalInt32(id->text);
    return number ? std::to_wstring(*number) : std::wstring();
}

std::uint32_t StateFlagOf(const SourceEntries& source, std::uint32_t number, std::optional<std::int32_t> notReadyMask)
{
    if (notReadyMask) {
        const std::uint32_t bit = number - 1;
        const bool set = bit < 32 && ((static_cast<std::uint32_t>(*notReadyMask) >> bit) & 1u) != 0;
        return set ? 0 : 1;
    }
    if (source.Text(L"NotReady") == L"true" || source.Text(L"InputInstalled") == L"engaged") {
        return 1;
    }
    return 0;
}

BIDI_PAPERSOURCE_ITEM SourceItem(const SourceEntries& source, std::uint32_t number,
                                 std::optional<std::int32_t> notReadyMask)
{
    BIDI_PAPERSOURCE_ITEM item;
    item.stateFlag = StateFlagOf(source, number, notReadyMask);
    item.installed = InstalledFromText(source.Text(L"InputInstalled"));
    item.number = number;
    item.width = LengthOf(source, L"Width");
    item.length = LengthOf(source, L"Length");
    item.mediaProtected = MediaProtectedOf(source);
    item.type = TypeOf(source);
    item.mediaType = MediaTypeOf(source);
    item.name = source.Text(L"Name");
    item.vendor = source.Text(L"Vendor");
    return item;
}

}  // namespace

BIDI_PAPERSOURCE PaperSourcesFromBidiAnswer(const BidiEntries& answer)
{
    const BidiEntries typed = TypedEntries(answer);
    BIDI_PAPERSOURCE sources;
    const std::optional<std::int32_t> notReadyMask = NumberOf(typed, kNotReadyMask);
    sources.defaultSource = NumberOf(typed, kDefaultSource).value_or(-1);
    sources.notReadyMask = notReadyMask.value_or(-1);
    for (std::uint32_t number = 1;; ++number) {
        const SourceEntries source(typed, number);
        if (!source.Any()) {
            break;
        }
        sources.sources.push_back(SourceItem(source, number, notReadyMask));
    }
    return sources;
}
