// The print pipeline's extended error information (the SDK's imgerror.h), which mingw-w64 lacks.
// Written from the Windows SDK documentation; C++ only, as the driver is.
#pragma once

#include <oaidl.h>

typedef struct ImgErrorInfo {
    BSTR description;
    GUID guid;
    DWORD helpContext;
    BSTR helpFile;
    BSTR source;
    BSTR devDescription;
    GUID errorID;
    ULONG cUserParameters;
    BSTR* aUserParameters;
    BSTR userFallback;
    DWORD exceptionID;
} ImgErrorInfo;

#ifndef __IImgErrorInfo_INTERFACE_DEFINED__
#define __IImgErrorInfo_INTERFACE_DEFINED__
MIDL_INTERFACE("2bce4ece-d30e-445a-9423-6829be945ad8")
IImgErrorInfo : public IErrorInfo
{
public:
    virtual HRESULT STDMETHODCALLTYPE GetDeveloperDescription(BSTR* pbstrDevDescription) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUserErrorId(GUID* pErrorId) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUserParameterCount(ULONG* pcUserParams) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUserParameter(ULONG cParam, BSTR* pbstrParam) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetUserFallback(BSTR* pbstrFallback) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetExceptionId(DWORD* pExceptionId) = 0;
    virtual HRESULT STDMETHODCALLTYPE DetachErrorInfo(ImgErrorInfo* pErrorInfo) = 0;
};
__CRT_UUID_DECL(IImgErrorInfo, 0x2bce4ece, 0xd30e, 0x445a, 0x94, 0x23, 0x68, 0x29, 0xbe, 0x94, 0x5a, 0xd8)
EXTERN_C const IID DECLSPEC_SELECTANY IID_IImgErrorInfo = {
    0x2bce4ece, 0xd30e, 0x445a, {0x94, 0x23, 0x68, 0x29, 0xbe, 0x94, 0x5a, 0xd8}};
#endif
