// One job through a loaded filter module, set up as the pipeline sets up a job: its own input and
// output streams, property bag, pipeline control and filter object. Jobs running side by side share
// only the module and the machine's job context.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include <wrl/client.h>

#include "pipelinehost/filecompare.h"
#include "pipelinehost/filtermodule.h"
#include "pipelinehost/filterrun.h"
#include "pipelinehost/hostoptions.h"
#include "pipelinehost/jobcontext.h"
#include "pipelinehost/jobpipeline.h"
#include "pipelinehost/outputfile.h"
#include "pipelinehost/progressreport.h"

namespace pipelinehost {

// What every job of a run is given besides its input and output.
struct JobSettings {
    const JobContext* context = nullptr;     // null: the bag holds only the command line's properties
    std::vector<PropertyOption> properties;  // the command line's, put in after the context's
    bool gradual = false;
    std::optional<unsigned> shutdownAfterMs;
};

class JobRun {
public:
    // Opens the input; throws SetupError. The settings must outlive Run.
    JobRun(std::string input, const JobSettings& settings);
    JobRun(const JobRun&) = delete;
    JobRun& operator=(const JobRun&) = delete;

    // Creates the output file (empty path: a temporary one, removed with this object) and the stream
    // into it; throws SetupError, before anything is created or truncated, when the path leads to
    // the input file itself.
    void CreateOutput(const std::string& path);
    // Builds the pipeline around the streams and runs one filter object on it. The progress report is
    // the object the bag hands the filter in place of the context's (null: the context's, if any).
    FilterRunResult Run(const FilterModule& module, Microsoft::WRL::ComPtr<ProgressReport> progress);

    // The job's pipeline objects, to be read after Run.
    const JobPipeline& Pipeline() const { return pipeline_; }
    // Lets go of the pipeline's objects, as the pipeline does once the filter is released: the
    // output file is complete after this.
    void ReleasePipeline();
    // The input against the output, byte for byte.
    FileComparison CompareOutput() const;

    const std::string& Input() const { return input_; }
    const OutputFile& Output() const;

private:
    struct FileIdentity {
        dev_t device;
        ino_t inode;
    };

    std::vector<PropertyOption> Properties(ProgressReport* progress) const;
    void RefuseInputAsOutput(const std::string& path) const;

    std::string input_;
    std::optional<FileIdentity> inputFile_;  // what the input path led to when it was opened
    const JobSettings& settings_;
    Microsoft::WRL::ComPtr<ReadStream> reader_;
    Microsoft::WRL::ComPtr<WriteStream> writer_;
    std::optional<OutputFile> output_;
    JobPipeline pipeline_;
};

}  // namespace pipelinehost
