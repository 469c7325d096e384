// qxpipelinehost: runs the filter module for one job as the print filter pipeline would, and
// reports what the filter did.
#include <sys/stat.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include <objbase.h>
#include <platform/machine.h>
#include <platform/machinedescription.h>
#include <wrl/client.h>

#include "pipelinehost/driverreport.h"
#include "pipelinehost/filtermodule.h"
#include "pipelinehost/filterrun.h"
#include "pipelinehost/gradualfeeder.h"
#include "pipelinehost/hostoptions.h"
#include "pipelinehost/jobcontext.h"
#include "pipelinehost/jobpipeline.h"
#include "pipelinehost/outputfile.h"
#include "pipelinehost/runreport.h"
#include "pipelinehost/ticketreport.h"

namespace {

using namespace pipelinehost;
using Microsoft::WRL::ComPtr;

constexpr int kSucceeded = 0;
constexpr int kFilterFailed = 1;
constexpr int kCannotRun = 2;

// A problem with what the host was given, before any filter code ran.
class SetupError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The host's own thread in the multithreaded apartment, for as long as it holds COM objects.
class ComApartment {
public:
    ComApartment() : hr_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComApartment()
    {
        if (SUCCEEDED(hr_)) {
            CoUninitialize();
        }
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    HRESULT hr_;
};

void UseMachineRoot(const std::string& root)
{
    if (root.empty()) {
        return;
    }
    struct stat status {};
    if (::stat(root.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        throw SetupError("machine root " + root + " is not a folder");
    }
    // Absolute, so that the report names it unambiguously and no change of folder can move it.
    char* absolute = ::realpath(root.c_str(), nullptr);
    platform::SetMachineRoot(absolute != nullptr ? absolute : root);
    std::free(absolute);
}

template <class Make>
auto OrSetupError(const std::string& what, Make make)
{
    try {
        return make();
    } catch (const std::exception& error) {
        throw SetupError(what + ": " + error.what());
    }
}

// The job's context on the machine the description declares. A refused description ends the run
// with the loader's own message, before the input or the module is touched.
std::unique_ptr<JobContext> LoadJobContext(const HostOptions& options)
{
    if (options.machine.empty()) {
        return nullptr;
    }
    platform::LoadMachineDescription(options.machine);
    try {
        return std::make_unique<JobContext>(options.printer, options.job);
    } catch (const std::exception& error) {
        throw SetupError("cannot set up the job on " + options.machine + ": " + error.what());
    }
}

ComPtr<PropertyBag> ContextBag(const JobContext& context)
{
    auto bag = PropertyBag::Create();
    for (const PropertyOption& property : context.Properties()) {
        bag->Set(property.name, property.value);
    }
    return bag;
}

// Decodes the job printer's driver properties as the filter would, without running a job.
int ShowDriver(JobContext& context)
{
    const ComApartment apartment;
    return PrintDriverProperties(std::cout, ContextBag(context).Get()) ? kSucceeded : kFilterFailed;
}

// Reads the job's ticket (or a ticket file) into settings as the filter would, without running a job.
int ShowTicket(JobContext& context, const HostOptions& options)
{
    const ComApartment apartment;
    const auto bag = ContextBag(context);
    const bool read = options.ticket.empty() ? PrintJobTicket(std::cout, bag.Get(), options.input)
                                             : PrintBareTicket(std::cout, bag.Get(), options.ticket);
    return read ? kSucceeded : kFilterFailed;
}

int RunHost(const HostOptions& options)
{
    UseMachineRoot(options.root);
    std::unique_ptr<JobContext> context = LoadJobContext(options);
    if (options.showDriver) {
        return ShowDriver(*context);
    }
    if (options.showTicket) {
        return ShowTicket(*context, options);
    }
    const auto delivery = options.gradual ? ReadStream::Delivery::Gradual : ReadStream::Delivery::Whole;
    auto reader = OrSetupError("cannot read the input", [&] { return ReadStream::OpenFile(options.input, delivery); });
    const std::string modulePath = options.module.empty() ? DefaultModulePath() : options.module;
    FilterModule module = OrSetupError("cannot load the module", [&] { return FilterModule(modulePath); });
    // Created last, so that a run that cannot start leaves an existing output file as it was.
    OutputFile output = OrSetupError("cannot create the output", [&] {
        return options.output.empty() ? OutputFile::Temporary() : OutputFile(options.output);
    });
    auto writer = OrSetupError("cannot write the output", [&] { return WriteStream::ToFile(output.Path()); });
    // The pipeline's own properties first; the command line's may replace them.
    std::vector<PropertyOption> properties = context ? context->Properties() : std::vector<PropertyOption>{};
    properties.insert(properties.end(), options.properties.begin(), options.properties.end());
    JobPipeline pipeline = BuildJobPipeline(std::move(reader), std::move(writer), properties,
                                            context ? context->Progress() : nullptr);

    RunReport report;
    {
        ComApartment apartment;
        FilterRunResult run;
        {
            std::optional<GradualFeeder> feeder;
            if (options.gradual) {
                feeder.emplace(pipeline.reader);
            }
            run = RunFilter(module, pipeline, options.shutdownAfterMs);
        }
        PropertyBag::ValueNote notes;
        if (context) {
            notes = [&context](const std::wstring& name, const VARIANT& value) { return context->Describe(name, value); };
        }
        report = SnapshotJob(pipeline, run, notes);
        if (context) {
            report.machineFile = options.machine;
            report.job = context->Summary();
        }
        // The pipeline lets go of the job's objects before it asks whether the module may go, and
        // closes the printer handle and the token once the job is over.
        pipeline = JobPipeline{};
        context.reset();
        report.canUnloadNow = module.UnloadIfUnused();
        report.unloaded = !module.Loaded();
    }
    report.modulePath = modulePath;
    report.inputPath = options.input;
    report.outputPath = output.Path();
    report.outputTemporary = output.IsTemporary();
    report.machineRoot = platform::MachineRoot();
    report.gradual = options.gradual;
    report.output = CompareFiles(options.input, output.Path());
    PrintReport(std::cout, report);
    return SUCCEEDED(report.run.Outcome()) ? kSucceeded : kFilterFailed;
}

}  // namespace

int main(int argc, char** argv)
{
    HostOptions options;
    try {
        options = ParseHostOptions(argc, argv);
    } catch (const UsageError& error) {
        std::cerr << "qxpipelinehost: " << error.what() << " (see --help)\n";
        return kCannotRun;
    }
    if (options.help) {
        std::cout << HostUsage();
        return kSucceeded;
    }
    try {
        return RunHost(options);
    } catch (const std::exception& error) {
        std::cerr << "qxpipelinehost: " << error.what() << "\n";
        return kCannotRun;
    }
}
