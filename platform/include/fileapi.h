// Files opened by handle, and temporary file names. Paths are Windows paths of the simulated
// machine (platform/machine.h). Read-only is the host file's owner write bit, the same bit
// GetFileAttributesW reports and SetFileAttributesW sets; it is enforced here even for a process
// running as root, so a read-only file refuses write opens and deletion as on Windows.
#pragma once

#include "windef.h"
#include "winerror.h"

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u

#define FILE_SHARE_READ 0x00000001u
#define FILE_SHARE_WRITE 0x00000002u
#define FILE_SHARE_DELETE 0x00000004u

#define CREATE_NEW 1u
#define CREATE_ALWAYS 2u
#define OPEN_EXISTING 3u
#define OPEN_ALWAYS 4u
#define TRUNCATE_EXISTING 5u

struct SECURITY_ATTRIBUTES;
struct OVERLAPPED;
using LPOVERLAPPED = OVERLAPPED*;

// Share modes are accepted and not enforced (the host has no mandatory locks).
// FILE_ATTRIBUTE_READONLY makes a new file read-only; the handle that creates it may still write.
// FILE_ATTRIBUTE_TEMPORARY is accepted and has no effect. Synchronous only: an OVERLAPPED gives
// ERROR_NOT_SUPPORTED in ReadFile and WriteFile.
HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                   SECURITY_ATTRIBUTES* lpSecurityAttributes, DWORD dwCreationDisposition,
                   DWORD dwFlagsAndAttributes, HANDLE hTemplateFile);
BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
               LPOVERLAPPED lpOverlapped);
BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
              LPOVERLAPPED lpOverlapped);
BOOL DeleteFileW(LPCWSTR lpFileName);

// "<path>\<up to 3 characters of prefix><hex number>.TMP" into lpTempFileName (MAX_PATH
// characters). With uUnique 0 the number is chosen and the file created empty and exclusively
// (owner-only on the host), moving on to the next number while a file of that name exists; the
// result is the number used, 0 on failure: ERROR_PATH_NOT_FOUND for a path that is no path of
// the machine, ERROR_DIRECTORY for one that is not an existing folder, ERROR_BUFFER_OVERFLOW for
// a path longer than MAX_PATH - 14 characters. With another uUnique only the name is made.
UINT GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName);
