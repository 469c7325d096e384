#include "channellibrary.h"

namespace previewapp {

ChannelLibrary::ChannelLibrary(const std::string& path)
    : m_library(path),
      m_start(m_library.Export<StartFunction>("StartPipe")),
      m_register(m_library.Export<RegisterFunction>("RegisterForMessage")),
      m_send(m_library.Export<SendFunction>("SendPipeMessage")),
      m_stop(m_library.Export<StopFunction>("StopPipe"))
{
}

void ChannelLibrary::Start(const std::string& pipe) const
{
    m_start(pipe.c_str());
}

void ChannelLibrary::Register(const std::string& pipe, std::int32_t message, Handler handler) const
{
    m_register(pipe.c_str(), message, handler);
}

std::int32_t ChannelLibrary::Send(const std::string& pipe, std::int32_t message, const void* payload,
                                  std::int32_t size) const
{
    return m_send(pipe.c_str(), message, payload, size);
}

void ChannelLibrary::Stop(const std::string& pipe) const
{
    m_stop(pipe.c_str());
}

}  // namespace previewapp
