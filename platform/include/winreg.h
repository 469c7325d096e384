// The registry of the simulated machine: HKEY_LOCAL_MACHINE for the machine and one
// HKEY_CURRENT_USER hive per user. Key and value names compare without regard to case. Byte counts
// are counts of bytes in memory, so a string of n wide characters and its terminating zero takes
// (n + 1) * sizeof(WCHAR) bytes.
#pragma once

#include "windef.h"
#include "winerror.h"

using LSTATUS = LONG;
using REGSAM = DWORD;
using PHKEY = HKEY*;

// Predefined keys, sign-extended as Windows defines them. HKEY_CURRENT_USER is the process's user's
// hive whatever the thread impersonates; RegOpenCurrentUser gives the impersonated user's.
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(0x80000001))))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(0x80000002))))

// Access rights. The simulated registry has no security: every access asked for is granted, and a
// handle then allows exactly what it was opened for.
#define READ_CONTROL 0x00020000u
#define STANDARD_RIGHTS_READ READ_CONTROL
#define STANDARD_RIGHTS_WRITE READ_CONTROL
#define MAXIMUM_ALLOWED 0x02000000u
#define GENERIC_ALL 0x10000000u
#define GENERIC_EXECUTE 0x20000000u
#define GENERIC_WRITE 0x40000000u
#define GENERIC_READ 0x80000000u

#define KEY_QUERY_VALUE 0x0001u
#define KEY_SET_VALUE 0x0002u
#define KEY_CREATE_SUB_KEY 0x0004u
#define KEY_ENUMERATE_SUB_KEYS 0x0008u
#define KEY_NOTIFY 0x0010u
#define KEY_CREATE_LINK 0x0020u
#define KEY_WOW64_64KEY 0x0100u
#define KEY_WOW64_32KEY 0x0200u
#define KEY_READ (STANDARD_RIGHTS_READ | KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS | KEY_NOTIFY)
#define KEY_EXECUTE KEY_READ
#define KEY_WRITE (STANDARD_RIGHTS_WRITE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY)
#define KEY_ALL_ACCESS 0x000F003Fu  // every right of a key, with the standard ones

#define REG_OPTION_OPEN_LINK 0x00000008u

// Value types.
#define REG_NONE 0u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_BINARY 3u
#define REG_DWORD 4u
#define REG_MULTI_SZ 7u
#define REG_QWORD 11u

// RegGetValueW's type filter and options.
#define RRF_RT_REG_NONE 0x00000001u
#define RRF_RT_REG_SZ 0x00000002u
#define RRF_RT_REG_EXPAND_SZ 0x00000004u
#define RRF_RT_REG_BINARY 0x00000008u
#define RRF_RT_REG_DWORD 0x00000010u
#define RRF_RT_REG_MULTI_SZ 0x00000020u
#define RRF_RT_REG_QWORD 0x00000040u
#define RRF_RT_DWORD (RRF_RT_REG_BINARY | RRF_RT_REG_DWORD)
#define RRF_RT_QWORD (RRF_RT_REG_BINARY | RRF_RT_REG_QWORD)
#define RRF_RT_ANY 0x0000FFFFu
#define RRF_NOEXPAND 0x10000000u
#define RRF_ZEROONFAILURE 0x20000000u

LSTATUS RegOpenCurrentUser(REGSAM samDesired, PHKEY phkResult);
LSTATUS RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult);
LSTATUS RegCloseKey(HKEY hKey);
LSTATUS RegQueryInfoKeyW(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved, LPDWORD lpcSubKeys,
                         LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen, LPDWORD lpcValues,
                         LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen, LPDWORD lpcbSecurityDescriptor,
                         FILETIME* lpftLastWriteTime);
LSTATUS RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved, LPWSTR lpClass,
                      LPDWORD lpcchClass, FILETIME* lpftLastWriteTime);
// A REG_EXPAND_SZ value is expanded with the process's environment unless RRF_NOEXPAND is given.
LSTATUS RegGetValueW(HKEY hkey, LPCWSTR lpSubKey, LPCWSTR lpValue, DWORD dwFlags, LPDWORD pdwType, PVOID pvData,
                     LPDWORD pcbData);
LSTATUS RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                         LPDWORD lpcbData);
