// Bidirectional communication with a printer through the spooler.
#pragma once

#include "objbase.h"

#define BIDI_ACCESS_ADMINISTRATOR 0x1u
#define BIDI_ACCESS_USER 0x2u

struct IBidiSpl2 : IUnknown {
    static constexpr IID iid = {0x0E8F51B8, 0x8273, 0x4906, {0x8E, 0x7B, 0xBE, 0x45, 0x3F, 0xFD, 0x2E, 0x2B}};
    virtual HRESULT BindDevice(const LPCWSTR pszDeviceName, const DWORD dwAccess) = 0;
    virtual HRESULT UnbindDevice() = 0;
    // Answers a bidi request document (the Windows bidi request schema) with a response document.
    virtual HRESULT SendRecvXMLString(BSTR bstrRequest, BSTR* pbstrResponse) = 0;
    virtual HRESULT SendRecvXMLStream(IStream* pSRequest, IStream** ppSResponse) = 0;
};

inline constexpr CLSID CLSID_BidiSpl = {0x2A614240, 0xA4C5, 0x4C33, {0xBD, 0x87, 0x1B, 0xC7, 0x09, 0x33, 0x16, 0x39}};
inline constexpr const IID& IID_IBidiSpl2 = IBidiSpl2::iid;
