// A data request served as the filter serves it, over the real communication library in one
// process: the application's side sends 101 on the filter's pipe; the filter's handler answers on
// the application's pipe with 102 (the 2048-byte data block), three 103 (paper sources) and 104;
// an exchange ends when the application's handler has received 104.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using PipeMessageHandler = void (*)(void*);
constexpr std::int32_t kDataRequest = 101;
constexpr std::int32_t kData = 102;
constexpr std::int32_t kPaperSource = 103;
constexpr std::int32_t kPaperSourceEnd = 104;
constexpr std::int32_t kMessageSize = 2048;
constexpr int kPaperSources = 3;
constexpr auto kPatience = std::chrono::seconds(10);

// The library and both pipes, started once for the program in a runtime folder of its own.
class Channel {
public:
    static Channel& Get()
    {
        static Channel channel;
        return channel;
    }

    bool IsOpen() const { return send_ != nullptr; }

    // The filter's answer to a data request, sent from the library's thread.
    void Answer()
    {
        const std::vector<unsigned char> data(kMessageSize, 0x5A);
        std::vector<unsigned char> entry(kMessageSize, 0);
        if (SendToApplication(kData, data) != 0) {
            return;
        }
        std::int32_t last = 0;
        for (int i = 0; i < kPaperSources; ++i) {
            std::fill(entry.begin(), entry.begin() + 540, static_cast<unsigned char>(i + 1));
            last = SendToApplication(kPaperSource, entry);
        }
        if (last == 0) {
            SendToApplication(kPaperSourceEnd, std::vector<unsigned char>(kMessageSize, 0));
        }
    }

    void EndReceived()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++ends_;
        arrived_.notify_all();
    }

    // One whole exchange; false when the answer does not arrive.
    bool Exchange()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        const std::uint64_t target = ends_ + 1;
        lock.unlock();
        const char request[] = "data request";
        if (send_(filterPipe_.c_str(), kDataRequest, request, sizeof request) != 0) {
            return false;
        }
        lock.lock();
        return arrived_.wait_for(lock, kPatience, [&] { return ends_ >= target; });
    }

    ~Channel()
    {
        if (stop_ != nullptr) {
            stop_(filterPipe_.c_str());
            stop_(applicationPipe_.c_str());
        }
    }

private:
    Channel();

    std::int32_t SendToApplication(std::int32_t message, const std::vector<unsigned char>& payload)
    {
        return send_(applicationPipe_.c_str(), message, payload.data(), static_cast<std::int32_t>(payload.size()));
    }

    std::string filterPipe_;
    std::string applicationPipe_;
    std::int32_t (*send_)(const char*, std::int32_t, const void*, std::int32_t) = nullptr;
    void (*stop_)(const char*) = nullptr;
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::uint64_t ends_ = 0;
};

void OnDataRequest(void*)
{
    Channel::Get().Answer();
}

void OnPaperSourceEnd(void*)
{
    Channel::Get().EndReceived();
}

Channel::Channel()
{
    void* library = ::dlopen(QXICL_PATH, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return;
    }
    auto start = reinterpret_cast<void (*)(const char*)>(::dlsym(library, "StartPipe"));
    using RegisterFunction = void (*)(const char*, std::int32_t, PipeMessageHandler);
    auto registerFor = reinterpret_cast<RegisterFunction>(::dlsym(library, "RegisterForMessage"));
    send_ = reinterpret_cast<decltype(send_)>(::dlsym(library, "SendPipeMessage"));
    stop_ = reinterpret_cast<decltype(stop_)>(::dlsym(library, "StopPipe"));
    const std::string stem = "bench" + std::to_string(::getpid());
    filterPipe_ = stem + "_IN";
    applicationPipe_ = stem + "_OUT";
    start(filterPipe_.c_str());
    registerFor(filterPipe_.c_str(), kDataRequest, OnDataRequest);
    start(applicationPipe_.c_str());
    registerFor(applicationPipe_.c_str(), kPaperSourceEnd, OnPaperSourceEnd);
}

// Each exchange is timed on its own; the median and 90th percentile are reported beside the mean,
// so that a few exchanges that lose the processor on a busy machine do not decide the figure.
void BM_DataRequestExchange(benchmark::State& state)
{
    Channel& channel = Channel::Get();
    if (!channel.IsOpen()) {
        state.SkipWithError("the communication library did not load");
        return;
    }
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(state.max_iterations));
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (!channel.Exchange()) {
            state.SkipWithError("the answer did not arrive");
            break;
        }
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        times.push_back(elapsed.count());
        state.SetIterationTime(elapsed.count());
    }
    if (!times.empty()) {
        std::sort(times.begin(), times.end());
        state.counters["exchange_median_us"] = times[times.size() / 2] * 1e6;
        state.counters["exchange_p90_us"] = times[times.size() * 9 / 10] * 1e6;
    }
}

BENCHMARK(BM_DataRequestExchange)->Iterations(2000)->Repetitions(5)->ReportAggregatesOnly(true)->UseManualTime();

}  // namespace

BENCHMARK_MAIN();
