// A loaded library that is freed on every way out of its scope.
#pragma once

#include <string>

#include <windows.h>

class ScopedLibrary {
public:
    // An empty path loads nothing.
    explicit ScopedLibrary(const std::wstring& path) : m_module(path.empty() ? nullptr : LoadLibraryW(path.c_str())) {}
    ~ScopedLibrary()
    {
        if (m_module != nullptr) {
            FreeLibrary(m_module);
        }
    }
    bool IsLoaded() const { return m_module != nullptr; }
    // The export's address as the function type the caller knows it by; null when it is missing.
    template <class Function>
    Function Export(const char* name) const
    {
        if (m_module == nullptr) {
            return nullptr;
        }
        // Through the generic function type, which converts to any other without a cast warning.
        using AnyFunction = void (*)();
        return reinterpret_cast<Function>(reinterpret_cast<AnyFunction>(GetProcAddress(m_module, name)));
    }

    ScopedLibrary(const ScopedLibrary&) = delete;
    ScopedLibrary& operator=(const ScopedLibrary&) = delete;

private:
    HMODULE m_module;
};
