// The build's preview application installed on the test machine as the driver's installer would
// leave it: the registry entry that names it and the program at that place.
#pragma once

#include <string>

namespace testsupport {

inline constexpr wchar_t kPreviewFolder[] = L"C:\\Program Files\\QX Preview Two\\";
inline constexpr wchar_t kPreviewFile[] = L"Print Preview.exe";

void InstallPreviewApplication(const std::string& hostProgram);
// The registry entry names the folder alone, which is no program.
void InstallPreviewFolderOnly();

}  // namespace testsupport
