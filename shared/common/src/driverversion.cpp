#include "driverversion.h"

#include <windows.h>
#include <winspool.h>

#include "scopedprinter.h"
#include "spoolerbuffer.h"

std::wstring DriverVersionText(ULONGLONG version)
{
    std::wstring text;
    for (ULONGLONG rest = version; rest != 0; rest >>= 16) {
        const std::wstring word = std::to_wstring(rest & 0xFFFF);
        text = text.empty() ? word : word + L"." + text;
    }
    return text;
}

std::wstring GetDriverVersion(const std::wstring& printerName)
{
    const ScopedPrinter printer(printerName, nullptr);
    if (printer.Get() == nullptr) {
        return std::wstring();
    }
    const std::vector<BYTE> record = ReadSpoolerRecord([&](BYTE* buffer, DWORD size, DWORD* needed) {
        return GetPrinterDriverW(printer.Get(), nullptr, 6, buffer, size, needed);
    });
    if (record.size() < sizeof(DRIVER_INFO_6W)) {
        return std::wstring();
    }
    return DriverVersionText(reinterpret_cast<const DRIVER_INFO_6W*>(record.data())->dwlDriverVersion);
}
