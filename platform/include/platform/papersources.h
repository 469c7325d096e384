// A printer's paper sources: what it reports over bidi and what the driver's KORU library reports.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "../windows.h"

namespace platform {

// One paper source as the printer answers "\Printer.PaperSource". Each value that is set becomes
// one entry "\Printer.PaperSource.Source<number>:<property>"; a value left unset is not reported.
struct PaperSource {
    DWORD number = 0;  // 0: its place in the answer, from 1
    std::optional<std::wstring> type;       // ":Type" BIDI_ENUM, "continuousRoll", "sheetFeedAutoNonRemovableTray"
    std::optional<std::wstring> installed;  // ":InputInstalled", "installed", "engaged", "true", "2"
    std::wstring installedType = L"BIDI_ENUM";  // or "BIDI_STRING"
    std::optional<LONG> width;              // ":Width" BIDI_INT, in 1/720 inch
    std::optional<LONG> length;             // ":Length" BIDI_INT, in 1/720 inch
    std::optional<bool> notReady;           // ":NotReady" BIDI_BOOL
    std::optional<LONG> mediaProtected;     // ":MediaProtected" BIDI_INT
    std::optional<LONG> id;                 // ":Id" BIDI_INT
    std::optional<std::wstring> name;       // ":Name" BIDI_STRING
    std::optional<std::wstring> vendor;     // ":Vendor" BIDI_STRING
};

// Everything one paper source query is answered.
struct PaperSourceAnswer {
    std::vector<PaperSource> sources;
    std::optional<LONG> defaultSource;  // "\Printer.PaperSource:DefaultSource" BIDI_INT
    std::optional<LONG> notReadyMask;   // "\Printer.PaperSource:NotReady" BIDI_INT, bit n-1 for source n
};

// One paper source in the KORU description. Each text that is not empty becomes one line
// "Source<number>_<Field>=<text>"; numbers are decimal text with an optional fraction ("914.4").
struct KoruPaperSource {
    DWORD number = 0;  // 0: its place in the list, from 1
    std::wstring name;           // "_Name"
    std::wstring mediaId;        // "_MediaID"
    std::wstring type;           // "_Type", as over bidi
    std::wstring mediaUnits;     // "_MediaUnits": "meters", "millimeters", "inches", "tenThousandthsOfInches",
                                 // "points", "feet" or "micrometers"
    std::wstring mediaSizeName;  // "_MediaSizeName"
    std::wstring mediaWidth;     // "_MediaWidth", in mediaUnits
    std::wstring mediaLength;    // "_MediaLength", in mediaUnits
    std::wstring inputInstalled; // "_InputInstalled"
    std::wstring mediaType;      // "_MediaType"
    std::wstring notReady;       // "_NotReady", "true" or "false"
};

}  // namespace platform
