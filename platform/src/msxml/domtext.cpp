#include "domtext.h"

#include <cmath>
#include <cstdio>
#include <cwchar>

#include <libxml/globals.h>

#include "platform/text.h"

namespace platform::msxml {

std::string Utf8Of(const wchar_t* text) { return text == nullptr ? std::string() : ToUtf8(std::wstring_view(text, std::wcslen(text))); }

std::wstring WideOf(const xmlChar* text) { return text == nullptr ? std::wstring() : FromUtf8(reinterpret_cast<const char*>(text)); }

std::wstring WideOf(const std::string& text) { return FromUtf8(text); }

HRESULT ReturnText(const std::wstring& text, BSTR* out)
{
    if (out == nullptr) {
        return E_INVALIDARG;
    }
    *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

HRESULT ReturnText(const std::string& utf8, BSTR* out) { return ReturnText(FromUtf8(utf8), out); }

HRESULT ReturnOptionalText(const std::optional<std::string>& utf8, BSTR* out)
{
    if (out == nullptr) {
        return E_INVALIDARG;
    }
    if (!utf8) {
        *out = nullptr;
        return S_FALSE;
    }
    return ReturnText(*utf8, out);
}

HRESULT ReturnTextVariant(const std::string& utf8, VARIANT* out)
{
    if (out == nullptr) {
        return E_INVALIDARG;
    }
    VariantInit(out);
    BSTR text = nullptr;
    const HRESULT hr = ReturnText(utf8, &text);
    if (FAILED(hr)) {
        return hr;
    }
    out->vt = VT_BSTR;
    out->bstrVal = text;
    return S_OK;
}

HRESULT ReturnNullVariant(VARIANT* out)
{
    if (out == nullptr) {
        return E_INVALIDARG;
    }
    VariantInit(out);
    out->vt = VT_NULL;
    return S_FALSE;
}

std::optional<std::string> VariantText(const VARIANT& value)
{
    switch (value.vt) {
    case VT_BSTR:
        return Utf8Of(value.bstrVal);
    case VT_I1:
        return std::to_string(value.cVal);
    case VT_UI1:
        return std::to_string(value.bVal);
    case VT_I2:
        return std::to_string(value.iVal);
    case VT_UI2:
        return std::to_string(value.uiVal);
    case VT_I4:
        return std::to_string(value.lVal);
    case VT_UI4:
        return std::to_string(value.ulVal);
    case VT_INT:
        return std::to_string(value.intVal);
    case VT_UINT:
        return std::to_string(value.uintVal);
    case VT_I8:
        return std::to_string(value.llVal);
    case VT_UI8:
        return std::to_string(value.ullVal);
    case VT_R4:
    case VT_R8: {
        const double number = value.vt == VT_R4 ? value.fltVal : value.dblVal;
        if (!std::isfinite(number)) {
            return std::nullopt;
        }
        char text[32];
        std::snprintf(text, sizeof text, "%.15g", number);
        return std::string(text);
    }
    default:
        return std::nullopt;
    }
}

std::string TakeXmlString(xmlChar* text)
{
    if (text == nullptr) {
        return {};
    }
    std::string copy(reinterpret_cast<const char*>(text));
    xmlFree(text);
    return copy;
}

}  // namespace platform::msxml
