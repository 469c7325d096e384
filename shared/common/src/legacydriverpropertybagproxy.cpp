#include "legacydriverpropertybagproxy.h"

#include "hrerror.h"

void LegacyDriverPropertyBagProxy::GetString(const wchar_t* key, std::wstring& value)
{
    if (key == nullptr) {
        return;
    }
    const wchar_t* text = nullptr;
    if (FAILED(m_bag.GetString(key, &text))) {
        QXLOG_WARNING(L"Key not found %s", key);
        THROW_HR(E_INVALIDARG);
    }
    value = text;
}

void LegacyDriverPropertyBagProxy::GetInt(const wchar_t* key, LONG* value)
{
    if (key != nullptr && FAILED(m_bag.GetInt(key, value))) {
        QXLOG_ERROR(L"Key not found %s", key);
    }
}

void LegacyDriverPropertyBagProxy::GetBool(const wchar_t* key, BOOL* value)
{
    if (key != nullptr && FAILED(m_bag.GetBool(key, value))) {
        QXLOG_ERROR(L"Key not found %s", key);
    }
}
