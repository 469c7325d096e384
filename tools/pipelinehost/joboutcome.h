// What one job of many came to, kept small: a run of thousands of jobs holds one of these per job
// only until its line is printed.
#pragma once

#include <optional>
#include <string>

#include <windows.h>

#include "pipelinehost/filecompare.h"
#include "pipelinehost/filterrun.h"
#include "pipelinehost/jobpipeline.h"

namespace pipelinehost {

struct JobOutcome {
    std::string input;
    std::string setupError;  // not empty: the job could not be set up and no filter ran
    FilterRunResult run;
    ULONG shutdownRequests = 0;
    std::optional<HRESULT> shutdownReason;
    ULONG filterFinished = 0;
    ULONGLONG bytesWritten = 0;
    FileComparison output;  // input against output

    // Reads what the filter told the pipeline, before the pipeline's objects go.
    void TakeFrom(const JobPipeline& pipeline);

    bool Succeeded() const { return setupError.empty() && SUCCEEDED(run.Outcome()); }
    bool OutputEqual() const { return setupError.empty() && output.Equal(); }
};

}  // namespace pipelinehost
