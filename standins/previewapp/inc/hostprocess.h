// What this program needs of the system it runs on, apart from loading libraries (sharedlibrary.h):
// the Linux build implements it in src/posix/, the Windows build in windows/standins/previewapp/.
#pragma once

#include <string>

namespace previewapp {

// The file names of the two libraries in this program's folder.
extern const char* const kChannelLibraryFile;
extern const char* const kEncodingLibraryFile;

// This program's folder with the separator a library's path is joined with: "/usr/bin/", "C:\bin\".
std::string ExecutableFolder();
bool StandardInputIsTerminal();
// Ends the process as an abort would, without a core dump or an error reporting dialog.
[[noreturn]] void AbortQuietly();

}  // namespace previewapp
