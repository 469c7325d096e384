// Conversions between wide text and 8-bit code pages. Wide characters are UTF-32 on this
// platform, so counts of wide characters are counts of code points.
#pragma once

#include "windef.h"

#define CP_ACP 0u
#define CP_THREAD_ACP 3u
#define CP_UTF8 65001u
#define MB_ERR_INVALID_CHARS 0x00000008u
#define WC_ERR_INVALID_CHARS 0x00000080u
#define ERROR_NO_UNICODE_TRANSLATION 1113L

// The ANSI code page of every thread here is Windows-1252, the code page of a Western Windows.
int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte, LPWSTR lpWideCharStr,
                        int cchWideChar);
int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar, LPSTR lpMultiByteStr,
                        int cbMultiByte, LPCSTR lpDefaultChar, LPBOOL lpUsedDefaultChar);
