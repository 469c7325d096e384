// The pass-through copy against a plain read/write loop over the same files, in the same run.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "pipelinehost/readstream.h"
#include "pipelinehost/writestream.h"
#include "streamhandler.h"

namespace {

constexpr std::size_t kJobSize = 256u << 20;

const std::string& InputFile()
{
    static const std::string path = [] {
        std::string name = "/tmp/qxbench-copystream-input-" + std::to_string(::getpid());
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        std::vector<char> block(1 << 20);
        std::mt19937 random(7);
        for (auto& byte : block) {
            byte = static_cast<char>(random());
        }
        for (std::size_t written = 0; written < kJobSize; written += block.size()) {
            if (::write(fd, block.data(), block.size()) != static_cast<ssize_t>(block.size())) {
                std::perror("write");
            }
        }
        ::close(fd);
        return name;
    }();
    return path;
}

std::string OutputFile() { return "/tmp/qxbench-copystream-output-" + std::to_string(::getpid()); }

void PlainReadWriteLoop(benchmark::State& state)
{
    for (auto _ : state) {
        const int in = ::open(InputFile().c_str(), O_RDONLY);
        const int out = ::open(OutputFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        char buffer[4096];
        ssize_t read = 0;
        while ((read = ::read(in, buffer, sizeof buffer)) > 0) {
            if (::write(out, buffer, static_cast<size_t>(read)) != read) {
                state.SkipWithError("write failed");
                break;
            }
        }
        ::close(out);
        ::close(in);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kJobSize));
}

void CopyStreamThroughThePipelineStreams(benchmark::State& state)
{
    for (auto _ : state) {
        const auto reader = pipelinehost::ReadStream::OpenFile(InputFile());
        const auto writer = pipelinehost::WriteStream::ToFile(OutputFile());
        CopyStream(reader, writer);
        writer->Close();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kJobSize));
}

// Alternating repetitions keep both under the same page cache and machine load.
BENCHMARK(PlainReadWriteLoop)->Unit(benchmark::kMillisecond)->Iterations(4)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(CopyStreamThroughThePipelineStreams)->Unit(benchmark::kMillisecond)->Iterations(4)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

int main(int argc, char** argv)
{
    InputFile();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::remove(InputFile().c_str());
    std::remove(OutputFile().c_str());
    return 0;
}
