#include "ptscaling.h"

#include "ptnamespaces.h"
#include "ptqueries.h"
#include "ptticketread.h"

namespace {

constexpr const wchar_t* kScalingFeature = L"PageScaling";

struct ScalingQueries {
    std::wstring paperWidth;
    std::wstring paperHeight;
    std::wstring fitToRollWidth;
    std::wstring paperName;
    std::wstring scale;
};

std::wstring PaperProperty(const wchar_t* property)
{
    return ScoredPropertyValueQuery(kScalingFeature, PrivateNamespaceUri, property, PrivateNamespaceUri);
}

const ScalingQueries& Queries()
{
    static const ScalingQueries queries = {
        PaperProperty(L"PaperWidth"),
        PaperProperty(L"PaperHeight"),
        OptionPresenceQuery(kScalingFeature, PrivateNamespaceUri, L"FitToRollWidth"),
        PaperProperty(L"PaperName"),
        // The percentage is a standard scored property inside the maker's own feature.
        ScoredPropertyValueQuery(kScalingFeature, PrivateNamespaceUri, L"Scale", PrintSchemaKeywordsNamespaceUri),
    };
    return queries;
}

}  // namespace

EMediaSize MediaSizeFromPaperName(std::wstring_view paperName)
{
    for (std::uint64_t row = 0; row < mediaSizeDesc.optionCount; ++row) {
        const std::wstring_view keyword = mediaSizeDesc.options[row].keyword;
        if (paperName.substr(0, keyword.size()) == keyword) {
            return mediaSizeDesc.options[row].value;
        }
    }
    return EMediaSize::CustomSize;
}

PTScaling::PTScaling(IXMLDOMDocument2* document) : PTFeature<Scaling>(document) {}

bool PTScaling::GetValue(Scaling* scaling)
{
    const ScalingQueries& queries = Queries();
    const bool fitsToPaper = TicketReadSucceeds([&] {
        scaling->paperWidth = static_cast<std::uint32_t>(GetIntValue(queries.paperWidth));
        scaling->paperHeight = static_cast<std::uint32_t>(GetIntValue(queries.paperHeight));
        scaling->percentage = 100;
        scaling->mode = IsValuePresent(queries.fitToRollWidth) ? Scaling::FitToRollWidth : Scaling::FitToPaper;
        wchar_t paperName[kPaperNameCharacters] = {};
        GetStringValue(queries.paperName, paperName, kPaperNameCharacters);
        scaling->paperSize = MediaSizeFromPaperName(paperName);
    });
    if (fitsToPaper) {
        return true;
    }
    scaling->paperWidth = 0;
    scaling->paperHeight = 0;
    const bool scales = TicketReadSucceeds(
        [&] { scaling->percentage = static_cast<std::uint32_t>(GetIntValue(queries.scale)); });
    scaling->mode = scales ? Scaling::ScaleByPercentage : Scaling::NoScaling;
    if (!scales) {
        scaling->percentage = 100;
    }
    return true;
}
