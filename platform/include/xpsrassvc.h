// The XPS rasterization service's cancellation callback.
#pragma once

#include "unknwn.h"

struct IXpsRasterizerNotificationCallback : IUnknown {
    static constexpr IID iid = {0x9AB8FD0D, 0xCB94, 0x49C2, {0x9C, 0xB0, 0x97, 0xEC, 0x1D, 0x54, 0x69, 0xD2}};
    virtual HRESULT Continue() = 0;
};

inline constexpr const IID& IID_IXpsRasterizerNotificationCallback = IXpsRasterizerNotificationCallback::iid;
