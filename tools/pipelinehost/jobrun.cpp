#include "pipelinehost/jobrun.h"

#include <sys/stat.h>

#include <stdexcept>
#include <utility>

#include "pipelinehost/gradualfeeder.h"
#include "pipelinehost/setuperror.h"

namespace pipelinehost {

JobRun::JobRun(std::string input, const JobSettings& settings) : input_(std::move(input)), settings_(settings)
{
    const auto delivery = settings_.gradual ? ReadStream::Delivery::Gradual : ReadStream::Delivery::Whole;
    reader_ = OrSetupError("cannot read the input", [&] { return ReadStream::OpenFile(input_, delivery); });
    struct stat status {};
    if (::stat(input_.c_str(), &status) == 0) {
        inputFile_ = FileIdentity{status.st_dev, status.st_ino};
    }
}

// The output is created with truncation, so an output that is the input file under any name (the
// same path, another spelling, a hard link, a symbolic link to it) would destroy the job before the
// filter read it. It is told by the file, not the name: device and inode of what the path leads to.
void JobRun::RefuseInputAsOutput(const std::string& path) const
{
    struct stat status {};
    if (!inputFile_ || ::stat(path.c_str(), &status) != 0) {
        return;  // no such file yet: creating it cannot touch the input
    }
    if (status.st_dev == inputFile_->device && status.st_ino == inputFile_->inode) {
        throw SetupError("the output " + path + " is the input " + input_ +
                         " (the same file): writing it would destroy the job");
    }
}

void JobRun::CreateOutput(const std::string& path)
{
    if (!path.empty()) {
        RefuseInputAsOutput(path);
    }
    output_.emplace(OrSetupError("cannot create the output",
                                 [&] { return path.empty() ? OutputFile::Temporary() : OutputFile(path); }));
    writer_ = OrSetupError("cannot write the output", [&] { return WriteStream::ToFile(output_->Path()); });
}

FilterRunResult JobRun::Run(const FilterModule& module, Microsoft::WRL::ComPtr<ProgressReport> progress)
{
    if (!writer_) {
        throw std::logic_error("a job runs only once, after its output is created");
    }
    if (!progress && settings_.context) {
        progress = settings_.context->Progress();
    }
    pipeline_ = BuildJobPipeline(std::move(reader_), std::move(writer_), Properties(progress.Get()), progress);
    // The feeder plays the previous filter until the whole input was provided; it is done before
    // anyone reads the job's results.
    std::optional<GradualFeeder> feeder;
    if (settings_.gradual) {
        feeder.emplace(pipeline_.reader);
    }
    return RunFilter(module, pipeline_, settings_.shutdownAfterMs);
}

void JobRun::ReleasePipeline() { pipeline_ = JobPipeline{}; }

FileComparison JobRun::CompareOutput() const { return CompareFiles(input_, Output().Path()); }

const OutputFile& JobRun::Output() const
{
    if (!output_) {
        throw std::logic_error("the job's output was not created");
    }
    return *output_;
}

// The pipeline's own properties first, the job's progress report in the context's place, then the
// command line's, which may replace any of them.
std::vector<PropertyOption> JobRun::Properties(ProgressReport* progress) const
{
    std::vector<PropertyOption> properties;
    if (settings_.context) {
        properties = settings_.context->Properties();
    }
    if (progress) {
        properties.push_back({L"ProgressReport", OwnedVariant::Unknown(progress)});
    }
    properties.insert(properties.end(), settings_.properties.begin(), settings_.properties.end());
    return properties;
}

}  // namespace pipelinehost
