// Jobs per second through the filter module in one process, as the host runs them with --repeat and
// --threads: small pass-through jobs on the bundled machine, one thread and several. Then one 512 MB
// job against a plain read/write copy of the same file in the same run, with the ratio of the two
// and the process's peak resident memory, to be read beside the job's size.
//
// The large case needs about 1.5 GB in $TMPDIR; --benchmark_filter=SmallJobs leaves it out.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <zip.h>

#include <objbase.h>
#include <platform/machine.h>
#include <platform/machinedescription.h>

#include "pipelinehost/batchrunner.h"
#include "pipelinehost/comapartment.h"
#include "pipelinehost/filtermodule.h"
#include "pipelinehost/jobcontext.h"
#include "pipelinehost/jobinputs.h"
#include "pipelinehost/jobrun.h"
#include "pipelinehost/previewmode.h"
#include "xpsbuilder.h"

namespace {

namespace fs = std::filesystem;
using namespace pipelinehost;

constexpr std::size_t kJobsPerIteration = 64;
constexpr std::size_t kSmallImageBytes = 96 * 1024;
constexpr std::size_t kLargeJobBytes = std::size_t{512} << 20;
constexpr std::size_t kCopyBuffer = 64 * 1024;

[[noreturn]] void Fail(const std::string& what)
{
    std::fprintf(stderr, "bench_jobrun: %s\n", what.c_str());
    std::exit(1);
}

std::string TemporaryFolder()
{
    const char* folder = std::getenv("TMPDIR");
    return folder != nullptr && *folder != '\0' ? folder : "/tmp";
}

std::string TemporaryName(const std::string& what)
{
    return TemporaryFolder() + "/qxbench-jobrun-" + what + "-" + std::to_string(::getpid());
}

// Bytes that no compressor shrinks, as a scanned image's are.
std::string NoiseBytes(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

// A machine of its own with the driver log off, the bundled printers and jobs, the module loaded once
// and the job context every job gets, as the host sets them up before its first job.
class BenchHost {
public:
    BenchHost() : root_(TemporaryName("machine"))
    {
        fs::create_directories(root_);
        platform::SetMachineRoot(root_);
        UsePreviewMode({});
        platform::LoadMachineDescription(QX_DEFAULT_MACHINE);
        context_ = std::make_unique<JobContext>(std::string{}, std::nullopt);
        settings_.context = context_.get();
        module_ = std::make_unique<FilterModule>(DefaultModulePath());
    }
    ~BenchHost()
    {
        context_.reset();
        module_.reset();
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    BenchHost(const BenchHost&) = delete;
    BenchHost& operator=(const BenchHost&) = delete;

    const FilterModule& Module() const { return *module_; }
    const JobSettings& Settings() const { return settings_; }

private:
    std::string root_;
    std::unique_ptr<JobContext> context_;
    JobSettings settings_;
    std::unique_ptr<FilterModule> module_;
};

// Made and torn down by main, while the platform's own state is still there.
BenchHost* g_host = nullptr;

BenchHost& Host() { return *g_host; }

// A one-page XPS job of about 100 KB: the whole ticket a driver writes, and an image-sized resource.
const std::string& SmallJob()
{
    static const std::string path = [] {
        testsupport::XpsJobPlan plan = testsupport::XpsJobPlan::Pages(1, 1);
        plan.jobTicket = testsupport::ReadFile(QX_SAMPLES_DIR "/tickets/poster-coated.xml");
        plan.extraParts.push_back({"Resources/scan.png", NoiseBytes(kSmallImageBytes, 11), "image/png", false});
        const std::string file = TemporaryName("small.xps");
        testsupport::BuildXpsParts(plan).WriteTo(file);
        return file;
    }();
    return path;
}

// Written a block at a time, so that making the job does not raise the peak memory it measures.
void WriteNoiseFile(const std::string& file, std::size_t bytes)
{
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const std::string block = NoiseBytes(1 << 20, 7);
    for (std::size_t written = 0; fd >= 0 && written < bytes; written += block.size()) {
        if (::write(fd, block.data(), block.size()) != static_cast<ssize_t>(block.size())) {
            Fail("cannot write " + file);
        }
    }
    if (fd < 0 || ::close(fd) != 0) {
        Fail("cannot create " + file);
    }
}

// The archive of the parts, the one named taking its bytes, stored, from a file that libzip reads
// as it writes.
void ZipWithPartFromFile(const testsupport::ZipParts& parts, const std::string& name, const std::string& file,
                         const std::string& archive)
{
    int error = 0;
    zip_t* zip = zip_open(archive.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (zip == nullptr) {
        Fail("cannot create " + archive);
    }
    for (const testsupport::ZipEntry& entry : parts.entries) {
        const bool fromFile = entry.name == name;
        zip_source_t* source = fromFile ? zip_source_file(zip, file.c_str(), 0, 0)
                                        : zip_source_buffer(zip, entry.data.data(), entry.data.size(), 0);
        const zip_int64_t index = source == nullptr ? -1 : zip_file_add(zip, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8);
        const zip_int32_t method = entry.deflate && !fromFile ? ZIP_CM_DEFLATE : ZIP_CM_STORE;
        if (index < 0 || zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), method, 0) != 0) {
            Fail("cannot add " + entry.name + ": " + zip_strerror(zip));
        }
    }
    if (zip_close(zip) != 0) {
        Fail("cannot write " + archive + ": " + zip_strerror(zip));
    }
}

// The small job's package with a 512 MB scan in it.
const std::string& LargeJob()
{
    static const std::string path = [] {
        testsupport::XpsJobPlan plan = testsupport::XpsJobPlan::Pages(1, 1);
        plan.jobTicket = testsupport::ReadFile(QX_SAMPLES_DIR "/tickets/poster-coated.xml");
        plan.extraParts.push_back({"Resources/scan.png", {}, "image/png", false});
        const std::string scan = TemporaryName("large-scan.png");
        WriteNoiseFile(scan, kLargeJobBytes);
        const std::string file = TemporaryName("large.xps");
        ZipWithPartFromFile(testsupport::BuildXpsParts(plan), "Resources/scan.png", scan, file);
        std::remove(scan.c_str());
        return file;
    }();
    return path;
}

double Seconds(std::chrono::steady_clock::time_point since)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

double PeakResidentMb()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;  // kilobytes on Linux
}

double PlainCopy(const std::string& from, const std::string& to)
{
    const auto started = std::chrono::steady_clock::now();
    const int in = ::open(from.c_str(), O_RDONLY);
    const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<char> buffer(kCopyBuffer);
    for (ssize_t got = ::read(in, buffer.data(), buffer.size()); got > 0; got = ::read(in, buffer.data(), buffer.size())) {
        if (::write(out, buffer.data(), static_cast<std::size_t>(got)) != got) {
            Fail("cannot write " + to);
        }
    }
    ::close(out);
    ::close(in);
    return Seconds(started);
}

std::string DescribeFailure(const JobOutcome& outcome)
{
    if (!outcome.setupError.empty()) {
        return "a job could not run: " + outcome.setupError;
    }
    char text[96];
    std::snprintf(text, sizeof text, "a job failed or changed its input: %s 0x%08X", outcome.run.OutcomeStep(),
                  static_cast<unsigned>(outcome.run.Outcome()));
    return text;
}

// Jobs per second: a round of small jobs per iteration, on as many threads as the argument says.
void SmallJobs(benchmark::State& state)
{
    const BatchRunner runner(Host().Module(), Host().Settings());
    const JobInputs inputs({SmallJob()}, kJobsPerIteration);
    const auto threads = static_cast<unsigned>(state.range(0));
    std::mutex mutex;
    std::string failure;
    for (auto _ : state) {
        runner.Run(inputs, threads, [&](std::size_t, JobOutcome outcome) {
            if (!outcome.Succeeded() || !outcome.OutputEqual()) {
                const std::lock_guard lock(mutex);
                failure = DescribeFailure(outcome);
            }
        });
    }
    if (!failure.empty()) {
        state.SkipWithError(failure.c_str());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * inputs.Count()));
    state.counters["job_bytes"] = static_cast<double>(fs::file_size(SmallJob()));
}
BENCHMARK(SmallJobs)->ArgName("threads")->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

// The large job's time is the benchmark's; the copy's stands beside it as the ratio.
void LargeJobAgainstPlainCopy(benchmark::State& state)
{
    const std::string input = LargeJob();
    const std::string copy = TemporaryName("large-copy.bin");
    const std::string output = TemporaryName("large-output.bin");
    double copySeconds = 0;
    double jobSeconds = 0;
    for (auto _ : state) {
        copySeconds += PlainCopy(input, copy);
        JobRun job(input, Host().Settings());
        job.CreateOutput(output);
        const auto started = std::chrono::steady_clock::now();
        const FilterRunResult run = job.Run(Host().Module(), ProgressReport::Create());
        const double seconds = Seconds(started);
        jobSeconds += seconds;
        state.SetIterationTime(seconds);
        if (FAILED(run.Outcome()) || job.Pipeline().writer->BytesWritten() != fs::file_size(input)) {
            state.SkipWithError("the large job did not pass through whole");
        }
    }
    std::remove(copy.c_str());
    std::remove(output.c_str());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fs::file_size(input)));
    state.counters["copy_s"] = copySeconds / static_cast<double>(state.iterations());
    state.counters["job_to_copy"] = copySeconds > 0 ? jobSeconds / copySeconds : 0;
    state.counters["peak_rss_mb"] = PeakResidentMb();
}
BENCHMARK(LargeJobAgainstPlainCopy)->Iterations(2)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    {
        const ComApartment apartment;
        BenchHost host;
        g_host = &host;
        benchmark::RunSpecifiedBenchmarks();
        g_host = nullptr;
    }
    benchmark::Shutdown();
    std::remove(SmallJob().c_str());
    std::remove(TemporaryName("large.xps").c_str());
    return 0;
}
