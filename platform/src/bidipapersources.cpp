#include "bidipapersources.h"

namespace platform {
namespace {

constexpr wchar_t kPaperSource[] = L"\\Printer.PaperSource";

class Entries {
public:
    void Add(const std::wstring& name, const wchar_t* type, const std::wstring& text) { values_[name] = {type, text}; }

    template <class Number>
    void AddNumber(const std::wstring& name, const std::optional<Number>& number)
    {
        if (number) {
            Add(name, L"BIDI_INT", std::to_wstring(*number));
        }
    }

    void AddText(const std::wstring& name, const wchar_t* type, const std::optional<std::wstring>& text)
    {
        if (text) {
            Add(name, type, *text);
        }
    }

    std::map<std::wstring, BidiValue> Take() { return std::move(values_); }

private:
    std::map<std::wstring, BidiValue> values_;
};

}  // namespace

bool SchemaCovers(const std::wstring& query, const std::wstring& schema)
{
    const bool below = schema.size() > query.size() && schema.compare(0, query.size(), query) == 0 &&
                       (schema[query.size()] == L'.' || schema[query.size()] == L':');
    return schema == query || below;
}

bool AsksForPaperSources(const std::wstring& query)
{
    return SchemaCovers(query, kPaperSource) || SchemaCovers(kPaperSource, query);
}

std::map<std::wstring, BidiValue> PaperSourceBidiValues(const PaperSourceAnswer& answer)
{
    Entries entries;
    entries.AddNumber(std::wstring(kPaperSource) + L":DefaultSource", answer.defaultSource);
    entries.AddNumber(std::wstring(kPaperSource) + L":NotReady", answer.notReadyMask);
    for (std::size_t place = 0; place < answer.sources.size(); ++place) {
        const PaperSource& source = answer.sources[place];
        const DWORD number = source.number != 0 ? source.number : static_cast<DWORD>(place + 1);
        const std::wstring prefix = std::wstring(kPaperSource) + L".Source" + std::to_wstring(number) + L":";
        entries.AddNumber(prefix + L"Width", source.width);
        entries.AddNumber(prefix + L"Length", source.length);
        entries.AddText(prefix + L"Type", L"BIDI_ENUM", source.type);
        entries.AddText(prefix + L"InputInstalled", source.installedType.c_str(), source.installed);
        if (source.notReady) {
            entries.Add(prefix + L"NotReady", L"BIDI_BOOL", *source.notReady ? L"true" : L"false");
        }
        entries.AddNumber(prefix + L"MediaProtected", source.mediaProtected);
        entries.AddNumber(prefix + L"Id", source.id);
        entries.AddText(prefix + L"Name", L"BIDI_STRING", source.name);
        entries.AddText(prefix + L"Vendor", L"BIDI_STRING", source.vendor);
    }
    return entries.Take();
}

}  // namespace platform
