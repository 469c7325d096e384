#include "childprocess.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <map>
#include <thread>

#include "platform/childprocesses.h"

#include "hostaccount.h"
#include "win32error.h"

extern char** environ;

namespace platform {
namespace {

// C strings over a request's texts, ending in the null execve wants.
std::vector<char*> Pointers(const std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (const std::string& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

DWORD StartError(int error) { return error == ENOENT ? ERROR_FILE_NOT_FOUND : Win32ErrorOf(error); }

std::variant<pid_t, DWORD> Spawn(const LaunchRequest& request, char** argv, char** envp)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawnattr_init(&attributes);
    if (request.folder) {
        ::posix_spawn_file_actions_addchdir_np(&actions, request.folder->c_str());
    }
    sigset_t none;
    sigset_t defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &defaults);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t id = 0;
    const int error = ::posix_spawn(&id, request.program.c_str(), &actions, &attributes, argv, envp);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        return StartError(error);
    }
    return id;
}

// fork and exec, so that the child can give up root between them; an exec failure comes back
// through a pipe that the exec closes.
std::variant<pid_t, DWORD> SpawnAs(const HostAccount& account, const LaunchRequest& request, char** argv, char** envp)
{
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) {
        return Win32ErrorOf(errno);
    }
    const pid_t id = ::fork();
    if (id == 0) {
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::signal(SIGPIPE, SIG_DFL);
        const bool dropped = ::setgroups(account.groups.size(), account.groups.data()) == 0 &&
                             ::setgid(account.gid) == 0 && ::setuid(account.uid) == 0;
        if (dropped && (!request.folder || ::chdir(request.folder->c_str()) == 0)) {
            ::execve(request.program.c_str(), argv, envp);
        }
        const int error = errno;
        [[maybe_unused]] const ssize_t written = ::write(report[1], &error, sizeof error);
        ::_exit(127);
    }
    ::close(report[1]);
    if (id < 0) {
        ::close(report[0]);
        return Win32ErrorOf(errno);
    }
    int error = 0;
    ssize_t got = 0;
    do {
        got = ::read(report[0], &error, sizeof error);
    } while (got < 0 && errno == EINTR);
    ::close(report[0]);
    if (got == sizeof error) {
        int ignored = 0;
        ::waitpid(id, &ignored, 0);
        return StartError(error);
    }
    return id;
}

// The Windows status of a crash, for a child a signal ended.
DWORD CrashCodeOf(int signal)
{
    switch (signal) {
    case SIGABRT:
        return 0xC0000409u;
    case SIGSEGV:
    case SIGBUS:
        return 0xC0000005u;
    case SIGILL:
        return 0xC000001Du;
    case SIGFPE:
        return 0xC0000094u;
    default:
        return 0xC0000000u | static_cast<DWORD>(signal);
    }
}

}  // namespace

// Lock order: this mutex before a child's status mutex.
struct ChildProcess::Running {
    std::mutex mutex;
    std::map<pid_t, std::weak_ptr<Status>> children;
    bool ending = false;
};

ChildProcess::Running& ChildProcess::AllRunning()
{
    static Running* running = new Running;  // never destroyed: reapers may outlive static destruction
    return *running;
}

ChildProcess::ChildProcess(pid_t id) : id_(id), status_(std::make_shared<Status>())
{
    std::thread([id, status = status_] {
        int waitStatus = 0;
        pid_t done = 0;
        do {
            done = ::waitpid(id, &waitStatus, 0);
        } while (done < 0 && errno == EINTR);
        {
            std::lock_guard lock(status->mutex);
            status->waitStatus = done == id ? waitStatus : 0;
            status->ended.notify_all();
        }
        Running& running = AllRunning();
        std::lock_guard lock(running.mutex);
        // The id may already name a newer child.
        if (const auto found = running.children.find(id);
            found != running.children.end() && found->second.lock() == status) {
            running.children.erase(found);
        }
    }).detach();
}

std::variant<std::shared_ptr<ChildProcess>, DWORD> ChildProcess::Start(const LaunchRequest& request)
{
    std::vector<char*> argv = Pointers(request.arguments);
    std::vector<char*> envp = request.environment ? Pointers(*request.environment) : std::vector<char*>();
    char** environment = request.environment ? envp.data() : environ;
    const auto account = HostAccountOf(request.account);
    // Held across the start, so that EndAll either refuses this child or finds it.
    Running& running = AllRunning();
    std::lock_guard lock(running.mutex);
    if (running.ending) {
        return static_cast<DWORD>(ERROR_SHUTDOWN_IN_PROGRESS);
    }
    const auto started = account ? SpawnAs(*account, request, argv.data(), environment)
                                 : Spawn(request, argv.data(), environment);
    if (const DWORD* error = std::get_if<DWORD>(&started)) {
        return *error;
    }
    std::shared_ptr<ChildProcess> child(new ChildProcess(std::get<pid_t>(started)));
    running.children[child->id_] = child->status_;
    return child;
}

std::size_t ChildProcess::EndAll(DWORD exitCode)
{
    Running& running = AllRunning();
    std::lock_guard lock(running.mutex);
    running.ending = true;
    std::size_t killed = 0;
    for (const auto& [id, weakStatus] : running.children) {
        if (const std::shared_ptr<Status> status = weakStatus.lock(); status && Kill(id, *status, exitCode)) {
            ++killed;
        }
    }
    return killed;
}

bool ChildProcess::Kill(pid_t id, Status& status, DWORD exitCode)
{
    // Under the lock the child has not been reaped, so its id cannot name another process yet.
    std::lock_guard lock(status.mutex);
    if (status.waitStatus) {
        return false;
    }
    status.terminatedWith = exitCode;
    ::kill(id, SIGKILL);
    return true;
}

DWORD ChildProcess::Wait(DWORD milliseconds)
{
    std::unique_lock lock(status_->mutex);
    const auto ended = [this] { return status_->waitStatus.has_value(); };
    if (milliseconds == INFINITE) {
        status_->ended.wait(lock, ended);
        return WAIT_OBJECT_0;
    }
    return status_->ended.wait_for(lock, std::chrono::milliseconds(milliseconds), ended) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

DWORD ChildProcess::ExitCode()
{
    std::lock_guard lock(status_->mutex);
    if (!status_->waitStatus) {
        return STILL_ACTIVE;
    }
    const int waitStatus = *status_->waitStatus;
    if (status_->terminatedWith && WIFSIGNALED(waitStatus) && WTERMSIG(waitStatus) == SIGKILL) {
        return *status_->terminatedWith;
    }
    if (WIFSIGNALED(waitStatus)) {
        return CrashCodeOf(WTERMSIG(waitStatus));
    }
    return static_cast<DWORD>(WEXITSTATUS(waitStatus));
}

bool ChildProcess::Terminate(DWORD exitCode) { return Kill(id_, *status_, exitCode); }

std::size_t EndChildProcesses(DWORD exitCode) { return ChildProcess::EndAll(exitCode); }

}  // namespace platform
