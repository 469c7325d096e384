// Movable global memory blocks. A block is addressed by its handle; the handle stays valid across
// GlobalReAlloc and the data moves, as on Windows.
#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_set>

#include "platform/systemapi.h"

namespace platform {
namespace {

struct GlobalBlock {
    void* data = nullptr;
    SIZE_T size = 0;
    LONG locks = 0;
    bool discardable = false;
};

class BlockRegistry {
public:
    void Add(GlobalBlock* block)
    {
        std::lock_guard lock(mutex_);
        blocks_.insert(block);
    }
    bool Remove(GlobalBlock* block)
    {
        std::lock_guard lock(mutex_);
        return blocks_.erase(block) == 1;
    }
    // Runs action on the block under the registry lock; false when the handle is not a live block.
    template <class Action>
    bool With(HGLOBAL handle, Action&& action)
    {
        std::lock_guard lock(mutex_);
        auto* block = static_cast<GlobalBlock*>(handle);
        if (blocks_.count(block) == 0) {
            return false;
        }
        action(*block);
        return true;
    }

private:
    std::mutex mutex_;
    std::unordered_set<GlobalBlock*> blocks_;
};

BlockRegistry& Blocks()
{
    static BlockRegistry* registry = new BlockRegistry;
    return *registry;
}

// A job's whole spool file lands in one block; backing a large block with huge pages takes one
// page fault per 2 MiB instead of per 4 KiB when it is first filled. Only the advice is given:
// where the system keeps small pages, nothing changes.
void AdviseHugePages(void* data, SIZE_T bytes)
{
    constexpr std::uintptr_t kHugePage = std::uintptr_t{2} << 20;
    if (bytes < 2 * kHugePage) {
        return;
    }
    const auto start = reinterpret_cast<std::uintptr_t>(data);
    const std::uintptr_t first = (start + kHugePage - 1) & ~(kHugePage - 1);
    const std::uintptr_t last = (start + bytes) & ~(kHugePage - 1);
    if (last > first) {
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    }
}

}  // namespace

// A movable block of no bytes has no memory behind it: Windows hands out the handle already
// discarded, and GlobalReAlloc gives it memory later.
HGLOBAL Kernel32::GlobalAlloc(UINT flags, SIZE_T bytes)
{
    auto* block = new (std::nothrow) GlobalBlock;
    if (block == nullptr) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    if (bytes == 0 && (flags & GMEM_MOVEABLE) == 0) {
        bytes = 1;  // a fixed block is never empty
    }
    if (bytes != 0) {
        block->data = (flags & GMEM_ZEROINIT) != 0 ? std::calloc(bytes, 1) : std::malloc(bytes);
        if (block->data == nullptr) {
            delete block;
            ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
        AdviseHugePages(block->data, bytes);
    }
    block->size = bytes;
    block->discardable = (flags & GMEM_DISCARDABLE) != 0;
    Blocks().Add(block);
    return block;
}

// Shrinking to nothing discards the block, which only an unlocked movable block allows.
HGLOBAL Kernel32::GlobalReAlloc(HGLOBAL memory, SIZE_T bytes, UINT flags)
{
    DWORD error = ERROR_SUCCESS;
    const bool known = Blocks().With(memory, [&](GlobalBlock& block) {
        if ((flags & GMEM_DISCARDABLE) != 0 || (bytes == 0 && ((flags & GMEM_MOVEABLE) == 0 || block.locks > 0))) {
            error = ERROR_INVALID_PARAMETER;
            return;
        }
        if (bytes == 0) {
            std::free(block.data);
            block.data = nullptr;
            block.size = 0;
            return;
        }
        void* data = std::realloc(block.data, bytes);
        if (data == nullptr) {
            error = ERROR_NOT_ENOUGH_MEMORY;
            return;
        }
        if ((flags & GMEM_ZEROINIT) != 0 && bytes > block.size) {
            std::memset(static_cast<char*>(data) + block.size, 0, bytes - block.size);
        }
        block.data = data;
        block.size = bytes;
    });
    if (!known || error != ERROR_SUCCESS) {
        ::SetLastError(known ? error : ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return memory;
}

LPVOID Kernel32::GlobalLock(HGLOBAL memory)
{
    void* data = nullptr;
    if (!Blocks().With(memory, [&](GlobalBlock& block) {
            data = block.data;
            if (data == nullptr) {
                ::SetLastError(ERROR_DISCARDED);
            } else if (block.locks < static_cast<LONG>(GMEM_LOCKCOUNT)) {
                ++block.locks;
            }
        })) {
        ::SetLastError(ERROR_INVALID_HANDLE);
    }
    return data;
}

UINT Kernel32::GlobalFlags(HGLOBAL memory)
{
    UINT flags = GMEM_INVALID_HANDLE;
    if (!Blocks().With(memory, [&](GlobalBlock& block) {
            flags = static_cast<UINT>(block.locks) | (block.discardable ? GMEM_DISCARDABLE : 0u) |
                    (block.data == nullptr ? GMEM_DISCARDED : 0u);
        })) {
        ::SetLastError(ERROR_INVALID_HANDLE);
    }
    return flags;
}

BOOL Kernel32::GlobalUnlock(HGLOBAL memory)
{
    LONG before = 0;
    if (!Blocks().With(memory, [&](GlobalBlock& block) {
            before = block.locks;
            if (block.locks > 0) {
                --block.locks;
            }
        })) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    ::SetLastError(before == 0 ? ERROR_NOT_LOCKED : ERROR_SUCCESS);
    return before > 1 ? TRUE : FALSE;
}

SIZE_T Kernel32::GlobalSize(HGLOBAL memory)
{
    SIZE_T size = 0;
    if (!Blocks().With(memory, [&](GlobalBlock& block) { size = block.size; })) {
        ::SetLastError(ERROR_INVALID_HANDLE);
    }
    return size;
}

HGLOBAL Kernel32::GlobalFree(HGLOBAL memory)
{
    if (memory == nullptr) {
        return nullptr;
    }
    auto* block = static_cast<GlobalBlock*>(memory);
    if (!Blocks().Remove(block)) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return memory;
    }
    std::free(block->data);
    delete block;
    return nullptr;
}

}  // namespace platform
