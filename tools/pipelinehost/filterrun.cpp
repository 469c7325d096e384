#include "pipelinehost/filterrun.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include <filterpipeline.h>
#include <wrl/client.h>

#include "pipelinehost/hresulttext.h"
#include "pipelinehost/interruption.h"

namespace pipelinehost {
namespace {

using Microsoft::WRL::ComPtr;

// Whether the filter's thread is still inside the filter; the shutdown thread waits on it.
class FilterActivity {
public:
    void Finish()
    {
        {
            std::lock_guard lock(mutex_);
            running_ = false;
        }
        finished_.notify_all();
    }
    // True when the filter finished within the time.
    bool WaitFor(std::chrono::milliseconds time)
    {
        std::unique_lock lock(mutex_);
        return finished_.wait_for(lock, time, [this] { return !running_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable finished_;
    bool running_ = true;
};

ComPtr<IPrintPipelineFilter> CreateFilter(const FilterModule& module, CallLog& calls, FilterRunResult& result)
{
    ComPtr<IClassFactory> factory;
    result.classObject = module.GetClassObject(kHostPreviewFilterClsid, IID_IClassFactory, &factory);
    calls.Record("module.DllGetClassObject(IClassFactory) -> " + HresultShort(result.classObject));
    if (FAILED(result.classObject) || !factory) {
        if (SUCCEEDED(result.classObject)) {
            result.classObject = E_POINTER;
        }
        return nullptr;
    }
    ComPtr<IPrintPipelineFilter> filter;
    result.createInstance = factory->CreateInstance(nullptr, IID_IPrintPipelineFilter, &filter);
    calls.Record("factory.CreateInstance(IPrintPipelineFilter) -> " + HresultShort(result.createInstance));
    if (SUCCEEDED(result.createInstance) && !filter) {
        result.createInstance = E_POINTER;
    }
    return filter;
}

void RunOnFilterThread(IPrintPipelineFilter& filter, const JobPipeline& pipeline, FilterRunResult& result)
{
    CallLog& calls = *pipeline.calls;
    calls.Record("filter.InitializeFilter(communicator, bag, control)");
    result.initialize = filter.InitializeFilter(pipeline.communicator.Get(), pipeline.bag.Get(),
                                                pipeline.control.Get());
    calls.Record("filter.InitializeFilter returned " + HresultShort(*result.initialize));
    if (FAILED(*result.initialize)) {
        return;
    }
    calls.Record("filter.StartOperation");
    const auto started = std::chrono::steady_clock::now();
    result.start = filter.StartOperation();
    result.startMilliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
    calls.Record("filter.StartOperation returned " + HresultShort(*result.start));
}

// ShutdownOperation reaches a running filter once, from whichever asks first: the delay of
// --shutdown-after or an interruption of the host.
class FilterShutdown {
public:
    FilterShutdown(IPrintPipelineFilter& filter, FilterActivity& activity, CallLog& calls, FilterRunResult& result)
        : filter_(filter), activity_(activity), calls_(calls), result_(result)
    {
    }

    void SendUnlessFinished(const std::string& why)
    {
        std::lock_guard lock(mutex_);
        if (result_.shutdown == FilterRunResult::Shutdown::Sent) {
            return;
        }
        if (activity_.WaitFor(std::chrono::milliseconds(0))) {
            result_.shutdown = FilterRunResult::Shutdown::NotNeeded;
            return;
        }
        calls_.Record("filter.ShutdownOperation (" + why + ")");
        result_.shutdownResult = filter_.ShutdownOperation();
        result_.shutdown = FilterRunResult::Shutdown::Sent;
        calls_.Record("filter.ShutdownOperation returned " + HresultShort(result_.shutdownResult));
    }

private:
    std::mutex mutex_;
    IPrintPipelineFilter& filter_;
    FilterActivity& activity_;
    CallLog& calls_;
    FilterRunResult& result_;
};

void ShutDownUnlessFinished(FilterShutdown& shutdown, FilterActivity& activity, unsigned afterMs)
{
    activity.WaitFor(std::chrono::milliseconds(afterMs));
    shutdown.SendUnlessFinished("after " + std::to_string(afterMs) + " ms");
}

// The step whose HRESULT decides the run: the first that failed, else StartOperation.
std::pair<const char*, HRESULT> DecidingStep(const FilterRunResult& run)
{
    if (FAILED(run.classObject)) {
        return {"DllGetClassObject", run.classObject};
    }
    if (FAILED(run.createInstance)) {
        return {"CreateInstance", run.createInstance};
    }
    if (run.initialize && FAILED(*run.initialize)) {
        return {"InitializeFilter", *run.initialize};
    }
    const HRESULT start = run.start.value_or(E_UNEXPECTED);
    if (SUCCEEDED(start) && FAILED(run.output)) {
        return {"output file", run.output};
    }
    return {"StartOperation", start};
}

}  // namespace

HRESULT FilterRunResult::Outcome() const { return DecidingStep(*this).second; }

const char* FilterRunResult::OutcomeStep() const { return DecidingStep(*this).first; }

FilterRunResult RunFilter(const FilterModule& module, const JobPipeline& pipeline,
                          std::optional<unsigned> shutdownAfterMs)
{
    FilterRunResult result;
    ComPtr<IPrintPipelineFilter> filter = CreateFilter(module, *pipeline.calls, result);
    if (!filter) {
        return result;
    }
    // Each thread writes only its own fields of the result, the shutdown's under its lock; all are
    // done before it is read.
    FilterActivity activity;
    FilterShutdown shutdown(*filter.Get(), activity, *pipeline.calls, result);
    {
        const InterruptibleFilter interruptible(
            [&shutdown](const std::string& why) { shutdown.SendUnlessFinished(why); });
        std::thread filterThread([&] {
            RunOnFilterThread(*filter.Get(), pipeline, result);
            activity.Finish();
        });
        std::thread shutdownThread;
        if (shutdownAfterMs) {
            shutdownThread = std::thread([&] { ShutDownUnlessFinished(shutdown, activity, *shutdownAfterMs); });
        }
        filterThread.join();
        if (shutdownThread.joinable()) {
            shutdownThread.join();
        }
    }
    filter.Reset();
    pipeline.calls->Record("filter released");
    // Whatever the filter heard of it, an output file that lacks bytes fails the job.
    result.output = pipeline.writer->WriteFault();
    return result;
}

}  // namespace pipelinehost
