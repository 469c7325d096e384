#include "ptresolution.h"

#include <cwchar>

#include "ptnamespaces.h"
#include "ptqueries.h"

namespace {

constexpr std::size_t kRenderResolutionCharacters = 10;
constexpr unsigned int kUnlistedRenderResolution = 1200;

const std::wstring& RenderResolutionQuery()
{
    static const std::wstring query = ParameterValueQuery(L"PageRenderResolution", PrivateNamespaceUri);
    return query;
}

}  // namespace

PTResolution::PTResolution(IXMLDOMDocument2* document) : GenericPTFeatureList(document) {}

unsigned int PTResolution::GetRenderResolution()
{
    wchar_t text[kRenderResolutionCharacters] = {};
    GetStringValue(RenderResolutionQuery(), text, kRenderResolutionCharacters);
    // The render resolution is written with the page resolution's keywords.
    for (std::uint64_t row = 0; row < resolutionDesc.optionCount; ++row) {
        if (std::wcscmp(text, resolutionDesc.options[row].keyword) == 0) {
            return resolutionDesc.options[row].value;
        }
    }
    return kUnlistedRenderResolution;
}
