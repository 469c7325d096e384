// qxpipelinehost: runs the filter module for a job, or for many jobs side by side, as the print
// filter pipeline would, and reports what the filter did.
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include <objbase.h>
#include <platform/childprocesses.h>
#include <platform/machine.h>
#include <platform/machinedescription.h>
#include <wrl/client.h>

#include "pipelinehost/batchreport.h"
#include "pipelinehost/batchrunner.h"
#include "pipelinehost/comapartment.h"
#include "pipelinehost/driverlogexcerpt.h"
#include "pipelinehost/driverlogfolder.h"
#include "pipelinehost/driverreport.h"
#include "pipelinehost/filtermodule.h"
#include "pipelinehost/hostoptions.h"
#include "pipelinehost/interruption.h"
#include "pipelinehost/jobcontext.h"
#include "pipelinehost/jobinputs.h"
#include "pipelinehost/jobrun.h"
#include "pipelinehost/previewmode.h"
#include "pipelinehost/runreport.h"
#include "pipelinehost/setuperror.h"
#include "pipelinehost/ticketreport.h"

namespace {

using namespace pipelinehost;
using Microsoft::WRL::ComPtr;

constexpr int kSucceeded = 0;
constexpr int kFilterFailed = 1;
constexpr int kCannotRun = 2;
// What a program the machine started reports when an interruption of the host ends it: a console
// program's status after Ctrl+C (STATUS_CONTROL_C_EXIT).
constexpr DWORD kInterruptedProgramExit = 0xC000013Au;

std::atomic<int> interruptingSignal{0};

const char* SignalName(int signal)
{
    switch (signal) {
    case SIGINT:
        return "SIGINT";
    case SIGTERM:
        return "SIGTERM";
    default:
        return "SIGHUP";
    }
}

// SIGINT, SIGTERM and SIGHUP go to a thread of the host's own rather than to any thread wherever it
// stands. The first ends the run as a cancelled job ends: every running filter gets
// ShutdownOperation, and the programs the machine started (the preview application, which the filter
// waits for without a time limit) are ended; the filter then cleans up after its job (job file,
// pipes) and returns, the host removes its temporary outputs and exits with 128 + the signal. A
// signal a second or more later ends the host at once; one sooner is the same request arriving
// twice (Ctrl+C reaches the whole process group, and a wrapper such as timeout passes it on too).
// Called first, so that every later thread blocks them too.
void WatchStopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        std::chrono::steady_clock::time_point firstAt;
        for (;;) {
            int signal = 0;
            if (::sigwait(&signals, &signal) != 0) {
                continue;
            }
            int first = 0;
            if (!interruptingSignal.compare_exchange_strong(first, signal)) {
                if (std::chrono::steady_clock::now() - firstAt < std::chrono::seconds(1)) {
                    continue;
                }
                platform::EndChildProcesses(kInterruptedProgramExit);
                std::_Exit(128 + signal);
            }
            firstAt = std::chrono::steady_clock::now();
            InterruptJobs(std::string("interrupted by ") + SignalName(signal));
            platform::EndChildProcesses(kInterruptedProgramExit);
        }
    }).detach();
}

// The machine runs the programs under its root as the job's user, so a root someone else may write
// would run their program in the user's name: every root must be the user's own. The default one
// lies in /tmp, where another user may have put it first, so it is made private or taken only as
// itself; a root given by --root or $QX_MACHINE_ROOT is the caller's choice, links included.
void UseMachineRoot(const std::string& root)
{
    const std::string current = platform::MachineRoot();
    const std::string folder = root.empty() ? current : root;
    const bool isDefault = root.empty() && current == platform::DefaultMachineRoot();
    if (const std::optional<std::string> refusal = platform::MachineRootRefusal(folder, isDefault)) {
        throw SetupError(*refusal);
    }
    if (root.empty()) {
        return;
    }
    // Absolute, so that the report names it unambiguously and no change of folder can move it.
    char* absolute = ::realpath(root.c_str(), nullptr);
    platform::SetMachineRoot(absolute != nullptr ? absolute : root);
    std::free(absolute);
}

// The description given, else the bundled machine the build puts beside the host: found as the
// module is, so a copy of the programs needs no source tree.
std::string MachinePath(const HostOptions& options)
{
    return options.machine.empty() ? BesideHost("default-machine.json") : options.machine;
}

// The job's context on the machine the description declares. A refused description ends the run
// with the loader's own message, before the input or the module is touched.
std::unique_ptr<JobContext> LoadJobContext(const std::string& machine, const HostOptions& options)
{
    platform::LoadMachineDescription(machine);
    try {
        return std::make_unique<JobContext>(options.printer, options.job);
    } catch (const std::exception& error) {
        throw SetupError("cannot set up the job on " + machine + ": " + error.what());
    }
}

// The module reads its log configuration when its first filter starts logging, so the level is
// written before the module is loaded.
void ConfigureDriverLog(const HostOptions& options)
{
    if (!options.logLevel.empty()) {
        OrSetupError("cannot configure the driver log", [&] {
            DriverLogFolder().Configure(options.logLevel);
            return 0;
        });
    }
}

// Where to look afterwards; only when the run asked for the log.
void PrintDriverLogFile(std::ostream& out, const HostOptions& options)
{
    if (options.logLevel.empty()) {
        return;
    }
    if (const std::optional<std::string> file = DriverLogFolder().LogFile()) {
        out << "\nDriver log\n";
        PrintSetting(out, "file", *file);
    }
}

std::string ModulePath(const HostOptions& options)
{
    return options.module.empty() ? DefaultModulePath() : options.module;
}

FilterModule LoadModule(const std::string& path)
{
    return OrSetupError("cannot load the module", [&] { return FilterModule(path); });
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

// The decision and the verdict in the filter's own words, when its log is on.
void PrintDriverLogExcerpt(std::ostream& out, const DriverLogExcerpt& excerpt)
{
    const std::vector<std::string> lines = excerpt.Lines();
    if (lines.empty()) {
        return;
    }
    out << "\nFilter's log, the decision and the verdict\n";
    for (const std::string& line : lines) {
        out << "  " << line << "\n";
    }
}

// One job, with the full report.
int RunSingleJob(const HostOptions& options, const std::string& input, std::unique_ptr<JobContext> context)
{
    JobSettings settings{context.get(), options.properties, options.gradual, options.shutdownAfterMs};
    JobRun job(input, settings);
    const DriverLogExcerpt logExcerpt;
    const std::string modulePath = ModulePath(options);
    FilterModule module = LoadModule(modulePath);
    // Created last, so that a run that cannot start leaves an existing output file as it was.
    job.CreateOutput(options.output);

    RunReport report;
    {
        const ComApartment apartment;
        const FilterRunResult run = job.Run(module, nullptr);
        PropertyBag::ValueNote notes;
        if (context) {
            notes = [&context](const std::wstring& name, const VARIANT& value) { return context->Describe(name, value); };
        }
        report = SnapshotJob(job.Pipeline(), run, notes);
        if (context) {
            report.machineFile = MachinePath(options);
            report.job = context->Summary();
        }
        // The pipeline lets go of the job's objects before it asks whether the module may go, and
        // closes the printer handle and the token once the job is over.
        job.ReleasePipeline();
        settings.context = nullptr;
        context.reset();
        report.canUnloadNow = module.UnloadIfUnused();
        report.unloaded = !module.Loaded();
    }
    report.modulePath = modulePath;
    report.inputPath = input;
    report.outputPath = job.Output().Path();
    report.outputTemporary = job.Output().IsTemporary();
    report.machineRoot = platform::MachineRoot();
    report.gradual = options.gradual;
    report.output = job.CompareOutput();
    PrintReport(std::cout, report);
    PrintDriverLogExcerpt(std::cout, logExcerpt);
    PrintDriverLogFile(std::cout, options);
    return SUCCEEDED(report.run.Outcome()) ? kSucceeded : kFilterFailed;
}

// Many jobs through one loaded module, a line each and the totals.
int RunBatch(const HostOptions& options, const JobInputs& inputs, std::unique_ptr<JobContext> context)
{
    inputs.CheckReadable();
    const JobSettings settings{context.get(), options.properties, options.gradual, options.shutdownAfterMs};
    const std::string modulePath = ModulePath(options);
    FilterModule module = LoadModule(modulePath);

    BatchReport report(std::cout, inputs.Count(), options.threads);
    report.PrintHeader(modulePath, platform::MachineRoot());
    const double elapsed = BatchRunner(module, settings).Run(
        inputs, options.threads, [&report](std::size_t job, JobOutcome outcome) { report.Add(job, std::move(outcome)); });
    context.reset();
    const HRESULT canUnloadNow = module.UnloadIfUnused();
    report.PrintSummary(elapsed, canUnloadNow, !module.Loaded());
    PrintDriverLogFile(std::cout, options);
    return report.AllSucceeded() ? kSucceeded : kFilterFailed;
}

JobInputs ListInputs(const HostOptions& options)
{
    if (!options.inputFolder.empty()) {
        return JobInputs::FromFolder(options.inputFolder, options.repeat);
    }
    return JobInputs({options.input}, options.repeat);
}

int RunHost(const HostOptions& options)
{
    UseMachineRoot(options.root);
    std::unique_ptr<JobContext> context = LoadJobContext(MachinePath(options), options);
    ConfigureDriverLog(options);
    // Before the module and any thread that could read the environment.
    UsePreviewMode(options.preview);
    if (options.showDriver) {
        return ShowDriver(*context);
    }
    if (options.showTicket) {
        return ShowTicket(*context, options);
    }
    const JobInputs inputs = ListInputs(options);
    if (inputs.Count() == 1) {
        return RunSingleJob(options, inputs[0], std::move(context));
    }
    return RunBatch(options, inputs, std::move(context));
}

// The run as the command line asks for it, with its exit status.
int RunHostProgram(int argc, char** argv)
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

}  // namespace

int main(int argc, char** argv)
{
    WatchStopSignals();
    const int status = RunHostProgram(argc, argv);
    if (const int signal = interruptingSignal.load()) {
        std::cerr << "qxpipelinehost: interrupted by " << SignalName(signal)
                  << ": the jobs were shut down and the programs they started ended\n";
        return 128 + signal;
    }
    return status;
}
