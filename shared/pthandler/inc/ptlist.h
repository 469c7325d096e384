// A pick-one-option feature: the selected option's keyword, looked up in the feature's table.
#pragma once

#include <string>
#include <unordered_map>

#include "featuredesc.h"
#include "hrerror.h"
#include "ptfeature.h"
#include "ptqueries.h"

template <class T>
class PTList : public PTFeature<T> {
public:
    PTList(const FeatureDesc<T>& desc, IXMLDOMDocument2* document)
        : PTFeature<T>(document), m_query(FeatureOptionQuery(desc.keyword, desc.namespaceUri)), m_desc(desc)
    {
        for (std::uint64_t row = 0; row < desc.optionCount; ++row) {
            m_options[desc.options[row].keyword] = desc.options[row].value;
        }
    }

    bool GetValue(T* value) override
    {
        *value = m_desc.defaultValue;
        try {
            wchar_t keyword[kKeywordCharacters] = {};
            this->GetOptionName(m_query, keyword, kKeywordCharacters);
            const auto option = m_options.find(keyword);
            if (option == m_options.end()) {
                QXLOG_ERROR(L"Option %s not found for feature %s", keyword, m_desc.keyword);
                return false;
            }
            *value = option->second;
            return true;
        } catch (const hr_error&) {
            QXLOG_INFO(L"Option for feature %s not found", m_desc.keyword);
            return false;
        }
    }

private:
    static constexpr std::size_t kKeywordCharacters = 256;

    std::unordered_map<std::wstring, T> m_options;
    std::wstring m_query;
    FeatureDesc<T> m_desc;
};

// The list of one described feature, built on the document alone.
template <class T, const FeatureDesc<T>& desc>
class GenericPTFeatureList : public PTList<T> {
public:
    explicit GenericPTFeatureList(IXMLDOMDocument2* document) : PTList<T>(desc, document) {}
};
