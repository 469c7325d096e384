#include "win32error.h"

#include <cerrno>

namespace platform {

namespace {

struct ErrnoError {
    int error;
    DWORD win32;
};

// As Windows' file system reports the same conditions. A full quota and a file past the size the
// file system allows both read as a full disk there. A missing name is ERROR_FILE_NOT_FOUND; the
// calls that tell a missing folder apart use MissingFileError.
constexpr ErrnoError kErrnoErrors[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ELOOP, ERROR_CANT_RESOLVE_FILENAME},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EROFS, ERROR_WRITE_PROTECT},
    {EEXIST, ERROR_FILE_EXISTS},
    {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
    {EXDEV, ERROR_NOT_SAME_DEVICE},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EAGAIN, ERROR_SHARING_VIOLATION},
    {EBUSY, ERROR_BUSY},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {EFBIG, ERROR_DISK_FULL},
    {EIO, ERROR_IO_DEVICE},
    {EPIPE, ERROR_NO_DATA},
    {EBADF, ERROR_INVALID_HANDLE},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {ENOEXEC, ERROR_BAD_EXE_FORMAT},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {EINVAL, ERROR_INVALID_PARAMETER},
};

}  // namespace

DWORD Win32ErrorOf(int error)
{
    for (const ErrnoError& known : kErrnoErrors) {
        if (known.error == error) {
            return known.win32;
        }
    }
    return ERROR_GEN_FAILURE;
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
