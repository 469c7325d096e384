// The seam under the Windows functions: each system library is an abstract class whose real
// implementation this platform provides. A test installs a double (usually derived from the real
// class, overriding the one call it wants to fail) for the scope of a test.
#pragma once

#include "../objbase.h"
#include "../shlobj.h"
#include "../userenv.h"
#include "../windows.h"
#include "../winspool.h"

namespace platform {

class IKernel32 {
public:
    virtual ~IKernel32() = default;

    virtual HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) = 0;
    virtual HGLOBAL GlobalReAlloc(HGLOBAL memory, SIZE_T bytes, UINT flags) = 0;
    virtual LPVOID GlobalLock(HGLOBAL memory) = 0;
    virtual BOOL GlobalUnlock(HGLOBAL memory) = 0;
    virtual SIZE_T GlobalSize(HGLOBAL memory) = 0;
    virtual UINT GlobalFlags(HGLOBAL memory) = 0;
    virtual HGLOBAL GlobalFree(HGLOBAL memory) = 0;

    virtual BOOL CloseHandle(HANDLE object) = 0;
    virtual HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) = 0;
    virtual HANDLE OpenMutexW(DWORD access, BOOL inherit, LPCWSTR name) = 0;
    virtual BOOL ReleaseMutex(HANDLE mutex) = 0;
    virtual DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) = 0;

    virtual void GetLocalTime(SYSTEMTIME* time) = 0;

    virtual DWORD GetFileAttributesW(LPCWSTR fileName) = 0;
    virtual BOOL SetFileAttributesW(LPCWSTR fileName, DWORD attributes) = 0;
    virtual FILE* _wfsopen(const wchar_t* fileName, const wchar_t* mode, int shareFlag) = 0;
    virtual HANDLE CreateFileW(LPCWSTR fileName, DWORD access, DWORD shareMode, SECURITY_ATTRIBUTES* security,
                               DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile) = 0;
    virtual BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytes, LPDWORD written, LPOVERLAPPED overlapped) = 0;
    virtual BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytes, LPDWORD read, LPOVERLAPPED overlapped) = 0;
    virtual BOOL DeleteFileW(LPCWSTR fileName) = 0;
    virtual UINT GetTempFileNameW(LPCWSTR pathName, LPCWSTR prefix, UINT unique, LPWSTR tempFileName) = 0;

    virtual BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode) = 0;
    virtual BOOL TerminateProcess(HANDLE process, UINT exitCode) = 0;

    virtual HMODULE LoadLibraryW(LPCWSTR fileName) = 0;
    virtual FARPROC GetProcAddress(HMODULE module, LPCSTR procName) = 0;
    virtual BOOL FreeLibrary(HMODULE module) = 0;
    virtual DWORD GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size) = 0;
    virtual BOOL GetModuleHandleExW(DWORD flags, LPCWSTR moduleName, HMODULE* module) = 0;
};

class IOle32 {
public:
    virtual ~IOle32() = default;

    virtual HRESULT CoInitializeEx(LPVOID reserved, DWORD coInit) = 0;
    virtual void CoUninitialize() = 0;
    virtual HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object) = 0;
    virtual HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* factory, DWORD context, DWORD flags,
                                          LPDWORD cookie) = 0;
    virtual HRESULT CoRevokeClassObject(DWORD cookie) = 0;
    virtual HRESULT CreateStreamOnHGlobal(HGLOBAL memory, BOOL deleteOnRelease, IStream** stream) = 0;
    virtual HRESULT GetHGlobalFromStream(IStream* stream, HGLOBAL* memory) = 0;
};

class IWinSpool {
public:
    virtual ~IWinSpool() = default;

    virtual BOOL OpenPrinterW(LPWSTR printerName, LPHANDLE printer, LPPRINTER_DEFAULTSW defaults) = 0;
    virtual BOOL ClosePrinter(HANDLE printer) = 0;
    virtual BOOL GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD bufferSize, LPDWORD needed) = 0;
    virtual BOOL GetPrinterDriverW(HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD bufferSize,
                                   LPDWORD needed) = 0;
    virtual BOOL GetJobW(HANDLE printer, DWORD jobId, DWORD level, LPBYTE buffer, DWORD bufferSize,
                         LPDWORD needed) = 0;
};

// The registry and the thread token.
class IAdvApi32 {
public:
    virtual ~IAdvApi32() = default;

    virtual LSTATUS RegOpenCurrentUser(REGSAM access, PHKEY result) = 0;
    virtual LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result) = 0;
    virtual LSTATUS RegCloseKey(HKEY key) = 0;
    virtual LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR className, LPDWORD classChars, LPDWORD reserved,
                                     LPDWORD subKeys, LPDWORD maxSubKeyChars, LPDWORD maxClassChars, LPDWORD values,
                                     LPDWORD maxValueNameChars, LPDWORD maxValueBytes, LPDWORD securityDescriptorBytes,
                                     FILETIME* lastWriteTime) = 0;
    virtual LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameChars, LPDWORD reserved,
                                  LPWSTR className, LPDWORD classChars, FILETIME* lastWriteTime) = 0;
    virtual LSTATUS RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, LPDWORD type, PVOID data,
                                 LPDWORD dataBytes) = 0;
    virtual LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                     LPDWORD dataBytes) = 0;

    virtual BOOL SetThreadToken(PHANDLE thread, HANDLE token) = 0;
    virtual BOOL CreateProcessAsUserW(HANDLE token, LPCWSTR applicationName, LPWSTR commandLine,
                                      SECURITY_ATTRIBUTES* processAttributes, SECURITY_ATTRIBUTES* threadAttributes,
                                      BOOL inheritHandles, DWORD creationFlags, LPVOID environment,
                                      LPCWSTR currentDirectory, LPSTARTUPINFOW startupInfo,
                                      LPPROCESS_INFORMATION processInformation) = 0;
};

// The user profile library: environment blocks.
class IUserEnv {
public:
    virtual ~IUserEnv() = default;

    virtual BOOL CreateEnvironmentBlock(LPVOID* environment, HANDLE token, BOOL inherit) = 0;
    virtual BOOL DestroyEnvironmentBlock(LPVOID environment) = 0;
};

// The shell: known folders.
class IShell32 {
public:
    virtual ~IShell32() = default;

    virtual BOOL SHGetSpecialFolderPathW(HWND window, LPWSTR path, int csidl, BOOL create) = 0;
};

// The COM objects this platform serves (the XPS object model, MSXML, bidi): each of their methods
// asks here before it runs, so that a double can fail any one of them.
class IComObjects {
public:
    virtual ~IComObjects() = default;

    // S_OK lets the method run; a failure is what the method returns instead, with its out
    // parameters untouched.
    virtual HRESULT MethodCalled(const char* method) = 0;
};

// The real implementations; derive from these to fail single calls.
class Kernel32 : public IKernel32 {
public:
    HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) override;
    HGLOBAL GlobalReAlloc(HGLOBAL memory, SIZE_T bytes, UINT flags) override;
    LPVOID GlobalLock(HGLOBAL memory) override;
    BOOL GlobalUnlock(HGLOBAL memory) override;
    SIZE_T GlobalSize(HGLOBAL memory) override;
    UINT GlobalFlags(HGLOBAL memory) override;
    HGLOBAL GlobalFree(HGLOBAL memory) override;

    BOOL CloseHandle(HANDLE object) override;
    HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) override;
    HANDLE OpenMutexW(DWORD access, BOOL inherit, LPCWSTR name) override;
    BOOL ReleaseMutex(HANDLE mutex) override;
    DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) override;

    void GetLocalTime(SYSTEMTIME* time) override;

    DWORD GetFileAttributesW(LPCWSTR fileName) override;
    BOOL SetFileAttributesW(LPCWSTR fileName, DWORD attributes) override;
    FILE* _wfsopen(const wchar_t* fileName, const wchar_t* mode, int shareFlag) override;
    HANDLE CreateFileW(LPCWSTR fileName, DWORD access, DWORD shareMode, SECURITY_ATTRIBUTES* security,
                       DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile) override;
    BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytes, LPDWORD written, LPOVERLAPPED overlapped) override;
    BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytes, LPDWORD read, LPOVERLAPPED overlapped) override;
    BOOL DeleteFileW(LPCWSTR fileName) override;
    UINT GetTempFileNameW(LPCWSTR pathName, LPCWSTR prefix, UINT unique, LPWSTR tempFileName) override;

    BOOL GetExitCodeProcess(HANDLE process, LPDWORD exitCode) override;
    BOOL TerminateProcess(HANDLE process, UINT exitCode) override;

    HMODULE LoadLibraryW(LPCWSTR fileName) override;
    FARPROC GetProcAddress(HMODULE module, LPCSTR procName) override;
    BOOL FreeLibrary(HMODULE module) override;
    DWORD GetModuleFileNameW(HMODULE module, LPWSTR fileName, DWORD size) override;
    BOOL GetModuleHandleExW(DWORD flags, LPCWSTR moduleName, HMODULE* module) override;
};

class Ole32 : public IOle32 {
public:
    HRESULT CoInitializeEx(LPVOID reserved, DWORD coInit) override;
    void CoUninitialize() override;
    HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object) override;
    HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* factory, DWORD context, DWORD flags,
                                  LPDWORD cookie) override;
    HRESULT CoRevokeClassObject(DWORD cookie) override;
    HRESULT CreateStreamOnHGlobal(HGLOBAL memory, BOOL deleteOnRelease, IStream** stream) override;
    HRESULT GetHGlobalFromStream(IStream* stream, HGLOBAL* memory) override;
};

// The registry of the simulated machine.
class AdvApi32 : public IAdvApi32 {
public:
    LSTATUS RegOpenCurrentUser(REGSAM access, PHKEY result) override;
    LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result) override;
    LSTATUS RegCloseKey(HKEY key) override;
    LSTATUS RegQueryInfoKeyW(HKEY key, LPWSTR className, LPDWORD classChars, LPDWORD reserved, LPDWORD subKeys,
                             LPDWORD maxSubKeyChars, LPDWORD maxClassChars, LPDWORD values, LPDWORD maxValueNameChars,
                             LPDWORD maxValueBytes, LPDWORD securityDescriptorBytes, FILETIME* lastWriteTime) override;
    LSTATUS RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, LPDWORD nameChars, LPDWORD reserved, LPWSTR className,
                          LPDWORD classChars, FILETIME* lastWriteTime) override;
    LSTATUS RegGetValueW(HKEY key, LPCWSTR subKey, LPCWSTR value, DWORD flags, LPDWORD type, PVOID data,
                         LPDWORD dataBytes) override;
    LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                             LPDWORD dataBytes) override;

    BOOL SetThreadToken(PHANDLE thread, HANDLE token) override;
    BOOL CreateProcessAsUserW(HANDLE token, LPCWSTR applicationName, LPWSTR commandLine,
                              SECURITY_ATTRIBUTES* processAttributes, SECURITY_ATTRIBUTES* threadAttributes,
                              BOOL inheritHandles, DWORD creationFlags, LPVOID environment, LPCWSTR currentDirectory,
                              LPSTARTUPINFOW startupInfo, LPPROCESS_INFORMATION processInformation) override;
};

// The spooler of the simulated machine.
class WinSpool : public IWinSpool {
public:
    BOOL OpenPrinterW(LPWSTR printerName, LPHANDLE printer, LPPRINTER_DEFAULTSW defaults) override;
    BOOL ClosePrinter(HANDLE printer) override;
    BOOL GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD bufferSize, LPDWORD needed) override;
    BOOL GetPrinterDriverW(HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD bufferSize,
                           LPDWORD needed) override;
    BOOL GetJobW(HANDLE printer, DWORD jobId, DWORD level, LPBYTE buffer, DWORD bufferSize, LPDWORD needed) override;
};

// The users' environments on the simulated machine.
class UserEnv : public IUserEnv {
public:
    BOOL CreateEnvironmentBlock(LPVOID* environment, HANDLE token, BOOL inherit) override;
    BOOL DestroyEnvironmentBlock(LPVOID environment) override;
};

// The users' profile folders on the simulated machine.
class Shell32 : public IShell32 {
public:
    BOOL SHGetSpecialFolderPathW(HWND window, LPWSTR path, int csidl, BOOL create) override;
};

class ComObjects : public IComObjects {
public:
    HRESULT MethodCalled(const char* /*method*/) override { return S_OK; }
};

// The implementation in force. Install returns the one it replaces; installing null restores the real one.
IKernel32& CurrentKernel32();
IKernel32* Install(IKernel32* replacement);
IOle32& CurrentOle32();
IOle32* Install(IOle32* replacement);
IWinSpool& CurrentWinSpool();
IWinSpool* Install(IWinSpool* replacement);
IAdvApi32& CurrentAdvApi32();
IAdvApi32* Install(IAdvApi32* replacement);
IUserEnv& CurrentUserEnv();
IUserEnv* Install(IUserEnv* replacement);
IShell32& CurrentShell32();
IShell32* Install(IShell32* replacement);
IComObjects& CurrentComObjects();
IComObjects* Install(IComObjects* replacement);

// Asked first by every COM method of the platform's objects, named by its caller: S_OK lets it run,
// anything else is the method's result.
inline HRESULT ComMethodRefusal(const char* method = __builtin_FUNCTION())
{
    return CurrentComObjects().MethodCalled(method);
}

template <class Api>
class ScopedInstall {
public:
    explicit ScopedInstall(Api& replacement) : previous_(Install(&replacement)) {}
    ~ScopedInstall() { Install(previous_); }
    ScopedInstall(const ScopedInstall&) = delete;
    ScopedInstall& operator=(const ScopedInstall&) = delete;

private:
    Api* previous_;
};

}  // namespace platform
