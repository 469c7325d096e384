// What a log call costs the calling thread while the writer is running: the log is on at info
// level on a temporary machine root, so every call is formatted, queued and really written.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include <platform/machine.h>

#include "qxdrvlogger.h"

namespace {

namespace fs = std::filesystem;

fs::path& MachineRoot()
{
    static fs::path root;
    return root;
}

void RemoveMachineRoot()
{
    std::error_code ignored;
    fs::remove_all(MachineRoot(), ignored);
}

// Registered before the log starts, so that it runs after the log has drained at exit.
void StartLog()
{
    char pattern[] = "/tmp/qxlogbench-XXXXXX";
    if (::mkdtemp(pattern) == nullptr) {
        std::abort();
    }
    MachineRoot() = pattern;
    std::atexit(RemoveMachineRoot);
    const fs::path folder = MachineRoot() / "C" / "QX Inc" / "Calvost";
    fs::create_directories(folder);
    std::ofstream(folder / "qxdrvlog.cfg") << "0\n";
    platform::SetMachineRoot(MachineRoot().string());
    QXDrvLogger::Initialize(L"C:\\QX Inc\\Calvost");
    if (!QXDrvLogger::IsEnabled(LogLevel::Info)) {
        std::abort();
    }
}

const std::wstring& JobName()
{
    static const std::wstring name = L"Large format job";
    return name;
}

// Each call is timed on its own, and the median and 90th percentile of the calls are reported
// alongside the mean: on a busy machine a few calls that lose the processor for milliseconds
// would otherwise decide the figure.
class CallTimes {
public:
    explicit CallTimes(benchmark::State& state) : state_(state) { times_.reserve(static_cast<std::size_t>(state.max_iterations)); }

    void LogOne()
    {
        const auto start = std::chrono::steady_clock::now();
        QXLOG_INFO(L"Host Preview Filter - record %d of job %s", ++record_, JobName().c_str());
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        times_.push_back(elapsed.count());
    }

    void Report()
    {
        if (times_.empty()) {
            return;
        }
        std::sort(times_.begin(), times_.end());
        state_.counters["call_median_ns"] = times_[times_.size() / 2] * 1e9;
        state_.counters["call_p90_ns"] = times_[times_.size() * 9 / 10] * 1e9;
    }

    double Last() const { return times_.back(); }

private:
    benchmark::State& state_;
    std::vector<double> times_;
    int record_ = 0;
};

// Calls back to back: the writer never catches up, so every call competes with it for the mutex.
void BM_LogCallBackToBack(benchmark::State& state)
{
    CallTimes times(state);
    for (auto _ : state) {
        times.LogOne();
        state.SetIterationTime(times.Last());
    }
    times.Report();
}

// One call, then a pause (not timed) in which the writer writes it and goes back to sleep, as a
// job logs now and then: every call finds the writer asleep and wakes it.
void BM_LogCallSpacedOut(benchmark::State& state)
{
    CallTimes times(state);
    for (auto _ : state) {
        times.LogOne();
        state.SetIterationTime(times.Last());
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    times.Report();
}

// A call that the threshold drops: what logging costs where the log is off for that level.
void BM_DroppedCall(benchmark::State& state)
{
    int record = 0;
    for (auto _ : state) {
        QXLOG(static_cast<LogLevel>(-1), L"never written %d", ++record);
    }
}

// A fixed number of calls per repetition keeps the log file of a whole run to a few megabytes.
BENCHMARK(BM_LogCallBackToBack)->Iterations(20000)->Repetitions(10)->ReportAggregatesOnly(true)->UseManualTime();
BENCHMARK(BM_LogCallSpacedOut)->Iterations(2000)->Repetitions(5)->ReportAggregatesOnly(true)->UseManualTime();
BENCHMARK(BM_DroppedCall)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

int main(int argc, char** argv)
{
    StartLog();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
