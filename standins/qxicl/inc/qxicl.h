// The exports of the communication library, as the filter and the preview application call them.
#pragma once

#include <cstdint>

// The four functions are all the library shows: a version script keeps the rest in on Linux, and on
// Windows only what is marked is exported.
#ifdef _WIN32
#define QXICL_EXPORT __declspec(dllexport)
#else
#define QXICL_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

typedef void (*PipeMessageHandler)(void* payload);

QXICL_EXPORT void StartPipe(const char* pipeName);
QXICL_EXPORT void RegisterForMessage(const char* pipeName, std::int32_t message, PipeMessageHandler handler);
QXICL_EXPORT std::int32_t SendPipeMessage(const char* pipeName, std::int32_t message, const void* payload,
                                          std::int32_t size);
QXICL_EXPORT void StopPipe(const char* pipeName);

}
