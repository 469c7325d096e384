// A VARIANT that owns what it holds (a BSTR is freed, an interface released) and copies deeply.
#pragma once

#include <string>
#include <string_view>

#include <objbase.h>

namespace pipelinehost {

class OwnedVariant {
public:
    OwnedVariant() noexcept { VariantInit(&value_); }
    // Copies with VariantCopy; throws std::bad_alloc when the copy cannot be made.
    explicit OwnedVariant(const VARIANT& source);
    OwnedVariant(const OwnedVariant& other) : OwnedVariant(other.value_) {}
    OwnedVariant(OwnedVariant&& other) noexcept;
    OwnedVariant& operator=(const OwnedVariant& other);
    OwnedVariant& operator=(OwnedVariant&& other) noexcept;
    ~OwnedVariant() { VariantClear(&value_); }

    static OwnedVariant Int32(LONG value);
    static OwnedVariant UInt32(ULONG value);
    // VT_UINT_PTR: a pointer-sized payload, as the pipeline passes handles.
    static OwnedVariant UIntPtr(UINT_PTR value);
    static OwnedVariant String(std::wstring_view text);
    // Holds a reference of its own to the object (which may be null).
    static OwnedVariant Unknown(IUnknown* object);

    const VARIANT& Get() const noexcept { return value_; }
    VARTYPE Type() const noexcept { return value_.vt; }

private:
    void Swap(OwnedVariant& other) noexcept;
    VARIANT value_;
};

// "VT_I4", "VT_BSTR", ...; "VT_0x..." for a type without a name here.
std::string VariantTypeName(VARTYPE type);
// The value as text: 123, "text" (UTF-8, quoted), object, null object, true, ...
std::string VariantValueText(const VARIANT& value);

}  // namespace pipelinehost
