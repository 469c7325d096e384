// The COM library: per-thread apartments and the process's class table.
#include <cstring>
#include <map>
#include <mutex>

#include <wrl/client.h>

#include "builtinclasses.h"
#include "platform/comobject.h"
#include "platform/systemapi.h"

using Microsoft::WRL::ComPtr;

namespace platform {
namespace {

struct Apartment {
    ULONG initializations = 0;
    DWORD model = COINIT_MULTITHREADED;
};

thread_local Apartment apartment;

class ClassTable {
public:
    HRESULT Register(REFCLSID clsid, IUnknown* classObject, DWORD& cookie)
    {
        std::lock_guard lock(mutex_);
        cookie = nextCookie_++;
        entries_[cookie] = Entry{clsid, ComPtr<IUnknown>(classObject)};
        return S_OK;
    }

    HRESULT Revoke(DWORD cookie)
    {
        ComPtr<IUnknown> released;  // released outside the lock
        std::lock_guard lock(mutex_);
        const auto found = entries_.find(cookie);
        if (found == entries_.end()) {
            return E_INVALIDARG;
        }
        released = std::move(found->second.classObject);
        entries_.erase(found);
        return S_OK;
    }

    // The most recent registration of the class wins, as a registration overrides the registry.
    ComPtr<IUnknown> Find(REFCLSID clsid)
    {
        std::lock_guard lock(mutex_);
        for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
            if (IsEqualCLSID(entry->second.clsid, clsid)) {
                return entry->second.classObject;
            }
        }
        return nullptr;
    }

private:
    struct Entry {
        CLSID clsid;
        ComPtr<IUnknown> classObject;
    };
    std::mutex mutex_;
    std::map<DWORD, Entry> entries_;
    DWORD nextCookie_ = 1;
};

ClassTable& Classes()
{
    static ClassTable* table = [] {
        auto* classes = new ClassTable;
        for (const BuiltInClass& builtIn : BuiltInClasses()) {
            DWORD cookie = 0;
            ComPtr<IUnknown> factory;
            factory.Attach(new FunctionClassFactory(builtIn.create));
            classes->Register(builtIn.clsid, factory.Get(), cookie);
        }
        return classes;
    }();
    return *table;
}

}  // namespace

HRESULT Ole32::CoInitializeEx(LPVOID, DWORD coInit)
{
    const DWORD model = coInit & COINIT_APARTMENTTHREADED;
    if (apartment.initializations > 0 && apartment.model != model) {
        return RPC_E_CHANGED_MODE;
    }
    apartment.model = model;
    return ++apartment.initializations == 1 ? S_OK : S_FALSE;
}

void Ole32::CoUninitialize()
{
    if (apartment.initializations > 0) {
        --apartment.initializations;
    }
}

HRESULT Ole32::CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object)
{
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    if (apartment.initializations == 0) {
        return CO_E_NOTINITIALIZED;
    }
    if ((context & CLSCTX_INPROC_SERVER) == 0) {
        return REGDB_E_CLASSNOTREG;
    }
    const ComPtr<IUnknown> classObject = Classes().Find(clsid);
    if (!classObject) {
        return REGDB_E_CLASSNOTREG;
    }
    ComPtr<IClassFactory> factory;
    const HRESULT hr = classObject.As(&factory);
    if (FAILED(hr)) {
        return hr;
    }
    return factory->CreateInstance(outer, iid, object);
}

HRESULT Ole32::CoRegisterClassObject(REFCLSID clsid, IUnknown* factory, DWORD, DWORD, LPDWORD cookie)
{
    if (factory == nullptr || cookie == nullptr) {
        return E_INVALIDARG;
    }
    return Classes().Register(clsid, factory, *cookie);
}

HRESULT Ole32::CoRevokeClassObject(DWORD cookie) { return Classes().Revoke(cookie); }

}  // namespace platform
