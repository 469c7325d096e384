// Many jobs through one loaded filter module, on a few threads of this process, each job set up as
// a single run sets it up: its own filter object, bag, streams, temporary output and progress report.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "pipelinehost/filtermodule.h"
#include "pipelinehost/jobinputs.h"
#include "pipelinehost/joboutcome.h"
#include "pipelinehost/jobrun.h"

namespace pipelinehost {

class BatchRunner {
public:
    // Receives each job's outcome with the job's 0-based place in the run, on the thread that ran
    // it, as soon as it is known: in any order, from several threads at once.
    using OutcomeSink = std::function<void(std::size_t job, JobOutcome outcome)>;

    // The module and the settings must outlive the runner.
    BatchRunner(const FilterModule& module, const JobSettings& settings);

    // Runs every job on min(threads, jobs) threads and returns once all are done, with the
    // seconds they took together.
    double Run(const JobInputs& inputs, unsigned threads, const OutcomeSink& sink) const;
    // One job on the calling thread, which must be in the multithreaded apartment. A job that
    // cannot be set up (its input gone, no room for its output) has the reason in its outcome.
    JobOutcome RunJob(const std::string& input) const;

private:
    const FilterModule& module_;
    const JobSettings& settings_;
};

}  // namespace pipelinehost
