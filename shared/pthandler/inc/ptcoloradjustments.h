// Lightness and the three colour channel adjustments, taken as one set: when any of them is
// missing, none is applied.
#pragma once

#include "ptfeature.h"
#include "ptparameterrecords.h"

class PTColorAdjustments : public PTFeature<ColorAdjustments> {
public:
    explicit PTColorAdjustments(IXMLDOMDocument2* document);
    // Always true; all four values are 0 unless the ticket gives every one of them.
    bool GetValue(ColorAdjustments* adjustments) override;
};
