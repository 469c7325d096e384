// The host processes the machine's processes run as: CreateProcessAsUserW starts one for each.
#pragma once

#include <cstddef>

#include "../windef.h"

namespace platform {

// For a host program that is told to stop: kills every child process the machine started that
// still runs, each then reporting exitCode to whoever waits for it or asks GetExitCodeProcess, and
// makes every later start fail with ERROR_SHUTDOWN_IN_PROGRESS, as Windows refuses new processes
// while it shuts down. Returns how many it killed.
std::size_t EndChildProcesses(DWORD exitCode);

}  // namespace platform
