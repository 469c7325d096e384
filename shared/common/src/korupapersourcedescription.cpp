#include "korupapersourcedescription.h"

#include <cstdint>
#include <map>
#include <optional>

#include "korumedia.h"
#include "koruunits.h"
#include "papersourcetext.h"
#include "prefixedentries.h"

namespace {

using DescriptionEntries = std::map<std::wstring, std::wstring>;

DescriptionEntries EntriesOf(const std::wstring& description)
{
    DescriptionEntries entries;
    std::size_t start = 0;
    while (start < description.size()) {
        std::size_t end = description.find(L'\n', start);
        if (end == std::wstring::npos) {
            end = description.size();
        }
        std::wstring line = description.substr(start, end - start);
        if (!line.empty() && line.back() == L'\r') {
            line.pop_back();
        }
        const std::size_t equals = line.find(L'=');
        if (equals != std::wstring::npos) {
            entries.emplace(line.substr(0, equals), line.substr(equals + 1));
        }
        start = end + 1;
    }
    return entries;
}

// The entries of one source: "Source1_Name" is field "Name" of source 1.
class SourceFields {
public:
    SourceFields(const DescriptionEntries& entries, std::uint32_t number)
        : m_entries(entries, L"Source" + std::to_wstring(number) + L"_")
    {
    }

    bool Any() const { return m_entries.Any(); }
    const std::wstring* Find(const wchar_t* field) const { return m_entries.Find(field); }

    std::wstring Text(const wchar_t* field) const
    {
        const std::wstring* text = Find(field);
        return text == nullptr ? std::wstring() : *text;
    }

private:
    PrefixedEntries<std::wstring> m_entries;
};

std::int32_t LengthOf(const SourceFields& source, const wchar_t* field)
{
    const std::optional<double> value = ParseKoruNumber(source.Text(field));
    if (!value) {
        return -1;
    }
    return PrinterUnitsFromKoruLength(*value, source.Text(L"MediaUnits")).value_or(-1);
}

std::int32_t WidthOf(const SourceFields& source)
{
    const std::optional<std::int32_t> named = KoruMediaSizeWidth(source.Text(L"MediaSizeName"));
    return named ? *named : LengthOf(source, L"MediaWidth");
}

std::wstring MediaTypeOf(const SourceFields& source)
{
    const std::wstring mediaId = source.Text(L"MediaID");
    if (const std::optional<std::int32_t> number = ParseDecimalInt32(mediaId)) {
        return std::to_wstring(*number);
    }
    for (const std::wstring& name : {mediaId, source.Text(L"MediaType")}) {
        if (const std::optional<std::int32_t> id = KoruMediaTypeId(name)) {
            return std::to_wstring(*id);
        }
    }
    return {};
}

BIDI_PAPERSOURCE_ITEM SourceItem(const SourceFields& source, std::uint32_t number)
{
    BIDI_PAPERSOURCE_ITEM item;
    item.stateFlag = source.Text(L"NotReady") == L"true" ? 1 : 0;
    item.installed = InstalledFromText(source.Text(L"InputInstalled"));
    item.number = number;
    item.width = WidthOf(source);
    item.length = LengthOf(source, L"MediaLength");
    const std::wstring* type = source.Find(L"Type");
    item.type = type == nullptr ? PaperSourceTypeNotReported : PaperSourceTypeFromText(*type);
    item.mediaType = MediaTypeOf(source);
    item.name = source.Text(L"Name");
    return item;
}

}  // namespace

BIDI_PAPERSOURCE PaperSourcesFromKoruDescription(const std::wstring& description)
{
    const DescriptionEntries entries = EntriesOf(description);
    BIDI_PAPERSOURCE sources;
    for (std::uint32_t number = 1;; ++number) {
        const SourceFields source(entries, number);
        if (!source.Any()) {
            break;
        }
        sources.sources.push_back(SourceItem(source, number));
    }
    return sources;
}
