#include "ptcoloradjustments.h"

#include <array>
#include <cstdint>

#include "ptnamespaces.h"
#include "ptqueries.h"
#include "ptticketread.h"

namespace {

struct Adjustment {
    std::uint32_t ColorAdjustments::*field;
    std::wstring query;
};

// In the order the ticket is read.
const std::array<Adjustment, 4>& Adjustments()
{
    static const std::array<Adjustment, 4> adjustments = {{
        {&ColorAdjustments::lightness, ParameterValueQuery(L"PageColorAdjustmentLightness", PrivateNamespaceUri)},
        {&ColorAdjustments::red, ParameterValueQuery(L"PageColorAdjustmentRed", PrivateNamespaceUri)},
        {&ColorAdjustments::green, ParameterValueQuery(L"PageColorAdjustmentGreen", PrivateNamespaceUri)},
        {&ColorAdjustments::blue, ParameterValueQuery(L"PageColorAdjustmentBlue", PrivateNamespaceUri)},
    }};
    return adjustments;
}

}  // namespace

PTColorAdjustments::PTColorAdjustments(IXMLDOMDocument2* document) : PTFeature<ColorAdjustments>(document) {}

bool PTColorAdjustments::GetValue(ColorAdjustments* adjustments)
{
    ColorAdjustments read;
    const bool complete = TicketReadSucceeds([&] {
        for (const Adjustment& adjustment : Adjustments()) {
            read.*adjustment.field = static_cast<std::uint32_t>(GetIntValue(adjustment.query));
        }
    });
    *adjustments = complete ? read : ColorAdjustments{};
    return true;
}
