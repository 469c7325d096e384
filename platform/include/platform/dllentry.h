// Calls a module's DllMain when the loader maps and unmaps it, as Windows does.
#pragma once

#include "../windows.h"

namespace platform {

// The module (its load address, as an HMODULE is on Windows) that contains the address.
HMODULE ModuleOfAddress(const void* address);

}  // namespace platform

#define PLATFORM_DLL_ENTRY_POINT(dllMain)                                                            \
    namespace {                                                                                      \
    __attribute__((constructor)) void PlatformDllAttach()                                            \
    {                                                                                                \
        dllMain(::platform::ModuleOfAddress(reinterpret_cast<const void*>(&PlatformDllAttach)),      \
                DLL_PROCESS_ATTACH, nullptr);                                                        \
    }                                                                                                \
    __attribute__((destructor)) void PlatformDllDetach()                                             \
    {                                                                                                \
        dllMain(::platform::ModuleOfAddress(reinterpret_cast<const void*>(&PlatformDllDetach)),      \
                DLL_PROCESS_DETACH, nullptr);                                                        \
    }                                                                                                \
    }
