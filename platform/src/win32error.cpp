#include "win32error.h"

#include <cerrno>

namespace platform {

DWORD Win32ErrorOf(int error)
{
    switch (error) {
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
        return ERROR_ACCESS_DENIED;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EEXIST:
        return ERROR_FILE_EXISTS;
    case ENOEXEC:
        return ERROR_BAD_EXE_FORMAT;
    default:
        return ERROR_INVALID_PARAMETER;
    }
}

DWORD MissingFileError(const std::string& hostPath)
{
    const std::size_t slash = hostPath.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : hostPath.substr(0, slash == 0 ? 1 : slash);
    struct stat status {};
    const bool folderExists = ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    return folderExists ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

}  // namespace platform
