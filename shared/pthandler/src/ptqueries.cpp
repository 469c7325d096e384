#include "ptqueries.h"

namespace {

const std::wstring kTicketFeature = L"psf:PrintTicket/psf:Feature";
const std::wstring kTicketParameter = L"psf:PrintTicket/psf:ParameterInit";

std::wstring KeywordTest(const std::wstring& keyword) { return L"[substring-after(@name,':')='" + keyword + L"']"; }

std::wstring NamespaceTest(const std::wstring& namespaceUri)
{
    return L"[name(namespace::*[.='" + namespaceUri + L"'])=substring-before(@name,':')]";
}

std::wstring Keyword(const std::wstring& keyword, const std::wstring& namespaceUri)
{
    return KeywordTest(keyword) + NamespaceTest(namespaceUri);
}

}  // namespace

std::wstring FeatureNodeQuery(const std::wstring& feature, const std::wstring& featureNamespace)
{
    return kTicketFeature + Keyword(feature, featureNamespace);
}

std::wstring FeatureOptionQuery(const std::wstring& feature, const std::wstring& featureNamespace)
{
    return FeatureNodeQuery(feature, featureNamespace) + L"/psf:Option/@name";
}

std::wstring ParameterNodeQuery(const std::wstring& parameter, const std::wstring& parameterNamespace)
{
    return kTicketParameter + Keyword(parameter, parameterNamespace);
}

std::wstring ParameterValueQuery(const std::wstring& parameter, const std::wstring& parameterNamespace)
{
    return ParameterNodeQuery(parameter, parameterNamespace) + L"/psf:Value";
}

std::wstring ScoredPropertyValueQuery(const std::wstring& feature, const std::wstring& featureNamespace,
                                      const std::wstring& property, const std::wstring& propertyNamespace)
{
    return FeatureNodeQuery(feature, featureNamespace) + L"/*/psf:ScoredProperty" + Keyword(property, propertyNamespace) +
           L"/psf:Value";
}

std::wstring OptionPresenceQuery(const std::wstring& feature, const std::wstring& featureNamespace,
                                 const std::wstring& option)
{
    return FeatureNodeQuery(feature, featureNamespace) + L"/psf:Option" + KeywordTest(option);
}

std::wstring NamespaceNodeQuery(const std::wstring& namespaceUri) { return L"namespace::node()[.='" + namespaceUri + L"']"; }
