// Asks a Mesa printer for its machine width over bidi.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The width in millimetres from the printer's "\Printer.DeviceInfo:MachineWidth", or nothing when
// the printer cannot be asked or its answer does not hold a width.
std::optional<std::int32_t> QueryMesaMachineWidthInMillimetres(const std::wstring& printerName);

// The width in a machine width text: the decimal digits between the last '_' and the last 'x'.
std::optional<std::int32_t> ParseMachineWidth(const std::wstring& text);
