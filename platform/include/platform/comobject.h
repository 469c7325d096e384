// A reference-counted COM object for the platform's own classes and for pipeline stand-ins.
#pragma once

#include <atomic>
#include <tuple>
#include <utility>

#include "../unknwn.h"
#include "notimplemented.h"

namespace platform {

template <class Derived, class... Interfaces>
class ComObject : public NotImplemented<Interfaces>... {
public:
    HRESULT QueryInterface(REFIID riid, void** object) override
    {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (IsEqualIID(riid, IID_IUnknown)) {
            *object = static_cast<IUnknown*>(static_cast<FirstInterface*>(this));
        } else {
            (TryInterface<Interfaces>(riid, object) || ...);
        }
        if (*object == nullptr) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++references_; }
    ULONG Release() override
    {
        const ULONG count = --references_;
        if (count == 0) {
            delete static_cast<Derived*>(this);
        }
        return count;
    }

protected:
    ComObject() = default;
    virtual ~ComObject() = default;

private:
    using FirstInterface = std::tuple_element_t<0, std::tuple<Interfaces...>>;

    template <class I>
    bool TryInterface(REFIID riid, void** object)
    {
        if (InterfaceChainHas<I>(riid)) {
            *object = static_cast<I*>(this);
            return true;
        }
        return false;
    }

    // An interface answers for its own IID and for those of the interfaces it derives from.
    template <class I>
    static bool InterfaceChainHas(REFIID riid)
    {
        if (IsEqualIID(riid, I::iid)) {
            return true;
        }
        if constexpr (HasBase<I>::value) {
            return InterfaceChainHas<typename I::BaseInterface>(riid);
        }
        return false;
    }
    template <class I, class = void>
    struct HasBase : std::false_type {};
    template <class I>
    struct HasBase<I, std::void_t<typename I::BaseInterface>> : std::true_type {};

    std::atomic<ULONG> references_{1};
};

// Creates an object holding its first reference.
template <class T, class... Args>
T* MakeComObject(Args&&... args)
{
    return new T(std::forward<Args>(args)...);
}

}  // namespace platform

#include <functional>

namespace platform {

// A class object whose instances come from a function; used to register classes with
// CoRegisterClassObject.
class FunctionClassFactory : public ComObject<FunctionClassFactory, IClassFactory> {
public:
    // The function returns a new object holding one reference, or null when it cannot make one.
    using Create = std::function<IUnknown*()>;
    explicit FunctionClassFactory(Create create) : create_(std::move(create)) {}

    HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** object) override
    {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        IUnknown* instance = create_();
        if (instance == nullptr) {
            return E_OUTOFMEMORY;
        }
        const HRESULT hr = instance->QueryInterface(riid, object);
        instance->Release();
        return hr;
    }
    HRESULT LockServer(BOOL) override { return S_OK; }

private:
    Create create_;
};

}  // namespace platform
