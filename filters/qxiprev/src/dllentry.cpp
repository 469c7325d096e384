// The module's exports: the filter's class factory and the unload check.
#include <cstdint>
#include <cstring>
#include <new>

#include <objbase.h>
#include <wrl/client.h>

#include "comadopt.h"
#include "moduleobjectcount.h"
#include "qxdrvlogger.h"
#include "xpsfilterprevfactory.h"

namespace {

// {71466C95-F6AC-4F67-835D-2F5F66E3EDE4} as the two little-endian words it occupies in memory.
constexpr std::uint64_t kFilterClsidWords[2] = {0x4F67F6AC71466C95ull, 0xE4EDE3665F2F5D83ull};

bool IsFilterClsid(REFCLSID clsid)
{
    std::uint64_t words[2];
    std::memcpy(words, &clsid, sizeof words);
    return words[0] == kFilterClsidWords[0] && words[1] == kFilterClsidWords[1];
}

BOOL ModuleMain(HMODULE module, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}

bool NothingAlive() { return ModuleObjectCount() == 0; }

}  // namespace

// The one place where the two builds differ: the Windows loader calls a global DllMain through the
// C runtime's entry point; the stand-in calls the function the macro names when it maps the module.
#ifdef _WIN32
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved)
{
    return ModuleMain(module, reason, reserved);
}
#else
#include <platform/dllentry.h>
PLATFORM_DLL_ENTRY_POINT(ModuleMain)
#endif

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv)
{
    if (ppv == nullptr) {
        return E_POINTER;
    }
    *ppv = nullptr;
    if (!IsFilterClsid(rclsid)) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    Microsoft::WRL::ComPtr<XPSFilterPrevFactory> factory;
    AdoptNewObject(factory, new (std::nothrow) XPSFilterPrevFactory);
    if (!factory) {
        return E_OUTOFMEMORY;
    }
    return factory->QueryInterface(riid, ppv);
}

// Asked before the module is unloaded, outside the loader's lock: the one place where the log's
// writer can still be waited for. A filter created meanwhile starts it again.
STDAPI DllCanUnloadNow()
{
    if (!NothingAlive()) {
        return S_FALSE;
    }
    QXDrvLogger::Suspend(NothingAlive);
    return NothingAlive() ? S_OK : S_FALSE;
}
