#include "koruunits.h"

#include <cmath>
#include <limits>

namespace {

struct Unit {
    const wchar_t* name;
    double printerUnits;  // 1/720 inch in one of the unit
};

constexpr double kPerInch = 720.0;
constexpr double kMillimetresPerInch = 25.4;

constexpr Unit kUnits[] = {
    {L"meters", kPerInch * 1000.0 / kMillimetresPerInch},
    {L"millimeters", kPerInch / kMillimetresPerInch},
    {L"inches", kPerInch},
    {L"tenThousandthsOfInches", kPerInch / 10000.0},
    {L"points", kPerInch / 72.0},
    {L"feet", kPerInch * 12.0},
    {L"micrometers", kPerInch / (kMillimetresPerInch * 1000.0)},
};

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

}  // namespace

std::optional<double> ParseKoruNumber(const std::wstring& text)
{
    double whole = 0.0;
    std::size_t position = 0;
    for (; position < text.size() && IsDigit(text[position]); ++position) {
        whole = whole * 10.0 + (text[position] - L'0');
    }
    if (position == 0) {
        return std::nullopt;
    }
    if (position == text.size()) {
        return whole;
    }
    if (text[position] != L'.' || position + 1 == text.size()) {
        return std::nullopt;
    }
    double fraction = 0.0;
    double scale = 1.0;
    for (++position; position < text.size(); ++position) {
        if (!IsDigit(text[position])) {
            return std::nullopt;
        }
        fraction = fraction * 10.0 + (text[position] - L'0');
        scale *= 10.0;
    }
    return whole + fraction / scale;
}

std::optional<std::int32_t> PrinterUnitsFromKoruLength(double value, const std::wstring& unit)
{
    for (const Unit& known : kUnits) {
        if (unit == known.name) {
            const double units = std::round(value * known.printerUnits);
            if (!(units >= 0.0 && units <= std::numeric_limits<std::int32_t>::max())) {
                return std::nullopt;
            }
            return static_cast<std::int32_t>(units);
        }
    }
    return std::nullopt;
}
