#include "pipelinehost/interruption.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace pipelinehost {
namespace {

// The shutdowns are sent under the lock, so that a filter that unregisters waits for its own.
struct Registry {
    std::mutex mutex;
    std::vector<const InterruptibleFilter::ShutDown*> filters;
    std::optional<std::string> interrupted;
};

Registry& Filters()
{
    static Registry* registry = new Registry;  // never destroyed: a signal may come during exit
    return *registry;
}

}  // namespace

void InterruptJobs(const std::string& why)
{
    Registry& registry = Filters();
    std::lock_guard lock(registry.mutex);
    if (registry.interrupted) {
        return;
    }
    registry.interrupted = why;
    for (const InterruptibleFilter::ShutDown* shutDown : registry.filters) {
        (*shutDown)(why);
    }
}

bool JobsInterrupted()
{
    Registry& registry = Filters();
    std::lock_guard lock(registry.mutex);
    return registry.interrupted.has_value();
}

InterruptibleFilter::InterruptibleFilter(ShutDown shutDown) : shutDown_(std::move(shutDown))
{
    Registry& registry = Filters();
    std::lock_guard lock(registry.mutex);
    if (registry.interrupted) {
        shutDown_(*registry.interrupted);
    }
    registry.filters.push_back(&shutDown_);
}

InterruptibleFilter::~InterruptibleFilter()
{
    Registry& registry = Filters();
    std::lock_guard lock(registry.mutex);
    registry.filters.erase(std::find(registry.filters.begin(), registry.filters.end(), &shutDown_));
}

}  // namespace pipelinehost
