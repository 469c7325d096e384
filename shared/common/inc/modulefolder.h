// The folder of the module this code is linked into: the driver's own libraries sit beside the
// filter module and are loaded from there by full path, never through the search path.
#pragma once

#include <string>

// The folder's Windows path without a trailing backslash; empty when the module's file name
// cannot be had.
std::wstring OwnModuleFolder();
