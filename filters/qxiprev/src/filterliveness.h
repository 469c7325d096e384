// Tells a rasterizer whether the filter's job should go on; the filter clears it on shutdown.
#pragma once

#include <atomic>
#include <cstdint>

#include <xpsrassvc.h>

#include "unknownbase.h"

class FilterLiveness : public UnknownBase<IXpsRasterizerNotificationCallback> {
public:
    HRESULT Continue() override;
    void Cancel() { m_alive.store(0); }

private:
    ~FilterLiveness() override = default;

    std::atomic<std::int32_t> m_alive{1};
};
