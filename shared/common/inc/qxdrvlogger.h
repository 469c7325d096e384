// The driver's diagnostic log: off unless "qxdrvlog.cfg" in the log folder names a level; records
// are queued by the callers and appended to "qxdrvlog.log" by one writer thread. The named mutex
// "LFPDrvLoggerMutex" orders every caller and writer of every process that shares the file.
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include <windows.h>

enum class LogLevel : std::int32_t {
    Info = 0,
    Warning = 1,
    Exception = 2,
    Error = 3,
    Performance = 4,
    Off = 5,
};

struct LogMessage {
    std::uint32_t line;
    std::int32_t level;
    SYSTEMTIME time;
    std::wstring message;
    const wchar_t* function;  // names live as long as the process; never copied
    const wchar_t* file;
};

class QXDrvLogger {
public:
    static constexpr std::size_t kMessageCharacters = 1024;  // 1023 characters and the terminator

    static QXDrvLogger& GetInstance();

    // Starts the log for the folder; only the first call that finds the folder has an effect,
    // except that a call after Suspend starts the writer again.
    static void Initialize(const std::wstring& folder);

    // Writes out every queued record, then stops and joins the writer, provided stillUnused() holds
    // once no writer can start any more. A module calls it when it may be unloaded: the unload
    // itself must never wait for a thread (on Windows it runs under the loader lock, and at process
    // exit the writer is gone already).
    static void Suspend(bool (*stillUnused)());

    // 0 when the configuration file was read, 2 when it could not be opened.
    static std::int32_t ReadConfiguration();

    // False when a call at this level would be dropped; callers may skip preparing the record.
    static bool IsEnabled(LogLevel level);

    void Log(LogLevel level, const wchar_t* function, const wchar_t* file, std::uint32_t line, const wchar_t* format, ...);
    void LogV(LogLevel level, const wchar_t* function, const wchar_t* file, std::uint32_t line, const wchar_t* format,
              va_list args);

    // One record as it is written to the file, without the line break.
    static std::wstring FormatRecord(const LogMessage& message);

    QXDrvLogger(const QXDrvLogger&) = delete;
    QXDrvLogger& operator=(const QXDrvLogger&) = delete;

private:
    struct ModuleExit;

    QXDrvLogger();
    ~QXDrvLogger();
    void StartWriter();
    void StopWriter();
    // At module exit with the writer still running: no waiting for it, and no record left behind.
    void LeaveWriter();
    void WriteQueuedRecords();
    static void WriterThread(std::deque<LogMessage>& queue, std::atomic<bool>& stop);

    std::deque<LogMessage> m_queue;  // under the named mutex
    std::atomic<bool> m_stop{true};
    std::mutex m_lifecycle;  // orders starting and stopping the writer
    std::thread m_writer;
    HANDLE m_mutex = nullptr;  // "LFPDrvLoggerMutex", held for the instance's life
};

// Where a log call stands in the source, as the compiler names it.
struct LogSite {
    const char* function;  // __PRETTY_FUNCTION__
    const char* file;      // __FILE__
    std::uint32_t line;
};

// The qualified function name ("UnknownBase<struct IClassFactory>::QueryInterface") and the file
// name without folder and extension ("unknownbase") of a site, converted once per site.
const wchar_t* LogFunctionName(const char* prettyFunction);
const wchar_t* LogFileName(const char* sourceFile);
// Frees the names of the sites logged so far; the log calls it at teardown, once its last record
// is written.
void ReleaseLogSiteNames();

void LogAt(LogLevel level, const LogSite& site, const wchar_t* format, ...);

#define QX_HERE (::LogSite{__PRETTY_FUNCTION__, __FILE__, static_cast<std::uint32_t>(__LINE__)})
// A record written by a helper on behalf of the function at site: that function's name and file,
// and the line of the helper's own call, so that records of one function still tell its steps apart.
#define QX_FOR(site) (::LogSite{(site).function, (site).file, static_cast<std::uint32_t>(__LINE__)})
#define QXLOG(level, ...) ::LogAt((level), QX_HERE, __VA_ARGS__)
#define QXLOG_INFO(...) QXLOG(LogLevel::Info, __VA_ARGS__)
#define QXLOG_WARNING(...) QXLOG(LogLevel::Warning, __VA_ARGS__)
#define QXLOG_ERROR(...) QXLOG(LogLevel::Error, __VA_ARGS__)
