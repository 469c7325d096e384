#include "machinefolders.h"

#include <unistd.h>

namespace platform {
namespace fs = std::filesystem;

namespace {

constexpr fs::perms kSharedFolder = fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                    fs::perms::others_read | fs::perms::others_exec;

// Makes each missing folder below base on the way to path, and hands each new one to prepare.
template <class Prepare>
void CreateFolders(const fs::path& base, const fs::path& path, std::error_code& error, Prepare prepare)
{
    fs::path made = base;
    for (const fs::path& part : path.lexically_relative(base)) {
        made /= part;
        if (fs::create_directory(made, error)) {
            prepare(made);
        }
        if (error) {
            return;
        }
    }
}

}  // namespace

void CreateSharedFolders(const fs::path& path, std::error_code& error)
{
    CreateFolders(path.root_path(), path, error, [&error](const fs::path& made) {
        fs::permissions(made, kSharedFolder, error);
    });
}

void CreateOwnFolders(const fs::path& base, const fs::path& path, const std::optional<HostAccount>& account,
                      std::error_code& error)
{
    CreateFolders(base, path, error, [&](const fs::path& made) {
        fs::permissions(made, fs::perms::owner_all, error);
        if (account && !error && ::lchown(made.c_str(), account->uid, account->gid) != 0) {
            error = std::error_code(errno, std::generic_category());
        }
    });
}

}  // namespace platform
