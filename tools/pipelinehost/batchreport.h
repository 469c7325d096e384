// What the host tells after a run of many jobs: one line per job, in job order whichever thread
// finished it first, then the totals, the rate and what the process held before, during and after
// the jobs.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>

#include <windows.h>

#include "pipelinehost/joboutcome.h"
#include "pipelinehost/processresources.h"

namespace pipelinehost {

class BatchReport {
public:
    // Made once the module is loaded and before the first job starts: the process's resources
    // now are the run's starting point.
    BatchReport(std::ostream& out, std::size_t jobs, unsigned threads);

    void PrintHeader(const std::string& modulePath, const std::string& machineRoot);
    // From any thread. A job's line is printed as soon as the lines of every job before it are, so
    // that a long run shows its progress and the lines still come in order. The resources are
    // sampled again when the warm-up jobs (BatchRunner::WarmUpJobs) are all in, and when every
    // job is: the runner's quiet moments, with its threads idle and no job open.
    void Add(std::size_t job, JobOutcome outcome);
    void PrintSummary(double elapsedSeconds, HRESULT canUnloadNow, bool unloaded);

    bool AllSucceeded() const;

private:
    void PrintLine(std::size_t job, const JobOutcome& outcome);
    void PrintResources();

    std::ostream& out_;
    const std::size_t jobs_;
    const unsigned threads_;
    mutable std::mutex mutex_;
    std::map<std::size_t, JobOutcome> waiting_;  // finished before an earlier job
    std::size_t printed_ = 0;
    std::size_t succeeded_ = 0;
    std::size_t equal_ = 0;
    const std::size_t warmUpJobs_;
    const std::optional<ProcessResources> start_;
    std::optional<ProcessResources> warm_;
    std::optional<ProcessResources> end_;
};

}  // namespace pipelinehost
