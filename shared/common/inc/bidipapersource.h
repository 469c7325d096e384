// The printer's paper sources as one query reports them: the loaded rolls and trays, what is
// loaded in them and whether they are ready. Widths and lengths are in 1/720 inch, the unit the
// printer reports them in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Source type codes.
enum EPaperSourceType : std::int32_t {
    PaperSourceTypeNotReported = -1,
    PaperSourceTypeOther = 0,   // reported, but not a kind the driver tells apart
    PaperSourceTypeTray = 1,    // a sheet tray
    PaperSourceTypeRoll = 2,
    PaperSourceTypeManual = 4,  // manual sheet feed
};

struct BIDI_PAPERSOURCE_ITEM {
    // 1 when the not-ready mask leaves the source's bit clear, or, without a mask, when the source
    // itself says it is not ready or engaged.
    std::uint32_t stateFlag = 0;
    std::uint32_t installed = 0;  // 1 when something is loaded
    std::uint32_t number = 0;     // from 1
    std::int32_t width = -1;      // 1/720 inch; -1 when not reported
    std::int32_t length = -1;     // 1/720 inch; -1 when not reported
    std::int32_t mediaProtected = -1;  // 2 protected, 0 not, -1 not reported
    std::int32_t type = PaperSourceTypeNotReported;
    std::uint32_t spare = 0;
    std::wstring mediaType;  // the loaded medium's identifier as decimal text; empty when unknown
    std::wstring name;
    std::wstring vendor;
};

struct BIDI_PAPERSOURCE {
    std::int32_t defaultSource = -1;  // -1 when not reported
    std::int32_t notReadyMask = -1;   // bit n-1 for source n; -1 when not reported
    std::vector<BIDI_PAPERSOURCE_ITEM> sources;  // in source number order
};
