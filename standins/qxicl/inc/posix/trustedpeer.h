// Who may use a pipe. An endpoint in a shared namespace could be reached, or taken first, by any
// local user; as the default security of a Windows pipe allows only the system, the creator and the
// job's user, both ends check the process at the other end before a byte passes: the superuser,
// this process's own user, or a process this process started (the preview application, which the
// host may have started as the job's user).
#pragma once

namespace qxicl {

// The process at the other end of a connected socket, as the kernel recorded it at connect or
// listen time.
bool IsTrustedPeer(int connection);

}  // namespace qxicl
