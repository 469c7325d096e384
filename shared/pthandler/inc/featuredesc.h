// The static description of a pick-one-option feature: its keyword and namespace, the option
// keywords with the values they stand for, and the value reported when the ticket does not say.
#pragma once

#include <cstdint>

template <class T>
struct FeatureOption {
    constexpr FeatureOption(const wchar_t* optionKeyword, std::int64_t optionValue)
        : keyword(optionKeyword), value(static_cast<T>(optionValue))
    {
    }

    const wchar_t* keyword;  // as it follows the prefix in the ticket
    T value;
};

template <class T>
struct FeatureDesc {
    const wchar_t* keyword;
    const wchar_t* namespaceUri;
    const FeatureOption<T>* options;
    std::uint64_t optionCount;
    T defaultValue;
};

// Option tables are written once as X-lists of (keyword, value); the keyword is also the
// enumerator's name, so the enumeration and the table cannot drift apart.
#define QX_ENUMERATOR(keyword, value) keyword = (value),
#define QX_OPTION_ROW(keyword, value) {L"" #keyword, (value)},
// -1 (all bits set) is "not specified" wherever a feature's default or absence reports it.
#define QX_DECLARE_ENUMERATION(name, OPTIONS) \
    enum class name : std::int32_t { NotSpecified = -1, OPTIONS(QX_ENUMERATOR) };
