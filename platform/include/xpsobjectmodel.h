// The XPS Document API's object model.
#pragma once

#include "objbase.h"

struct IXpsOMObjectFactory : IUnknown {
    static constexpr IID iid = {0xF9B2A685, 0xA50D, 0x4FC2, {0xB7, 0x64, 0xB5, 0x6E, 0x09, 0x3E, 0xA0, 0xCA}};
};

inline constexpr CLSID CLSID_XpsOMObjectFactory = {0xE974D26D, 0x3D9B, 0x4D47, {0x88, 0xCC, 0x38, 0x72, 0xF2, 0xDC, 0x35, 0x85}};
inline constexpr const IID& IID_IXpsOMObjectFactory = IXpsOMObjectFactory::iid;
