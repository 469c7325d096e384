// BSTR and VARIANT, the OLE automation types the pipeline property bag carries.
#pragma once

#include "unknwn.h"

using OLECHAR = wchar_t;
using BSTR = OLECHAR*;
using VARTYPE = USHORT;
using VARIANT_BOOL = SHORT;

#define VARIANT_TRUE (static_cast<VARIANT_BOOL>(-1))
#define VARIANT_FALSE (static_cast<VARIANT_BOOL>(0))

enum VARENUM : VARTYPE {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_BSTR = 8,
    VT_DISPATCH = 9,
    VT_ERROR = 10,
    VT_BOOL = 11,
    VT_VARIANT = 12,
    VT_UNKNOWN = 13,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19,
    VT_I8 = 20,
    VT_UI8 = 21,
    VT_INT = 22,
    VT_UINT = 23,
    VT_INT_PTR = 37,
    VT_UINT_PTR = 38,
    VT_BYREF = 0x4000,
};

struct VARIANT {
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        float fltVal;
        double dblVal;
        VARIANT_BOOL boolVal;
        HRESULT scode;
        BSTR bstrVal;
        IUnknown* punkVal;
        CHAR cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        void* byref;
        INT_PTR intptrVal;
        UINT_PTR uintptrVal;
    };
};
using VARIANTARG = VARIANT;

// A BSTR is length-prefixed and allocated by the system; SysFreeString accepts null.
BSTR SysAllocString(const OLECHAR* psz);
BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui);
void SysFreeString(BSTR bstrString);
UINT SysStringLen(BSTR pbstr);

void VariantInit(VARIANTARG* pvarg);
HRESULT VariantClear(VARIANTARG* pvarg);
HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc);

using LCID = DWORD;
#define LOCALE_USER_DEFAULT (static_cast<LCID>(0x400))

// Decimal text to a 32-bit integer: surrounding blanks and a sign are allowed, a fraction is
// rounded half to even. DISP_E_TYPEMISMATCH for anything else, DISP_E_OVERFLOW out of range.
HRESULT VarI4FromStr(const OLECHAR* strIn, LCID lcid, ULONG dwFlags, LONG* plOut);
