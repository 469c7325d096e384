// The handlers registered for one pipe, by message number. Registration may come before or after
// the pipe starts, from any thread, while the receive thread looks handlers up.
#pragma once

#include <cstdint>
#include <mutex>
#include <unordered_map>

#include "qxicl.h"

namespace qxicl {

class HandlerTable {
public:
    // A null handler removes the registration.
    void Set(std::int32_t message, PipeMessageHandler handler);
    // Null for a message nobody registered for. The caller calls the handler after the lock is gone.
    PipeMessageHandler Find(std::int32_t message) const;

private:
    mutable std::mutex m_mutex;
    std::unordered_map<std::int32_t, PipeMessageHandler> m_handlers;
};

}  // namespace qxicl
