#include "registrykey.h"

#include <atomic>

namespace platform {
namespace {

std::atomic<std::uint64_t> nextIdentity{1};

}  // namespace

RegistryKey::RegistryKey() : identity_(nextIdentity++) {}

std::vector<std::wstring> SplitRegistryPath(const std::wstring& path)
{
    std::vector<std::wstring> parts;
    std::wstring part;
    for (const wchar_t c : path + L'\\') {
        if (c != L'\\') {
            part += c;
        } else if (!part.empty()) {
            parts.push_back(std::move(part));
            part.clear();
        }
    }
    return parts;
}

template <class Key>
Key* RegistryKey::Walk(Key* key, std::vector<std::wstring>::const_iterator first,
                       std::vector<std::wstring>::const_iterator last)
{
    for (; first != last && key != nullptr; ++first) {
        const auto found = key->subkeys_.find(*first);
        key = found == key->subkeys_.end() ? nullptr : found->second.key.get();
    }
    return key;
}

const RegistryKey* RegistryKey::Find(const std::vector<std::wstring>& path) const
{
    return Walk(this, path.begin(), path.end());
}

RegistryKey& RegistryKey::Create(const std::vector<std::wstring>& path)
{
    RegistryKey* key = this;
    for (const std::wstring& name : path) {
        Subkey& subkey = key->subkeys_[name];
        if (!subkey.key) {
            subkey = Subkey{name, std::make_unique<RegistryKey>()};
        }
        key = subkey.key.get();
    }
    return *key;
}

bool RegistryKey::Remove(const std::vector<std::wstring>& path)
{
    if (path.empty()) {
        return false;
    }
    RegistryKey* parent = Walk(this, path.begin(), path.end() - 1);
    return parent != nullptr && parent->subkeys_.erase(path.back()) == 1;
}

void RegistryKey::SetValue(const std::wstring& name, const RegistryData& data)
{
    const auto found = values_.find(name);
    if (found != values_.end()) {
        found->second.data = data;  // the value keeps its first spelling, as a rewritten value does
    } else {
        values_.emplace(name, Value{name, data});
    }
}

RegistryKeySnapshot RegistryKey::Snapshot() const
{
    RegistryKeySnapshot snapshot;
    snapshot.identity = identity_;
    for (const auto& [folded, subkey] : subkeys_) {
        snapshot.subkeys.push_back(subkey.name);
    }
    for (const auto& [folded, value] : values_) {
        snapshot.values.emplace_back(value.name, value.data);
    }
    return snapshot;
}

}  // namespace platform
