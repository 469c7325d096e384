// Owning a newly made COM object.
#pragma once

#include <wrl/client.h>

// The owner takes over the one reference a new object is born with, adding none of its own.
// ComPtr::Attach promises the same, but mingw-w64 10's adds a reference: every object so held
// would leak, and DllCanUnloadNow would never answer S_OK.
template <class T, class U>
void AdoptNewObject(Microsoft::WRL::ComPtr<T>& owner, U* object) noexcept
{
    *owner.ReleaseAndGetAddressOf() = object;
}
