// What the platform's objects and the pipeline's stand-ins answer for the methods of an interface
// they leave out: E_NOTIMPL, as Windows' own objects do for what they do not support. ComObject
// derives from NotImplemented<I> for each interface it implements, so an object overrides only
// what it supports, and an interface that grows to its full Windows method list needs no change in
// the objects that implement it.
#pragma once

#include "../bidispl.h"
#include "../filterpipeline.h"
#include "../printerextension.h"
#include "xpsnotimplemented.h"

namespace platform {

template <class I>
struct NotImplemented : I {};

// Nothing here is reached through late binding.
template <class I>
struct DispatchNotImplemented : I {
    HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override { return E_NOTIMPL; }
};

template <class I>
struct ErrorInfoNotImplemented : I {
    HRESULT GetGUID(GUID*) override { return E_NOTIMPL; }
    HRESULT GetSource(BSTR*) override { return E_NOTIMPL; }
    HRESULT GetDescription(BSTR*) override { return E_NOTIMPL; }
    HRESULT GetHelpFile(BSTR*) override { return E_NOTIMPL; }
    HRESULT GetHelpContext(DWORD*) override { return E_NOTIMPL; }
};

// The driver bag holds strings, numbers and flags only.
template <>
struct NotImplemented<IPrinterPropertyBag> : DispatchNotImplemented<IPrinterPropertyBag> {
    HRESULT GetBytes(BSTR, DWORD*, BYTE**) override { return E_NOTIMPL; }
    HRESULT SetBytes(BSTR, DWORD, BYTE*) override { return E_NOTIMPL; }
    HRESULT GetReadStream(BSTR, IStream**) override { return E_NOTIMPL; }
    HRESULT GetWriteStream(BSTR, IStream**) override { return E_NOTIMPL; }
};

template <>
struct NotImplemented<IBidiSpl2> : IBidiSpl2 {
    HRESULT SendRecvXMLStream(IStream*, IStream**) override { return E_NOTIMPL; }
};

// The pipeline reads an error's developer description only.
template <>
struct NotImplemented<IImgErrorInfo> : ErrorInfoNotImplemented<IImgErrorInfo> {
    HRESULT GetUserErrorId(GUID*) override { return E_NOTIMPL; }
    HRESULT GetUserParameterCount(ULONG*) override { return E_NOTIMPL; }
    HRESULT GetUserParameter(ULONG, BSTR*) override { return E_NOTIMPL; }
    HRESULT GetUserFallback(BSTR*) override { return E_NOTIMPL; }
    HRESULT GetExceptionId(DWORD*) override { return E_NOTIMPL; }
    HRESULT DetachErrorInfo(ImgErrorInfo*) override { return E_NOTIMPL; }
};

}  // namespace platform
