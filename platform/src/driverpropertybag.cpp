// A version-4 driver's property bag: named values, each a string, a 32-bit integer or a boolean.
// A value is found only by its name and its type; asking for a name under another type fails as
// an absent name does.
#include "driverpropertybag.h"

#include <mutex>
#include <new>

#include <printerextension.h>

#include "platform/comobject.h"

namespace platform {
namespace {

constexpr HRESULT kNotFound = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);

class DriverPropertyBag : public ComObject<DriverPropertyBag, IPrinterPropertyBag> {
public:
    explicit DriverPropertyBag(std::map<std::wstring, DriverPropertyValue> values) : values_(std::move(values)) {}

    // A failed read leaves a number or a flag as the caller preset it.
    HRESULT GetBool(BSTR name, BOOL* value) override
    {
        bool stored = false;
        const HRESULT hr = Read(name, value, stored);
        if (SUCCEEDED(hr)) {
            *value = stored ? TRUE : FALSE;
        }
        return hr;
    }
    HRESULT SetBool(BSTR name, BOOL value) override { return Write(name, value != FALSE); }

    HRESULT GetInt32(BSTR name, LONG* value) override
    {
        LONG stored = 0;
        const HRESULT hr = Read(name, value, stored);
        if (SUCCEEDED(hr)) {
            *value = stored;
        }
        return hr;
    }
    HRESULT SetInt32(BSTR name, LONG value) override { return Write(name, value); }

    HRESULT GetString(BSTR name, BSTR* value) override
    {
        if (value != nullptr) {
            *value = nullptr;
        }
        std::wstring stored;
        HRESULT hr = Read(name, value, stored);
        if (SUCCEEDED(hr)) {
            *value = SysAllocStringLen(stored.data(), static_cast<UINT>(stored.size()));
            hr = *value == nullptr ? E_OUTOFMEMORY : S_OK;
        }
        return hr;
    }
    // A null BSTR is the empty string.
    HRESULT SetString(BSTR name, BSTR value) override
    {
        return Write(name, std::wstring(value == nullptr ? L"" : value, SysStringLen(value)));
    }

private:
    friend ComObject<DriverPropertyBag, IPrinterPropertyBag>;
    ~DriverPropertyBag() override = default;

    // Callers may pass any NUL-terminated text as the name, not only a BSTR.
    template <class Out, class T>
    HRESULT Read(BSTR name, Out* out, T& stored)
    {
        if (name == nullptr || out == nullptr) {
            return E_POINTER;
        }
        std::lock_guard lock(mutex_);
        const auto found = values_.find(name);
        if (found == values_.end() || !std::holds_alternative<T>(found->second)) {
            return kNotFound;
        }
        stored = std::get<T>(found->second);
        return S_OK;
    }

    HRESULT Write(BSTR name, DriverPropertyValue value)
    {
        if (name == nullptr) {
            return E_POINTER;
        }
        try {
            std::lock_guard lock(mutex_);
            values_[name] = std::move(value);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    std::mutex mutex_;
    std::map<std::wstring, DriverPropertyValue> values_;
};

}  // namespace

IPrinterPropertyBag* NewDriverPropertyBagObject(std::map<std::wstring, DriverPropertyValue> values)
{
    return MakeComObject<DriverPropertyBag>(std::move(values));
}

}  // namespace platform
