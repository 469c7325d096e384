// One key of the simulated registry with its values and the keys below it. A hive is the key at
// its root.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "names.h"
#include "platform/registrydata.h"

namespace platform {

// What a registry call sees of one key, copied out of the machine.
struct RegistryKeySnapshot {
    std::uint64_t identity = 0;  // which key this is: a key made again under the same name is another
    std::vector<std::wstring> subkeys;  // as spelled when created, in the order Windows enumerates them
    std::vector<std::pair<std::wstring, RegistryData>> values;
};

// "A\B\\C\" gives A, B, C: separators that follow one another or end the path are ignored.
std::vector<std::wstring> SplitRegistryPath(const std::wstring& path);

class RegistryKey {
public:
    RegistryKey();
    RegistryKey(RegistryKey&&) = default;
    RegistryKey& operator=(RegistryKey&&) = default;

    // Null when a key on the path does not exist.
    const RegistryKey* Find(const std::vector<std::wstring>& path) const;
    // The keys on the path that do not exist yet are created with the path's spelling.
    RegistryKey& Create(const std::vector<std::wstring>& path);
    // The key at the end of a non-empty path and everything below it; false when there is none.
    bool Remove(const std::vector<std::wstring>& path);

    void SetValue(const std::wstring& name, const RegistryData& data);
    RegistryKeySnapshot Snapshot() const;

private:
    struct Subkey {
        std::wstring name;
        std::unique_ptr<RegistryKey> key;
    };
    struct Value {
        std::wstring name;
        RegistryData data;
    };

    template <class Key>
    static Key* Walk(Key* key, std::vector<std::wstring>::const_iterator first,
                     std::vector<std::wstring>::const_iterator last);

    std::uint64_t identity_;
    std::map<std::wstring, Subkey, NameLess> subkeys_;
    std::map<std::wstring, Value, NameLess> values_;
};

}  // namespace platform
