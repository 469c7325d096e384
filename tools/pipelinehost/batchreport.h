// What the host tells after a run of many jobs: one line per job, in job order whichever thread
// finished it first, then the totals and the rate.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <ostream>
#include <string>

#include <windows.h>

#include "pipelinehost/joboutcome.h"

namespace pipelinehost {

class BatchReport {
public:
    BatchReport(std::ostream& out, std::size_t jobs, unsigned threads);

    void PrintHeader(const std::string& modulePath, const std::string& machineRoot);
    // From any thread. A job's line is printed as soon as the lines of every job before it are, so
    // that a long run shows its progress and the lines still come in order.
    void Add(std::size_t job, JobOutcome outcome);
    void PrintSummary(double elapsedSeconds, HRESULT canUnloadNow, bool unloaded);

    bool AllSucceeded() const;

private:
    void PrintLine(std::size_t job, const JobOutcome& outcome);

    std::ostream& out_;
    const std::size_t jobs_;
    const unsigned threads_;
    mutable std::mutex mutex_;
    std::map<std::size_t, JobOutcome> waiting_;  // finished before an earlier job
    std::size_t printed_ = 0;
    std::size_t succeeded_ = 0;
    std::size_t equal_ = 0;
};

}  // namespace pipelinehost
