// Mutexes. A mutex is a robust pthread mutex: owned by a thread, recursive for its owner, and
// reported abandoned (WAIT_ABANDONED) to the next waiter when its owner dies holding it. A named
// mutex lives in a small file mapped by every process of this user that opens the name, so the
// processes share one object as in one Windows session; uncontended waits need no system call.
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <map>
#include <mutex>
#include <thread>

#include "handletable.h"
#include "platform/systemapi.h"
#include "platform/text.h"

namespace platform {
namespace {

// The shared layout of a named mutex's file. A fresh file is all zeros: the first opener to move
// state from kEmpty initialises the mutex, the others wait until it is kReady.
struct SharedMutex {
    static constexpr std::uint32_t kEmpty = 0;
    static constexpr std::uint32_t kInitialising = 1;
    static constexpr std::uint32_t kReady = 2;
    std::atomic<std::uint32_t> state;
    pthread_mutex_t mutex;
};

void InitialiseMutex(pthread_mutex_t& mutex, bool shared)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    if (shared) {
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    }
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

std::string ObjectFolder()
{
    const std::string folder = "/tmp/qxplatform-objects-" + std::to_string(::getuid());
    ::mkdir(folder.c_str(), 0700);
    return folder;
}

std::string FileOf(const std::wstring& name)
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
    virtual ~MutexCore() = default;

    DWORD Acquire(DWORD milliseconds)
    {
        int result = 0;
        if (milliseconds == INFINITE) {
            result = pthread_mutex_lock(&Mutex());
        } else {
            timespec deadline{};
            ::clock_gettime(CLOCK_REALTIME, &deadline);
            deadline.tv_sec += milliseconds / 1000;
            deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
            if (deadline.tv_nsec >= 1000000000L) {
                deadline.tv_sec += 1;
                deadline.tv_nsec -= 1000000000L;
            }
            result = pthread_mutex_timedlock(&Mutex(), &deadline);
        }
        switch (result) {
        case 0:
            return WAIT_OBJECT_0;
        case EOWNERDEAD:
            pthread_mutex_consistent(&Mutex());
            return WAIT_ABANDONED;
        case ETIMEDOUT:
            return WAIT_TIMEOUT;
        default:
            ::SetLastError(ERROR_INVALID_HANDLE);
            return WAIT_FAILED;
        }
    }

    bool Release() { return pthread_mutex_unlock(&Mutex()) == 0; }

protected:
    virtual pthread_mutex_t& Mutex() = 0;
};

class LocalMutex : public MutexCore {
public:
    LocalMutex() { InitialiseMutex(mutex_, false); }
    ~LocalMutex() override { pthread_mutex_destroy(&mutex_); }

protected:
    pthread_mutex_t& Mutex() override { return mutex_; }

private:
    pthread_mutex_t mutex_;
};

class NamedMutex : public MutexCore {
public:
    // Null when the file cannot be made or mapped.
    static std::shared_ptr<NamedMutex> Open(const std::string& file, bool create, bool& existed)
    {
        existed = ::access(file.c_str(), F_OK) == 0;
        if (!existed && !create) {
            return nullptr;
        }
        const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0) {
            return nullptr;
        }
        struct stat status {};
        if (::fstat(fd, &status) != 0 ||
            (status.st_size < static_cast<off_t>(sizeof(SharedMutex)) && ::ftruncate(fd, sizeof(SharedMutex)) != 0)) {
            ::close(fd);
            return nullptr;
        }
        void* mapped = ::mmap(nullptr, sizeof(SharedMutex), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        ::close(fd);
        if (mapped == MAP_FAILED) {
            return nullptr;
        }
        auto* shared = static_cast<SharedMutex*>(mapped);
        std::uint32_t expected = SharedMutex::kEmpty;
        if (shared->state.compare_exchange_strong(expected, SharedMutex::kInitialising)) {
            InitialiseMutex(shared->mutex, true);
            shared->state.store(SharedMutex::kReady);
        }
        while (shared->state.load() != SharedMutex::kReady) {
            std::this_thread::yield();
        }
        return std::shared_ptr<NamedMutex>(new NamedMutex(shared));
    }

    ~NamedMutex() override { ::munmap(shared_, sizeof(SharedMutex)); }

protected:
    pthread_mutex_t& Mutex() override { return shared_->mutex; }

private:
    explicit NamedMutex(SharedMutex* shared) : shared_(shared) {}
    SharedMutex* shared_;
};

class MutexHandle : public KernelObject {
public:
    explicit MutexHandle(std::shared_ptr<MutexCore> core) : core_(std::move(core)) {}
    DWORD Wait(DWORD milliseconds) override { return core_->Acquire(milliseconds); }
    bool Release() { return core_->Release(); }

private:
    std::shared_ptr<MutexCore> core_;
};

// This process's mapping of each name; a name is unmapped when its last handle closes.
class NamedMutexes {
public:
    std::shared_ptr<MutexCore> Open(const std::wstring& name, bool create, bool& existed)
    {
        std::lock_guard lock(mutex_);
        if (auto core = mapped_[name].lock()) {
            existed = true;
            return core;
        }
        auto core = NamedMutex::Open(FileOf(name), create, existed);
        mapped_[name] = core;
        return core;
    }

private:
    std::mutex mutex_;
    std::map<std::wstring, std::weak_ptr<MutexCore>> mapped_;
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
        core = std::make_shared<LocalMutex>();
    } else if (!(core = Names().Open(name, true, existed))) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
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
    bool existed = false;
    const auto core = Names().Open(name, false, existed);
    if (!core) {
        ::SetLastError(existed ? ERROR_ACCESS_DENIED : ERROR_FILE_NOT_FOUND);
        return nullptr;
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
