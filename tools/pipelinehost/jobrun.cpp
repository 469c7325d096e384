#include "pipelinehost/jobrun.h"

#include <stdexcept>
#include <utility>

#include "pipelinehost/gradualfeeder.h"
#include "pipelinehost/setuperror.h"

namespace pipelinehost {

JobRun::JobRun(std::string input, const JobSettings& settings) : input_(std::move(input)), settings_(settings)
{
    const auto delivery = settings_.gradual ? ReadStream::Delivery::Gradual : ReadStream::Delivery::Whole;
    reader_ = OrSetupError("cannot read the input", [&] { return ReadStream::OpenFile(input_, delivery); });
}

void JobRun::CreateOutput(const std::string& path)
{
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
