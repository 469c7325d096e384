// Page scaling: fit to a paper (optionally to the roll width), scale by a percentage, or none.
#pragma once

#include <string_view>

#include "ptfeature.h"
#include "ptparameterrecords.h"

class PTScaling : public PTFeature<Scaling> {
public:
    static constexpr std::size_t kPaperNameCharacters = 50;  // with the terminator

    explicit PTScaling(IXMLDOMDocument2* document);
    // Always true; Scaling::mode says what the ticket gave. Fitting to a paper wins over a
    // percentage; paperSize is left as it was unless a paper was read.
    bool GetValue(Scaling* scaling) override;
};

// The first listed media size whose keyword the paper name begins with, in table order ("F"
// therefore claims every name beginning with F); CustomSize when none does.
EMediaSize MediaSizeFromPaperName(std::wstring_view paperName);
