// The pipeline's property bag, in memory: named VARIANTs shared by the filters of one job.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <filterpipeline.h>
#include <platform/comobject.h>
#include <wrl/client.h>

#include "pipelinehost/calllog.h"
#include "pipelinehost/ownedvariant.h"

namespace pipelinehost {

// What GetProperty answers for a name the bag does not hold: HRESULT_FROM_WIN32(ERROR_NOT_FOUND),
// 0x80070490. A filter has to treat any failure as "absent"; this one says so plainly in a report.
inline constexpr HRESULT kPropertyNotFound = HRESULT_FROM_WIN32(1168);
// A filter cannot overwrite another's property by adding it again; it deletes it first.
inline constexpr HRESULT kPropertyExists = HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS);

class PropertyBag : public platform::ComObject<PropertyBag, IPrintPipelinePropertyBag> {
public:
    // What a reader should know about a value beyond its type and payload ("printer handle of
    // ..."); empty for nothing to add.
    using ValueNote = std::function<std::string(const std::wstring& name, const VARIANT& value)>;

    static Microsoft::WRL::ComPtr<PropertyBag> Create();

    // Every call a filter makes through the interface is recorded there; set before handing the bag out.
    void LogCallsTo(std::shared_ptr<CallLog> log) { log_ = std::move(log); }

    // Stores a copy. kPropertyExists for a name already in the bag, whose value stays;
    // E_INVALIDARG for a null or empty name, E_POINTER for a null value.
    HRESULT AddProperty(const wchar_t* name, const VARIANT* value) override;
    // The value is an out parameter: it is initialised, then receives a copy the caller owns.
    // kPropertyNotFound for an unknown name (the value is left VT_EMPTY).
    HRESULT GetProperty(const wchar_t* name, VARIANT* value) override;
    BOOL DeleteProperty(const wchar_t* name) override;

    // For whoever sets up a job (the host, a test): these replace a value of the same name in its
    // place. Not recorded as the filter's calls.
    void Set(const std::wstring& name, LONG value);
    void Set(const std::wstring& name, const std::wstring& value);
    void SetUnknown(const std::wstring& name, IUnknown* object);
    void Set(const std::wstring& name, OwnedVariant value);
    // Names in the order they were first added (a replaced value keeps its place).
    std::vector<std::wstring> Names() const;
    std::optional<OwnedVariant> Get(const std::wstring& name) const;
    // One line per property: name, type and value, aligned, and the note on the value if there is one.
    std::string Dump(const ValueNote& note = nullptr) const;

private:
    using Base = platform::ComObject<PropertyBag, IPrintPipelinePropertyBag>;
    friend Base;
    using Entry = std::pair<std::wstring, OwnedVariant>;

    PropertyBag() = default;
    ~PropertyBag() override = default;

    // Returns the value it replaced, to be released by the caller outside the lock: releasing an
    // object may call back into the bag.
    OwnedVariant Store(const std::wstring& name, OwnedVariant value);
    void Record(std::string call) const;

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
    std::shared_ptr<CallLog> log_;
};

}  // namespace pipelinehost
