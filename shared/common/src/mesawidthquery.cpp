#include "mesawidthquery.h"

#include <cstdint>

#include "bidiconnection.h"

namespace {

const wchar_t kDeviceInfoSchema[] = L"\\Printer.DeviceInfo";
const wchar_t kMachineWidthSchema[] = L"\\Printer.DeviceInfo:MachineWidth";

// Widths are handed on in micrometres as 32-bit values.
constexpr std::int64_t kLargestWidth = INT32_MAX / 1000;

}  // namespace

std::optional<std::int32_t> ParseMachineWidth(const std::wstring& text)
{
    const std::size_t underscore = text.rfind(L'_');
    const std::size_t x = text.rfind(L'x');
    if (underscore == std::wstring::npos || x == std::wstring::npos || underscore >= x || x - underscore < 2) {
        return std::nullopt;
    }
    std::int64_t width = 0;
    for (std::size_t i = underscore + 1; i < x; ++i) {
        if (text[i] < L'0' || text[i] > L'9') {
            return std::nullopt;
        }
        width = width * 10 + (text[i] - L'0');
        if (width > kLargestWidth) {
            return std::nullopt;
        }
    }
    return static_cast<std::int32_t>(width);
}

std::optional<std::int32_t> QueryMesaMachineWidthInMillimetres(const std::wstring& printerName)
{
    BidiConnection printer(printerName);
    const auto values = printer.Get(kDeviceInfoSchema);
    if (!values) {
        return std::nullopt;
    }
    const auto width = values->find(kMachineWidthSchema);
    return width == values->end() ? std::nullopt : ParseMachineWidth(width->second);
}
