// Windows library names and host files, both ways; the rule is written out in modulepaths.h.
#include "platform/modulepaths.h"

#include <dlfcn.h>

#include <cwctype>
#include <filesystem>
#include <vector>

#include "names.h"
#include "platform/machine.h"
#include "platform/text.h"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr char kHostPrefix[] = "lib";
constexpr char kHostSuffix[] = ".so";

std::string HostFileName(std::wstring name)
{
    if (name.find(L'.') == std::wstring::npos) {
        name += L".dll";
    }
    const std::size_t dot = name.rfind(L'.');
    if (!SameName(std::wstring_view(name).substr(dot), L".dll")) {
        return ToUtf8(name);
    }
    std::wstring stem = name.substr(0, dot);
    for (wchar_t& c : stem) {
        c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
    }
    return kHostPrefix + ToUtf8(stem) + kHostSuffix;
}

std::wstring DllName(const std::string& hostName)
{
    const std::size_t prefix = sizeof kHostPrefix - 1;
    const std::size_t suffix = sizeof kHostSuffix - 1;
    const bool library = hostName.size() > prefix + suffix && hostName.compare(0, prefix, kHostPrefix) == 0 &&
                         hostName.compare(hostName.size() - suffix, suffix, kHostSuffix) == 0;
    return library ? FromUtf8(hostName.substr(prefix, hostName.size() - prefix - suffix)) + L".dll"
                   : FromUtf8(hostName);
}

std::vector<std::wstring> FolderParts(const std::wstring& folder)
{
    std::vector<std::wstring> parts;
    std::wstring part;
    for (const wchar_t c : folder + L'\\') {
        if (c != L'\\' && c != L'/') {
            part += c;
        } else if (!part.empty()) {
            if (part != L".") {
                parts.push_back(part);
            }
            part.clear();
        }
    }
    return parts;
}

bool IsDriverFolder(const std::wstring& folder)
{
    const std::vector<std::wstring> parts = FolderParts(folder);
    const std::vector<std::wstring> driver = FolderParts(kDriverFolder);
    return parts.size() == driver.size() &&
           std::equal(parts.begin(), parts.end(), driver.begin(),
                      [](const std::wstring& a, const std::wstring& b) { return SameName(a, b); });
}

}  // namespace

std::string ModuleFolder()
{
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void*>(&ModuleFolder), &info) == 0 || info.dli_fname == nullptr) {
        return ".";
    }
    std::error_code ignored;
    return fs::weakly_canonical(info.dli_fname, ignored).parent_path().string();
}

std::optional<std::string> HostFileOfLibrary(const std::wstring& windowsPath)
{
    const std::size_t slash = windowsPath.find_last_of(L"\\/");
    const std::wstring name = slash == std::wstring::npos ? windowsPath : windowsPath.substr(slash + 1);
    if (name.empty()) {
        return std::nullopt;
    }
    if (slash == std::wstring::npos || IsDriverFolder(windowsPath.substr(0, slash))) {
        return ModuleFolder() + "/" + HostFileName(name);
    }
    const std::optional<std::string> folder = HostPathOf(windowsPath.substr(0, slash));
    if (!folder) {
        return std::nullopt;
    }
    return *folder + "/" + HostFileName(name);
}

std::wstring WindowsPathOfModule(const std::string& hostFile)
{
    const fs::path path(hostFile);
    std::wstring folder = WindowsPathOf(path.parent_path().string()).value_or(kDriverFolder);
    if (folder.back() != L'\\') {
        folder += L'\\';
    }
    return folder + DllName(path.filename().string());
}

}  // namespace platform
