// The simulated machine's file system: Windows paths such as "C:\QX Inc\Calvost" live under one host
// folder, the machine root, as <root>/C/QX Inc/Calvost.
#pragma once

#include <optional>
#include <string>

namespace platform {

// The root starts as $QX_MACHINE_ROOT, or /tmp/qxmachine-<uid> when that is not set.
std::string MachineRoot();
void SetMachineRoot(const std::string& hostFolder);

// The host path of a Windows path ("C:\a\b" or "\\server\share\b"); nothing for a path that has
// no drive or share, or that tries to climb out of it.
std::optional<std::string> HostPathOf(const std::wstring& windowsPath);
// The Windows path of a host path under the root: <root>/C/a/b is "C:\a\b" and <root>/UNC/s/x/b is
// "\\s\x\b"; nothing for a path elsewhere. Links are followed on both sides before comparing.
std::optional<std::wstring> WindowsPathOf(const std::string& hostPath);

}  // namespace platform
