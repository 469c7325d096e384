#include "hostaccount.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include "platform/text.h"
#include "simulatedmachinestate.h"

namespace platform {
namespace {

std::optional<HostAccount> ImpersonatedAccount()
{
    const std::optional<std::wstring> user = ImpersonatedUserOfThisThread();
    return user ? HostAccountOf(ToUtf8(*user)) : std::nullopt;
}

}  // namespace

std::optional<HostAccount> HostAccountOf(const std::string& name)
{
    if (::geteuid() != 0 || name.empty()) {
        return std::nullopt;
    }
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return std::nullopt;
    }
    int count = 64;
    std::vector<gid_t> groups(count);
    if (::getgrouplist(name.c_str(), entry.pw_gid, groups.data(), &count) < 0) {
        groups.resize(count);
        ::getgrouplist(name.c_str(), entry.pw_gid, groups.data(), &count);
    }
    groups.resize(count);
    return HostAccount{entry.pw_uid, entry.pw_gid, groups};
}

void GiveToImpersonatedUser(int descriptor)
{
    if (const auto account = ImpersonatedAccount()) {
        [[maybe_unused]] const int given = ::fchown(descriptor, account->uid, account->gid);
    }
}

void GiveToImpersonatedUser(const std::string& path)
{
    if (const auto account = ImpersonatedAccount()) {
        [[maybe_unused]] const int given = ::lchown(path.c_str(), account->uid, account->gid);
    }
}

}  // namespace platform
