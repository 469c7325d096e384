// The preview session's end of the message channel: the driver's communication library, loaded
// from beside the filter module, with the session's incoming pipe started on it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

class ScopedLibrary;

// Called on the library's receive thread with the payload, which is followed by zero bytes so a
// handler may read a fixed size.
typedef void (*PipeMessageHandler)(void* payload);

class ComLibManager {
public:
    using StartPipeFunction = void (*)(const char* pipeName);
    using RegisterForMessageFunction = void (*)(const char* pipeName, std::int32_t message, PipeMessageHandler handler);
    using SendPipeMessageFunction = std::int32_t (*)(const char* pipeName, std::int32_t message, const void* payload,
                                                     std::int32_t size);
    using StopPipeFunction = void (*)(const char* pipeName);

    struct Exports {
        StartPipeFunction startPipe = nullptr;
        RegisterForMessageFunction registerForMessage = nullptr;
        SendPipeMessageFunction sendPipeMessage = nullptr;
        StopPipeFunction stopPipe = nullptr;
    };

    // What a send reports when the library lacks the export: never 0, so the caller stops as
    // after any failed send.
    static constexpr std::int32_t kSendUnavailable = -1;

    // Loads the library and starts receiving on the pipe; throws std::runtime_error
    // "ComLibrary not loaded" when the library cannot be loaded. A missing export is not an error
    // here: calls through it do nothing.
    ComLibManager(std::string incomingPipeName, const std::wstring& libraryPath);
    // The same over exports that some other owner keeps loaded (the tests' doubles).
    ComLibManager(std::string incomingPipeName, const Exports& exports);
    ~ComLibManager();

    // Stops the incoming pipe, which waits for a running handler, and frees the library. Only the
    // first call acts.
    void Close();

    // Whether the library has every export a session needs: without one of them the peer would
    // wait for answers that never come.
    bool CanServe() const;

    void RegisterForMessage(std::int32_t message, PipeMessageHandler handler);
    // 0 once the peer has the whole message; the library's status otherwise.
    std::int32_t SendPipeMessage(const std::string& pipeName, std::int32_t message, const void* payload,
                                 std::int32_t size);

    const std::string& IncomingPipeName() const { return m_pipeName; }

    ComLibManager(const ComLibManager&) = delete;
    ComLibManager& operator=(const ComLibManager&) = delete;

private:
    void StartPipe();

    std::unique_ptr<ScopedLibrary> m_library;
    Exports m_exports;
    std::string m_pipeName;
    bool m_closed = false;
};
