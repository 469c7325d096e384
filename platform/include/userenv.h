// A user's environment as a block for CreateProcessAsUserW.
#pragma once

#include "windef.h"
#include "winerror.h"

// The token's user's environment (a null token: the machine-wide variables only) as a block of
// wide "NAME=value" strings sorted by name, ending in an empty string; pass it with
// CREATE_UNICODE_ENVIRONMENT. The variables are those of a fresh profile (USERNAME, USERPROFILE,
// APPDATA, LOCALAPPDATA, TEMP, TMP, PATH, ...) and those the machine declares for the user. With
// bInherit TRUE the block also carries the calling process's variables whose names start with
// "QX_" or "QXPREVIEW_", so that a test's instructions reach a child started with the block.
BOOL CreateEnvironmentBlock(LPVOID* lpEnvironment, HANDLE hToken, BOOL bInherit);
// FALSE with ERROR_INVALID_PARAMETER for a pointer that is no live block.
BOOL DestroyEnvironmentBlock(LPVOID lpEnvironment);
