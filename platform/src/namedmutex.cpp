// Mutexes. A named mutex is one object per name for every process of this user: inside a process
// the threads queue on a condition variable, and the thread that owns it also holds an exclusive
// lock on a file named after the mutex, which orders the processes. The kernel drops that lock
// when a process dies, so a crashed owner never blocks the others.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "handletable.h"
#include "platform/systemapi.h"
#include "platform/text.h"

namespace platform {
namespace {

std::string ObjectFolder()
{
    const std::string folder = "/tmp/qxplatform-objects-" + std::to_string(::getuid());
    ::mkdir(folder.c_str(), 0700);
    return folder;
}

std::string LockFileOf(const std::wstring& name)
{
    static const char hex[] = "0123456789abcdef";
    std::string file;
    for (const unsigned char c : ToUtf8(name)) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_') {
            file += static_cast<char>(c);
        } else {
            file += '%';
            file += hex[c >> 4];
            file += hex[c & 15];
        }
    }
    return ObjectFolder() + "/mutex-" + file;
}

class MutexCore {
public:
    explicit MutexCore(int lockFile) : lockFile_(lockFile) {}
    ~MutexCore()
    {
        if (lockFile_ >= 0) {
            ::close(lockFile_);
        }
    }

    DWORD Acquire(DWORD milliseconds)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        const auto me = std::this_thread::get_id();
        std::unique_lock lock(mutex_);
        if (owner_ == me) {
            ++recursion_;
            return WAIT_OBJECT_0;
        }
        const auto free = [&] { return owner_ == std::thread::id(); };
        if (milliseconds == INFINITE) {
            released_.wait(lock, free);
        } else if (!released_.wait_until(lock, deadline, free)) {
            return WAIT_TIMEOUT;
        }
        owner_ = me;
        recursion_ = 1;
        lock.unlock();
        if (!LockFile(milliseconds, deadline)) {
            lock.lock();
            Disown();
            return WAIT_TIMEOUT;
        }
        return WAIT_OBJECT_0;
    }

    bool Release()
    {
        std::lock_guard lock(mutex_);
        if (owner_ != std::this_thread::get_id()) {
            return false;
        }
        if (--recursion_ == 0) {
            if (lockFile_ >= 0) {
                ::flock(lockFile_, LOCK_UN);
            }
            Disown();
        }
        return true;
    }

private:
    bool LockFile(DWORD milliseconds, std::chrono::steady_clock::time_point deadline)
    {
        if (lockFile_ < 0) {
            return true;
        }
        if (milliseconds == INFINITE) {
            while (::flock(lockFile_, LOCK_EX) != 0) {
            }
            return true;
        }
        while (::flock(lockFile_, LOCK_EX | LOCK_NB) != 0) {
            if (std::chrono::steady_clock::now() >= deadline) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

    void Disown()
    {
        owner_ = std::thread::id();
        recursion_ = 0;
        released_.notify_one();
    }

    const int lockFile_;
    std::mutex mutex_;
    std::condition_variable released_;
    std::thread::id owner_;
    unsigned recursion_ = 0;
};

class MutexHandle : public KernelObject {
public:
    explicit MutexHandle(std::shared_ptr<MutexCore> core) : core_(std::move(core)) {}
    DWORD Wait(DWORD milliseconds) override { return core_->Acquire(milliseconds); }
    bool Release() { return core_->Release(); }

private:
    std::shared_ptr<MutexCore> core_;
};

// Named cores of this process; a name is forgotten when its last handle closes.
class NamedMutexes {
public:
    std::shared_ptr<MutexCore> Find(const std::wstring& name)
    {
        std::lock_guard lock(mutex_);
        const auto found = cores_.find(name);
        return found == cores_.end() ? nullptr : found->second.lock();
    }

    std::shared_ptr<MutexCore> FindOrCreate(const std::wstring& name, bool& existed)
    {
        std::lock_guard lock(mutex_);
        if (auto core = cores_[name].lock()) {
            existed = true;
            return core;
        }
        const std::string file = LockFileOf(name);
        existed = ::access(file.c_str(), F_OK) == 0;
        const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0) {
            return nullptr;
        }
        auto core = std::make_shared<MutexCore>(fd);
        cores_[name] = core;
        return core;
    }

private:
    std::mutex mutex_;
    std::map<std::wstring, std::weak_ptr<MutexCore>> cores_;
};

NamedMutexes& Names()
{
    static NamedMutexes* names = new NamedMutexes;
    return *names;
}

}  // namespace

HANDLE Kernel32::CreateMutexW(LPSECURITY_ATTRIBUTES, BOOL initialOwner, LPCWSTR name)
{
    std::shared_ptr<MutexCore> core;
    bool existed = false;
    if (name == nullptr || *name == L'\0') {
        core = std::make_shared<MutexCore>(-1);
    } else {
        core = Names().FindOrCreate(name, existed);
        if (!core) {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        }
    }
    const HANDLE handle = HandleTable::Add(std::make_shared<MutexHandle>(core));
    if (initialOwner) {
        core->Acquire(INFINITE);
    }
    ::SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

HANDLE Kernel32::OpenMutexW(DWORD, BOOL, LPCWSTR name)
{
    if (name == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    auto core = Names().Find(name);
    if (!core) {
        // Another process may have created it: its lock file then exists.
        if (::access(LockFileOf(name).c_str(), F_OK) != 0) {
            ::SetLastError(ERROR_FILE_NOT_FOUND);
            return nullptr;
        }
        bool existed = false;
        core = Names().FindOrCreate(name, existed);
        if (!core) {
            ::SetLastError(ERROR_ACCESS_DENIED);
            return nullptr;
        }
    }
    return HandleTable::Add(std::make_shared<MutexHandle>(core));
}

BOOL Kernel32::ReleaseMutex(HANDLE mutex)
{
    const auto handle = HandleTable::FindAs<MutexHandle>(mutex);
    if (!handle) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (!handle->Release()) {
        ::SetLastError(ERROR_NOT_OWNER);
        return FALSE;
    }
    return TRUE;
}

DWORD Kernel32::WaitForSingleObject(HANDLE object, DWORD milliseconds)
{
    const auto kernelObject = HandleTable::Find(object);
    if (!kernelObject) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    return kernelObject->Wait(milliseconds);
}

BOOL Kernel32::CloseHandle(HANDLE object)
{
    if (!HandleTable::Remove(object)) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

}  // namespace platform
