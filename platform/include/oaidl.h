// IDispatch and IErrorInfo, the automation bases that dual interfaces and error objects derive from.
// Nothing in this system calls through late binding; the interfaces are here so that the vtables of
// the interfaces built on them have the Windows layout.
#pragma once

#include "oleauto.h"

using DISPID = LONG;
using LPOLESTR = OLECHAR*;

struct ITypeInfo;

struct DISPPARAMS {
    VARIANTARG* rgvarg;
    DISPID* rgdispidNamedArgs;
    UINT cArgs;
    UINT cNamedArgs;
};

struct EXCEPINFO {
    WORD wCode;
    WORD wReserved;
    BSTR bstrSource;
    BSTR bstrDescription;
    BSTR bstrHelpFile;
    DWORD dwHelpContext;
    PVOID pvReserved;
    HRESULT (*pfnDeferredFillIn)(EXCEPINFO*);
    HRESULT scode;
};

struct IDispatch : IUnknown {
    static constexpr IID iid = {0x00020400, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
    virtual HRESULT GetTypeInfoCount(UINT* pctinfo) = 0;
    virtual HRESULT GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) = 0;
    virtual HRESULT GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgDispId) = 0;
    virtual HRESULT Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams,
                           VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) = 0;
};

struct IErrorInfo : IUnknown {
    static constexpr IID iid = {0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
    virtual HRESULT GetGUID(GUID* pGUID) = 0;
    virtual HRESULT GetSource(BSTR* pBstrSource) = 0;
    virtual HRESULT GetDescription(BSTR* pBstrDescription) = 0;
    virtual HRESULT GetHelpFile(BSTR* pBstrHelpFile) = 0;
    virtual HRESULT GetHelpContext(DWORD* pdwHelpContext) = 0;
};

inline constexpr const IID& IID_IDispatch = IDispatch::iid;
inline constexpr const IID& IID_IErrorInfo = IErrorInfo::iid;
