// The simulated machine's file system: Windows paths such as "C:\QX Inc\Calvost" live under one host
// folder, the machine root, as <root>/C/QX Inc/Calvost.
#pragma once

#include <optional>
#include <string>

namespace platform {

// The root starts as $QX_MACHINE_ROOT, or DefaultMachineRoot() when that is not set.
std::string MachineRoot();
void SetMachineRoot(const std::string& hostFolder);
// /tmp/qxmachine-<uid>.
std::string DefaultMachineRoot();

// Why the folder may not serve as this process's machine root, in one line; nothing when it may.
// The machine starts the programs under its root as its users, so the root must be this user's
// own: a folder owned by the effective user that neither group nor others may write. With
// createPrivate (for a root in a folder every user may write, such as the default in /tmp), a
// missing folder is made private to the user (0700; 0711 for root, whose jobs' users must reach
// their programs), and an existing one is judged as the entry itself, never through a link that
// anyone could have put there first.
std::optional<std::string> MachineRootRefusal(const std::string& folder, bool createPrivate);

// The host path of a Windows path ("C:\a\b" or "\\server\share\b"); nothing for a path that has
// no drive or share, or that tries to climb out of it.
std::optional<std::string> HostPathOf(const std::wstring& windowsPath);
// The Windows path of a host path under the root: <root>/C/a/b is "C:\a\b" and <root>/UNC/s/x/b is
// "\\s\x\b"; nothing for a path elsewhere. Links are followed on both sides before comparing.
std::optional<std::wstring> WindowsPathOf(const std::string& hostPath);

}  // namespace platform
