#include "driverpropertybagproxy.h"

#include "hrerror.h"

namespace {

// The bag takes its names as BSTRs; this one lives for one lookup.
class KeyName {
public:
    explicit KeyName(const wchar_t* key) : m_name(SysAllocString(key)) {}
    ~KeyName() { SysFreeString(m_name); }
    BSTR Get() const { return m_name; }

    KeyName(const KeyName&) = delete;
    KeyName& operator=(const KeyName&) = delete;

private:
    BSTR m_name;
};

}  // namespace

void DriverPropertyBagProxy::GetString(const wchar_t* key, std::wstring& value)
{
    if (key == nullptr) {
        return;
    }
    const KeyName name(key);
    BSTR text = nullptr;
    if (name.Get() == nullptr || FAILED(m_bag->GetString(name.Get(), &text))) {
        QXLOG_WARNING(L"Key not found %s", key);
        THROW_HR(E_INVALIDARG);
    }
    value.assign(text == nullptr ? L"" : text, SysStringLen(text));
    SysFreeString(text);
}

void DriverPropertyBagProxy::GetInt(const wchar_t* key, LONG* value)
{
    if (key == nullptr) {
        return;
    }
    const KeyName name(key);
    if (name.Get() == nullptr || FAILED(m_bag->GetInt32(name.Get(), value))) {
        QXLOG_ERROR(L"Key not found %s", key);
    }
}

void DriverPropertyBagProxy::GetBool(const wchar_t* key, BOOL* value)
{
    if (key == nullptr) {
        return;
    }
    const KeyName name(key);
    if (name.Get() == nullptr || FAILED(m_bag->GetBool(name.Get(), value))) {
        QXLOG_ERROR(L"Key not found %s", key);
    }
}
