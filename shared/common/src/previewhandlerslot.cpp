#include "previewhandlerslot.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <exception>
#include <mutex>
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
std::condition_variable slotFreed;

bool IsFree(const Slot& slot) { return !slot.taken; }

// A session that finds every slot taken is not refused: it waits, as it would for its preview
// application, until another session ends. Logged for caller.
std::size_t TakeFreeSlot(const LogSite& caller)
{
    std::unique_lock<std::mutex> hold(takeLock);
    if (std::none_of(slots.begin(), slots.end(), IsFree)) {
        LogAt(LogLevel::Warning, QX_FOR(caller), L"All %u preview channels are in use; waiting for one",
              static_cast<unsigned>(slots.size()));
        slotFreed.wait(hold, [] { return std::any_of(slots.begin(), slots.end(), IsFree); });
    }
    const auto free = std::find_if(slots.begin(), slots.end(), IsFree);
    free->taken = true;
    return static_cast<std::size_t>(free - slots.begin());
}

void Bind(std::size_t index, PreviewMessageHandlers* handlers)
{
    const std::lock_guard<std::mutex> hold(slots[index].dispatchLock);
    slots[index].handlers = handlers;
}

void FreeSlot(std::size_t index)
{
    Bind(index, nullptr);
    {
        const std::lock_guard<std::mutex> hold(takeLock);
        slots[index].taken = false;
    }
    slotFreed.notify_one();
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
      m_index(TakeFreeSlot(QX_HERE))
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
