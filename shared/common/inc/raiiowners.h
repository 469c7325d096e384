// Owners that undo a platform call on every way out of a scope.
#pragma once

#include <objbase.h>

// Joins the calling thread to a COM apartment; leaves it again only if joining succeeded.
class ComApartment {
public:
    explicit ComApartment(DWORD model) : m_hr(CoInitializeEx(nullptr, model)) {}
    ~ComApartment()
    {
        if (SUCCEEDED(m_hr)) {
            CoUninitialize();
        }
    }
    HRESULT Result() const { return m_hr; }

    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    HRESULT m_hr;
};

// A VARIANT that is cleared when it goes out of scope.
class ScopedVariant {
public:
    ScopedVariant() { VariantInit(&m_value); }
    ~ScopedVariant() { VariantClear(&m_value); }
    VARIANT* operator&() { return &m_value; }
    VARIANT& Get() { return m_value; }

    ScopedVariant(const ScopedVariant&) = delete;
    ScopedVariant& operator=(const ScopedVariant&) = delete;

private:
    VARIANT m_value;
};
