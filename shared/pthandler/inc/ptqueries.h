// The XPath queries of the ticket model. Each finds an element by keyword and namespace URI: the
// text after the first ':' of its name attribute must be the keyword, and the text before it must
// name an in-scope namespace whose value is the URI.
#pragma once

#include <string>

// option of a feature: .../psf:Feature[F in N]/psf:Option/@name
std::wstring FeatureOptionQuery(const std::wstring& feature, const std::wstring& featureNamespace);
// the feature element itself
std::wstring FeatureNodeQuery(const std::wstring& feature, const std::wstring& featureNamespace);
// value of a parameter: .../psf:ParameterInit[P in N]/psf:Value
std::wstring ParameterValueQuery(const std::wstring& parameter, const std::wstring& parameterNamespace);
// the parameter element itself
std::wstring ParameterNodeQuery(const std::wstring& parameter, const std::wstring& parameterNamespace);
// value of a scored property of the feature's selected option
std::wstring ScoredPropertyValueQuery(const std::wstring& feature, const std::wstring& featureNamespace,
                                      const std::wstring& property, const std::wstring& propertyNamespace);
// the feature's option with the given keyword, whatever its prefix
std::wstring OptionPresenceQuery(const std::wstring& feature, const std::wstring& featureNamespace,
                                 const std::wstring& option);
// relative to the document element: the in-scope namespace node whose value is the URI
std::wstring NamespaceNodeQuery(const std::wstring& namespaceUri);
