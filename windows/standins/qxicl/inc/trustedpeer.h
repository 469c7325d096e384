// Who may use a pipe: the system, this process's own user, or a process this process started (the
// preview application, which the host may have started as the job's user). The pipe's default
// security keeps other users from writing to a receiving end; this check also holds for a sender,
// which makes sure that the end it writes to was not created first by a process it may not trust.
// Under Wine every process is the same user, so only the Windows run refuses anyone (README.md).
#pragma once

#include <windows.h>

namespace qxicl {

// The process at the other end of a connected pipe instance, by its id as the pipe recorded it.
bool IsTrustedPipeClient(HANDLE pipe);
bool IsTrustedPipeServer(HANDLE pipe);

}  // namespace qxicl
