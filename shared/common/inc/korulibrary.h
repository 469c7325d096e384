// The driver's KORU library, "XPSUIOLib.dll" beside the filter module: it asks a KORU printer
// for its paper source description.
#pragma once

#include <optional>
#include <string>

#include "scopedlibrary.h"

class KoruLibrary {
public:
    // "XPSUIOLib.dll" in the folder of the module this code is linked into.
    static std::wstring DefaultPath();

    // Loads the library; throws std::runtime_error "ComLibrary not loaded" when the library or its
    // "GetBidiResponse" export cannot be had.
    explicit KoruLibrary(const std::wstring& path = DefaultPath());

    // The printer's paper source description; nothing when the library reports no answer.
    std::optional<std::wstring> GetPaperSourceDescription(const std::wstring& printerName) const;

    KoruLibrary(const KoruLibrary&) = delete;
    KoruLibrary& operator=(const KoruLibrary&) = delete;

private:
    using GetBidiResponseFunction = int (*)(wchar_t* output, int outputCharacters, const wchar_t* printerName,
                                            const wchar_t* empty, int zero, int one, const wchar_t* protocol);

    ScopedLibrary m_library;
    GetBidiResponseFunction m_getBidiResponse;
};
