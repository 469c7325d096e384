#include "driverutils.h"

#include <cwchar>

#include <windows.h>
#include <winspool.h>

#include "qxdrvlogger.h"
#include "spoolerbuffer.h"

bool DriverUtils::GetLDPBFile(HANDLE printer, std::wstring& path)
{
    if (printer == nullptr) {
        return false;
    }
    const std::vector<BYTE> buffer = ReadSpoolerRecord([printer](BYTE* data, DWORD size, DWORD* needed) {
        return GetPrinterDriverW(printer, nullptr, 3, data, size, needed) != FALSE;
    });
    if (buffer.empty()) {
        return false;
    }
    const auto* driver = reinterpret_cast<const DRIVER_INFO_3W*>(buffer.data());
    if (driver->pDependentFiles == nullptr) {
        return false;
    }
    for (const wchar_t* file = driver->pDependentFiles; *file != L'\0'; file += std::wcslen(file) + 1) {
        if (std::wcsstr(file, L".ldpb") != nullptr) {
            path = file;
            break;
        }
    }
    if (path.empty()) {
        QXLOG_ERROR(L"V3 XPS: Legacy Driver Property Bag not found");
        return false;
    }
    return true;
}
