// The full path of one of the driver's own libraries, which lie beside the filter module and are
// loaded by full path so that no other file of that name can stand in for them.
#pragma once

#include <string>

// The folder of the module that contains this code, its backslash, then the file name; the bare
// file name when the module's folder cannot be had.
std::wstring DriverLibraryPath(const std::wstring& fileName);
