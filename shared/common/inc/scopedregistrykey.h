// An open registry key that is closed on every way out of its scope.
#pragma once

#include <windows.h>

class ScopedRegistryKey {
public:
    ScopedRegistryKey() = default;
    ~ScopedRegistryKey()
    {
        if (m_key != nullptr) {
            RegCloseKey(m_key);
        }
    }
    HKEY Get() const { return m_key; }
    // For an out parameter that hands over a newly opened key.
    HKEY* Receive()
    {
        if (m_key != nullptr) {
            RegCloseKey(m_key);
            m_key = nullptr;
        }
        return &m_key;
    }

    ScopedRegistryKey(const ScopedRegistryKey&) = delete;
    ScopedRegistryKey& operator=(const ScopedRegistryKey&) = delete;

private:
    HKEY m_key = nullptr;
};
