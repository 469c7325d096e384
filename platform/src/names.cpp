#include "names.h"

#include <algorithm>
#include <cwctype>

namespace platform {
namespace {

wchar_t Folded(wchar_t c) { return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c))); }

}  // namespace

bool SameName(std::wstring_view first, std::wstring_view second)
{
    return first.size() == second.size() &&
           std::equal(first.begin(), first.end(), second.begin(), [](wchar_t a, wchar_t b) { return Folded(a) == Folded(b); });
}

bool NameLess::operator()(std::wstring_view first, std::wstring_view second) const
{
    return std::lexicographical_compare(first.begin(), first.end(), second.begin(), second.end(),
                                        [](wchar_t a, wchar_t b) { return Folded(a) < Folded(b); });
}

}  // namespace platform
