// Enlarges the declared size of a job's pages to media that is too long or too wide for the page
// size an XPS document can express through the usual drivers (3276.7 mm), so that the preview shows
// the whole sheet. Nothing is rasterised and no content moves; only the page dimensions grow.
#pragma once

#include <cstdint>

#include <xpsobjectmodel.h>

#include "ptfeaturedescs.h"
#include "qxdrvlogger.h"

class XpsPageSizeCorrection {
public:
    // Longer or wider media than this, in micrometres, needs its pages enlarged.
    static constexpr std::uint32_t kOversizeThreshold = 3276700;

    // Media width and height in micrometres as the ticket gives them (0 when it gives none). Failed
    // XPS calls are logged at site, the caller's place in the source.
    XpsPageSizeCorrection(std::uint32_t mediaWidth, std::uint32_t mediaHeight, EOrientation orientation,
                          const LogSite& site);

    // True when at least one page of the sequence was enlarged; throws hr_error when an XPS call fails.
    bool Apply(IXpsOMDocumentSequence* documentSequence) const;

private:
    bool MediaIsOversized() const;
    bool ApplyToDocument(IXpsOMDocument* document) const;
    bool ApplyToPage(IXpsOMPageReference* pageReference) const;

    std::uint32_t m_mediaWidth;
    std::uint32_t m_mediaHeight;
    XPS_SIZE m_target;  // the media in 1/96 inch, as the pages lie
    LogSite m_site;
};
