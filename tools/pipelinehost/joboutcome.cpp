#include "pipelinehost/joboutcome.h"

namespace pipelinehost {

void JobOutcome::TakeFrom(const JobPipeline& pipeline)
{
    shutdownRequests = pipeline.control->ShutdownRequests();
    shutdownReason = pipeline.control->ShutdownReason();
    filterFinished = pipeline.control->FinishedCount();
    bytesWritten = pipeline.writer->BytesWritten();
}

}  // namespace pipelinehost
