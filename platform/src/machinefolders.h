// Folders of the simulated machine, made with the access Windows gives them whatever the umask of
// the process that makes them: the preview application may run as another account than the host.
#pragma once

#include <filesystem>
#include <optional>
#include <system_error>

#include "hostaccount.h"

namespace platform {

// Makes the missing folders of path open to every user, as C:\Windows, C:\Program Files and
// C:\Users are.
void CreateSharedFolders(const std::filesystem::path& path, std::error_code& error);

// Makes the missing folders from base down to path open to their owner alone, and gives them to
// account when there is one, as a user's profile is that user's own.
void CreateOwnFolders(const std::filesystem::path& base, const std::filesystem::path& path,
                      const std::optional<HostAccount>& account, std::error_code& error);

}  // namespace platform
