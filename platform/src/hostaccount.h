// The host's own account of a machine user. A root host runs the preview application as the job's
// user when this host knows an account of that name, and gives that account what the job's thread
// creates while it impersonates the user, as Windows makes the impersonated user the owner.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace platform {

struct HostAccount {
    uid_t uid;
    gid_t gid;
    std::vector<gid_t> groups;
};

// Only a root process can act for another account, and only for a user the host knows.
std::optional<HostAccount> HostAccountOf(const std::string& name);

// Gives a file or folder the calling thread just created to the host account of the user the thread
// impersonates; nothing changes without impersonation or such an account.
void GiveToImpersonatedUser(int descriptor);
void GiveToImpersonatedUser(const std::string& path);

}  // namespace platform
