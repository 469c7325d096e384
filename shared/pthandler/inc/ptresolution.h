// The ticket's page resolution, and the render resolution that replaces it when the driver knows
// the job's print mode.
#pragma once

#include "ptfeaturedescs.h"
#include "ptlist.h"

class PTResolution : public GenericPTFeatureList<unsigned int, resolutionDesc> {
public:
    explicit PTResolution(IXMLDOMDocument2* document);

    // Dots per inch of the private PageRenderResolution parameter; any text that is no listed
    // resolution (an empty one too) is 1200. An absent parameter throws hr_error.
    unsigned int GetRenderResolution();
};
