#include "xps/xpsfailure.h"

#include <cerrno>

namespace platform::xps {

DWORD Win32ErrorOfErrno(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EISDIR:
    case ETXTBSY:
        return ERROR_ACCESS_DENIED;
    case EROFS:
        return kErrorWriteProtect;
    case ENOSPC:
    case EDQUOT:
        return kErrorDiskFull;
    case EFBIG:
        return kErrorFileTooLarge;
    case ENAMETOOLONG:
        return kErrorFilenameTooLong;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    default:
        return kErrorGenFailure;
    }
}

}  // namespace platform::xps
