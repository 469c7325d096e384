// The simulated machine's registry hives, and who a thread runs as, which decides the hive that
// RegOpenCurrentUser opens.
#include "simulatedmachinestate.h"

namespace platform {
namespace {

thread_local std::optional<std::wstring> impersonatedUser;

RegistryKey& HiveIn(MachineRecords& records, const RegistryHive& hive) { return records.hives[hive.user]; }

}  // namespace

void ApplyRegistryEntry(MachineRecords& records, const RegistryEntry& entry)
{
    RegistryKey& key = HiveIn(records, entry.hive).Create(SplitRegistryPath(entry.key));
    if (entry.data) {
        key.SetValue(entry.valueName, *entry.data);
    }
}

std::optional<RegistryKeySnapshot> SnapshotRegistryKey(const RegistryHive& hive, const std::vector<std::wstring>& path)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    // A hive nothing was written to exists all the same, empty, as a user's profile does.
    const RegistryKey* key = HiveIn(state.records, hive).Find(path);
    if (key == nullptr) {
        return std::nullopt;
    }
    return key->Snapshot();
}

void ImpersonateOnThisThread(std::optional<std::wstring> user) { impersonatedUser = std::move(user); }

std::optional<std::wstring> ImpersonatedUserOfThisThread() { return impersonatedUser; }

void SimulatedMachine::SetRegistryValue(const RegistryHive& hive, const std::wstring& key,
                                        const std::wstring& valueName, const RegistryData& data)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    ApplyRegistryEntry(state.records, RegistryEntry{hive, key, valueName, data});
}

void SimulatedMachine::CreateRegistryKey(const RegistryHive& hive, const std::wstring& key)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    ApplyRegistryEntry(state.records, RegistryEntry{hive, key, L"", std::nullopt});
}

void SimulatedMachine::DeleteRegistryKey(const RegistryHive& hive, const std::wstring& key)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    HiveIn(state.records, hive).Remove(SplitRegistryPath(key));
}

std::optional<std::wstring> SimulatedMachine::ProcessUser()
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    if (state.records.users.empty()) {
        return std::nullopt;
    }
    return state.records.users.front().name;
}

std::optional<std::wstring> SimulatedMachine::CurrentUser()
{
    return impersonatedUser ? impersonatedUser : ProcessUser();
}

}  // namespace platform
