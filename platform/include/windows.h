// The Windows API subset this system runs on.
#pragma once

#include "windef.h"
#include "winerror.h"
#include "winbase.h"
#include "fileapi.h"
#include "libloaderapi.h"
#include "processthreadsapi.h"
#include "stringapiset.h"
#include "winreg.h"
