// Kernel services: memory, handles, synchronisation, time, files, formatting, interlocked counts.
#pragma once

#include <cstdarg>
#include <cstdio>

#include "windef.h"
#include "winerror.h"

// ---- last error
DWORD GetLastError();
void SetLastError(DWORD dwErrCode);

// ---- global memory
#define GMEM_FIXED 0x0000u
#define GMEM_MOVEABLE 0x0002u
#define GMEM_ZEROINIT 0x0040u
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GMEM_LOCKCOUNT 0x00FFu
#define GMEM_DISCARDABLE 0x0100u
#define GMEM_DISCARDED 0x4000u
#define GMEM_INVALID_HANDLE 0x8000u

HGLOBAL GlobalAlloc(UINT uFlags, SIZE_T dwBytes);
HGLOBAL GlobalReAlloc(HGLOBAL hMem, SIZE_T dwBytes, UINT uFlags);
LPVOID GlobalLock(HGLOBAL hMem);
BOOL GlobalUnlock(HGLOBAL hMem);
SIZE_T GlobalSize(HGLOBAL hMem);
UINT GlobalFlags(HGLOBAL hMem);
HGLOBAL GlobalFree(HGLOBAL hMem);

// ---- handles and synchronisation
#define WAIT_OBJECT_0 0x00000000u
#define WAIT_ABANDONED 0x00000080u
#define WAIT_TIMEOUT 0x00000102u
#define WAIT_FAILED 0xFFFFFFFFu
#define SYNCHRONIZE 0x00100000u
#define MUTEX_ALL_ACCESS 0x001F0001u

struct SECURITY_ATTRIBUTES;
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

BOOL CloseHandle(HANDLE hObject);
// Named mutexes are shared by every process of this user on the machine, as in one Windows session.
HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName);
HANDLE OpenMutexW(DWORD dwDesiredAccess, BOOL bInheritHandle, LPCWSTR lpName);
BOOL ReleaseMutex(HANDLE hMutex);
DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);

// ---- time
void GetLocalTime(SYSTEMTIME* lpSystemTime);

// ---- files
#define FILE_ATTRIBUTE_READONLY 0x00000001u
#define FILE_ATTRIBUTE_HIDDEN 0x00000002u
#define FILE_ATTRIBUTE_SYSTEM 0x00000004u
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010u
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020u
#define FILE_ATTRIBUTE_NORMAL 0x00000080u
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100u
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu

DWORD GetFileAttributesW(LPCWSTR lpFileName);
BOOL SetFileAttributesW(LPCWSTR lpFileName, DWORD dwFileAttributes);

// C runtime file stream opened by a Windows path, with a sharing mode of share.h.
FILE* _wfsopen(const wchar_t* filename, const wchar_t* mode, int shflag);

// ---- modules
#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3
#define APIENTRY
#define STDAPI extern "C" HRESULT
#define STDAPI_(type) extern "C" type

BOOL DisableThreadLibraryCalls(HMODULE hLibModule);

// ---- formatting with the C runtime's wide printf rules: in a wide format "%s" and "%c" take wide
// arguments, "%S", "%hs" and "%C" narrow ones, "%I64d" a 64-bit value.
#define _TRUNCATE (static_cast<size_t>(-1))
int _vsnwprintf_s(wchar_t* buffer, size_t sizeOfBuffer, size_t count, const wchar_t* format, va_list argptr);
int _snwprintf_s(wchar_t* buffer, size_t sizeOfBuffer, size_t count, const wchar_t* format, ...);

// ---- interlocked operations, full barriers as on Windows
inline LONG InterlockedIncrement(LONG volatile* addend) { return __atomic_add_fetch(addend, 1, __ATOMIC_SEQ_CST); }
inline LONG InterlockedDecrement(LONG volatile* addend) { return __atomic_sub_fetch(addend, 1, __ATOMIC_SEQ_CST); }
inline ULONG InterlockedIncrement(ULONG volatile* addend) { return __atomic_add_fetch(addend, 1u, __ATOMIC_SEQ_CST); }
inline ULONG InterlockedDecrement(ULONG volatile* addend) { return __atomic_sub_fetch(addend, 1u, __ATOMIC_SEQ_CST); }
inline LONG InterlockedExchange(LONG volatile* target, LONG value) { return __atomic_exchange_n(target, value, __ATOMIC_SEQ_CST); }
inline LONG InterlockedCompareExchange(LONG volatile* destination, LONG exchange, LONG comparand)
{
    __atomic_compare_exchange_n(destination, &comparand, exchange, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    return comparand;
}
