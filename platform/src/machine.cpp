#include "platform/machine.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <filesystem>
#include <mutex>
#include <vector>

#include "platform/text.h"

namespace platform {
namespace {

struct RootSetting {
    std::mutex mutex;
    std::string root;
};

RootSetting& Root()
{
    static RootSetting* setting = [] {
        auto* s = new RootSetting;
        const char* fromEnvironment = std::getenv("QX_MACHINE_ROOT");
        s->root = fromEnvironment != nullptr && *fromEnvironment != '\0' ? fromEnvironment : DefaultMachineRoot();
        return s;
    }();
    return *setting;
}

std::string OctalMode(mode_t mode)
{
    char text[8];
    std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
    return text;
}

// A new root gets exactly its mode, whatever the umask took from it.
std::optional<std::string> MakePrivateRoot(const std::string& folder, mode_t mode)
{
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    const bool set = descriptor >= 0 && ::fchmod(descriptor, mode) == 0;
    const int error = errno;
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    if (!set) {
        return "cannot make machine root " + folder + " private: " + std::strerror(error);
    }
    return std::nullopt;
}

// Splits on both separators; "." is dropped and ".." may not climb above the drive.
std::optional<std::vector<std::wstring>> Components(std::wstring_view rest)
{
    std::vector<std::wstring> parts;
    std::wstring part;
    const auto flush = [&]() -> bool {
        if (part == L"..") {
            if (parts.empty()) {
                return false;
            }
            parts.pop_back();
        } else if (!part.empty() && part != L".") {
            parts.push_back(part);
        }
        part.clear();
        return true;
    };
    for (const wchar_t c : rest) {
        if (c == L'\\' || c == L'/') {
            if (!flush()) {
                return std::nullopt;
            }
        } else {
            part += c;
        }
    }
    if (!flush()) {
        return std::nullopt;
    }
    return parts;
}

// The volume folder's Windows form: "C" is "C:", "UNC" begins a share.
std::optional<std::wstring> VolumeOf(const std::wstring& folder)
{
    if (folder == L"UNC") {
        return L"\\\\";
    }
    if (folder.size() == 1 && folder[0] >= L'A' && folder[0] <= L'Z') {
        return folder + L":\\";
    }
    return std::nullopt;
}

}  // namespace

std::string MachineRoot()
{
    std::lock_guard lock(Root().mutex);
    return Root().root;
}

void SetMachineRoot(const std::string& hostFolder)
{
    std::lock_guard lock(Root().mutex);
    Root().root = hostFolder;
}

std::string DefaultMachineRoot() { return "/tmp/qxmachine-" + std::to_string(::getuid()); }

std::optional<std::string> MachineRootRefusal(const std::string& folder, bool createPrivate)
{
    if (createPrivate) {
        const mode_t mode = ::geteuid() == 0 ? 0711 : 0700;
        if (::mkdir(folder.c_str(), mode) == 0) {
            return MakePrivateRoot(folder, mode);
        }
        if (errno != EEXIST) {
            return "cannot create machine root " + folder + ": " + std::strerror(errno);
        }
    }
    struct stat status {};
    if ((createPrivate ? ::lstat(folder.c_str(), &status) : ::stat(folder.c_str(), &status)) != 0) {
        return "machine root " + folder + " is not a folder: " + std::strerror(errno);
    }
    if (S_ISLNK(status.st_mode)) {
        return "machine root " + folder + " is a symbolic link, which anyone may have made there; refused";
    }
    if (!S_ISDIR(status.st_mode)) {
        return "machine root " + folder + " is not a folder";
    }
    if (status.st_uid != ::geteuid()) {
        return "machine root " + folder + " belongs to user " + std::to_string(status.st_uid) + ", not to this user (" +
               std::to_string(::geteuid()) + "); refused";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "machine root " + folder + " may be written by " +
               ((status.st_mode & S_IWOTH) != 0 ? "others" : "its group") + " (mode " + OctalMode(status.st_mode) +
               "); refused";
    }
    return std::nullopt;
}

std::optional<std::string> HostPathOf(const std::wstring& windowsPath)
{
    std::wstring volume;
    std::wstring_view rest;
    if (windowsPath.size() >= 2 && windowsPath[1] == L':' && std::iswalpha(windowsPath[0])) {
        volume = std::wstring(1, static_cast<wchar_t>(std::towupper(windowsPath[0])));
        rest = std::wstring_view(windowsPath).substr(2);
    } else if (windowsPath.rfind(L"\\\\", 0) == 0) {
        volume = L"UNC";
        rest = std::wstring_view(windowsPath).substr(2);
    } else {
        return std::nullopt;
    }
    const auto parts = Components(rest);
    if (!parts) {
        return std::nullopt;
    }
    std::string path = MachineRoot() + "/" + ToUtf8(volume);
    for (const auto& part : *parts) {
        path += "/" + ToUtf8(part);
    }
    return path;
}

std::optional<std::wstring> WindowsPathOf(const std::string& hostPath)
{
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::path relative =
        fs::weakly_canonical(hostPath, ignored).lexically_relative(fs::weakly_canonical(MachineRoot(), ignored));
    if (relative.empty() || *relative.begin() == "..") {
        return std::nullopt;
    }
    auto part = relative.begin();
    std::optional<std::wstring> path = VolumeOf(FromUtf8(part->string()));
    if (!path) {
        return std::nullopt;
    }
    std::wstring separator;
    for (++part; part != relative.end(); ++part) {
        if (*part != ".") {
            *path += separator + FromUtf8(part->string());
            separator = L"\\";
        }
    }
    return path;
}

}  // namespace platform
