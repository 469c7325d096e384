// Files by handle and temporary file names under the machine root.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cwchar>
#include <memory>

#include "fileobject.h"
#include "hostaccount.h"
#include "platform/machine.h"
#include "platform/systemapi.h"
#include "win32error.h"

namespace platform {
namespace {

constexpr DWORD kLongestTempFolder = MAX_PATH - 14;

HANDLE Fail(DWORD error)
{
    ::SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

bool Creates(DWORD disposition) { return disposition == CREATE_NEW || disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS; }
bool Truncates(DWORD disposition) { return disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING; }

int OpenFlags(DWORD access, DWORD disposition)
{
    const bool reads = (access & GENERIC_READ) != 0;
    const bool writes = (access & GENERIC_WRITE) != 0;
    int flags = O_CLOEXEC | (writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY);
    if (Creates(disposition)) {
        flags |= O_CREAT;
    }
    if (disposition == CREATE_NEW) {
        flags |= O_EXCL;
    }
    if (Truncates(disposition)) {
        flags |= O_TRUNC;
    }
    return flags;
}

// What the file's present state says about the open before the host is asked: 0 to go on.
DWORD RefusalFor(const std::string& path, bool exists, const struct stat& status, DWORD access, DWORD disposition)
{
    if (!exists) {
        return Creates(disposition) ? ERROR_SUCCESS : MissingFileError(path);
    }
    if (disposition == CREATE_NEW) {
        return ERROR_FILE_EXISTS;
    }
    const bool writes = (access & GENERIC_WRITE) != 0 || Truncates(disposition);
    if (S_ISDIR(status.st_mode) || (writes && IsReadOnly(status))) {
        return ERROR_ACCESS_DENIED;
    }
    return ERROR_SUCCESS;
}

// Where the numbers of temporary names start: as Windows starts from its tick count, differently
// in each process and call, so that concurrent callers rarely meet on one name.
UINT NextTempNumber()
{
    static std::atomic<UINT> next{static_cast<UINT>(
        std::chrono::steady_clock::now().time_since_epoch().count() ^ (static_cast<long>(::getpid()) << 4))};
    return next.fetch_add(1);
}

UINT InUniqueRange(UINT number)
{
    const UINT low = number & 0xFFFFu;
    return low == 0 ? 1 : low;
}

std::wstring TempFileName(const std::wstring& folder, LPCWSTR prefix, UINT number)
{
    wchar_t hex[8];
    std::swprintf(hex, sizeof hex / sizeof hex[0], L"%X", number);
    const std::wstring separator = !folder.empty() && folder.back() == L'\\' ? L"" : L"\\";
    const std::wstring shortPrefix = prefix == nullptr ? L"" : std::wstring(prefix).substr(0, 3);
    return folder + separator + shortPrefix + hex + L".TMP";
}

// Tries each number once, from a start of the process's choosing, until a new file is made.
UINT CreateUniqueTempFile(const std::wstring& folder, LPCWSTR prefix, std::wstring& name)
{
    const UINT start = InUniqueRange(NextTempNumber());
    for (UINT tried = 0; tried < 0xFFFFu; ++tried) {
        const UINT number = InUniqueRange(start + tried);
        name = TempFileName(folder, prefix, number);
        const auto path = HostPathOf(name);
        if (!path) {
            ::SetLastError(ERROR_PATH_NOT_FOUND);
            return 0;
        }
        const int descriptor = ::open(path->c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
        if (descriptor >= 0) {
            GiveToImpersonatedUser(descriptor);
            ::close(descriptor);
            return number;
        }
        if (errno != EEXIST) {
            ::SetLastError(errno == ENOENT || errno == ENOTDIR ? ERROR_DIRECTORY : Win32ErrorOf(errno));
            return 0;
        }
    }
    ::SetLastError(ERROR_FILE_EXISTS);
    return 0;
}

DWORD FolderRefusal(LPCWSTR pathName)
{
    if (std::wcslen(pathName) > kLongestTempFolder) {
        return ERROR_BUFFER_OVERFLOW;
    }
    const auto folder = HostPathOf(pathName);
    if (!folder) {
        return ERROR_PATH_NOT_FOUND;
    }
    struct stat status {};
    if (::stat(folder->c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        return ERROR_DIRECTORY;
    }
    return ERROR_SUCCESS;
}

}  // namespace

HANDLE Kernel32::CreateFileW(LPCWSTR fileName, DWORD access, DWORD, SECURITY_ATTRIBUTES*, DWORD disposition,
                             DWORD flagsAndAttributes, HANDLE)
{
    if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING ||
        (disposition == TRUNCATE_EXISTING && (access & GENERIC_WRITE) == 0)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const auto path = fileName == nullptr ? std::nullopt : HostPathOf(fileName);
    if (!path) {
        return Fail(ERROR_PATH_NOT_FOUND);
    }
    struct stat status {};
    const bool exists = ::stat(path->c_str(), &status) == 0;
    if (const DWORD refusal = RefusalFor(*path, exists, status, access, disposition); refusal != ERROR_SUCCESS) {
        return Fail(refusal);
    }
    const bool readOnly = (flagsAndAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    const int descriptor = ::open(path->c_str(), OpenFlags(access, disposition), readOnly ? 0444 : 0666);
    if (descriptor < 0) {
        return Fail(errno == ENOENT ? MissingFileError(*path) : Win32ErrorOf(errno));
    }
    if (!exists) {
        GiveToImpersonatedUser(descriptor);
    }
    if (readOnly && exists && Truncates(disposition)) {
        ::fchmod(descriptor, status.st_mode & 07777 & ~(S_IWUSR | S_IWGRP | S_IWOTH));
    }
    const bool reported = exists && (disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS);
    ::SetLastError(reported ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return HandleTable::Add(
        std::make_shared<FileObject>(descriptor, (access & GENERIC_READ) != 0, (access & GENERIC_WRITE) != 0));
}

BOOL Kernel32::WriteFile(HANDLE file, LPCVOID buffer, DWORD bytes, LPDWORD written, LPOVERLAPPED overlapped)
{
    const auto object = HandleTable::FindAs<FileObject>(file);
    if (!object) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (overlapped != nullptr || written == nullptr || (buffer == nullptr && bytes != 0)) {
        ::SetLastError(overlapped != nullptr ? ERROR_NOT_SUPPORTED : ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *written = 0;
    if (!object->CanWrite()) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    const auto* bytesLeft = static_cast<const char*>(buffer);
    while (*written < bytes) {
        const ssize_t done = ::write(object->Descriptor(), bytesLeft + *written, bytes - *written);
        if (done < 0 && errno == EINTR) {
            continue;
        }
        if (done <= 0) {
            ::SetLastError(done < 0 ? Win32ErrorOf(errno) : ERROR_DISK_FULL);  // nothing taken: no room
            return FALSE;
        }
        *written += static_cast<DWORD>(done);
    }
    return TRUE;
}

BOOL Kernel32::ReadFile(HANDLE file, LPVOID buffer, DWORD bytes, LPDWORD read, LPOVERLAPPED overlapped)
{
    const auto object = HandleTable::FindAs<FileObject>(file);
    if (!object) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (overlapped != nullptr || read == nullptr || (buffer == nullptr && bytes != 0)) {
        ::SetLastError(overlapped != nullptr ? ERROR_NOT_SUPPORTED : ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *read = 0;
    if (!object->CanRead()) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    ssize_t done = 0;
    do {
        done = ::read(object->Descriptor(), buffer, bytes);
    } while (done < 0 && errno == EINTR);
    if (done < 0) {
        ::SetLastError(Win32ErrorOf(errno));
        return FALSE;
    }
    *read = static_cast<DWORD>(done);  // 0 at the end of the file, which is a success
    return TRUE;
}

UINT Kernel32::GetTempFileNameW(LPCWSTR pathName, LPCWSTR prefix, UINT unique, LPWSTR tempFileName)
{
    if (pathName == nullptr || tempFileName == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (const DWORD refusal = FolderRefusal(pathName); refusal != ERROR_SUCCESS) {
        ::SetLastError(refusal);
        return 0;
    }
    std::wstring name;
    UINT number = unique;  // only its low 16 bits name the file
    if (number != 0) {
        name = TempFileName(pathName, prefix, number & 0xFFFFu);
    } else {
        number = CreateUniqueTempFile(pathName, prefix, name);
        if (number == 0) {
            return 0;
        }
    }
    std::wcsncpy(tempFileName, name.c_str(), MAX_PATH - 1);
    tempFileName[MAX_PATH - 1] = L'\0';
    ::SetLastError(ERROR_SUCCESS);
    return number;
}

}  // namespace platform
