// The profile folders of the simulated machine's users.
#pragma once

#include <string>

namespace platform {

// C:\Users\<name> with AppData\Roaming, AppData\Local and AppData\Local\Temp, made under the
// machine root where missing. A root that cannot be written to leaves them missing, which the
// calls that need them report.
void CreateProfileFolders(const std::wstring& user);

}  // namespace platform
