// The class factory of the host preview filter.
#pragma once

#include <functional>

#include <filterpipeline.h>

#include "unknownbase.h"

class XPSFilterPrevFactory : public UnknownBase<IClassFactory> {
public:
    // Makes a new filter holding one reference; may throw.
    using FilterMaker = std::function<IPrintPipelineFilter*()>;

    XPSFilterPrevFactory();
    explicit XPSFilterPrevFactory(FilterMaker makeFilter);

    HRESULT CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override;
    HRESULT LockServer(BOOL lock) override;

private:
    ~XPSFilterPrevFactory() override;

    LONG m_lockCount = 0;
    FilterMaker m_makeFilter;
};
