#include "custommediasize.h"

#include <iterator>

#include "hrerror.h"
#include "ptfeaturedescs.h"
#include "ptlist.h"
#include "ptnamespaces.h"
#include "ptqueries.h"
#include "ptticketread.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr const wchar_t* kKeywords = PrintSchemaKeywordsNamespaceUri;
constexpr const wchar_t* kPageMediaSize = L"PageMediaSize";

constexpr CustomSizeProperty kStandardRows[] = {
    {L"MediaSizeWidth", kKeywords, L"PageMediaSizeMediaSizeWidth", kKeywords},
    {L"MediaSizeHeight", kKeywords, L"PageMediaSizeMediaSizeHeight", kKeywords},
};

constexpr CustomSizeProperty kPostScriptRows[] = {
    {L"PSWidth", kKeywords, L"PageMediaSizePSWidth", kKeywords},
    {L"PSHeight", kKeywords, L"PageMediaSizePSHeight", kKeywords},
    {L"PSWidthOffset", kKeywords, L"PageMediaSizePSWidthOffset", kKeywords},
    {L"PSHeightOffset", kKeywords, L"PageMediaSizePSHeightOffset", kKeywords},
    {L"PSOrientation", kKeywords, L"PageMediaSizePSOrientation", kKeywords},
};

// The scored values of a named size's option.
const CustomSizeQueries& NamedSizeQueries()
{
    static const CustomSizeQueries queries = {
        ScoredPropertyValueQuery(kPageMediaSize, kKeywords, L"MediaSizeWidth", kKeywords),
        ScoredPropertyValueQuery(kPageMediaSize, kKeywords, L"MediaSizeHeight", kKeywords),
    };
    return queries;
}

// A failure is logged and thrown for caller.
void AppendChild(IXMLDOMNode* parent, IXMLDOMNode* child, const LogSite& caller)
{
    ComPtr<IXMLDOMNode> appended;
    ThrowIfFailed(parent->appendChild(child, &appended), QX_FOR(caller));
}

}  // namespace

const CustomMediaSizeDesc standardCustomMediaSizeDesc = {kStandardRows, std::size(kStandardRows), L"CustomMediaSize",
                                                         kKeywords};
const CustomMediaSizeDesc psCustomMediaSizeDesc = {kPostScriptRows, std::size(kPostScriptRows), L"PSCustomMediaSize",
                                                   kKeywords};

CustomSizeQueries CustomSizeQueriesOf(const CustomMediaSizeDesc& desc)
{
    return {ParameterValueQuery(desc.properties[0].parameter, desc.properties[0].parameterNamespace),
            ParameterValueQuery(desc.properties[1].parameter, desc.properties[1].parameterNamespace)};
}

PageMediaSize ReadPageMediaSize(XMLHandler& ticket, IXMLDOMDocument2* document, const CustomSizeQueries& custom)
{
    PageMediaSize size;
    const bool named = TicketReadSucceeds([&] {
        size.width = static_cast<std::uint32_t>(ticket.GetIntValue(NamedSizeQueries().width));
        size.height = static_cast<std::uint32_t>(ticket.GetIntValue(NamedSizeQueries().height));
        GenericPTFeatureList<EMediaSize, mediaSizeDesc> sizes(document);
        sizes.GetValue(&size.size);
    });
    if (named) {
        return size;
    }
    // A custom size's scored properties refer to parameters instead of holding values.
    size.width = static_cast<std::uint32_t>(ticket.GetIntValue(custom.width));
    size.height = static_cast<std::uint32_t>(ticket.GetIntValue(custom.height));
    size.size = EMediaSize::CustomSize;
    return size;
}

void WriteCustomMediaSize(XMLHandler& ticket, const CustomMediaSizeDesc& desc, const std::vector<std::uint32_t>& values)
{
    // Either variant clears the standard parameters and the feature. PostScript parameters of an
    // earlier PostScript size stay behind, and the first in document order is the one read.
    ticket.RemoveParameterInit(kStandardRows[0].parameter, kKeywords);
    ticket.RemoveParameterInit(kStandardRows[1].parameter, kKeywords);
    ticket.RemoveFeature(kPageMediaSize, kKeywords);

    const ComPtr<IXMLDOMElement> feature = ticket.CreateFeature(kPageMediaSize, kKeywords);
    ticket.AppendToRoot(feature.Get());
    const ComPtr<IXMLDOMElement> option = ticket.CreateOption(desc.option, desc.optionNamespace);
    AppendChild(feature.Get(), option.Get(), QX_HERE);
    for (std::size_t row = 0; row < desc.propertyCount && row < values.size(); ++row) {
        const CustomSizeProperty& property = desc.properties[row];
        const ComPtr<IXMLDOMElement> scored = ticket.CreateScoredProperty(property.scoredProperty,
                                                                          property.scoredPropertyNamespace);
        const ComPtr<IXMLDOMElement> reference = ticket.CreateParameterRef(property.parameter,
                                                                           property.parameterNamespace);
        AppendChild(scored.Get(), reference.Get(), QX_HERE);
        AppendChild(option.Get(), scored.Get(), QX_HERE);
        const ComPtr<IXMLDOMElement> parameter = ticket.CreateParameterInit(property.parameter,
                                                                            property.parameterNamespace);
        AppendChild(parameter.Get(), ticket.CreateIntegerValue(values[row]).Get(), QX_HERE);
        ticket.AppendToRoot(parameter.Get());
    }
}
