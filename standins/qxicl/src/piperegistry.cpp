#include "piperegistry.h"


namespace qxicl {

PipeRegistry& PipeRegistry::Instance()
{
    static PipeRegistry registry;
    return registry;
}

PipeRegistry::~PipeRegistry()
{
    std::map<std::string, std::shared_ptr<PipeEndpoint>> endpoints;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        endpoints.swap(m_endpoints);
    }
    for (const auto& entry : endpoints) {
        entry.second->Stop();
    }
}

void PipeRegistry::Start(const std::string& name)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_endpoints.count(name) != 0) {
        return;
    }
    std::shared_ptr<PipeEndpoint> endpoint = PipeEndpoint::Start(name, HandlersLocked(name));
    if (endpoint) {
        m_endpoints.emplace(name, std::move(endpoint));
    }
}

void PipeRegistry::Register(const std::string& name, std::int32_t message, PipeMessageHandler handler)
{
    std::shared_ptr<HandlerTable> handlers;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        handlers = HandlersLocked(name);
    }
    handlers->Set(message, handler);
}

void PipeRegistry::Stop(const std::string& name)
{
    std::shared_ptr<PipeEndpoint> endpoint;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_endpoints.find(name);
        if (found == m_endpoints.end()) {
            return;
        }
        endpoint = std::move(found->second);
        m_endpoints.erase(found);
        m_handlers.erase(name);
    }
    endpoint->Stop();
}

std::shared_ptr<HandlerTable> PipeRegistry::HandlersLocked(const std::string& name)
{
    std::shared_ptr<HandlerTable>& handlers = m_handlers[name];
    if (!handlers) {
        handlers = std::make_shared<HandlerTable>();
    }
    return handlers;
}

}  // namespace qxicl
