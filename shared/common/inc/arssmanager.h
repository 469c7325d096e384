// Lets the printer's loaded paper sources choose the job's input bin and rotation when the ticket
// leaves both open: the printer is asked through bidi, and a roll or tray the page fits is chosen.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "bidipapersource.h"
#include "bidipapersourcereader.h"
#include "papersourcesettings.h"
#include "printerdriverproperties.h"

class ArssManager {
public:
    // Pause before each repeated query while a loaded source is still being measured.
    static constexpr int kQueryWaitMilliseconds = 100;
    // How often the query is repeated at most (30 seconds) before the last answer is used as it is.
    static constexpr int kMaxQueryRepeats = 300;

    // Throws std::invalid_argument "Printer name is blank or null" for an empty name.
    explicit ArssManager(const std::wstring& printerName, int maxQueryRepeats = kMaxQueryRepeats);

    // Whether the driver can ask the printer ("IsArssSupported", "BidiInformation") and the ticket
    // leaves input bin (AutoSelect) and rotation (None) to the printer.
    bool CanQueryPaperSources(const IPaperSourceSettings& settings, IPrinterDriverProperties& driverProperties) const;

    // The printer's paper sources once every loaded source is measured (or the repeats run out);
    // nothing when the printer cannot be asked, and on any call after the first.
    std::optional<BIDI_PAPERSOURCE> GetPaperSourceInfo();

    // Waits, then asks the printer again.
    std::optional<BIDI_PAPERSOURCE> RetryGetPaperSourceInfo(int waitMilliseconds) const;

    // Chooses input bin and rotation (option values) for the page; both stay as they are when the
    // printer gives no answer.
    void SelectPaperSource(const IPaperSourceSettings& settings, std::int32_t& inputBin, std::int32_t& rotation);

    const std::optional<BIDI_PAPERSOURCE_ITEM>& TraySource() const { return m_traySource; }
    const std::optional<BIDI_PAPERSOURCE_ITEM>& RollSource() const { return m_rollSource; }

    ArssManager(const ArssManager&) = delete;
    ArssManager& operator=(const ArssManager&) = delete;

private:
    // The page's two sides as they lie on the media, in micrometres.
    struct PageExtent {
        std::int32_t across;
        std::int32_t along;
    };

    struct SourcesFound {
        bool tray = false;
        bool roll = false;
    };

    // Width and height of the page after scaling, turned for the orientation, with the oversize
    // margins added.
    static PageExtent PageExtentOf(const IPaperSourceSettings& settings);
    // Remembers the last ready, measured sheet tray and roll of the answer.
    SourcesFound ChooseTrayAndRoll(const BIDI_PAPERSOURCE& answer);
    // The tray's snapped width and its length in micrometres.
    PageExtent TrayExtent() const;
    void ChooseForAutoSelectedMedia(PageExtent page, std::int32_t& inputBin, std::int32_t& rotation) const;
    void ChooseRotationForTray(PageExtent page, bool rollFound, std::int32_t& rotation) const;

    std::unique_ptr<BidiPaperSourceReader> m_reader;
    std::optional<BIDI_PAPERSOURCE_ITEM> m_traySource;
    std::optional<BIDI_PAPERSOURCE_ITEM> m_rollSource;
    int m_maxQueryRepeats;
};
