#include "pipelinehost/batchrunner.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "pipelinehost/comapartment.h"
#include "pipelinehost/interruption.h"

namespace pipelinehost {

BatchRunner::BatchRunner(const FilterModule& module, const JobSettings& settings)
    : module_(module), settings_(settings)
{
}

double BatchRunner::Run(const JobInputs& inputs, unsigned threads, const OutcomeSink& sink) const
{
    const std::size_t count = inputs.Count();
    const std::size_t warm = WarmUpJobs(count);
    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    std::condition_variable doneChanged;
    std::size_t done = 0;  // jobs whose sink call has returned
    const auto waitUntilDone = [&](std::size_t jobs) {
        std::unique_lock lock(mutex);
        doneChanged.wait(lock, [&] { return done >= jobs; });
    };
    const auto work = [&] {
        const ComApartment apartment;
        for (std::size_t job = next++; job < count; job = next++) {
            if (job >= warm) {
                waitUntilDone(warm);
            }
            sink(job, RunJob(inputs[job]));
            std::lock_guard lock(mutex);
            ++done;
            if (done == warm || done == count) {
                doneChanged.notify_all();
            }
        }
        waitUntilDone(count);
    };
    const auto started = std::chrono::steady_clock::now();
    const std::size_t workers = std::min<std::size_t>(std::max(threads, 1u), inputs.Count());
    std::vector<std::thread> pool;
    for (std::size_t i = 0; i < workers; ++i) {
        try {
            pool.emplace_back(work);
        } catch (const std::system_error&) {
            if (pool.empty()) {
                throw;
            }
            break;  // the threads already running take every job
        }
    }
    for (std::thread& worker : pool) {
        worker.join();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}

std::size_t BatchRunner::WarmUpJobs(std::size_t jobs)
{
    return std::max<std::size_t>((jobs + 9) / 10, 1);
}

JobOutcome BatchRunner::RunJob(const std::string& input) const
{
    JobOutcome outcome;
    outcome.input = input;
    if (JobsInterrupted()) {
        outcome.setupError = "not started, the host was interrupted";
        return outcome;
    }
    try {
        JobRun job(input, settings_);
        job.CreateOutput({});
        // Each job reports its progress to an object of its own, as each job of a real queue does;
        // the context's single one would mix the jobs' reports.
        outcome.run = job.Run(module_, settings_.context ? ProgressReport::Create() : nullptr);
        outcome.TakeFrom(job.Pipeline());
        job.ReleasePipeline();
        outcome.output = job.CompareOutput();
    } catch (const std::exception& error) {
        outcome.setupError = error.what();
    }
    return outcome;
}

}  // namespace pipelinehost
