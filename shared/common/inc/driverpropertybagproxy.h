// Typed lookups of the driver's declared properties, from a version-4 driver's property bag.
#pragma once

#include <string>

#include <printerextension.h>
#include <wrl/client.h>

class IDriverPropertyBagProxy {
public:
    virtual ~IDriverPropertyBagProxy() = default;
    // A string key is mandatory: an absent one throws hr_error E_INVALIDARG where the source can tell.
    virtual void GetString(const wchar_t* key, std::wstring& value) = 0;
    // An absent integer or boolean key leaves the caller's preset value.
    virtual void GetInt(const wchar_t* key, LONG* value) = 0;
    virtual void GetBool(const wchar_t* key, BOOL* value) = 0;
};

class DriverPropertyBagProxy : public IDriverPropertyBagProxy {
public:
    explicit DriverPropertyBagProxy(Microsoft::WRL::ComPtr<IPrinterPropertyBag> bag) : m_bag(std::move(bag)) {}

    void GetString(const wchar_t* key, std::wstring& value) override;
    void GetInt(const wchar_t* key, LONG* value) override;
    void GetBool(const wchar_t* key, BOOL* value) override;

private:
    Microsoft::WRL::ComPtr<IPrinterPropertyBag> m_bag;
};
