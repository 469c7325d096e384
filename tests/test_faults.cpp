// A whole job run with one system call failing at a time: every call a clean job makes, at every
// occurrence that matters, fails once as Windows fails it. Whatever fails, the job must end, report
// to the pipeline by its rule, leave no file in the user's temp folder and no preview application
// running; failures the design survives must still print the job's own bytes.
#include <dirent.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <platform/machine.h>
#include <platform/simulatedmachine.h>
#include <platform/systemapi.h>
#include <wrl/client.h>

#include "hostpreviewfilter.h"
#include "jobcontext.h"
#include "pipelinehost/interfiltercommunicator.h"
#include "pipelinehost/pipelinecontrol.h"
#include "pipelinehost/propertybag.h"
#include "pipelinehost/readstream.h"
#include "pipelinehost/writestream.h"
#include "previewinstall.h"
#include "filterjob.h"
#include "testmachine.h"
#include "textconversion.h"
#include "tickettext.h"
#include "xpsbuilder.h"

using Microsoft::WRL::ComPtr;
using namespace pipelinehost;
using platform::SimulatedMachine;
using testsupport::Option;

namespace {

// Which call fails, and how often each was made. Only calls of the job's own thread count: the
// log's writer thread makes calls of its own at times no test controls, and counting them would
// move the occurrence a row means from run to run.
class FaultPlan {
public:
    FaultPlan(std::string function = {}, int occurrence = 0)
        : function_(std::move(function)), occurrence_(occurrence)
    {
    }

    bool Fails(const char* function)
    {
        if (!onJobThread) {
            return false;
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        const int made = ++counts_[function];
        if (function_ == function && made == occurrence_) {
            fired_ = true;
            return true;
        }
        return false;
    }

    // The preview application's process, once started: its waits are told apart from the log's
    // mutex waits, whose number depends on how much the job logs.
    void Started(HANDLE process)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        application_ = process;
    }

    bool IsApplication(HANDLE object) const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return object != nullptr && object == application_;
    }

    std::map<std::string, int> Counts() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return counts_;
    }

    bool Fired() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return fired_;
    }

    static thread_local bool onJobThread;

private:
    const std::string function_;
    const int occurrence_;
    mutable std::mutex mutex_;
    std::map<std::string, int> counts_;
    bool fired_ = false;
    HANDLE application_ = nullptr;
};

thread_local bool FaultPlan::onJobThread = false;

// Windows error codes the platform's headers do not name.
constexpr DWORD kErrorDiskFull = 112;
constexpr DWORD kErrorReadFault = 30;

template <class T>
T FailedWith(T result, DWORD error)
{
    ::SetLastError(error);
    return result;
}

// One overriding member: on the planned call it runs the failure, otherwise it forwards to the real
// implementation. The failure is statements that return.
#define QX_FAULT(Ret, Name, Params, Args, ...) \
    Ret Name Params override                   \
    {                                          \
        if (plan_.Fails(#Name)) {              \
            __VA_ARGS__;                       \
        }                                      \
        return Real::Name Args;                \
    }

// Calls that give something back (CloseHandle, GlobalFree, FreeLibrary, RegCloseKey, ClosePrinter,
// DestroyEnvironmentBlock, ReleaseMutex) are not failed: a failed release leaks by construction.
class FaultyKernel32 : public platform::Kernel32 {
public:
    explicit FaultyKernel32(FaultPlan& plan) : plan_(plan) {}

    using Real = platform::Kernel32;
    QX_FAULT(HGLOBAL, GlobalAlloc, (UINT flags, SIZE_T bytes), (flags, bytes),
             return FailedWith<HGLOBAL>(nullptr, ERROR_NOT_ENOUGH_MEMORY))
    QX_FAULT(HGLOBAL, GlobalReAlloc, (HGLOBAL memory, SIZE_T bytes, UINT flags), (memory, bytes, flags),
             return FailedWith<HGLOBAL>(nullptr, ERROR_NOT_ENOUGH_MEMORY))
    QX_FAULT(HANDLE, CreateMutexW, (LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name),
             (attributes, initialOwner, name), return FailedWith<HANDLE>(nullptr, ERROR_ACCESS_DENIED))
    QX_FAULT(HANDLE, OpenMutexW, (DWORD access, BOOL inherit, LPCWSTR name), (access, inherit, name),
             return FailedWith<HANDLE>(nullptr, ERROR_FILE_NOT_FOUND))
    DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) override
    {
        if (plan_.Fails(plan_.IsApplication(object) ? "WaitForSingleObject(application)" : "WaitForSingleObject")) {
            return FailedWith<DWORD>(WAIT_FAILED, ERROR_INVALID_HANDLE);
        }
        return Real::WaitForSingleObject(object, milliseconds);
    }
    QX_FAULT(DWORD, GetFileAttributesW, (LPCWSTR fileName), (fileName),
             return FailedWith<DWORD>(INVALID_FILE_ATTRIBUTES, ERROR_ACCESS_DENIED))
    QX_FAULT(BOOL, SetFileAttributesW, (LPCWSTR fileName, DWORD attributes), (fileName, attributes),
             return FailedWith<BOOL>(FALSE, ERROR_ACCESS_DENIED))
    QX_FAULT(FILE*, _wfsopen, (const wchar_t* fileName, const wchar_t* mode, int shareFlag), (fileName, mode, shareFlag),
             errno = EACCES; return nullptr)
    QX_FAULT(HANDLE, CreateFileW,
             (LPCWSTR fileName, DWORD access, DWORD shareMode, SECURITY_ATTRIBUTES* security, DWORD disposition,
              DWORD flagsAndAttributes, HANDLE templateFile),
             (fileName, access, shareMode, security, disposition, flagsAndAttributes, templateFile),
             return FailedWith<HANDLE>(INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED))
    QX_FAULT(BOOL, WriteFile, (HANDLE file, LPCVOID buffer, DWORD bytes, LPDWORD written, LPOVERLAPPED overlapped),
             (file, buffer, bytes, written, overlapped), return FailedWith<BOOL>(FALSE, kErrorDiskFull))
    QX_FAULT(BOOL, ReadFile, (HANDLE file, LPVOID buffer, DWORD bytes, LPDWORD read, LPOVERLAPPED overlapped),
             (file, buffer, bytes, read, overlapped), return FailedWith<BOOL>(FALSE, kErrorReadFault))
    QX_FAULT(BOOL, DeleteFileW, (LPCWSTR fileName), (fileName), return FailedWith<BOOL>(FALSE, ERROR_ACCESS_DENIED))
    QX_FAULT(UINT, GetTempFileNameW, (LPCWSTR pathName, LPCWSTR prefix, UINT unique, LPWSTR tempFileName),
             (pathName, prefix, unique, tempFileName), return FailedWith<UINT>(0, ERROR_ACCESS_DENIED))
    QX_FAULT(BOOL, GetExitCodeProcess, (HANDLE process, LPDWORD exitCode), (process, exitCode),
             return FailedWith<BOOL>(FALSE, ERROR_INVALID_HANDLE))
    QX_FAULT(HMODULE, LoadLibraryW, (LPCWSTR fileName), (fileName),
             return FailedWith<HMODULE>(nullptr, ERROR_MOD_NOT_FOUND))
    QX_FAULT(FARPROC, GetProcAddress, (HMODULE module, LPCSTR procName), (module, procName),
             return FailedWith<FARPROC>(nullptr, ERROR_PROC_NOT_FOUND))
    QX_FAULT(DWORD, GetModuleFileNameW, (HMODULE module, LPWSTR fileName, DWORD size), (module, fileName, size),
             return FailedWith<DWORD>(0, ERROR_ACCESS_DENIED))
    QX_FAULT(BOOL, GetModuleHandleExW, (DWORD flags, LPCWSTR moduleName, HMODULE* module), (flags, moduleName, module),
             *module = nullptr; return FailedWith<BOOL>(FALSE, ERROR_MOD_NOT_FOUND))

private:
    FaultPlan& plan_;
};

class FaultyOle32 : public platform::Ole32 {
public:
    explicit FaultyOle32(FaultPlan& plan) : plan_(plan) {}

    using Real = platform::Ole32;
    QX_FAULT(HRESULT, CoInitializeEx, (LPVOID reserved, DWORD coInit), (reserved, coInit), return E_OUTOFMEMORY)
    QX_FAULT(HRESULT, CoCreateInstance, (REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object),
             (clsid, outer, context, iid, object), *object = nullptr; return REGDB_E_CLASSNOTREG)
    QX_FAULT(HRESULT, CreateStreamOnHGlobal, (HGLOBAL memory, BOOL deleteOnRelease, IStream** stream),
             (memory, deleteOnRelease, stream), *stream = nullptr; return E_OUTOFMEMORY)
    QX_FAULT(HRESULT, GetHGlobalFromStream, (IStream* stream, HGLOBAL* memory), (stream, memory),
             *memory = nullptr; return E_INVALIDARG)

private:
    FaultPlan& plan_;
};

class FaultyWinSpool : public platform::WinSpool {
public:
    explicit FaultyWinSpool(FaultPlan& plan) : plan_(plan) {}

    using Real = platform::WinSpool;
    QX_FAULT(BOOL, OpenPrinterW, (LPWSTR printerName, LPHANDLE printer, LPPRINTER_DEFAULTSW defaults),
             (printerName, printer, defaults), *printer = nullptr;
             return FailedWith<BOOL>(FALSE, ERROR_INVALID_PRINTER_NAME))
    QX_FAULT(BOOL, GetPrinterW, (HANDLE printer, DWORD level, LPBYTE buffer, DWORD bufferSize, LPDWORD needed),
             (printer, level, buffer, bufferSize, needed), return FailedWith<BOOL>(FALSE, ERROR_ACCESS_DENIED))
    QX_FAULT(BOOL, GetPrinterDriverW,
             (HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD bufferSize, LPDWORD needed),
             (printer, environment, level, buffer, bufferSize, needed),
             return FailedWith<BOOL>(FALSE, ERROR_ACCESS_DENIED))
    QX_FAULT(BOOL, GetJobW, (HANDLE printer, DWORD jobId, DWORD level, LPBYTE buffer, DWORD bufferSize, LPDWORD needed),
             (printer, jobId, level, buffer, bufferSize, needed), return FailedWith<BOOL>(FALSE, ERROR_ACCESS_DENIED))

private:
    FaultPlan& plan_;
};

class FaultyAdvApi32 : public platform::AdvApi32 {
public:
    explicit FaultyAdvApi32(FaultPlan& plan) : plan_(plan) {}

    using Real = platform::AdvApi32;
    QX_FAULT(LSTATUS, RegOpenCurrentUser, (REGSAM access, PHKEY result), (access, result),
             *result = nullptr; return ERROR_ACCESS_DENIED)
    QX_FAULT(LSTATUS, RegOpenKeyExW, (HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result),
             (key, subKey, options, access, result), *result = nullptr; return ERROR_ACCESS_DENIED)
    QX_FAULT(LSTATUS, RegGetValueW,
             (HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, LPDWORD type, PVOID data, LPDWORD dataBytes),
             (key, subKey, value, flags, type, data, dataBytes), return ERROR_ACCESS_DENIED)
    QX_FAULT(LSTATUS, RegQueryValueExW,
             (HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD dataBytes),
             (key, valueName, reserved, type, data, dataBytes), return ERROR_ACCESS_DENIED)
    QX_FAULT(BOOL, SetThreadToken, (PHANDLE thread, HANDLE token), (thread, token),
             return FailedWith<BOOL>(FALSE, ERROR_ACCESS_DENIED))
    BOOL CreateProcessAsUserW(HANDLE token, LPCWSTR applicationName, LPWSTR commandLine,
                              SECURITY_ATTRIBUTES* processAttributes, SECURITY_ATTRIBUTES* threadAttributes,
                              BOOL inheritHandles, DWORD creationFlags, LPVOID environment, LPCWSTR currentDirectory,
                              LPSTARTUPINFOW startupInfo, LPPROCESS_INFORMATION processInformation) override
    {
        if (plan_.Fails("CreateProcessAsUserW")) {
            return FailedWith<BOOL>(FALSE, ERROR_ACCESS_DENIED);
        }
        const BOOL started = Real::CreateProcessAsUserW(token, applicationName, commandLine, processAttributes,
                                                        threadAttributes, inheritHandles, creationFlags, environment,
                                                        currentDirectory, startupInfo, processInformation);
        if (started) {
            plan_.Started(processInformation->hProcess);
        }
        return started;
    }

private:
    FaultPlan& plan_;
};

class FaultyUserEnv : public platform::UserEnv {
public:
    explicit FaultyUserEnv(FaultPlan& plan) : plan_(plan) {}

    using Real = platform::UserEnv;
    QX_FAULT(BOOL, CreateEnvironmentBlock, (LPVOID* environment, HANDLE token, BOOL inherit),
             (environment, token, inherit), *environment = nullptr;
             return FailedWith<BOOL>(FALSE, ERROR_ACCESS_DENIED))

private:
    FaultPlan& plan_;
};

class FaultyShell32 : public platform::Shell32 {
public:
    explicit FaultyShell32(FaultPlan& plan) : plan_(plan) {}

    using Real = platform::Shell32;
    // The shell sets no last error for this one.
    QX_FAULT(BOOL, SHGetSpecialFolderPathW, (HWND window, LPWSTR path, int csidl, BOOL create),
             (window, path, csidl, create), return FALSE)

private:
    FaultPlan& plan_;
};

#undef QX_FAULT

// The COM objects' methods count as "com:<method>"; a failing one runs out of memory, which any
// method of theirs may.
class FaultyComObjects : public platform::ComObjects {
public:
    explicit FaultyComObjects(FaultPlan& plan) : plan_(plan) {}

    HRESULT MethodCalled(const char* method) override
    {
        return plan_.Fails(("com:" + std::string(method)).c_str()) ? E_OUTOFMEMORY : S_OK;
    }

private:
    FaultPlan& plan_;
};

// Every double installed for one job.
class FaultyMachine {
public:
    explicit FaultyMachine(FaultPlan& plan)
        : kernel32_(plan), ole32_(plan), winSpool_(plan), advApi32_(plan), userEnv_(plan), shell32_(plan),
          comObjects_(plan), installKernel32_(kernel32_), installOle32_(ole32_), installWinSpool_(winSpool_),
          installAdvApi32_(advApi32_), installUserEnv_(userEnv_), installShell32_(shell32_),
          installComObjects_(comObjects_)
    {
    }

private:
    FaultyKernel32 kernel32_;
    FaultyOle32 ole32_;
    FaultyWinSpool winSpool_;
    FaultyAdvApi32 advApi32_;
    FaultyUserEnv userEnv_;
    FaultyShell32 shell32_;
    FaultyComObjects comObjects_;
    platform::ScopedInstall<platform::IKernel32> installKernel32_;
    platform::ScopedInstall<platform::IOle32> installOle32_;
    platform::ScopedInstall<platform::IWinSpool> installWinSpool_;
    platform::ScopedInstall<platform::IAdvApi32> installAdvApi32_;
    platform::ScopedInstall<platform::IUserEnv> installUserEnv_;
    platform::ScopedInstall<platform::IShell32> installShell32_;
    platform::ScopedInstall<platform::IComObjects> installComObjects_;
};

platform::PrinterDescription FaultPrinter() { return testsupport::FilterPrinter(L"QX Fault Printer"); }

std::vector<BYTE> Job(const std::wstring& ticketFeatures) { return testsupport::XpsJobBytes(ticketFeatures); }

const std::wstring kPreviewOn = Option(L"ns0000:JobPrintPreview", L"ON");
const std::wstring kPreviewOff = Option(L"ns0000:JobPrintPreview", L"OFF");

// What one job run left behind.
struct Outcome {
    HRESULT hr = E_UNEXPECTED;
    std::vector<std::string> calls;
    HRESULT shutdownReason = S_OK;
    bool outputIsInput = false;
    bool outputClosed = false;
    bool fired = false;
    std::map<std::string, int> counts;
    std::string log;
};

// Processes this program started that still run; the platform reaps its children as they end, so
// an ended one is gone or a zombie.
std::vector<pid_t> RunningChildren()
{
    std::vector<pid_t> children;
    DIR* proc = ::opendir("/proc");
    if (proc == nullptr) {
        return children;
    }
    while (const dirent* entry = ::readdir(proc)) {
        const pid_t pid = static_cast<pid_t>(std::atoi(entry->d_name));
        if (pid <= 0) {
            continue;
        }
        std::ifstream stat("/proc/" + std::string(entry->d_name) + "/stat");
        std::string line;
        std::getline(stat, line);
        const auto close = line.rfind(')');
        if (close == std::string::npos) {
            continue;
        }
        std::istringstream rest(line.substr(close + 1));
        char state = 0;
        pid_t parent = 0;
        rest >> state >> parent;
        if (parent == ::getpid() && state != 'Z') {
            children.push_back(pid);
        }
    }
    ::closedir(proc);
    return children;
}

std::vector<std::string> TempFolderOfAna()
{
    std::vector<std::string> files;
    const auto folder = platform::HostPathOf(L"C:\\Users\\ana\\AppData\\Local\\Temp");
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(*folder, error)) {
        files.push_back(entry.path().filename().string());
    }
    return files;
}

// The driver's own libraries that are mapped into this process now.
std::vector<std::string> LoadedDriverLibraries()
{
    std::vector<std::string> loaded;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        for (const char* library : {"libqxicl.so", "libqxitrn.so", "libxpsuiolib.so"}) {
            const bool listed = std::find(loaded.begin(), loaded.end(), library) != loaded.end();
            if (!listed && line.find(library) != std::string::npos) {
                loaded.emplace_back(library);
            }
        }
    }
    return loaded;
}

// The filter's last word on the job: its closing line, or the failure it reports to the pipeline.
std::string LastLineFor(HRESULT hr)
{
    if (hr == S_OK) {
        return "Host Preview Filter - Finishing StartOperation_throws";
    }
    return "Exception thrown because of failed hresult: " + std::to_string(static_cast<std::int32_t>(hr));
}

class Faults : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        SimulatedMachine::Replace({L"", {{L"ana", {{L"QXPREVIEW_MODE", L"accept"}}}}, {}, {}, {}});
        testsupport::InstallPreviewApplication(QX_PREVIEWAPP_PATH);
        for (const char* name : {"QXPREVIEW_MODE", "QXPREVIEW_INPUT_BIN", "QXPREVIEW_SCALING_MODE",
                                 "QXPREVIEW_SCALING_PERCENTAGE", "QXPREVIEW_REPORT"}) {
            ::unsetenv(name);
        }
    }

    // Runs ana's job with the plan's call failing; the doubles are in force for the job alone.
    static Outcome Run(FaultPlan& plan, const std::wstring& ticket = kPreviewOn)
    {
        testsupport::JobContext context(FaultPrinter());
        const HANDLE token = SimulatedMachine::TokenFor(L"ana");
        context.SetHandle(L"UserSecurityToken", token);
        const std::vector<BYTE> input = Job(ticket);
        ComPtr<ReadStream> reader = ReadStream::FromBytes(input);
        ComPtr<WriteStream> writer = WriteStream::ToMemory();
        ComPtr<PipelineControl> control = PipelineControl::Create();
        ComPtr<InterFilterCommunicator> communicator = InterFilterCommunicator::Create(reader.Get(), writer.Get());
        ComPtr<HostPreviewFilter> filter;
        filter.Attach(new HostPreviewFilter);
        Outcome outcome;
        const testsupport::LogTail log;
        if (filter->InitializeFilter(communicator.Get(), &context.Bag(), control.Get()) == S_OK) {
            FaultyMachine machine(plan);
            std::thread([&] {
                FaultPlan::onJobThread = true;
                outcome.hr = filter->StartOperation();
                FaultPlan::onJobThread = false;
            }).join();
        }
        ::CloseHandle(token);
        outcome.calls = control->Calls();
        outcome.shutdownReason = control->ShutdownReason().value_or(S_OK);
        outcome.outputIsInput = writer->Bytes() == input;
        outcome.outputClosed = writer->Closed();
        outcome.fired = plan.Fired();
        outcome.counts = plan.Counts();
        outcome.log = log.Settled();
        return outcome;
    }
};

// One row per call a clean preview job makes and the occurrence of it that fails.
struct FaultRow {
    const char* function;
    int occurrence;
    HRESULT expected;
    const char* line;  // logged besides the last line, if not null
};

// Occurrences first to last of one call, all ending the same way.
struct FaultSpan {
    const char* function;
    int first;
    int last;
    HRESULT expected;
    const char* line = nullptr;
};

// What a failure turns into. S_OK rows are failures the job survives by design: it prints its own
// bytes, with or without a preview. Spooler records the job cannot do without are E_INVALIDARG; the
// driver's libraries and the preview channel fail by standard exceptions, hence E_FAIL. A failed
// apartment join goes unnoticed until the XPS factory cannot be made outside an apartment.
const FaultSpan kSpans[] = {
    {"CoCreateInstance", 1, 1, REGDB_E_CLASSNOTREG},
    {"CoCreateInstance", 2, 8, S_OK},
    {"CoInitializeEx", 1, 1, CO_E_NOTINITIALIZED},
    {"CoInitializeEx", 2, 4, S_OK},
    {"CreateEnvironmentBlock", 1, 1, S_OK},
    {"CreateFileW", 1, 1, S_OK},
    {"CreateProcessAsUserW", 1, 1, S_OK},
    {"CreateStreamOnHGlobal", 1, 2, E_OUTOFMEMORY},
    {"DeleteFileW", 1, 2, S_OK},
    {"GetExitCodeProcess", 1, 1, S_OK},
    {"GetFileAttributesW", 1, 5, S_OK},
    {"GetJobW", 1, 2, E_FAIL},
    {"GetJobW", 3, 4, E_INVALIDARG},
    {"GetModuleFileNameW", 1, 3, S_OK},
    {"GetModuleHandleExW", 1, 3, S_OK},
    {"GetPrinterDriverW", 1, 2, S_OK},
    {"GetPrinterW", 1, 6, E_INVALIDARG},
    // The communication library's four functions: without any of them no session can be served, so
    // none is started.
    {"GetProcAddress", 1, 4, S_OK, "The communication library lacks a function Print Preview needs"},
    {"GetProcAddress", 5, 8, S_OK},
    {"GetTempFileNameW", 1, 1, S_OK},
    {"GlobalAlloc", 1, 2, E_OUTOFMEMORY},
    {"LoadLibraryW", 1, 3, E_FAIL},
    {"OpenPrinterW", 1, 2, S_OK},
    {"RegOpenKeyExW", 1, 3, S_OK},
    {"RegQueryValueExW", 1, 12, S_OK},
    {"SHGetSpecialFolderPathW", 1, 1, S_OK},
    {"SetThreadToken", 1, 6, S_OK},
    // The first of the log's mutex waits; how many follow depends on how much the job logs.
    {"WaitForSingleObject", 1, 1, S_OK},
    // No verdict can be read: the application is closed and the job prints as it was.
    {"WaitForSingleObject(application)", 1, 1, S_OK, "waiting for PrintPreview 2.0; it is closed"},
    {"WriteFile", 1, 1, S_OK},
    // The XPS object model and the DOM. The package and its ticket are the job's own: without them
    // it fails with the failure. A ticket node that cannot be read counts as one the ticket lacks;
    // where that leaves a custom size without its width, the load ends with E_POINTER as for a ticket
    // without the width. Every reader sets its own selection namespaces and fails when it cannot; the
    // first setting of them, and the bidi conversation, only lose what they would have added.
    {"com:BindDevice", 1, 3, S_OK},
    {"com:CreatePackageFromStream", 1, 1, E_OUTOFMEMORY},
    {"com:GetDocumentSequence", 1, 1, E_OUTOFMEMORY},
    {"com:GetPrintTicketResource", 1, 1, E_OUTOFMEMORY},
    {"com:GetStream", 1, 1, E_OUTOFMEMORY},
    {"com:SendRecvXMLString", 1, 3, S_OK},
    {"com:UnbindDevice", 1, 3, S_OK},
    {"com:get_length", 1, 3, S_OK},
    {"com:get_nodeTypedValue", 1, 1, E_OUTOFMEMORY},
    {"com:get_nodeTypedValue", 2, 3, E_POINTER},
    {"com:get_nodeTypedValue", 4, 5, S_OK},
    {"com:load", 1, 1, S_OK},
    {"com:loadXML", 1, 3, S_OK},
    {"com:selectNodes", 1, 3, S_OK},
    {"com:selectSingleNode", 1, 1, S_OK},
    {"com:selectSingleNode", 2, 2, E_OUTOFMEMORY},
    {"com:selectSingleNode", 3, 4, S_OK},
    {"com:selectSingleNode", 5, 6, E_POINTER},
    {"com:selectSingleNode", 7, 56, S_OK},
    {"com:setProperty", 1, 1, S_OK},
    {"com:setProperty", 2, 49, E_OUTOFMEMORY},
    {"com:setProperty", 50, 50, E_POINTER},
    {"com:setProperty", 51, 54, E_OUTOFMEMORY},
    {"com:setProperty", 55, 55, S_OK},
};

std::vector<FaultRow> Rows()
{
    std::vector<FaultRow> rows;
    for (const FaultSpan& span : kSpans) {
        for (int occurrence = span.first; occurrence <= span.last; ++occurrence) {
            rows.push_back({span.function, occurrence, span.expected, span.line});
        }
    }
    return rows;
}

const std::vector<FaultRow> kRows = Rows();

// Every call a clean preview job makes has its rows, so a new call in the job shows up here first.
// A pass-through job makes no call the preview job does not.
TEST_F(Faults, EveryCallOfACleanJobHasItsRows)
{
    std::map<std::string, int> covered;
    for (const FaultRow& row : kRows) {
        covered[row.function] = std::max(covered[row.function], row.occurrence);
    }
    FaultPlan preview;
    const Outcome previewRun = Run(preview, kPreviewOn);
    ASSERT_EQ(previewRun.hr, S_OK);
    std::map<std::string, int> made = previewRun.counts;
    ASSERT_GT(made["WaitForSingleObject"], 1);
    made["WaitForSingleObject"] = 1;
    EXPECT_EQ(made, covered);

    FaultPlan passThrough;
    const Outcome passThroughRun = Run(passThrough, kPreviewOff);
    ASSERT_EQ(passThroughRun.hr, S_OK);
    for (const auto& [function, count] : passThroughRun.counts) {
        if (function != "WaitForSingleObject") {
            EXPECT_LE(count, covered[function]) << function;
        }
    }
}

class FailedCall : public Faults, public testing::WithParamInterface<FaultRow> {};

TEST_P(FailedCall, EndsTheJobByThePipelineRuleAndLeavesNothingBehind)
{
    const FaultRow& row = GetParam();
    FaultPlan plan(row.function, row.occurrence);
    const Outcome outcome = Run(plan);
    EXPECT_TRUE(outcome.fired) << "the job no longer makes this call";
    EXPECT_EQ(outcome.hr, row.expected);
    if (outcome.hr == S_OK) {
        EXPECT_EQ(outcome.calls, std::vector<std::string>{"FilterFinished"});
        EXPECT_TRUE(outcome.outputIsInput);
        EXPECT_TRUE(outcome.outputClosed);
    } else {
        ASSERT_EQ(outcome.calls.size(), 2u);
        EXPECT_EQ(outcome.calls.front().rfind("RequestShutdown(", 0), 0u);
        EXPECT_EQ(outcome.shutdownReason, outcome.hr);
        EXPECT_EQ(outcome.calls.back(), "FilterFinished");
    }
    EXPECT_NE(outcome.log.find(LastLineFor(outcome.hr)), std::string::npos) << LastLineFor(outcome.hr);
    if (row.line != nullptr) {
        EXPECT_NE(outcome.log.find(row.line), std::string::npos) << row.line;
    }
    EXPECT_EQ(TempFolderOfAna(), std::vector<std::string>{});
    EXPECT_EQ(LoadedDriverLibraries(), std::vector<std::string>{});
    const std::vector<pid_t> running = RunningChildren();
    EXPECT_TRUE(running.empty()) << "the preview application is still running";
    for (const pid_t child : running) {
        ::kill(child, SIGKILL);
    }
}

std::string RowName(const testing::TestParamInfo<FaultRow>& info)
{
    std::string name = std::string(info.param.function) + "_" + std::to_string(info.param.occurrence);
    for (char& c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '_') {
            c = '_';
        }
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Table, FailedCall, testing::ValuesIn(kRows), RowName);

}  // namespace
