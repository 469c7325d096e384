#include "qxdrvlogger.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cwchar>
#include <mutex>
#include <string>
#include <utility>

#include <share.h>
#include <windows.h>

namespace {

constexpr wchar_t kMutexName[] = L"LFPDrvLoggerMutex";
constexpr wchar_t kConfigurationFile[] = L"\\qxdrvlog.cfg";
constexpr wchar_t kLogFile[] = L"\\qxdrvlog.log";
constexpr std::int32_t kOff = static_cast<std::int32_t>(LogLevel::Off);

// Read on every log call, so kept apart from anything that needs a lock.
std::atomic<std::int32_t> g_threshold{kOff};

// The live instance, for IsEnabled: it must answer without creating the instance, and must say
// "no" once the instance has been torn down at exit.
std::atomic<QXDrvLogger*> g_live{nullptr};

// The log folder and the lock that makes Initialize one-time. Recursive because Initialize reads
// the configuration while holding it, and ReadConfiguration may also be called on its own.
struct FolderState {
    std::recursive_mutex lock;
    std::wstring folder;
};

// Set when the module went with its writer still running: that writer may still use the folder
// and the signal, so they are never freed then.
std::atomic<bool> g_writerLeftRunning{false};

// Freed when the module goes, unless its writer was left running. Made first, so that it goes
// after the instance, which decides.
template <class State>
class ModuleState {
public:
    ~ModuleState()
    {
        if (!g_writerLeftRunning.load()) {
            delete state_;
        }
    }
    State* state_;
};

FolderState& Folder()
{
    static const ModuleState<FolderState> folder{new FolderState};
    return *folder.state_;
}

std::wstring CurrentFolder()
{
    FolderState& state = Folder();
    std::lock_guard<std::recursive_mutex> hold(state.lock);
    return state.folder;
}

// How the writer learns of new records and how teardown learns that they are written. The queue
// itself stays under the named mutex; these counters are bumped while it is held, so a value read
// under the named mutex always matches the queue seen at the same moment.
struct WriterSignal {
    std::mutex lock;
    std::condition_variable wake;     // writer waits here for records or the stop request
    std::condition_variable written;  // teardown waits here for the drain
    std::atomic<std::uint64_t> appended{0};
    std::atomic<std::uint64_t> removed{0};
    std::atomic<bool> writerSleeping{false};  // lets Log skip the notify while the writer is busy
    bool drainWaiting = false;                // under lock
    bool writerFinished = false;              // under lock
};

// Used once on the thread that makes it, never first by the writer: mingw-w64's condition variables
// and mutexes set themselves up at first use under a spinlock of the whole process. A writer that
// ExitProcess ends during that setup leaves the spinlock held, and the module's teardown, which
// destroys condition variables of its own, would then spin on it forever.
WriterSignal& Signal()
{
    static const ModuleState<WriterSignal> signal{[] {
        auto* const made = new WriterSignal;
        std::unique_lock<std::mutex> hold(made->lock);
        made->wake.wait_for(hold, std::chrono::seconds(0));
        made->written.wait_for(hold, std::chrono::seconds(0));
        return made;
    }()};
    return *signal.state_;
}

bool Acquired(DWORD waitResult) { return waitResult == WAIT_OBJECT_0 || waitResult == WAIT_ABANDONED; }

class NamedMutexHold {
public:
    explicit NamedMutexHold(HANDLE mutex) : mutex_(mutex), held_(Acquired(::WaitForSingleObject(mutex, INFINITE))) {}
    ~NamedMutexHold()
    {
        if (held_) {
            ::ReleaseMutex(mutex_);
        }
    }
    NamedMutexHold(const NamedMutexHold&) = delete;
    NamedMutexHold& operator=(const NamedMutexHold&) = delete;

    bool Held() const { return held_; }

private:
    HANDLE mutex_;
    bool held_;
};

std::int32_t LevelOfWord(const std::string& word)
{
    static const struct {
        const char* number;
        const char* name;
        LogLevel level;
    } words[] = {
        {"0", "info", LogLevel::Info},
        {"1", "warning", LogLevel::Warning},
        {"2", "exception", LogLevel::Exception},
        {"3", "error", LogLevel::Error},
        {"4", "performance", LogLevel::Performance},
    };
    for (const auto& entry : words) {
        if (word == entry.number || word == entry.name) {
            return static_cast<std::int32_t>(entry.level);
        }
    }
    return kOff;
}

const wchar_t* TagOf(std::int32_t level)
{
    switch (level) {
    case 1:
        return L"[WAR]";
    case 2:
        return L"[EXC]";
    case 3:
        return L"[ERR]";
    case 4:
        return L"[PER]";
    default:
        return L"[INF]";
    }
}

void AppendNumber(std::wstring& out, unsigned value, int minimumDigits)
{
    wchar_t digits[16];
    int count = 0;
    do {
        digits[count++] = static_cast<wchar_t>(L'0' + value % 10);
        value /= 10;
    } while (value != 0);
    for (int pad = count; pad < minimumDigits; ++pad) {
        out += L'0';
    }
    while (count > 0) {
        out += digits[--count];
    }
}

// The log file is 8-bit text. Anything outside Latin-1 has no byte of its own; it becomes '?'
// rather than failing the record, so one odd character never costs the rest of the log.
void AppendBytes(std::string& out, const std::wstring& text)
{
    for (const wchar_t c : text) {
        const auto code = static_cast<std::uint32_t>(c);
        out += code <= 0xFF ? static_cast<char>(static_cast<unsigned char>(code)) : '?';
    }
}

// One record as the file holds it: its 8-bit text and the line break.
void AppendRecordLine(std::string& out, const LogMessage& message)
{
    AppendBytes(out, QXDrvLogger::FormatRecord(message));
    out += '\n';
}

}  // namespace

QXDrvLogger::QXDrvLogger()
{
    // Constructed first so that they are destroyed after this instance: the teardown below still
    // needs them, and the writer reads the folder.
    Folder();
    Signal();
    m_mutex = ::CreateMutexW(nullptr, FALSE, kMutexName);
    g_live.store(this);
}

// Made at first use and ended by ModuleExit when the module goes.
struct QXDrvLogger::ModuleExit {
    QXDrvLogger* logger;
    ~ModuleExit()
    {
        g_live.store(nullptr);
        if (logger->m_writer.joinable()) {
            // Still needed by the writer, so never destroyed.
            g_writerLeftRunning.store(true);
            logger->LeaveWriter();
        } else {
            delete logger;
        }
    }
};

QXDrvLogger::~QXDrvLogger()
{
    ReleaseLogSiteNames();
    if (m_mutex != nullptr) {
        ::CloseHandle(m_mutex);
    }
}

QXDrvLogger& QXDrvLogger::GetInstance()
{
    static QXDrvLogger* const instance = new QXDrvLogger;
    static const ModuleExit exit{instance};
    return *instance;
}

void QXDrvLogger::Suspend(bool (*stillUnused)())
{
    QXDrvLogger* const live = g_live.load();
    if (live == nullptr) {
        return;
    }
    try {
        const std::lock_guard<std::mutex> hold(live->m_lifecycle);
        if (stillUnused()) {
            live->StopWriter();
        }
    } catch (...) {
    }
}

void QXDrvLogger::StopWriter()
{
    WriterSignal& signal = Signal();
    if (!m_stop.load()) {
        // Everything queued before this point is written before the writer is told to stop.
        // Waiting for a count rather than an empty queue keeps a thread that goes on logging from
        // holding the stop up forever.
        const std::uint64_t target = signal.appended.load();
        {
            std::unique_lock<std::mutex> hold(signal.lock);
            signal.drainWaiting = true;
            signal.written.wait(hold, [&] { return signal.removed.load() >= target || signal.writerFinished; });
            signal.drainWaiting = false;
        }
        m_stop.store(true);
        {
            std::lock_guard<std::mutex> hold(signal.lock);
            signal.wake.notify_all();
        }
    }
    if (m_writer.joinable()) {
        m_writer.join();
    }
}

void QXDrvLogger::LeaveWriter()
{
    m_stop.store(true);
    // No lock: at process exit on Windows a thread that held it may be gone. A writer that misses
    // the wake-up still sees the stop at its next record.
    Signal().wake.notify_all();
    m_writer.detach();
    WriteQueuedRecords();
}

void QXDrvLogger::WriteQueuedRecords()
{
    try {
        NamedMutexHold hold(m_mutex);
        if (!hold.Held() || m_queue.empty()) {
            return;
        }
        std::string bytes;
        for (const LogMessage& message : m_queue) {
            AppendRecordLine(bytes, message);
        }
        m_queue.clear();
        const std::wstring path = CurrentFolder() + kLogFile;
        if (FILE* file = ::_wfsopen(path.c_str(), L"at", _SH_DENYNO)) {
            std::fwrite(bytes.data(), 1, bytes.size(), file);
            std::fclose(file);
        }
    } catch (...) {
    }
}

void QXDrvLogger::Initialize(const std::wstring& folder)
{
    try {
        {
            FolderState& state = Folder();
            std::lock_guard<std::recursive_mutex> hold(state.lock);
            if (state.folder.empty()) {
                // Exactly a plain folder: a read-only, hidden, archived... folder is not the log folder.
                if (::GetFileAttributesW(folder.c_str()) != FILE_ATTRIBUTE_DIRECTORY) {
                    return;
                }
                state.folder = folder;
                if (ReadConfiguration() != 0) {
                    return;
                }
            }
        }
        // Also after a suspension: the module's next object starts the writer again.
        if (g_threshold.load() < kOff) {
            GetInstance().StartWriter();
        }
    } catch (...) {
    }
}

std::int32_t QXDrvLogger::ReadConfiguration()
{
    try {
        const std::wstring path = CurrentFolder() + kConfigurationFile;
        FILE* file = ::_wfsopen(path.c_str(), L"rt", _SH_DENYNO);
        if (file == nullptr) {
            return 2;
        }
        std::string line;
        bool carriageReturn = false;
        for (int c = std::fgetc(file); c != EOF && c != '\n'; c = std::fgetc(file)) {
            // Text mode turns CR LF into LF; a CR anywhere else is part of the line.
            if (carriageReturn) {
                line += '\r';
            }
            carriageReturn = c == '\r';
            if (!carriageReturn) {
                line += static_cast<char>(c);
            }
        }
        if (carriageReturn && std::feof(file)) {
            line += '\r';
        }
        std::fclose(file);
        g_threshold.store(LevelOfWord(line));
        return 0;
    } catch (...) {
        return 2;
    }
}

bool QXDrvLogger::IsEnabled(LogLevel level)
{
    const auto value = static_cast<std::int32_t>(level);
    if (value < g_threshold.load(std::memory_order_relaxed) || value >= kOff) {
        return false;
    }
    const QXDrvLogger* live = g_live.load(std::memory_order_acquire);
    return live != nullptr && !live->m_stop.load(std::memory_order_acquire);
}

void QXDrvLogger::Log(LogLevel level, const wchar_t* function, const wchar_t* file, std::uint32_t line,
                      const wchar_t* format, ...)
{
    va_list args;
    va_start(args, format);
    LogV(level, function, file, line, format, args);
    va_end(args);
}

void QXDrvLogger::LogV(LogLevel level, const wchar_t* function, const wchar_t* file, std::uint32_t line,
                       const wchar_t* format, va_list args)
{
    try {
        const auto value = static_cast<std::int32_t>(level);
        if (value < g_threshold.load(std::memory_order_relaxed) || value >= kOff || m_stop.load(std::memory_order_acquire)) {
            return;
        }
        LogMessage message{line, value, {}, {}, function, file};
        ::GetLocalTime(&message.time);

        // Formatting needs nothing shared, so it happens before the wait: the named mutex then
        // covers only the append, and callers on other threads and in other processes wait less.
        // The buffer starts zeroed because a formatter that fails part-way leaves no terminator.
        wchar_t buffer[kMessageCharacters] = {};
        if (format != nullptr) {
            const int written = ::_vsnwprintf_s(buffer, kMessageCharacters, _TRUNCATE, format, args);
            if (written < 0 || written >= static_cast<int>(kMessageCharacters) - 1) {
                buffer[kMessageCharacters - 1] = L'\0';
            }
        }
        message.message = buffer;

        WriterSignal& signal = Signal();
        {
            NamedMutexHold hold(m_mutex);
            if (!hold.Held()) {
                return;
            }
            m_queue.push_back(std::move(message));
            signal.appended.fetch_add(1);
        }
        // Only a sleeping writer needs the wake-up; a busy one looks at the queue again anyway. The
        // writer publishes that it sleeps before it re-reads the count, and the count was bumped
        // before this read, so one side always sees the other. Passing through the lock orders the
        // notify after the writer's check; notifying outside it spares the woken writer a wait.
        if (signal.writerSleeping.load()) {
            { std::lock_guard<std::mutex> passThrough(signal.lock); }
            signal.wake.notify_one();
        }
    } catch (...) {
    }
}

std::wstring QXDrvLogger::FormatRecord(const LogMessage& message)
{
    std::wstring record;
    record.reserve(64 + message.message.size());
    const SYSTEMTIME& t = message.time;
    AppendNumber(record, t.wDay, 2);
    record += L'-';
    AppendNumber(record, t.wMonth, 2);
    record += L'-';
    AppendNumber(record, t.wYear, 4);
    record += L' ';
    AppendNumber(record, t.wHour, 2);
    record += L':';
    AppendNumber(record, t.wMinute, 2);
    record += L':';
    AppendNumber(record, t.wSecond, 2);
    record += L'.';
    AppendNumber(record, t.wMilliseconds, 3);
    record += L' ';
    record += TagOf(message.level);
    record += L" [";
    record += message.file != nullptr ? message.file : L"";
    record += L':';
    record += message.function != nullptr ? message.function : L"";
    record += L':';
    AppendNumber(record, message.line, 1);
    record += L"] - ";
    record += message.message;
    return record;
}

void QXDrvLogger::StartWriter()
{
    const std::lock_guard<std::mutex> hold(m_lifecycle);
    if (m_mutex == nullptr || m_writer.joinable()) {
        return;
    }
    {
        WriterSignal& signal = Signal();
        std::lock_guard<std::mutex> signalHold(signal.lock);
        signal.writerFinished = false;
    }
    m_stop.store(false);
    try {
        m_writer = std::thread(&QXDrvLogger::WriterThread, std::ref(m_queue), std::ref(m_stop));
    } catch (...) {
        m_stop.store(true);
    }
}

void QXDrvLogger::WriterThread(std::deque<LogMessage>& queue, std::atomic<bool>& stop)
{
    WriterSignal& signal = Signal();
    FILE* file = nullptr;
    HANDLE mutex = nullptr;
    try {
        const std::wstring path = CurrentFolder() + kLogFile;
        file = ::_wfsopen(path.c_str(), L"at", _SH_DENYNO);
        mutex = ::OpenMutexW(SYNCHRONIZE, FALSE, kMutexName);
        std::string bytes;
        while (mutex != nullptr && !stop.load()) {
            std::uint64_t seen = 0;
            bool wrote = false;
            {
                NamedMutexHold hold(mutex);
                if (!hold.Held()) {
                    break;
                }
                if (!queue.empty()) {
                    // The whole record and its flush happen under the mutex, so a record of another
                    // module or process sharing the file never lands inside this one.
                    bytes.clear();
                    AppendRecordLine(bytes, queue.front());
                    // Taken off the queue as soon as the file's buffer holds it: a process that
                    // exits now has the runtime flush that buffer, and must not write the record
                    // out a second time from the queue.
                    if (file != nullptr) {
                        std::fwrite(bytes.data(), 1, bytes.size(), file);
                    }
                    queue.pop_front();
                    if (file != nullptr) {
                        std::fflush(file);
                        std::clearerr(file);
                    }
                    signal.removed.fetch_add(1);
                    wrote = true;
                } else {
                    seen = signal.appended.load();
                }
            }
            std::unique_lock<std::mutex> hold(signal.lock);
            if (wrote) {
                if (signal.drainWaiting) {
                    signal.written.notify_all();
                }
                continue;
            }
            signal.writerSleeping.store(true);
            signal.wake.wait(hold, [&] { return signal.appended.load() != seen || stop.load(); });
            signal.writerSleeping.store(false);
        }
    } catch (...) {
    }
    // Nothing is queued any more once the writer is gone, so the queue cannot grow without bound.
    stop.store(true);
    if (mutex != nullptr) {
        ::CloseHandle(mutex);
    }
    if (file != nullptr) {
        std::fclose(file);
    }
    // A writer that gave up early must not leave teardown waiting for records it will never write.
    std::lock_guard<std::mutex> hold(signal.lock);
    signal.writerFinished = true;
    signal.written.notify_all();
}
