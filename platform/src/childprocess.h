// A host child process behind a process handle: a reaper thread waits for it, so that waits with
// a time limit, exit codes and closing the handle early all work without polling.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "handletable.h"

namespace platform {

struct LaunchRequest {
    std::string program;                                  // host path
    std::vector<std::string> arguments;                   // argv, argv[0] included
    std::optional<std::vector<std::string>> environment;  // "NAME=value"; none: the caller's
    std::optional<std::string> folder;                    // host folder; none: the caller's
    std::string account;                                  // the host account to run as, when root may
};

class ChildProcess : public KernelObject {
public:
    // The running child, or the Win32 error why it could not start.
    static std::variant<std::shared_ptr<ChildProcess>, DWORD> Start(const LaunchRequest& request);

    DWORD Wait(DWORD milliseconds) override;
    // STILL_ACTIVE while it runs, then its Windows exit code.
    DWORD ExitCode();
    // Kills the running child, which then reports exitCode; false when it has already ended.
    bool Terminate(DWORD exitCode);
    DWORD Id() const { return static_cast<DWORD>(id_); }
    // Kills every child still running, handle or not, and refuses every later start (see
    // platform/childprocesses.h). Returns how many it killed.
    static std::size_t EndAll(DWORD exitCode);

private:
    struct Status {
        std::mutex mutex;
        std::condition_variable ended;
        std::optional<int> waitStatus;
        std::optional<DWORD> terminatedWith;
    };
    struct Running;  // the children not reaped yet, and whether starts are refused
    static Running& AllRunning();

    explicit ChildProcess(pid_t id);
    static bool Kill(pid_t id, Status& status, DWORD exitCode);

    pid_t id_;
    std::shared_ptr<Status> status_;  // shared with the reaper, which may outlive the handle
};

// The child's main thread: signalled when the process ends.
class ChildThread : public KernelObject {
public:
    explicit ChildThread(std::shared_ptr<ChildProcess> process) : process_(std::move(process)) {}
    DWORD Wait(DWORD milliseconds) override { return process_->Wait(milliseconds); }

private:
    std::shared_ptr<ChildProcess> process_;
};

}  // namespace platform
