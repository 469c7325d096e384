// mingw-w64 10's bidispl.h, completed with what the Windows SDK's has and it lacks: IBidiSpl2 (the
// XML-string form of bidi requests), the __uuidof binding of the BidiSpl class, and definitions of
// CLSID_BidiSpl and IID_IBidiSpl2, which its libuuid.a does not carry. Written from the Windows SDK
// documentation.
#pragma once

#include_next <bidispl.h>

#ifndef __IBidiSpl2_INTERFACE_DEFINED__
#define __IBidiSpl2_INTERFACE_DEFINED__
MIDL_INTERFACE("0e8f51b8-8273-4906-8e7b-be453ffd2e2b")
IBidiSpl2 : public IUnknown
{
public:
    virtual HRESULT STDMETHODCALLTYPE BindDevice(const LPCWSTR pszDeviceName, const DWORD dwAccess) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnbindDevice() = 0;
    virtual HRESULT STDMETHODCALLTYPE SendRecvXMLString(BSTR bstrRequest, BSTR* pbstrResponse) = 0;
    virtual HRESULT STDMETHODCALLTYPE SendRecvXMLStream(IStream* pSRequest, IStream** ppSResponse) = 0;
};
__CRT_UUID_DECL(IBidiSpl2, 0x0e8f51b8, 0x8273, 0x4906, 0x8e, 0x7b, 0xbe, 0x45, 0x3f, 0xfd, 0x2e, 0x2b)
EXTERN_C const IID DECLSPEC_SELECTANY IID_IBidiSpl2 = {
    0x0e8f51b8, 0x8273, 0x4906, {0x8e, 0x7b, 0xbe, 0x45, 0x3f, 0xfd, 0x2e, 0x2b}};
#endif

__CRT_UUID_DECL(BidiSpl, 0x2a614240, 0xa4c5, 0x4c33, 0xbd, 0x87, 0x1b, 0xc7, 0x09, 0x33, 0x16, 0x39)
EXTERN_C const CLSID DECLSPEC_SELECTANY CLSID_BidiSpl = {
    0x2a614240, 0xa4c5, 0x4c33, {0xbd, 0x87, 0x1b, 0xc7, 0x09, 0x33, 0x16, 0x39}};
