// Dynamic libraries through the host's dynamic loader. A module handle is the module's load
// address; the loader's own handles, one per reference LoadLibraryW or GetModuleHandleExW took, are
// kept here until FreeLibrary gives them back.
#include <dlfcn.h>
#include <link.h>
#include <sys/auxv.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/modulepaths.h"
#include "platform/systemapi.h"

namespace platform {
namespace {

constexpr DWORD kKnownModuleFlags =
    GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;

class LoaderReferences {
public:
    void Add(HMODULE module, void* handle)
    {
        std::lock_guard lock(mutex_);
        handles_[module].push_back(handle);
    }

    // One of the module's references, or null when this process took none (or gave them all back).
    void* Take(HMODULE module)
    {
        std::lock_guard lock(mutex_);
        const auto found = handles_.find(module);
        if (found == handles_.end()) {
            return nullptr;
        }
        void* handle = found->second.back();
        found->second.pop_back();
        if (found->second.empty()) {
            handles_.erase(found);
        }
        return handle;
    }

private:
    std::mutex mutex_;
    std::map<HMODULE, std::vector<void*>> handles_;
};

LoaderReferences& References()
{
    static auto* references = new LoaderReferences;  // modules may be freed from static destructors
    return *references;
}

DWORD Fail(DWORD error)
{
    ::SetLastError(error);
    return 0;
}

HMODULE ModuleContaining(const void* address)
{
    Dl_info info{};
    return ::dladdr(address, &info) == 0 ? nullptr : info.dli_fbase;
}

HMODULE ProgramModule() { return ModuleContaining(reinterpret_cast<const void*>(::getauxval(AT_PHDR))); }

// The module a loader handle stands for: the one that holds its dynamic section.
HMODULE ModuleOfHandle(void* handle)
{
    link_map* map = nullptr;
    if (::dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr) {
        return nullptr;
    }
    return ModuleContaining(map->l_ld);
}

// Nothing for a value that is not the load address of a module.
std::optional<std::string> HostFileOf(HMODULE module)
{
    std::error_code ignored;
    if (module != nullptr && module == ProgramModule()) {
        return std::filesystem::read_symlink("/proc/self/exe", ignored).string();
    }
    Dl_info info{};
    if (module == nullptr || ::dladdr(module, &info) == 0 || info.dli_fbase != module || info.dli_fname == nullptr) {
        return std::nullopt;
    }
    return std::filesystem::weakly_canonical(info.dli_fname, ignored).string();
}

// A new loader reference to a module that is loaded already; null when it is not.
void* ReferenceTo(HMODULE module)
{
    if (module == ProgramModule()) {
        return ::dlopen(nullptr, RTLD_LAZY);
    }
    const std::optional<std::string> file = HostFileOf(module);
    return file ? ::dlopen(file->c_str(), RTLD_LAZY | RTLD_NOLOAD) : nullptr;
}

bool IsFile(const std::string& path)
{
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// The loader names a missing dependency as a file it cannot open; anything else is a bad file.
DWORD LoadError()
{
    const char* message = ::dlerror();
    const bool missing = message != nullptr && std::string(message).find("cannot open shared object file") !=
                                                   std::string::npos;
    return missing ? ERROR_MOD_NOT_FOUND : ERROR_BAD_EXE_FORMAT;
}

}  // namespace

HMODULE Kernel32::LoadLibraryW(LPCWSTR fileName)
{
    if (fileName == nullptr) {
        Fail(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const std::optional<std::string> file = HostFileOfLibrary(fileName);
    if (!file || !IsFile(*file)) {
        Fail(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    void* handle = ::dlopen(file->c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        Fail(LoadError());
        return nullptr;
    }
    const HMODULE module = ModuleOfHandle(handle);
    References().Add(module, handle);
    return module;
}

FARPROC Kernel32::GetProcAddress(HMODULE module, LPCSTR procName)
{
    const HMODULE wanted = module == nullptr ? ProgramModule() : module;
    void* handle = ReferenceTo(wanted);
    if (handle == nullptr) {
        Fail(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    // A name below 0x10000 is an ordinal, which a shared object does not have.
    const bool byName = reinterpret_cast<ULONG_PTR>(procName) > 0xFFFFu;
    void* address = byName ? ::dlsym(handle, procName) : nullptr;
    ::dlclose(handle);
    // dlsym also searches the module's dependencies; GetProcAddress finds the module's own exports.
    if (address == nullptr || ModuleContaining(address) != wanted) {
        Fail(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
    return reinterpret_cast<FARPROC>(address);
}

BOOL Kernel32::FreeLibrary(HMODULE module)
{
    if (module == nullptr) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (void* handle = References().Take(module)) {
        ::dlclose(handle);
        return TRUE;
    }
    // A module the process loaded by other means stays, as a statically imported DLL does.
    return HostFileOf(module) ? TRUE : Fail(ERROR_MOD_NOT_FOUND);
}

DWORD Kernel32::GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size)
{
    const std::optional<std::string> file = HostFileOf(module == nullptr ? ProgramModule() : module);
    if (!file) {
        return Fail(ERROR_MOD_NOT_FOUND);
    }
    if (fileName == nullptr && size > 0) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    const std::wstring path = WindowsPathOfModule(*file);
    if (path.size() < size) {
        std::copy(path.begin(), path.end(), fileName);
        fileName[path.size()] = L'\0';
        ::SetLastError(ERROR_SUCCESS);
        return static_cast<DWORD>(path.size());
    }
    if (size > 0) {
        std::copy(path.begin(), path.begin() + (size - 1), fileName);
        fileName[size - 1] = L'\0';
    }
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}

BOOL Kernel32::GetModuleHandleExW(DWORD flags, LPCWSTR moduleName, HMODULE* module)
{
    if (module == nullptr) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    *module = nullptr;
    const DWORD pinOrUnchanged = GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if ((flags & ~kKnownModuleFlags) != 0 || (flags & pinOrUnchanged) == pinOrUnchanged) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    HMODULE found = nullptr;
    if ((flags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) != 0) {
        found = ModuleContaining(moduleName);
    } else if (moduleName == nullptr) {
        found = ProgramModule();
    } else if (const std::optional<std::string> file = HostFileOfLibrary(moduleName)) {
        if (void* handle = ::dlopen(file->c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
            found = ModuleOfHandle(handle);
            ::dlclose(handle);
        }
    }
    if (found == nullptr) {
        return Fail(ERROR_MOD_NOT_FOUND);
    }
    // Without either flag the caller owns a reference and gives it back with FreeLibrary; a pinned
    // module is never unloaded, which a reference nobody gives back achieves.
    if ((flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) == 0) {
        void* handle = ReferenceTo(found);
        if ((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) == 0 && handle != nullptr) {
            References().Add(found, handle);
        }
    }
    *module = found;
    return TRUE;
}

}  // namespace platform
