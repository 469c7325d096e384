#include "driverlibrarypath.h"

#include "modulefolder.h"

std::wstring DriverLibraryPath(const std::wstring& fileName)
{
    const std::wstring folder = OwnModuleFolder();
    return folder.empty() ? fileName : folder + L"\\" + fileName;
}
