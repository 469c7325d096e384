#include "comlibmanager.h"

#include <stdexcept>
#include <utility>

#include "scopedlibrary.h"

ComLibManager::ComLibManager(std::string incomingPipeName, const std::wstring& libraryPath)
    : m_library(std::make_unique<ScopedLibrary>(libraryPath)), m_pipeName(std::move(incomingPipeName))
{
    if (!m_library->IsLoaded()) {
        throw std::runtime_error("ComLibrary not loaded");
    }
    m_exports.registerForMessage = m_library->Export<RegisterForMessageFunction>("RegisterForMessage");
    m_exports.sendPipeMessage = m_library->Export<SendPipeMessageFunction>("SendPipeMessage");
    m_exports.startPipe = m_library->Export<StartPipeFunction>("StartPipe");
    m_exports.stopPipe = m_library->Export<StopPipeFunction>("StopPipe");
    StartPipe();
}

ComLibManager::ComLibManager(std::string incomingPipeName, const Exports& exports)
    : m_exports(exports), m_pipeName(std::move(incomingPipeName))
{
    StartPipe();
}

ComLibManager::~ComLibManager() { Close(); }

void ComLibManager::StartPipe()
{
    if (m_exports.startPipe != nullptr) {
        m_exports.startPipe(m_pipeName.c_str());
    }
}

void ComLibManager::Close()
{
    if (m_closed) {
        return;
    }
    m_closed = true;
    if (m_exports.stopPipe != nullptr) {
        m_exports.stopPipe(m_pipeName.c_str());
    }
    // The receive thread is gone now, so no handler can still be running in the library's code.
    m_exports = Exports{};
    m_library.reset();
}

bool ComLibManager::CanServe() const
{
    return m_exports.startPipe != nullptr && m_exports.registerForMessage != nullptr &&
           m_exports.sendPipeMessage != nullptr && m_exports.stopPipe != nullptr;
}

void ComLibManager::RegisterForMessage(std::int32_t message, PipeMessageHandler handler)
{
    if (m_exports.registerForMessage != nullptr) {
        m_exports.registerForMessage(m_pipeName.c_str(), message, handler);
    }
}

std::int32_t ComLibManager::SendPipeMessage(const std::string& pipeName, std::int32_t message, const void* payload,
                                            std::int32_t size)
{
    if (m_exports.sendPipeMessage == nullptr) {
        return kSendUnavailable;
    }
    return m_exports.sendPipeMessage(pipeName.c_str(), message, payload, size);
}
