// The entry point of the ticket model: reads a job's print ticket out of its XPS document sequence
// into settings, and publishes the job's page counts for the filters that follow.
#pragma once

#include <xpsobjectmodel.h>

#include "pipelinepropertybagproxy.h"
#include "ptsettings.h"

class PTManager {
public:
    // ticketRead is false, with settings that were never loaded, when the printer cannot be opened
    // or the ticket cannot be read as XML. A document sequence without a ticket, and failures of
    // the settings load, are thrown.
    static PTSettings GetJobTicket(bool& ticketRead, PipelinePropertyBagProxy& propertyBag,
                                   IXpsOMDocumentSequence* documentSequence);
};
