// The filter's answers to the preview application's messages over a double of the communication
// library. The bytes are what the library hands a handler: the payload, padded with zeros to the
// library's buffer. They are stored as the preview result (106); then, read as a session's data
// block, paper sources and software URL, they are sent in answer to a data request (101) and a
// URL request (107), with the double failing the sends the first byte asks for.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "comlibmanager.h"
#include "fuzzsupport.h"
#include "previewchannelstate.h"
#include "previewmessagehandlers.h"
#include "previewmessages.h"
#include "previewrecords.h"

namespace {

// The library's receive buffer: every payload a handler sees is at least this long.
constexpr std::size_t kDeliveredSize = 4096;
// More would only repeat the same sends.
constexpr std::size_t kMostPaperSources = 8;

// The double's behaviour for the current input: bit n set fails the n-th send (counting from 0).
std::uint8_t g_failedSends = 0;
std::size_t g_sends = 0;

ComLibManager::Exports DoubleExports()
{
    ComLibManager::Exports exports;
    exports.startPipe = [](const char*) {};
    exports.stopPipe = [](const char*) {};
    exports.registerForMessage = [](const char*, std::int32_t, PipeMessageHandler) {};
    exports.sendPipeMessage = [](const char*, std::int32_t, const void* payload, std::int32_t size) -> std::int32_t {
        // Reads the whole message as the library would, so that a payload shorter than it is claimed
        // to be shows.
        std::vector<std::uint8_t> sent(static_cast<const std::uint8_t*>(payload),
                                       static_cast<const std::uint8_t*>(payload) + size);
        const std::size_t index = g_sends++;
        return index < 8 && (g_failedSends >> index & 1) != 0 ? 5 : 0;
    };
    return exports;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    fuzzsupport::StartProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::uint8_t> delivered(std::max(size, kDeliveredSize), 0);
    std::copy(data, data + size, delivered.begin());
    g_failedSends = size > 0 ? data[0] : 0;
    g_sends = 0;

    PreviewChannelState state;
    ComLibManager channel("QXFUZZ_IN", DoubleExports());
    PreviewMessageHandlers handlers(state, channel, "QXFUZZ_OUT");

    handlers.OnPreviewResult(delivered.data());
    state.Result();
    state.ResultEncodedSettings();

    std::memcpy(&state.data, delivered.data(), sizeof(state.data));
    std::size_t offset = sizeof(state.data);
    while (offset + sizeof(PaperSourceEntry) <= size && state.paperSources.size() < kMostPaperSources) {
        PaperSourceEntry entry;
        std::memcpy(&entry, data + offset, sizeof(entry));
        state.paperSources.push_back(entry);
        offset += sizeof(entry);
    }
    // The URL takes the rest two bytes to a character, so that it can hold what has no UTF-8 form
    // (a lone surrogate) and grow past the message.
    for (; offset + 1 < size; offset += 2) {
        state.softwareUrl.push_back(static_cast<wchar_t>(data[offset] | data[offset + 1] << 8));
    }
    handlers.OnDataRequest(delivered.data());
    handlers.OnSoftwareUrlRequest(delivered.data());
    return 0;
}
