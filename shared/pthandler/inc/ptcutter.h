// The auto cutter and the multi-page cutter, folded into one ECutter: the auto cutter decides when
// the ticket sets it, the multi-page cutter otherwise, and a cutter that nobody switched off is on.
#pragma once

#include "ptfeature.h"
#include "ptparameterrecords.h"

class PTCutter : public PTFeature<ECutter> {
public:
    explicit PTCutter(IXMLDOMDocument2* document);
    // The found flag of the feature that decided.
    bool GetValue(ECutter* cutter) override;
    // Whether the ticket selects a known multi-page cutter option.
    bool IsMultiPageCutterPresent();
};
