#include "platform/machine.h"

#include <unistd.h>

#include <cstdlib>
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
        s->root = fromEnvironment != nullptr && *fromEnvironment != '\0' ? fromEnvironment
                                                                          : "/tmp/qxmachine-" + std::to_string(::getuid());
        return s;
    }();
    return *setting;
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
