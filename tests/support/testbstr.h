// An owned BSTR for tests that call COM interfaces taking and returning BSTRs.
#pragma once

#include <string>

#include <oleauto.h>

namespace testsupport {

class Bstr {
public:
    Bstr() = default;
    Bstr(const std::wstring& text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~Bstr() { SysFreeString(text_); }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;

    operator BSTR() const { return text_; }
    // For an out parameter that hands over a new BSTR.
    BSTR* Out()
    {
        SysFreeString(text_);
        text_ = nullptr;
        return &text_;
    }
    std::wstring Text() const { return text_ == nullptr ? std::wstring() : std::wstring(text_, SysStringLen(text_)); }
    bool IsNull() const { return text_ == nullptr; }

private:
    BSTR text_ = nullptr;
};

}  // namespace testsupport
