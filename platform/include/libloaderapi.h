// Dynamic libraries. A module handle is the module's load address, as on Windows. Which host file
// stands for a Windows library path, and which Windows path a loaded module reports, is decided in
// one place: platform/modulepaths.h.
#pragma once

#include "windef.h"
#include "winerror.h"

#define GET_MODULE_HANDLE_EX_FLAG_PIN 0x00000001u
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 0x00000002u
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 0x00000004u

// Null with ERROR_MOD_NOT_FOUND when no file stands for the name, ERROR_BAD_EXE_FORMAT when the
// file is no loadable library.
HMODULE LoadLibraryW(LPCWSTR lpLibFileName);
// Only the module's own exports are found; anything else gives ERROR_PROC_NOT_FOUND.
FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName);
BOOL FreeLibrary(HMODULE hLibModule);
// A null module means the program itself. A short buffer receives as much of the path as fits and
// its terminating zero, the result is nSize and the last error ERROR_INSUFFICIENT_BUFFER.
DWORD GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize);
// With GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, lpModuleName is an address inside the module wanted,
// which is how code finds the module it was linked into.
BOOL GetModuleHandleExW(DWORD dwFlags, LPCWSTR lpModuleName, HMODULE* phModule);
