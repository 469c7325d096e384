// GUID, IID and CLSID as Windows lays them out.
#pragma once

#include <cstring>
#include <type_traits>

#include "windef.h"

struct GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
};

using IID = GUID;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using REFGUID = const GUID&;

inline bool IsEqualGUID(REFGUID a, REFGUID b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool IsEqualIID(REFIID a, REFIID b) { return IsEqualGUID(a, b); }
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) { return IsEqualGUID(a, b); }
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }

// Every interface carries its IID as a static member, so __uuidof(I) reads as on Windows.
#define __uuidof(Interface) (Interface::iid)
template <class T>
void** IID_PPV_ARGS_Helper(T** pp)
{
    return reinterpret_cast<void**>(pp);
}
#define IID_PPV_ARGS(pp) \
    __uuidof(std::remove_pointer_t<std::remove_reference_t<decltype(*(pp))>>), IID_PPV_ARGS_Helper(pp)
