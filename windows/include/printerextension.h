// The version-4 driver's property bag (from the SDK's printerextension.h, which mingw-w64 lacks), as
// the print pipeline hands it to filters under XPS_FP_DRIVER_PROPERTY_BAG. Written from the Windows
// SDK documentation; only IPrinterPropertyBag is declared, with its SDK base, GUID, and every method
// in SDK order with SDK signatures. C++ only, as the driver is.
#pragma once

#include <windows.h>
#include <objbase.h>
#include <oaidl.h>

#ifndef __IPrinterPropertyBag_INTERFACE_DEFINED__
#define __IPrinterPropertyBag_INTERFACE_DEFINED__
MIDL_INTERFACE("fea77364-df95-4a23-a905-019b79a8e481")
IPrinterPropertyBag : public IDispatch
{
public:
    virtual HRESULT STDMETHODCALLTYPE GetBool(BSTR bstrName, BOOL* pbValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetBool(BSTR bstrName, BOOL bValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInt32(BSTR bstrName, LONG* pnValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetInt32(BSTR bstrName, LONG nValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetString(BSTR bstrName, BSTR* pbstrValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetString(BSTR bstrName, BSTR bstrValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBytes(BSTR bstrName, DWORD* pcbValue, BYTE** ppValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetBytes(BSTR bstrName, DWORD cbValue, BYTE* pValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetReadStream(BSTR bstrName, IStream** ppValue) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetWriteStream(BSTR bstrName, IStream** ppValue) = 0;
};
__CRT_UUID_DECL(IPrinterPropertyBag, 0xfea77364, 0xdf95, 0x4a23, 0xa9, 0x05, 0x01, 0x9b, 0x79, 0xa8, 0xe4, 0x81)
EXTERN_C const IID DECLSPEC_SELECTANY IID_IPrinterPropertyBag = {
    0xfea77364, 0xdf95, 0x4a23, {0xa9, 0x05, 0x01, 0x9b, 0x79, 0xa8, 0xe4, 0x81}};
#endif
