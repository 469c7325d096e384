#include "pipelinehost/propertybag.h"

#include <algorithm>
#include <new>

#include <platform/text.h>

#include "pipelinehost/hresulttext.h"

namespace pipelinehost {
namespace {

std::string Quoted(const wchar_t* name) { return "\"" + platform::ToUtf8(name) + "\""; }

}  // namespace

Microsoft::WRL::ComPtr<PropertyBag> PropertyBag::Create()
{
    Microsoft::WRL::ComPtr<PropertyBag> bag;
    bag.Attach(new PropertyBag);
    return bag;
}

HRESULT PropertyBag::AddProperty(const wchar_t* name, const VARIANT* value)
{
    HRESULT hr = S_OK;
    if (name == nullptr || *name == L'\0') {
        hr = E_INVALIDARG;
    } else if (value == nullptr) {
        hr = E_POINTER;
    } else {
        try {
            OwnedVariant copy(*value);  // released after the lock, should the name be taken
            std::lock_guard lock(mutex_);
            if (std::any_of(entries_.begin(), entries_.end(), [name](const Entry& entry) { return entry.first == name; })) {
                hr = kPropertyExists;
            } else {
                entries_.emplace_back(name, std::move(copy));
            }
        } catch (const std::bad_alloc&) {
            hr = E_OUTOFMEMORY;
        }
    }
    std::string call = "bag.AddProperty(" + (name == nullptr ? std::string("null") : Quoted(name));
    if (value != nullptr) {
        call += ", " + VariantTypeName(value->vt) + " " + VariantValueText(*value);
    }
    Record(call + ") -> " + HresultShort(hr));
    return hr;
}

HRESULT PropertyBag::GetProperty(const wchar_t* name, VARIANT* value)
{
    HRESULT hr = S_OK;
    if (value == nullptr) {
        hr = E_POINTER;
    } else {
        VariantInit(value);
    }
    if (name == nullptr) {
        hr = E_INVALIDARG;
    }
    if (SUCCEEDED(hr)) {
        std::lock_guard lock(mutex_);
        const auto found = std::find_if(entries_.begin(), entries_.end(),
                                         [name](const Entry& entry) { return entry.first == name; });
        hr = found == entries_.end() ? kPropertyNotFound : VariantCopy(value, &found->second.Get());
        if (hr == E_INVALIDARG) {
            hr = E_OUTOFMEMORY;  // VariantCopy's only failure with two valid arguments
        }
    }
    std::string call = "bag.GetProperty(" + (name == nullptr ? std::string("null") : Quoted(name)) + ") -> " +
                       HresultShort(hr);
    if (SUCCEEDED(hr)) {
        call += ", " + VariantTypeName(value->vt) + " " + VariantValueText(*value);
    }
    Record(call);
    return hr;
}

BOOL PropertyBag::DeleteProperty(const wchar_t* name)
{
    OwnedVariant removed;
    BOOL deleted = FALSE;
    if (name != nullptr) {
        std::lock_guard lock(mutex_);
        const auto found = std::find_if(entries_.begin(), entries_.end(),
                                        [name](const Entry& entry) { return entry.first == name; });
        if (found != entries_.end()) {
            removed = std::move(found->second);
            entries_.erase(found);
            deleted = TRUE;
        }
    }
    Record("bag.DeleteProperty(" + (name == nullptr ? std::string("null") : Quoted(name)) + ") -> " +
           (deleted ? "TRUE" : "FALSE"));
    return deleted;
}

void PropertyBag::Set(const std::wstring& name, LONG value) { Set(name, OwnedVariant::Int32(value)); }

void PropertyBag::Set(const std::wstring& name, const std::wstring& value) { Set(name, OwnedVariant::String(value)); }

void PropertyBag::SetUnknown(const std::wstring& name, IUnknown* object) { Set(name, OwnedVariant::Unknown(object)); }

void PropertyBag::Set(const std::wstring& name, OwnedVariant value) { OwnedVariant replaced = Store(name, std::move(value)); }

std::vector<std::wstring> PropertyBag::Names() const
{
    std::lock_guard lock(mutex_);
    std::vector<std::wstring> names;
    names.reserve(entries_.size());
    for (const Entry& entry : entries_) {
        names.push_back(entry.first);
    }
    return names;
}

std::optional<OwnedVariant> PropertyBag::Get(const std::wstring& name) const
{
    std::lock_guard lock(mutex_);
    for (const Entry& entry : entries_) {
        if (entry.first == name) {
            return entry.second;
        }
    }
    return std::nullopt;
}

std::string PropertyBag::Dump(const ValueNote& note) const
{
    // A copy first: the note may call into the objects the bag holds, and so back into the bag.
    std::vector<Entry> entries;
    {
        std::lock_guard lock(mutex_);
        entries = entries_;
    }
    std::vector<std::string> names;
    std::vector<std::string> types;
    std::vector<std::string> values;
    std::size_t nameWidth = 0;
    for (const Entry& entry : entries) {
        names.push_back(platform::ToUtf8(entry.first));
        types.push_back(VariantTypeName(entry.second.Type()));
        values.push_back(VariantValueText(entry.second.Get()));
        if (note) {
            const std::string text = note(entry.first, entry.second.Get());
            values.back() += text.empty() ? "" : ", " + text;
        }
        nameWidth = std::max(nameWidth, names.back().size());
    }
    std::string dump;
    for (std::size_t i = 0; i < names.size(); ++i) {
        dump += names[i] + std::string(nameWidth - names[i].size() + 2, ' ') + types[i];
        dump += std::string(types[i].size() < 12 ? 12 - types[i].size() : 1, ' ') + values[i] + "\n";
    }
    return dump;
}

OwnedVariant PropertyBag::Store(const std::wstring& name, OwnedVariant value)
{
    std::lock_guard lock(mutex_);
    for (Entry& entry : entries_) {
        if (entry.first == name) {
            std::swap(entry.second, value);
            return value;
        }
    }
    entries_.emplace_back(name, std::move(value));
    return {};
}

void PropertyBag::Record(std::string call) const
{
    if (log_) {
        log_->Record(std::move(call));
    }
}

}  // namespace pipelinehost
