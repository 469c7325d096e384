#include "pipelinehost/ownedvariant.h"

#include <cstdint>
#include <cstdio>
#include <new>
#include <utility>

#include <platform/text.h>

namespace pipelinehost {

OwnedVariant::OwnedVariant(const VARIANT& source)
{
    VariantInit(&value_);
    if (FAILED(VariantCopy(&value_, &source))) {
        throw std::bad_alloc();
    }
}

OwnedVariant::OwnedVariant(OwnedVariant&& other) noexcept : value_(other.value_) { VariantInit(&other.value_); }

OwnedVariant& OwnedVariant::operator=(const OwnedVariant& other)
{
    OwnedVariant copy(other);
    Swap(copy);
    return *this;
}

OwnedVariant& OwnedVariant::operator=(OwnedVariant&& other) noexcept
{
    OwnedVariant taken(std::move(other));
    Swap(taken);
    return *this;
}

void OwnedVariant::Swap(OwnedVariant& other) noexcept { std::swap(value_, other.value_); }

OwnedVariant OwnedVariant::Int32(LONG value)
{
    OwnedVariant result;
    result.value_.vt = VT_I4;
    result.value_.lVal = value;
    return result;
}

OwnedVariant OwnedVariant::UInt32(ULONG value)
{
    OwnedVariant result;
    result.value_.vt = VT_UI4;
    result.value_.ulVal = value;
    return result;
}

OwnedVariant OwnedVariant::UIntPtr(UINT_PTR value)
{
    OwnedVariant result;
    result.value_.vt = VT_UINT_PTR;
    result.value_.uintptrVal = value;
    return result;
}

OwnedVariant OwnedVariant::String(std::wstring_view text)
{
    OwnedVariant result;
    result.value_.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (result.value_.bstrVal == nullptr) {
        throw std::bad_alloc();
    }
    result.value_.vt = VT_BSTR;
    return result;
}

OwnedVariant OwnedVariant::Unknown(IUnknown* object)
{
    OwnedVariant result;
    result.value_.vt = VT_UNKNOWN;
    result.value_.punkVal = object;
    if (object != nullptr) {
        object->AddRef();
    }
    return result;
}

std::string VariantTypeName(VARTYPE type)
{
    switch (type) {
    case VT_EMPTY: return "VT_EMPTY";
    case VT_NULL: return "VT_NULL";
    case VT_I1: return "VT_I1";
    case VT_I2: return "VT_I2";
    case VT_I4: return "VT_I4";
    case VT_I8: return "VT_I8";
    case VT_INT: return "VT_INT";
    case VT_UI1: return "VT_UI1";
    case VT_UI2: return "VT_UI2";
    case VT_UI4: return "VT_UI4";
    case VT_UI8: return "VT_UI8";
    case VT_UINT: return "VT_UINT";
    case VT_R4: return "VT_R4";
    case VT_R8: return "VT_R8";
    case VT_BOOL: return "VT_BOOL";
    case VT_ERROR: return "VT_ERROR";
    case VT_BSTR: return "VT_BSTR";
    case VT_UNKNOWN: return "VT_UNKNOWN";
    case VT_DISPATCH: return "VT_DISPATCH";
    case VT_INT_PTR: return "VT_INT_PTR";
    case VT_UINT_PTR: return "VT_UINT_PTR";
    default: break;
    }
    char text[16];
    std::snprintf(text, sizeof text, "VT_0x%04X", static_cast<unsigned>(type));
    return text;
}

namespace {

std::string Hex(unsigned long long value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", value);
    return text;
}

}  // namespace

std::string VariantValueText(const VARIANT& value)
{
    if ((value.vt & VT_BYREF) != 0) {
        return "reference " + Hex(reinterpret_cast<std::uintptr_t>(value.byref));
    }
    switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL: return "";
    case VT_I1: return std::to_string(value.cVal);
    case VT_I2: return std::to_string(value.iVal);
    case VT_I4: return std::to_string(value.lVal);
    case VT_I8: return std::to_string(value.llVal);
    case VT_INT: return std::to_string(value.intVal);
    case VT_UI1: return std::to_string(value.bVal);
    case VT_UI2: return std::to_string(value.uiVal);
    case VT_UI4: return std::to_string(value.ulVal);
    case VT_UI8: return std::to_string(value.ullVal);
    case VT_UINT: return std::to_string(value.uintVal);
    case VT_R4: return std::to_string(value.fltVal);
    case VT_R8: return std::to_string(value.dblVal);
    case VT_BOOL: return value.boolVal == VARIANT_FALSE ? "false" : "true";
    case VT_ERROR: return Hex(static_cast<unsigned>(value.scode));
    case VT_BSTR:
        return value.bstrVal == nullptr
                   ? "null string"
                   : "\"" + platform::ToUtf8(std::wstring_view(value.bstrVal, SysStringLen(value.bstrVal))) + "\"";
    case VT_UNKNOWN:
    case VT_DISPATCH: return value.punkVal == nullptr ? "null object" : "object";
    // Handles travel as pointer-sized payloads; their value is what identifies them.
    case VT_INT_PTR:
    case VT_UINT_PTR: return Hex(value.uintptrVal);
    default: return "(not shown)";
    }
}

}  // namespace pipelinehost
