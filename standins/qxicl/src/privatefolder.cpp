#include "privatefolder.h"

#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace qxicl {

namespace {

constexpr std::size_t kMaxSocketPath = sizeof(sockaddr_un::sun_path) - 1;
constexpr char kHashMark = '~';
constexpr std::size_t kHashDigits = 16;

std::string FolderLocation()
{
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/') {
        return std::string(runtime) + "/qxicl";
    }
    return "/tmp/qxicl-" + std::to_string(::geteuid());
}

bool IsPrivate(const std::string& path)
{
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & 07777) == 0700;
}

// The mode is set again after mkdir, since the process's umask may have taken bits from it.
void CreateIfMissing(const std::string& path)
{
    if (::mkdir(path.c_str(), 0700) == 0) {
        ::chmod(path.c_str(), 0700);
    }
}

std::uint64_t NameHash(const std::string& name)
{
    std::uint64_t hash = 14695981039346656037ull;
    for (const unsigned char c : name) {
        hash = (hash ^ c) * 1099511628211ull;
    }
    return hash;
}

std::string HashSuffix(const std::string& name)
{
    char digits[kHashDigits + 1];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(NameHash(name)));
    return kHashMark + std::string(digits);
}

}  // namespace

std::optional<PrivateFolder> PrivateFolder::Open(bool create)
{
    std::string path = FolderLocation();
    if (create) {
        CreateIfMissing(path);
    }
    if (!IsPrivate(path)) {
        return std::nullopt;
    }
    return PrivateFolder(std::move(path));
}

std::optional<std::string> PrivateFolder::SocketPath(const std::string& pipeName) const
{
    const std::string prefix = m_path + "/";
    if (prefix.size() + pipeName.size() <= kMaxSocketPath) {
        return prefix + pipeName;
    }
    const std::string suffix = HashSuffix(pipeName);
    if (prefix.size() + suffix.size() > kMaxSocketPath) {
        return std::nullopt;
    }
    const std::size_t kept = kMaxSocketPath - prefix.size() - suffix.size();
    return prefix + pipeName.substr(0, kept) + suffix;
}

}  // namespace qxicl
