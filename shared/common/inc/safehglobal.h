// Ownership of movable global memory blocks.
#pragma once

#include <objbase.h>
#include <wrl/client.h>

// Owns a block until it is freed or handed to a stream.
class SafeHGlobal {
public:
    explicit SafeHGlobal(HGLOBAL memory) : m_memory(memory) {}
    ~SafeHGlobal();

    HGLOBAL Get() const { return m_memory; }

    // Turns the block into a stream that frees it on its last release. When no stream results, hr
    // tells why and the block stays with this owner, which frees it.
    Microsoft::WRL::ComPtr<IStream> DetachAsStream(HRESULT& hr);

    SafeHGlobal(const SafeHGlobal&) = delete;
    SafeHGlobal& operator=(const SafeHGlobal&) = delete;

private:
    HGLOBAL m_memory;
};

// Keeps a block locked, and its address fixed, for the life of the guard.
class GlobalLockGuard {
public:
    explicit GlobalLockGuard(HGLOBAL memory) : m_memory(memory), m_data(GlobalLock(memory)) {}
    ~GlobalLockGuard()
    {
        if (m_data != nullptr) {
            GlobalUnlock(m_memory);
        }
    }
    // Null when the block could not be locked.
    void* Data() const { return m_data; }

    GlobalLockGuard(const GlobalLockGuard&) = delete;
    GlobalLockGuard& operator=(const GlobalLockGuard&) = delete;

private:
    HGLOBAL m_memory;
    void* m_data;
};
