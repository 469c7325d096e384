// The entries of a name-to-value table that belong to one paper source: those whose names begin
// with the source's prefix ("\Printer.PaperSource.Source1:" in a bidi answer, "Source1_" in a
// KORU description), looked up by the rest of the name.
#pragma once

#include <map>
#include <string>

template <class Value>
class PrefixedEntries {
public:
    // The table must outlive this view.
    PrefixedEntries(const std::map<std::wstring, Value>& entries, std::wstring prefix)
        : m_entries(entries), m_prefix(std::move(prefix))
    {
    }

    // Whether the table has any entry under the prefix.
    bool Any() const
    {
        const auto first = m_entries.lower_bound(m_prefix);
        return first != m_entries.end() && first->first.compare(0, m_prefix.size(), m_prefix) == 0;
    }

    // The value of prefix + field; null when there is none.
    const Value* Find(const wchar_t* field) const
    {
        const auto found = m_entries.find(m_prefix + field);
        return found == m_entries.end() ? nullptr : &found->second;
    }

private:
    const std::map<std::wstring, Value>& m_entries;
    std::wstring m_prefix;
};
