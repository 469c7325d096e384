#include "modulefolder.h"

#include <vector>

#include <windows.h>

namespace {

constexpr DWORD kLongestPath = 32768;  // the longest path Windows has

// Any address inside this module names it.
void Anchor() {}

HMODULE OwnModule()
{
    HMODULE module = nullptr;
    const DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&Anchor), &module)) {
        return nullptr;
    }
    return module;
}

}  // namespace

std::wstring OwnModuleFolder()
{
    const HMODULE module = OwnModule();
    if (module == nullptr) {
        return {};
    }
    std::vector<wchar_t> path(kLongestPath, L'\0');
    const DWORD length = GetModuleFileNameW(module, path.data(), kLongestPath);
    if (length == 0 || length >= kLongestPath) {
        return {};
    }
    const std::wstring file(path.data(), length);
    const std::size_t separator = file.rfind(L'\\');
    return separator == std::wstring::npos ? std::wstring() : file.substr(0, separator);
}
