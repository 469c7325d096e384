// A connection printer may reach the filter under its GUID ("\\server\{GUID}"); bidi needs the
// name the user connected it by, which the user's "Printers\Connections" registry key keeps.
#pragma once

#include <string>

// The connection's name ("\\srv\plotter") for a printer named "\\...\{GUID}" whose GUID a
// connection of the current user records as its "GuidPrinter"; any other name is returned as it is.
std::wstring ConnectionPrinterName(const std::wstring& printerName);
