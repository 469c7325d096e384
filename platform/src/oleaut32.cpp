// BSTR and VARIANT. A BSTR points just after a 32-bit byte count and is terminated, so it reads
// as a C string and knows its length.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "oleauto.h"

namespace {

constexpr std::size_t kPrefix = sizeof(std::uint64_t);  // keeps the text aligned for wchar_t

std::uint32_t& ByteLengthOf(BSTR text) { return *reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(text) - kPrefix); }

}  // namespace

BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui)
{
    const std::size_t bytes = static_cast<std::size_t>(ui) * sizeof(OLECHAR);
    if (bytes > 0xFFFFFFF0u) {
        return nullptr;
    }
    auto* block = static_cast<char*>(std::malloc(kPrefix + bytes + sizeof(OLECHAR)));
    if (block == nullptr) {
        return nullptr;
    }
    auto* text = reinterpret_cast<BSTR>(block + kPrefix);
    ByteLengthOf(text) = static_cast<std::uint32_t>(bytes);
    if (strIn != nullptr) {
        std::memcpy(text, strIn, bytes);
    }
    text[ui] = L'\0';
    return text;
}

BSTR SysAllocString(const OLECHAR* psz)
{
    return psz == nullptr ? nullptr : SysAllocStringLen(psz, static_cast<UINT>(std::wcslen(psz)));
}

void SysFreeString(BSTR bstrString)
{
    if (bstrString != nullptr) {
        std::free(reinterpret_cast<char*>(bstrString) - kPrefix);
    }
}

UINT SysStringLen(BSTR pbstr) { return pbstr == nullptr ? 0 : ByteLengthOf(pbstr) / sizeof(OLECHAR); }

void VariantInit(VARIANTARG* pvarg)
{
    pvarg->vt = VT_EMPTY;
    pvarg->wReserved1 = pvarg->wReserved2 = pvarg->wReserved3 = 0;
    pvarg->llVal = 0;
}

HRESULT VariantClear(VARIANTARG* pvarg)
{
    if (pvarg == nullptr) {
        return E_INVALIDARG;
    }
    switch (pvarg->vt) {
    case VT_BSTR:
        SysFreeString(pvarg->bstrVal);
        break;
    case VT_UNKNOWN:
    case VT_DISPATCH:
        if (pvarg->punkVal != nullptr) {
            pvarg->punkVal->Release();
        }
        break;
    default:
        break;
    }
    VariantInit(pvarg);
    return S_OK;
}

HRESULT VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc)
{
    if (pvargDest == nullptr || pvargSrc == nullptr) {
        return E_INVALIDARG;
    }
    if (pvargDest == pvargSrc) {
        return S_OK;
    }
    VARIANT copy = *pvargSrc;
    if (copy.vt == VT_BSTR && pvargSrc->bstrVal != nullptr) {
        copy.bstrVal = SysAllocStringLen(pvargSrc->bstrVal, SysStringLen(pvargSrc->bstrVal));
        if (copy.bstrVal == nullptr) {
            return E_OUTOFMEMORY;
        }
    } else if ((copy.vt == VT_UNKNOWN || copy.vt == VT_DISPATCH) && copy.punkVal != nullptr) {
        copy.punkVal->AddRef();
    }
    VariantClear(pvargDest);
    *pvargDest = copy;
    return S_OK;
}

HRESULT VarI4FromStr(const OLECHAR* strIn, LCID /*lcid*/, ULONG /*dwFlags*/, LONG* plOut)
{
    if (strIn == nullptr || plOut == nullptr) {
        return E_INVALIDARG;
    }
    const OLECHAR* p = strIn;
    const auto skipBlanks = [&p] {
        while (*p == L' ' || *p == L'\t') {
            ++p;
        }
    };
    skipBlanks();
    bool negative = false;
    if (*p == L'+' || *p == L'-') {
        negative = *p == L'-';
        ++p;
    }
    // Digits beyond what a 32-bit value can hold only need to be seen, not kept.
    constexpr std::uint64_t kBeyond = 0x100000000ull;
    std::uint64_t whole = 0;
    bool anyDigit = false;
    for (; *p >= L'0' && *p <= L'9'; ++p) {
        whole = std::min<std::uint64_t>(whole * 10 + static_cast<std::uint64_t>(*p - L'0'), kBeyond);
        anyDigit = true;
    }
    int firstFraction = -1;  // the fraction's first digit; -1 when there is none
    bool fractionBeyondHalf = false;
    if (*p == L'.') {
        for (++p; *p >= L'0' && *p <= L'9'; ++p) {
            if (firstFraction < 0) {
                firstFraction = *p - L'0';
            } else if (*p != L'0') {
                fractionBeyondHalf = true;
            }
            anyDigit = true;
        }
    }
    skipBlanks();
    if (!anyDigit || *p != L'\0') {
        return DISP_E_TYPEMISMATCH;
    }
    const bool roundUp = firstFraction > 5 || (firstFraction == 5 && (fractionBeyondHalf || (whole % 2) == 1));
    if (roundUp) {
        whole = std::min<std::uint64_t>(whole + 1, kBeyond);
    }
    const std::uint64_t limit = negative ? 0x80000000ull : 0x7FFFFFFFull;
    if (whole > limit) {
        return DISP_E_OVERFLOW;
    }
    *plOut = negative ? static_cast<LONG>(-static_cast<std::int64_t>(whole)) : static_cast<LONG>(whole);
    return S_OK;
}
