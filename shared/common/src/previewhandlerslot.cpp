#include "previewhandlerslot.h"

#include <array>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "previewmessages.h"
#include "qxdrvlogger.h"
#include "textconversion.h"

namespace {

using Handler = void (PreviewMessageHandlers::*)(const void*);

struct Slot {
    // Held while a handler runs, so that unbinding waits for it.
    std::mutex dispatchLock;
    PreviewMessageHandlers* handlers = nullptr;
    bool taken = false;
};

std::array<Slot, PreviewHandlerSlot::kSlotCount> slots;
std::mutex takeLock;

std::size_t TakeFreeSlot()
{
    const std::lock_guard<std::mutex> hold(takeLock);
    for (std::size_t index = 0; index < slots.size(); ++index) {
        if (!slots[index].taken) {
            slots[index].taken = true;
            return index;
        }
    }
    QXLOG_ERROR(L"All %u preview channels are in use", static_cast<unsigned>(slots.size()));
    throw std::runtime_error("No free preview channel");
}

void Bind(std::size_t index, PreviewMessageHandlers* handlers)
{
    const std::lock_guard<std::mutex> hold(slots[index].dispatchLock);
    slots[index].handlers = handlers;
}

void FreeSlot(std::size_t index)
{
    Bind(index, nullptr);
    const std::lock_guard<std::mutex> hold(takeLock);
    slots[index].taken = false;
}

// Nothing may leave a handler: the library's thread would end the process.
template <Handler handler>
void Dispatch(std::size_t index, void* payload) noexcept
{
    Slot& slot = slots[index];
    const std::lock_guard<std::mutex> hold(slot.dispatchLock);
    if (slot.handlers == nullptr) {
        return;  // the session has ended
    }
    try {
        (slot.handlers->*handler)(payload);
    } catch (const std::exception& exception) {
        QXLOG_ERROR(L"Preview message handler failed: %s", AnsiToWide(exception.what()).c_str());
    } catch (...) {
        QXLOG_ERROR(L"Preview message handler failed");
    }
}

template <std::size_t index>
struct Trampolines {
    static void OnDataRequest(void* payload) { Dispatch<&PreviewMessageHandlers::OnDataRequest>(index, payload); }
    static void OnSoftwareUrlRequest(void* payload)
    {
        Dispatch<&PreviewMessageHandlers::OnSoftwareUrlRequest>(index, payload);
    }
    static void OnPreviewResult(void* payload) { Dispatch<&PreviewMessageHandlers::OnPreviewResult>(index, payload); }
};

struct SlotFunctions {
    PipeMessageHandler dataRequest;
    PipeMessageHandler softwareUrlRequest;
    PipeMessageHandler previewResult;
};

template <std::size_t... index>
constexpr std::array<SlotFunctions, sizeof...(index)> MakeSlotFunctions(std::index_sequence<index...>)
{
    return {{{&Trampolines<index>::OnDataRequest, &Trampolines<index>::OnSoftwareUrlRequest,
              &Trampolines<index>::OnPreviewResult}...}};
}

constexpr std::array<SlotFunctions, PreviewHandlerSlot::kSlotCount> slotFunctions =
    MakeSlotFunctions(std::make_index_sequence<PreviewHandlerSlot::kSlotCount>());

}  // namespace

PreviewHandlerSlot::PreviewHandlerSlot(PreviewChannelState& state, ComLibManager& channel,
                                       std::string outgoingPipeName)
    : m_channel(channel),
      m_handlers(std::make_unique<PreviewMessageHandlers>(state, channel, std::move(outgoingPipeName))),
      m_index(TakeFreeSlot())
{
    Bind(m_index, m_handlers.get());
}

PreviewHandlerSlot::~PreviewHandlerSlot()
{
    m_channel.Close();
    FreeSlot(m_index);
}

void PreviewHandlerSlot::Register()
{
    m_channel.RegisterForMessage(PP_MSG_DATA_REQUEST, DataRequestHandler());
    m_channel.RegisterForMessage(PP_MSG_SOFTWARE_URL_REQUEST, SoftwareUrlRequestHandler());
    m_channel.RegisterForMessage(PP_MSG_RESULT, PreviewResultHandler());
}

PipeMessageHandler PreviewHandlerSlot::DataRequestHandler() const { return slotFunctions[m_index].dataRequest; }

PipeMessageHandler PreviewHandlerSlot::SoftwareUrlRequestHandler() const
{
    return slotFunctions[m_index].softwareUrlRequest;
}

PipeMessageHandler PreviewHandlerSlot::PreviewResultHandler() const { return slotFunctions[m_index].previewResult; }
