// Facts about the printer's driver that the spooler keeps.
#pragma once

#include <string>

#include <windows.h>

class DriverUtils {
public:
    // The full path of the driver's legacy property bag file, the first dependent file whose name
    // contains ".ldpb"; false when the driver has none.
    static bool GetLDPBFile(HANDLE printer, std::wstring& path);
};
