// IUnknown and IClassFactory.
#pragma once

#include <type_traits>

#include "guiddef.h"
#include "winerror.h"

struct IUnknown {
    static constexpr IID iid = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT QueryInterface(REFIID riid, void** ppvObject) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;  // objects are destroyed through Release, never through an interface pointer
};

struct IClassFactory : IUnknown {
    static constexpr IID iid = {0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppvObject) = 0;
    virtual HRESULT LockServer(BOOL fLock) = 0;
};

inline constexpr const IID& IID_IUnknown = IUnknown::iid;
inline constexpr const IID& IID_IClassFactory = IClassFactory::iid;
