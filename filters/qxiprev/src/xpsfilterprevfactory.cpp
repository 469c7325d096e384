#include "xpsfilterprevfactory.h"

#include <wrl/client.h>

#include "comadopt.h"
#include "hostpreviewfilter.h"
#include "moduleobjectcount.h"

XPSFilterPrevFactory::XPSFilterPrevFactory()
    : XPSFilterPrevFactory([]() -> IPrintPipelineFilter* { return new HostPreviewFilter; })
{
}

XPSFilterPrevFactory::XPSFilterPrevFactory(FilterMaker makeFilter) : m_makeFilter(std::move(makeFilter))
{
    IncrementModuleObjectCount();
}

XPSFilterPrevFactory::~XPSFilterPrevFactory() { DecrementModuleObjectCount(); }

HRESULT XPSFilterPrevFactory::CreateInstance(IUnknown* outer, REFIID riid, void** ppv)
{
    if (outer != nullptr) {
        return CLASS_E_NOAGGREGATION;
    }
    if (ppv == nullptr) {
        return E_POINTER;
    }
    *ppv = nullptr;
    Microsoft::WRL::ComPtr<IPrintPipelineFilter> filter;
    try {
        AdoptNewObject(filter, m_makeFilter());
    } catch (...) {
        return E_UNEXPECTED;
    }
    if (!filter) {
        return E_UNEXPECTED;
    }
    return filter->QueryInterface(riid, ppv);
}

HRESULT XPSFilterPrevFactory::LockServer(BOOL lock)
{
    if (lock) {
        if (InterlockedIncrement(&m_lockCount) == 1) {
            IncrementModuleObjectCount();
        }
    } else if (InterlockedDecrement(&m_lockCount) == 0) {
        DecrementModuleObjectCount();
    }
    return S_OK;
}
