#include "arssmanager.h"

#include <chrono>
#include <future>
#include <thread>

#include "papersourcemeasure.h"
#include "qxdrvlogger.h"
#include "raiiowners.h"

namespace {

// Print ticket option values (input bin, rotation, media type, orientation, margins layout, user
// margin, scaling mode).
constexpr std::int32_t kInputBinAutoSelect = 0;
constexpr std::int32_t kInputBinTray = 2;
constexpr std::int32_t kInputBinRoll = 3;
constexpr std::int32_t kRotateNone = 0;
constexpr std::int32_t kRotate90 = 1;
constexpr std::int32_t kRotate0 = 4;
constexpr std::int32_t kMediaTypeAutoSelect = 1;
constexpr std::int32_t kLandscape = 1;
constexpr std::int32_t kMarginsOversize = 2;
constexpr std::int32_t kUserMargin3mm = 1;
constexpr std::int32_t kScaleByPercentage = 1;
constexpr std::int32_t kFitToPaper = 2;

// What an oversize layout adds to each side of the page, in micrometres.
constexpr std::int32_t kOversizeWith3mmMargin = 6000;
constexpr std::int32_t kOversizeOtherwise = 10000;

// Page arithmetic is 32-bit and wraps as the driver's other filters do; it never traps.
std::int32_t Wrapped(std::int64_t value) { return static_cast<std::int32_t>(static_cast<std::uint32_t>(value)); }

std::int32_t Scaled(std::int32_t length, std::int32_t percentage)
{
    return Wrapped(static_cast<std::int64_t>(length) * percentage / 100);
}

// A loaded source the printer has not measured across yet.
bool IsUnmeasured(const BIDI_PAPERSOURCE_ITEM& source)
{
    return source.installed != 0 && source.stateFlag != 0 && source.length >= 1 && source.width < 1;
}

bool HasUnmeasuredSource(const BIDI_PAPERSOURCE& answer)
{
    for (const BIDI_PAPERSOURCE_ITEM& source : answer.sources) {
        if (IsUnmeasured(source)) {
            return true;
        }
    }
    return false;
}

bool IsUsable(const BIDI_PAPERSOURCE_ITEM& source, std::int32_t type)
{
    return source.type == type && source.stateFlag != 0 && source.width >= 1;
}

}  // namespace

ArssManager::ArssManager(const std::wstring& printerName, int maxQueryRepeats)
    : m_reader(std::make_unique<BidiPaperSourceReader>(printerName)), m_maxQueryRepeats(maxQueryRepeats)
{
}

bool ArssManager::CanQueryPaperSources(const IPaperSourceSettings& settings,
                                       IPrinterDriverProperties& driverProperties) const
{
    return driverProperties.IsArssSupported() != 0 && settings.GetInputBin() == kInputBinAutoSelect &&
           settings.GetRotation() == kRotateNone && driverProperties.HasBidiInformation() != 0;
}

std::optional<BIDI_PAPERSOURCE> ArssManager::GetPaperSourceInfo()
{
    if (m_reader->Open() != BidiPaperSourceReader::kOpened) {
        return std::nullopt;
    }
    std::optional<BIDI_PAPERSOURCE> answer = m_reader->Read(true);
    for (int repeats = 0; answer && HasUnmeasuredSource(*answer); ++repeats) {
        if (repeats == m_maxQueryRepeats) {
            QXLOG_WARNING(L"Paper source still not measured after %d ms; going on with the last answer",
                          repeats * kQueryWaitMilliseconds);
            break;
        }
        QXLOG_INFO(L"Waiting for %d ms for next query.", kQueryWaitMilliseconds);
        answer.reset();
        // The query runs on a task of its own and is awaited at once, so queries never overlap.
        answer = std::async(std::launch::async, [this] {
                     // The task's thread reads the answer with a DOM of its own apartment.
                     const ComApartment apartment(COINIT_MULTITHREADED);
                     return RetryGetPaperSourceInfo(kQueryWaitMilliseconds);
                 }).get();
    }
    return answer;
}

std::optional<BIDI_PAPERSOURCE> ArssManager::RetryGetPaperSourceInfo(int waitMilliseconds) const
{
    std::this_thread::sleep_for(std::chrono::milliseconds(waitMilliseconds));
    QXLOG_INFO(L"Executing GetPaperSourceInfo query.");
    return m_reader->Read(true);
}

void ArssManager::SelectPaperSource(const IPaperSourceSettings& settings, std::int32_t& inputBin,
                                    std::int32_t& rotation)
{
    const std::optional<BIDI_PAPERSOURCE> answer = GetPaperSourceInfo();
    if (!answer) {
        return;
    }
    const PageExtent page = PageExtentOf(settings);
    const SourcesFound found = ChooseTrayAndRoll(*answer);
    if (found.tray && found.roll && settings.GetMediaType() == kMediaTypeAutoSelect) {
        ChooseForAutoSelectedMedia(page, inputBin, rotation);
        return;
    }
    if (m_traySource) {
        ChooseRotationForTray(page, found.roll, rotation);
    }
    inputBin = kInputBinAutoSelect;
}

ArssManager::PageExtent ArssManager::PageExtentOf(const IPaperSourceSettings& settings)
{
    std::int32_t width = settings.GetMediaSizeWidth();
    std::int32_t height = settings.GetMediaSizeHeight();
    if (settings.GetScalingMode() == kFitToPaper) {
        width = settings.GetFitToPaperWidth();
        height = settings.GetFitToPaperHeight();
    } else if (settings.GetScalingMode() == kScaleByPercentage) {
        width = Scaled(width, settings.GetScalingPercentage());
        height = Scaled(height, settings.GetScalingPercentage());
    }
    PageExtent page = settings.GetOrientation() == kLandscape ? PageExtent{height, width} : PageExtent{width, height};
    if (settings.GetMarginsLayout() == kMarginsOversize) {
        const std::int32_t oversize =
            settings.GetUserMargin() == kUserMargin3mm ? kOversizeWith3mmMargin : kOversizeOtherwise;
        page.across = Wrapped(static_cast<std::int64_t>(page.across) + oversize);
        page.along = Wrapped(static_cast<std::int64_t>(page.along) + oversize);
    }
    return page;
}

ArssManager::SourcesFound ArssManager::ChooseTrayAndRoll(const BIDI_PAPERSOURCE& answer)
{
    SourcesFound found;
    for (const BIDI_PAPERSOURCE_ITEM& source : answer.sources) {
        if (IsUsable(source, PaperSourceTypeRoll)) {
            m_rollSource = source;
            found.roll = true;
        } else if (IsUsable(source, PaperSourceTypeTray)) {
            m_traySource = source;
            found.tray = true;
        }
        if (found.roll && found.tray) {
            break;
        }
    }
    return found;
}

ArssManager::PageExtent ArssManager::TrayExtent() const
{
    return {SnapRollWidth(MicronsFromPrinterUnits(m_traySource->width)), MicronsFromPrinterUnits(m_traySource->length)};
}

void ArssManager::ChooseForAutoSelectedMedia(PageExtent page, std::int32_t& inputBin, std::int32_t& rotation) const
{
    const PageExtent tray = TrayExtent();
    if (page.across <= tray.across && page.along <= tray.along) {
        inputBin = kInputBinTray;
        rotation = kRotate0;
        return;
    }
    if (page.across <= tray.along && page.along <= tray.across) {
        inputBin = kInputBinTray;
        rotation = kRotate90;
        return;
    }
    const std::int32_t roll = SnapRollWidth(MicronsFromPrinterUnits(m_rollSource->width));
    if (page.across <= roll || page.along <= roll) {
        inputBin = kInputBinRoll;
    }
}

void ArssManager::ChooseRotationForTray(PageExtent page, bool rollFound, std::int32_t& rotation) const
{
    // A tray wider than the loaded roll is left for the printer to choose.
    if (rollFound && m_traySource->width > m_rollSource->width) {
        return;
    }
    const PageExtent tray = TrayExtent();
    if (page.along <= tray.across && page.across <= tray.along) {
        rotation = kRotate90;
    } else if ((page.along > tray.along || page.across > tray.across) && rollFound) {
        return;  // the page does not fit the tray either way: the roll takes it
    } else {
        rotation = kRotate0;
    }
}
