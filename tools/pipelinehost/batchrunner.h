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
    // seconds they took together. Two moments of the run are quiet, so that a sink can see what
    // the process holds between jobs: no job of the run starts before the outcomes of the first
    // WarmUpJobs() are in, and no thread ends before the last outcome is in. At both, every thread
    // of the run is alive and no job is open; only sink calls of finished jobs may still return.
    double Run(const JobInputs& inputs, unsigned threads, const OutcomeSink& sink) const;
    // The first tenth of a run's jobs (at least one), after which caches and pools are filled.
    static std::size_t WarmUpJobs(std::size_t jobs);
    // One job on the calling thread, which must be in the multithreaded apartment. A job that
    // cannot be set up (its input gone, no room for its output) has the reason in its outcome.
    JobOutcome RunJob(const std::string& input) const;

private:
    const FilterModule& module_;
    const JobSettings& settings_;
};

}  // namespace pipelinehost
