#include "handlertable.h"

namespace qxicl {

void HandlerTable::Set(std::int32_t message, PipeMessageHandler handler)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (handler == nullptr) {
        m_handlers.erase(message);
    } else {
        m_handlers[message] = handler;
    }
}

PipeMessageHandler HandlerTable::Find(std::int32_t message) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_handlers.find(message);
    return found == m_handlers.end() ? nullptr : found->second;
}

}  // namespace qxicl
