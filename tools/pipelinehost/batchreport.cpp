#include "pipelinehost/batchreport.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "pipelinehost/batchrunner.h"
#include "pipelinehost/hresulttext.h"
#include "pipelinehost/runreport.h"

namespace pipelinehost {
namespace {

std::string Counted(std::size_t count, const std::string& what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// "0x80004005 E_FAIL", or the hex alone for a code without a well-known name.
std::string HexAndName(HRESULT hr)
{
    const std::string name = HresultName(hr);
    return HresultHex(hr) + (name.empty() ? "" : " " + name);
}

std::string Times(ULONG count) { return count == 1 ? "" : " (" + std::to_string(count) + " times)"; }

std::string ShutdownText(const JobOutcome& outcome)
{
    if (outcome.shutdownRequests == 0 || !outcome.shutdownReason) {
        return "no";
    }
    return HexAndName(*outcome.shutdownReason) + Times(outcome.shutdownRequests);
}

std::string FinishedText(ULONG count)
{
    return count == 0 ? "no" : "yes" + Times(count);
}

std::string ComparisonText(const FileComparison& output)
{
    if (!output.regular) {
        return "not compared, the output is no regular file";
    }
    if (!output.readable) {
        return "not compared, the files could not be read";
    }
    return output.Equal() ? "equal" : "differs";
}

std::string Fixed(double value, int decimals)
{
    char text[48];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

}  // namespace

BatchReport::BatchReport(std::ostream& out, std::size_t jobs, unsigned threads)
    : out_(out),
      jobs_(jobs),
      threads_(static_cast<unsigned>(std::min<std::size_t>(threads, jobs))),
      warmUpJobs_(BatchRunner::WarmUpJobs(jobs)),
      start_(ProcessResources::Now())
{
}

void BatchReport::PrintHeader(const std::string& modulePath, const std::string& machineRoot)
{
    out_ << "Pipeline host, " << Counted(jobs_, "job") << " on " << Counted(threads_, "thread") << "\n";
    PrintSetting(out_, "module", modulePath);
    PrintSetting(out_, "machine", machineRoot);
    out_ << "\n";
    out_.flush();
}

void BatchReport::Add(std::size_t job, JobOutcome outcome)
{
    std::lock_guard lock(mutex_);
    succeeded_ += outcome.Succeeded() ? 1 : 0;
    equal_ += outcome.OutputEqual() ? 1 : 0;
    waiting_.emplace(job, std::move(outcome));
    for (auto next = waiting_.find(printed_); next != waiting_.end(); next = waiting_.find(printed_)) {
        PrintLine(next->first, next->second);
        waiting_.erase(next);
        ++printed_;
        if (printed_ == warmUpJobs_) {
            warm_ = ProcessResources::Now();
        }
        if (printed_ == jobs_) {
            end_ = ProcessResources::Now();
        }
    }
    out_.flush();
}

void BatchReport::PrintLine(std::size_t job, const JobOutcome& outcome)
{
    out_ << "job " << job + 1 << ": " << std::filesystem::path(outcome.input).filename().string() << ": ";
    if (!outcome.setupError.empty()) {
        out_ << "cannot run: " << outcome.setupError << "\n";
        return;
    }
    out_ << outcome.run.OutcomeStep() << " " << HexAndName(outcome.run.Outcome())
         << ", RequestShutdown " << ShutdownText(outcome) << ", FilterFinished " << FinishedText(outcome.filterFinished)
         << ", output " << Counted(outcome.bytesWritten, "byte") << ", " << ComparisonText(outcome.output) << "\n";
}

void BatchReport::PrintSummary(double elapsedSeconds, HRESULT canUnloadNow, bool unloaded)
{
    std::lock_guard lock(mutex_);
    out_ << "\nSummary\n";
    PrintSetting(out_, "jobs", std::to_string(jobs_));
    PrintSetting(out_, "succeeded", std::to_string(succeeded_));
    PrintSetting(out_, "failed", std::to_string(jobs_ - succeeded_));
    PrintSetting(out_, "equal", std::to_string(equal_) + " outputs equal to their input");
    PrintSetting(out_, "elapsed", Fixed(elapsedSeconds, 3) + " s");
    PrintSetting(out_, "rate", (elapsedSeconds > 0 ? Fixed(static_cast<double>(jobs_) / elapsedSeconds, 1) : "-") +
                                   " jobs per second");
    PrintSetting(out_, "unload", DescribeUnload(canUnloadNow, unloaded));
    PrintResources();
    out_.flush();
}

void BatchReport::PrintResources()
{
    const auto text = [](const std::optional<ProcessResources>& sample) {
        return sample ? sample->Text() : std::string("unknown");
    };
    PrintSetting(out_, "resources",
                 "start: " + text(start_) + "; warm: " + text(warm_) + "; end: " + text(end_));
    // What the jobs after the warm-up left behind; a process that keeps what it takes shows it here.
    if (warm_ && end_) {
        PrintSetting(out_, "growth", "end - warm: " + end_->GrowthSince(*warm_));
    }
}

bool BatchReport::AllSucceeded() const
{
    std::lock_guard lock(mutex_);
    return succeeded_ == jobs_;
}

}  // namespace pipelinehost
