// Base types of the Windows API, sized as on 64-bit Windows.
#pragma once

#include <cstddef>
#include <cstdint>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using ULONG = std::uint32_t;
// long, as Windows declares it, so that code taking a LONG for a std::int32_t (which is int) fails
// to compile here as it does there. It is 64 bits wide here: no layout uses it (see LARGE_INTEGER).
using LONG = long;
using INT = std::int32_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using DWORD_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using BOOL = std::int32_t;
using BOOLEAN = std::uint8_t;
using CHAR = char;
using WCHAR = wchar_t;  // UTF-32 on this platform; converted explicitly at every byte boundary
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using HANDLE = void*;
using HMODULE = void*;
using HINSTANCE = void*;
using HGLOBAL = void*;
using HKEY = void*;
using HWND = void*;
using HRESULT = std::int32_t;
using LPDWORD = DWORD*;
using LPBOOL = BOOL*;
using LPBYTE = BYTE*;
using PHANDLE = HANDLE*;
using LPHANDLE = HANDLE*;
// An export's address as GetProcAddress gives it; cast it to the export's own type before calling.
// Windows declares it returning INT_PTR; void (*)() is the type the compiler lets any function
// pointer type be cast from without a warning.
using FARPROC = void (*)();

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#define INFINITE 0xFFFFFFFFu
#define MAX_PATH 260

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1));

union LARGE_INTEGER {
    struct {
        DWORD LowPart;
        std::int32_t HighPart;  // LONG on Windows, where it is 32 bits wide as here
    } u;
    LONGLONG QuadPart;
};

union ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    ULONGLONG QuadPart;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
