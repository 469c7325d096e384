// How host file system failures read as Win32 errors.
#pragma once

#include <sys/stat.h>

#include <string>

#include "platform/win32error.h"
#include "windows.h"

namespace platform {

// For a host path that does not exist: ERROR_FILE_NOT_FOUND when its folder exists, else
// ERROR_PATH_NOT_FOUND, as Windows tells a missing file from a missing folder.
DWORD MissingFileError(const std::string& hostPath);
// Read-only is the owner write bit (FILE_ATTRIBUTE_READONLY).
inline bool IsReadOnly(const struct stat& status) { return (status.st_mode & S_IWUSR) == 0; }

}  // namespace platform
