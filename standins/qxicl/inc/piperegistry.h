// The pipes of this process by name. Several sessions may run at once in one process, each with its
// own pipes, so every entry point goes through one lock; the lock is never held while a receive
// thread is joined or a handler runs.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "handlertable.h"
#include "pipeendpoint.h"
#include "qxicl.h"

namespace qxicl {

class PipeRegistry {
public:
    static PipeRegistry& Instance();

    PipeRegistry() = default;
    PipeRegistry(const PipeRegistry&) = delete;
    PipeRegistry& operator=(const PipeRegistry&) = delete;
    // The library may be unloaded with pipes still started: their threads end before its code goes.
    ~PipeRegistry();

    // A pipe already started in this process stays as it is.
    void Start(const std::string& name);
    void Register(const std::string& name, std::int32_t message, PipeMessageHandler handler);
    // Ends the pipe and forgets its registrations; a pipe not started is left alone.
    void Stop(const std::string& name);

private:
    std::shared_ptr<HandlerTable> HandlersLocked(const std::string& name);

    std::mutex m_mutex;
    std::map<std::string, std::shared_ptr<HandlerTable>> m_handlers;
    std::map<std::string, std::shared_ptr<PipeEndpoint>> m_endpoints;
};

}  // namespace qxicl
