// A host run that is told to stop: the filters running then get ShutdownOperation, as the pipeline
// sends it to the filters of a job it cancels, and so does every filter that starts later.
#pragma once

#include <functional>
#include <string>

namespace pipelinehost {

// Shuts down every registered filter, and from now on each newly registered one at once. The
// reason is what the call log says, e.g. "interrupted by SIGTERM".
void InterruptJobs(const std::string& why);
bool JobsInterrupted();

// A running filter's shutdown, which InterruptJobs sends while this object lives.
class InterruptibleFilter {
public:
    using ShutDown = std::function<void(const std::string& why)>;

    explicit InterruptibleFilter(ShutDown shutDown);
    // Once it returns, the shutdown is neither running nor sent any more.
    ~InterruptibleFilter();
    InterruptibleFilter(const InterruptibleFilter&) = delete;
    InterruptibleFilter& operator=(const InterruptibleFilter&) = delete;

private:
    ShutDown shutDown_;
};

}  // namespace pipelinehost
