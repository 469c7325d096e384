// The version of the printer's driver as the spooler packs it, shown as text in the log.
#pragma once

#include <string>

#include <windows.h>

// Four 16-bit words, least significant last: 0x0003000000070001 is "3.0.7.1". Leading zero words
// are left out (0x0000000500000002 is "5.0.2"); 0 is the empty text.
std::wstring DriverVersionText(ULONGLONG version);

// The installed driver's version of the named printer; empty when the printer cannot be opened or
// the spooler reports no driver record.
std::wstring GetDriverVersion(const std::wstring& printerName);
