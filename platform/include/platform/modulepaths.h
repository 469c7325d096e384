// The one place where Windows library names meet host files.
//
// A Windows library "<folder>\<Name>.dll" is the host shared library "lib<name>.so", the stem in
// lower case, in the host folder that stands for <folder>:
//   - the driver folder "C:\Windows\System32\spool\drivers\x64\4" (and a name without a folder) is
//     the module folder: the host folder that holds this platform library, where the build puts the
//     filter module and the stand-ins of the driver's closed libraries side by side, as a driver's
//     files lie together;
//   - any other folder is its place under the machine root (platform/machine.h).
// So "C:\Windows\System32\spool\drivers\x64\4\XPSUIOLib.dll" is <module folder>/libxpsuiolib.so and
// "C:\Drivers\qxicl.dll" is <root>/C/Drivers/libqxicl.so. A name without an extension gets ".dll", as
// LoadLibraryW adds it; a name with another extension is the host file of that very name.
//
// The other way, a loaded module under the machine root reports its Windows path there, and every
// other module (the module folder's, the program's) reports the driver folder; "lib<name>.so" reports
// "<name>.dll". Hence the filter module libqxiprev.so reports
// "C:\Windows\System32\spool\drivers\x64\4\qxiprev.dll", and the libraries it loads from its own
// folder are found beside it.
#pragma once

#include <optional>
#include <string>

namespace platform {

inline constexpr wchar_t kDriverFolder[] = L"C:\\Windows\\System32\\spool\\drivers\\x64\\4";

// The host folder of the driver folder.
std::string ModuleFolder();

// Nothing for a path that names no host place (no drive or share, or climbing out of it).
std::optional<std::string> HostFileOfLibrary(const std::wstring& windowsPath);
std::wstring WindowsPathOfModule(const std::string& hostFile);

}  // namespace platform
