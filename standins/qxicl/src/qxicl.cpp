// The stand-in of the driver's closed communication library "qxicl.dll": one receiving endpoint per
// pipe name, a Unix domain socket in the machine-wide abstract namespace that only trusted peers may
// use, and handlers called on the library's own thread. No export lets an exception out to its C callers.
#include "qxicl.h"

#include "framesender.h"
#include "frameheader.h"
#include "pipename.h"
#include "piperegistry.h"

using qxicl::CheckedPipeName;
using qxicl::PipeRegistry;

void StartPipe(const char* pipeName)
{
    try {
        if (const auto name = CheckedPipeName(pipeName)) {
            PipeRegistry::Instance().Start(*name);
        }
    } catch (...) {
    }
}

void RegisterForMessage(const char* pipeName, std::int32_t message, PipeMessageHandler handler)
{
    try {
        if (const auto name = CheckedPipeName(pipeName)) {
            PipeRegistry::Instance().Register(*name, message, handler);
        }
    } catch (...) {
    }
}

std::int32_t SendPipeMessage(const char* pipeName, std::int32_t message, const void* payload, std::int32_t size)
{
    try {
        const auto name = CheckedPipeName(pipeName);
        if (!name || size < 0 || static_cast<std::uint32_t>(size) > qxicl::kMaxFramePayload ||
            (payload == nullptr && size > 0)) {
            return qxicl::kBadArguments;
        }
        return qxicl::SendFrame(*name, message, payload, static_cast<std::uint32_t>(size));
    } catch (...) {
        return qxicl::kWriteFailed;
    }
}

void StopPipe(const char* pipeName)
{
    try {
        if (const auto name = CheckedPipeName(pipeName)) {
            PipeRegistry::Instance().Stop(*name);
        }
    } catch (...) {
    }
}
