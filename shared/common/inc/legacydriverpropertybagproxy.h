// Typed lookups of the driver's declared properties, from a legacy driver's ".ldpb" file.
#pragma once

#include "driverpropertybagproxy.h"
#include "legacydriverpropertybag.h"

class LegacyDriverPropertyBagProxy : public IDriverPropertyBagProxy {
public:
    explicit LegacyDriverPropertyBagProxy(const std::wstring& path) : m_bag(path) {}

    void GetString(const wchar_t* key, std::wstring& value) override;
    void GetInt(const wchar_t* key, LONG* value) override;
    void GetBool(const wchar_t* key, BOOL* value) override;

private:
    LegacyDriverPropertyBag m_bag;
};
