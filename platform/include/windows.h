// The Windows API subset this system runs on.
#pragma once

#include "windef.h"
#include "winerror.h"
#include "winbase.h"
#include "stringapiset.h"
