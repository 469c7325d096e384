// COM library: apartments, class objects, in-process activation, streams on global memory.
#pragma once

#include "oaidl.h"
#include "objidl.h"
#include "oleauto.h"
#include "winbase.h"

enum COINIT : DWORD {
    COINIT_MULTITHREADED = 0x0,
    COINIT_APARTMENTTHREADED = 0x2,
};

enum CLSCTX : DWORD {
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_INPROC = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER,
    CLSCTX_REMOTE_SERVER = 0x10,
    CLSCTX_SERVER = CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER,
    CLSCTX_ALL = CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER,
};

enum REGCLS : DWORD {
    REGCLS_SINGLEUSE = 0,
    REGCLS_MULTIPLEUSE = 1,
};

HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
void CoUninitialize();
HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown* pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv);
// Makes a class creatable in this process; the platform's own classes are registered this way too.
HRESULT CoRegisterClassObject(REFCLSID rclsid, IUnknown* pUnk, DWORD dwClsContext, DWORD flags, LPDWORD lpdwRegister);
HRESULT CoRevokeClassObject(DWORD dwRegister);

HRESULT CreateStreamOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, IStream** ppstm);
HRESULT GetHGlobalFromStream(IStream* pstm, HGLOBAL* phglobal);
