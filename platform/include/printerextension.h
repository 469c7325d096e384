// The version-4 driver's property bag, as the print pipeline hands it to filters.
#pragma once

#include "objbase.h"

struct IPrinterPropertyBag : IDispatch {
    using BaseInterface = IDispatch;
    static constexpr IID iid = {0xFEA77364, 0xDF95, 0x4A23, {0xA9, 0x05, 0x01, 0x9B, 0x79, 0xA8, 0xE4, 0x81}};
    virtual HRESULT GetBool(BSTR bstrName, BOOL* pbValue) = 0;
    virtual HRESULT SetBool(BSTR bstrName, BOOL bValue) = 0;
    virtual HRESULT GetInt32(BSTR bstrName, LONG* pnValue) = 0;
    virtual HRESULT SetInt32(BSTR bstrName, LONG nValue) = 0;
    virtual HRESULT GetString(BSTR bstrName, BSTR* pbstrValue) = 0;
    virtual HRESULT SetString(BSTR bstrName, BSTR bstrValue) = 0;
    virtual HRESULT GetBytes(BSTR bstrName, DWORD* pcbValue, BYTE** ppValue) = 0;
    virtual HRESULT SetBytes(BSTR bstrName, DWORD cbValue, BYTE* pValue) = 0;
    virtual HRESULT GetReadStream(BSTR bstrName, IStream** ppValue) = 0;
    virtual HRESULT GetWriteStream(BSTR bstrName, IStream** ppValue) = 0;
};

inline constexpr const IID& IID_IPrinterPropertyBag = IPrinterPropertyBag::iid;
