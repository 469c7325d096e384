// The folding style as the raw option keyword, for printers whose folding styles are not in the
// fixed EFolderStyle table.
#pragma once

#include <cstddef>

#include "pttextparameter.h"

class PTFoldingStylesMesa : public PTTextParameter {
public:
    static constexpr std::size_t kCharacters = 129;  // with the terminator

    explicit PTFoldingStylesMesa(IXMLDOMDocument2* document);
    // Fills a buffer of kCharacters with the keyword without its prefix; false when the ticket
    // has no folding style.
    bool GetValue(wchar_t* buffer) override;
};
