// Kernel objects behind HANDLE values. A handle is a small number, not a pointer, so that a stale
// or forged handle fails with ERROR_INVALID_HANDLE instead of touching freed memory.
#pragma once

#include <memory>

#include "windows.h"

namespace platform {

class KernelObject {
public:
    virtual ~KernelObject() = default;
    // WAIT_OBJECT_0, WAIT_ABANDONED, WAIT_TIMEOUT or WAIT_FAILED (with the last error set).
    virtual DWORD Wait(DWORD milliseconds) = 0;
};

class HandleTable {
public:
    static HANDLE Add(std::shared_ptr<KernelObject> object);
    static std::shared_ptr<KernelObject> Find(HANDLE handle);
    static bool Remove(HANDLE handle);

    template <class T>
    static std::shared_ptr<T> FindAs(HANDLE handle)
    {
        return std::dynamic_pointer_cast<T>(Find(handle));
    }
};

}  // namespace platform
