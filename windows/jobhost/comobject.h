// Reference counting for the host's COM objects; each class answers QueryInterface itself.
#pragma once

#include <windows.h>
#include <objbase.h>

#include <initializer_list>

template <class Interface>
class ComObject : public Interface {
public:
    ComObject() = default;
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;
    virtual ~ComObject() = default;

    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&m_references)); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const LONG left = InterlockedDecrement(&m_references);
        if (left == 0) {
            delete this;
        }
        return static_cast<ULONG>(left);
    }

protected:
    // Hands out this object as `self` when iid is one of the given interfaces.
    HRESULT Answer(REFIID iid, void** out, IUnknown* self, std::initializer_list<const IID*> interfaces)
    {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = nullptr;
        if (iid == IID_IUnknown) {
            *out = self;
        }
        for (const IID* known : interfaces) {
            if (iid == *known) {
                *out = self;
            }
        }
        if (*out == nullptr) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }

private:
    LONG m_references = 1;
};
