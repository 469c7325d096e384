// The number of copies of the whole job. Every ticket carries it, so its absence is not softened:
// the hr_error of the missing parameter ends the settings load.
#pragma once

#include "ptfeature.h"

class PTCopies : public PTFeature<unsigned int> {
public:
    explicit PTCopies(IXMLDOMDocument2* document);
    // Always true; throws hr_error E_POINTER when the ticket has no copy count.
    bool GetValue(unsigned int* copies) override;
};
