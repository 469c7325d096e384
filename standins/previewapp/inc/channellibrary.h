// The four exports of the communication library, as this program calls them.
#pragma once

#include <cstdint>
#include <string>

#include "sharedlibrary.h"

namespace previewapp {

class ChannelLibrary {
public:
    using Handler = void (*)(void* payload);

    // Throws PreviewFailure (kExitLibrary) when the library or an export is missing.
    explicit ChannelLibrary(const std::string& path);

    void Start(const std::string& pipe) const;
    void Register(const std::string& pipe, std::int32_t message, Handler handler) const;
    // 0 once the whole message is written to the peer.
    std::int32_t Send(const std::string& pipe, std::int32_t message, const void* payload, std::int32_t size) const;
    void Stop(const std::string& pipe) const;

private:
    using StartFunction = void (*)(const char*);
    using RegisterFunction = void (*)(const char*, std::int32_t, Handler);
    using SendFunction = std::int32_t (*)(const char*, std::int32_t, const void*, std::int32_t);
    using StopFunction = void (*)(const char*);

    SharedLibrary m_library;
    StartFunction m_start;
    RegisterFunction m_register;
    SendFunction m_send;
    StopFunction m_stop;
};

}  // namespace previewapp
