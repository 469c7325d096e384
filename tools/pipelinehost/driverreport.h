// The job printer's driver properties as the filter decodes them, for people who check a driver
// package or a machine description.
#pragma once

#include <ostream>

#include <filterpipeline.h>

namespace pipelinehost {

// Prints the decoded properties; false (with the reason printed) when the filter would fail to
// read them for this job.
bool PrintDriverProperties(std::ostream& out, IPrintPipelinePropertyBag* bag);

}  // namespace pipelinehost
