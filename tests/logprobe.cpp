// A process that uses the driver log the way a filter process does: it starts the log for
// "C:\QX Inc\Calvost" on the machine root it is given, logs what the command line asks for and
// exits normally, so that the log drains. The driver log reads its configuration once per
// process; each configuration under test therefore gets a process of its own.
//
//   logprobe --root DIR [--attributes HEX] [--fixed-time] [--init-threads N] COMMAND...
//   logprobe --root DIR --module PATH --threads N --count N [--cycles N] [--keep-loaded]
//
// Commands:
//   log:LEVEL:TEXT                 one record, TEXT (UTF-8) passed to "%s"
//   hresult:HRESULT                the throw site's record for a failed HRESULT with a message
//   burst:THREADS:COUNT:LEVEL:TAG  THREADS threads each logging "TAG t=<thread> i=<index>"
#include <dirent.h>
#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <platform/machine.h>
#include <platform/systemapi.h>
#include <platform/text.h>

#include "hrerror.h"
#include "qxdrvlogger.h"

namespace {

constexpr wchar_t kLogFolder[] = L"C:\\QX Inc\\Calvost";

// 3 February 2026, 09:05:07.042.
class FixedClock : public platform::Kernel32 {
public:
    void GetLocalTime(SYSTEMTIME* time) override { *time = SYSTEMTIME{2026, 2, 2, 3, 9, 5, 7, 42}; }
};

std::vector<std::string> Split(const std::string& text, char separator, std::size_t maxParts)
{
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (parts.size() + 1 < maxParts) {
        const std::size_t end = text.find(separator, start);
        if (end == std::string::npos) {
            break;
        }
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

int ThreadCount()
{
    int count = 0;
    if (DIR* tasks = ::opendir("/proc/self/task")) {
        while (const dirent* entry = ::readdir(tasks)) {
            count += entry->d_name[0] != '.';
        }
        ::closedir(tasks);
    }
    return count;
}

// Every thread of a burst starts at once, so that the log sees them overlap.
class StartLine {
public:
    explicit StartLine(int threads) : waiting_(threads) {}
    void Arrive()
    {
        waiting_.fetch_sub(1);
        while (waiting_.load() > 0) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<int> waiting_;
};

struct ProbeSite {
    static void Emit(int level, const std::wstring& text) { QXLOG(static_cast<LogLevel>(level), L"%s", text.c_str()); }

    static void Burst(int threads, int count, int level, const std::wstring& tag)
    {
        StartLine start(threads);
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; ++t) {
            workers.emplace_back([&, t] {
                start.Arrive();
                for (int i = 0; i < count; ++i) {
                    QXLOG(static_cast<LogLevel>(level), L"%s t=%d i=%d", tag.c_str(), t, i);
                }
            });
        }
        for (auto& worker : workers) {
            worker.join();
        }
    }

    static void FailedHresult(HRESULT hr)
    {
        try {
            ThrowHrWithMessage(hr, L"write failed", QX_HERE);
        } catch (const hr_error&) {
        }
    }
};

int RunCommand(const std::string& command)
{
    const std::vector<std::string> parts = Split(command, ':', 5);
    const std::string& verb = parts[0];
    if (verb == "log" && parts.size() >= 3) {
        ProbeSite::Emit(std::atoi(parts[1].c_str()), platform::FromUtf8(Split(command, ':', 3)[2]));
    } else if (verb == "hresult" && parts.size() == 2) {
        ProbeSite::FailedHresult(static_cast<HRESULT>(std::strtoul(parts[1].c_str(), nullptr, 0)));
    } else if (verb == "burst" && parts.size() == 5) {
        ProbeSite::Burst(std::atoi(parts[1].c_str()), std::atoi(parts[2].c_str()), std::atoi(parts[3].c_str()),
                         platform::FromUtf8(parts[4]));
    } else {
        std::fprintf(stderr, "logprobe: unknown command %s\n", command.c_str());
        return 2;
    }
    return 0;
}

// Starts the log from several threads at once, as filters constructed together do.
void InitializeTogether(int threads)
{
    // A sanitizer runtime may start a thread of its own with the first thread; let it, before counting.
    std::thread([] {}).join();
    const int before = ThreadCount();
    StartLine start(threads);
    std::vector<std::thread> callers;
    for (int t = 0; t < threads; ++t) {
        callers.emplace_back([&, t] {
            start.Arrive();
            QXDrvLogger::Initialize(kLogFolder);
            QXLOG_INFO(L"initialized by %d", t);
        });
    }
    for (auto& caller : callers) {
        caller.join();
    }
    std::printf("writers=%d\n", ThreadCount() - before);
}

std::size_t LogLines(const std::string& root)
{
    std::ifstream log(root + "/C/QX Inc/Calvost/qxdrvlog.log", std::ios::binary);
    std::size_t lines = 0;
    for (std::string line; std::getline(log, line);) {
        ++lines;
    }
    return lines;
}

using RunModuleLog = void (*)(int threads, int count);
using ModuleLogCanUnload = void (*)();

int RunModule(const std::string& root, const std::string& path, int threads, int count, int cycles, bool keepLoaded)
{
    for (int cycle = 0; cycle < cycles; ++cycle) {
        void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr) {
            std::fprintf(stderr, "logprobe: %s\n", ::dlerror());
            return 2;
        }
        const auto run = reinterpret_cast<RunModuleLog>(::dlsym(module, "RunModuleLog"));
        const auto canUnload = reinterpret_cast<ModuleLogCanUnload>(::dlsym(module, "ModuleLogCanUnload"));
        if (run == nullptr || canUnload == nullptr) {
            return 2;
        }
        run(threads, count);
        if (keepLoaded) {
            return 0;  // the module's log ends with the process
        }
        // As a COM client asks DllCanUnloadNow before it unloads a module.
        canUnload();
        ::dlclose(module);
        const bool unloaded = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr;
        std::printf("cycle=%d unloaded=%d lines=%zu\n", cycle, unloaded ? 1 : 0, LogLines(root));
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    std::string root;
    std::string module;
    int threads = 1;
    int count = 1;
    int cycles = 1;
    int initThreads = 0;
    bool keepLoaded = false;
    std::vector<std::string> commands;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--root" && hasValue) {
            root = argv[++i];
        } else if (arg == "--attributes" && hasValue) {
            const auto attributes = static_cast<DWORD>(std::strtoul(argv[++i], nullptr, 0));
            platform::SetMachineRoot(root);
            ::SetFileAttributesW(kLogFolder, attributes);
        } else if (arg == "--fixed-time") {
            platform::Install(new FixedClock);  // stays installed: the writer outlives main
        } else if (arg == "--init-threads" && hasValue) {
            initThreads = std::atoi(argv[++i]);
        } else if (arg == "--module" && hasValue) {
            module = argv[++i];
        } else if (arg == "--threads" && hasValue) {
            threads = std::atoi(argv[++i]);
        } else if (arg == "--count" && hasValue) {
            count = std::atoi(argv[++i]);
        } else if (arg == "--cycles" && hasValue) {
            cycles = std::atoi(argv[++i]);
        } else if (arg == "--keep-loaded") {
            keepLoaded = true;
        } else {
            commands.push_back(arg);
        }
    }
    platform::SetMachineRoot(root);
    if (!module.empty()) {
        return RunModule(root, module, threads, count, cycles, keepLoaded);
    }
    if (initThreads > 0) {
        InitializeTogether(initThreads);
    } else {
        QXDrvLogger::Initialize(kLogFolder);
    }
    for (const std::string& command : commands) {
        if (RunCommand(command) != 0) {
            return 2;
        }
    }
    return 0;
}
