#include "handletable.h"

#include <mutex>
#include <unordered_map>

namespace platform {
namespace {

struct Table {
    std::mutex mutex;
    std::unordered_map<UINT_PTR, std::shared_ptr<KernelObject>> objects;
    UINT_PTR next = 0x100;
};

Table& TheTable()
{
    static Table* table = new Table;  // outlives every static destructor that may still close handles
    return *table;
}

}  // namespace

HANDLE HandleTable::Add(std::shared_ptr<KernelObject> object)
{
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    const UINT_PTR value = table.next;
    table.next += 4;
    table.objects.emplace(value, std::move(object));
    return reinterpret_cast<HANDLE>(value);
}

std::shared_ptr<KernelObject> HandleTable::Find(HANDLE handle)
{
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    const auto found = table.objects.find(reinterpret_cast<UINT_PTR>(handle));
    return found == table.objects.end() ? nullptr : found->second;
}

bool HandleTable::Remove(HANDLE handle)
{
    std::shared_ptr<KernelObject> removed;  // destroyed outside the lock
    Table& table = TheTable();
    std::lock_guard lock(table.mutex);
    const auto found = table.objects.find(reinterpret_cast<UINT_PTR>(handle));
    if (found == table.objects.end()) {
        return false;
    }
    removed = std::move(found->second);
    table.objects.erase(found);
    return true;
}

}  // namespace platform
