// Known folders of the user the calling thread runs as.
#pragma once

#include "windef.h"
#include "winerror.h"

#define CSIDL_APPDATA 0x001a
#define CSIDL_LOCAL_APPDATA 0x001c
#define CSIDL_PROFILE 0x0028
#define CSIDL_FLAG_CREATE 0x8000

// The folder of the thread's impersonated user, else of the process's user, into lpszPath
// (MAX_PATH characters): the profile C:\Users\<name>, its AppData\Roaming or its AppData\Local.
// A folder that does not exist is created when fCreate is TRUE; otherwise, as for a machine
// without users or another CSIDL, the result is FALSE.
BOOL SHGetSpecialFolderPathW(HWND hwnd, LPWSTR lpszPath, int csidl, BOOL fCreate);
