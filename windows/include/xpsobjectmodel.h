// mingw-w64 10's xpsobjectmodel.h declares CLSID_XpsOMObjectFactory, but its libuuid.a does not
// define it; this defines it (selectany, as DEFINE_GUID does under INITGUID).
#pragma once

#include_next <xpsobjectmodel.h>

EXTERN_C const CLSID DECLSPEC_SELECTANY CLSID_XpsOMObjectFactory = {
    0xe974d26d, 0x3d9b, 0x4d47, {0x88, 0xcc, 0x38, 0x72, 0xf2, 0xdc, 0x35, 0x85}};
