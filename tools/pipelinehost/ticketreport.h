// A job's print ticket as the filter reads it, shown as a table of settings (feature, value,
// option keyword, found), for people who debug tickets.
#pragma once

#include <ostream>
#include <string>

#include <filterpipeline.h>

namespace pipelinehost {

// Loads the ticket of the job package at xpsPath as the filter does (the spooler's page count,
// the printer's driver properties) and prints its settings. False, with the reason printed, when
// the filter would fail the job at this point.
bool PrintJobTicket(std::ostream& out, IPrintPipelinePropertyBag* bag, const std::string& xpsPath);

// The same for a ticket file on its own, read with the job printer's driver properties.
bool PrintBareTicket(std::ostream& out, IPrintPipelinePropertyBag* bag, const std::string& ticketPath);

}  // namespace pipelinehost
