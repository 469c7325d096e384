// Modules are the shared objects the dynamic loader mapped; a module handle is its load address.
#include <dlfcn.h>

#include "platform/dllentry.h"

namespace platform {

HMODULE ModuleOfAddress(const void* address)
{
    Dl_info info{};
    if (::dladdr(address, &info) == 0) {
        return nullptr;
    }
    return info.dli_fbase;
}

}  // namespace platform
