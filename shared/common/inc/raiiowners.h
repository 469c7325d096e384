// Owners that undo a platform call on every way out of a scope.
#pragma once

#include <string>

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
    ScopedVariant(ScopedVariant&& other) noexcept : m_value(other.m_value) { VariantInit(&other.m_value); }
    ~ScopedVariant() { VariantClear(&m_value); }
    VARIANT* operator&() { return &m_value; }
    VARIANT& Get() { return m_value; }
    const VARIANT& Get() const { return m_value; }

    ScopedVariant(const ScopedVariant&) = delete;
    ScopedVariant& operator=(const ScopedVariant&) = delete;

private:
    VARIANT m_value;
};

// A BSTR that is freed when it goes out of scope.
class ScopedBstr {
public:
    ScopedBstr() = default;
    explicit ScopedBstr(const std::wstring& text) : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ScopedBstr(ScopedBstr&& other) noexcept : m_text(other.m_text) { other.m_text = nullptr; }
    ~ScopedBstr() { SysFreeString(m_text); }
    BSTR Get() const { return m_text; }
    // For an out parameter that hands over a new BSTR.
    BSTR* Receive()
    {
        SysFreeString(m_text);
        m_text = nullptr;
        return &m_text;
    }
    // Hands the BSTR over to the caller, who frees it.
    BSTR Detach()
    {
        BSTR text = m_text;
        m_text = nullptr;
        return text;
    }
    std::wstring Text() const { return m_text == nullptr ? std::wstring() : std::wstring(m_text, SysStringLen(m_text)); }

    ScopedBstr(const ScopedBstr&) = delete;
    ScopedBstr& operator=(const ScopedBstr&) = delete;

private:
    BSTR m_text = nullptr;
};
