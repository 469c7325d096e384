// The installed implementation of each system library, and the Windows functions that call it.
#include "platform/systemapi.h"

#include <unistd.h>

#include <atomic>

namespace platform {
namespace {

template <class Api, class Real>
class Slot {
public:
    Api& Current() { return *current_.load(std::memory_order_acquire); }
    Api* Install(Api* replacement)
    {
        Api* previous = current_.exchange(replacement == nullptr ? &real_ : replacement, std::memory_order_acq_rel);
        return previous == &real_ ? nullptr : previous;
    }

private:
    Real real_;
    std::atomic<Api*> current_{&real_};
};

Slot<IKernel32, Kernel32>& Kernel32Slot()
{
    static auto* slot = new Slot<IKernel32, Kernel32>;  // alive for every static destructor
    return *slot;
}

Slot<IOle32, Ole32>& Ole32Slot()
{
    static auto* slot = new Slot<IOle32, Ole32>;
    return *slot;
}

Slot<IWinSpool, WinSpool>& WinSpoolSlot()
{
    static auto* slot = new Slot<IWinSpool, WinSpool>;
    return *slot;
}

Slot<IAdvApi32, AdvApi32>& AdvApi32Slot()
{
    static auto* slot = new Slot<IAdvApi32, AdvApi32>;
    return *slot;
}

Slot<IUserEnv, UserEnv>& UserEnvSlot()
{
    static auto* slot = new Slot<IUserEnv, UserEnv>;
    return *slot;
}

Slot<IShell32, Shell32>& Shell32Slot()
{
    static auto* slot = new Slot<IShell32, Shell32>;
    return *slot;
}

Slot<IComObjects, ComObjects>& ComObjectsSlot()
{
    static auto* slot = new Slot<IComObjects, ComObjects>;
    return *slot;
}

}  // namespace

IKernel32& CurrentKernel32() { return Kernel32Slot().Current(); }
IKernel32* Install(IKernel32* replacement) { return Kernel32Slot().Install(replacement); }
IOle32& CurrentOle32() { return Ole32Slot().Current(); }
IOle32* Install(IOle32* replacement) { return Ole32Slot().Install(replacement); }
IWinSpool& CurrentWinSpool() { return WinSpoolSlot().Current(); }
IWinSpool* Install(IWinSpool* replacement) { return WinSpoolSlot().Install(replacement); }
IAdvApi32& CurrentAdvApi32() { return AdvApi32Slot().Current(); }
IAdvApi32* Install(IAdvApi32* replacement) { return AdvApi32Slot().Install(replacement); }
IUserEnv& CurrentUserEnv() { return UserEnvSlot().Current(); }
IUserEnv* Install(IUserEnv* replacement) { return UserEnvSlot().Install(replacement); }
IShell32& CurrentShell32() { return Shell32Slot().Current(); }
IShell32* Install(IShell32* replacement) { return Shell32Slot().Install(replacement); }
IComObjects& CurrentComObjects() { return ComObjectsSlot().Current(); }
IComObjects* Install(IComObjects* replacement) { return ComObjectsSlot().Install(replacement); }

}  // namespace platform

using platform::CurrentKernel32;
using platform::CurrentOle32;
using platform::CurrentWinSpool;
using platform::CurrentAdvApi32;
using platform::CurrentShell32;
using platform::CurrentUserEnv;

HGLOBAL GlobalAlloc(UINT uFlags, SIZE_T dwBytes) { return CurrentKernel32().GlobalAlloc(uFlags, dwBytes); }
HGLOBAL GlobalReAlloc(HGLOBAL hMem, SIZE_T dwBytes, UINT uFlags) { return CurrentKernel32().GlobalReAlloc(hMem, dwBytes, uFlags); }
LPVOID GlobalLock(HGLOBAL hMem) { return CurrentKernel32().GlobalLock(hMem); }
BOOL GlobalUnlock(HGLOBAL hMem) { return CurrentKernel32().GlobalUnlock(hMem); }
SIZE_T GlobalSize(HGLOBAL hMem) { return CurrentKernel32().GlobalSize(hMem); }
UINT GlobalFlags(HGLOBAL hMem) { return CurrentKernel32().GlobalFlags(hMem); }
HGLOBAL GlobalFree(HGLOBAL hMem) { return CurrentKernel32().GlobalFree(hMem); }

BOOL CloseHandle(HANDLE hObject) { return CurrentKernel32().CloseHandle(hObject); }
HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) { return CurrentKernel32().CreateMutexW(attributes, initialOwner, name); }
HANDLE OpenMutexW(DWORD access, BOOL inherit, LPCWSTR name) { return CurrentKernel32().OpenMutexW(access, inherit, name); }
BOOL ReleaseMutex(HANDLE hMutex) { return CurrentKernel32().ReleaseMutex(hMutex); }
DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) { return CurrentKernel32().WaitForSingleObject(hHandle, dwMilliseconds); }

void GetLocalTime(SYSTEMTIME* lpSystemTime) { CurrentKernel32().GetLocalTime(lpSystemTime); }

DWORD GetFileAttributesW(LPCWSTR lpFileName) { return CurrentKernel32().GetFileAttributesW(lpFileName); }
BOOL SetFileAttributesW(LPCWSTR lpFileName, DWORD dwFileAttributes) { return CurrentKernel32().SetFileAttributesW(lpFileName, dwFileAttributes); }
FILE* _wfsopen(const wchar_t* filename, const wchar_t* mode, int shflag) { return CurrentKernel32()._wfsopen(filename, mode, shflag); }
HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode, SECURITY_ATTRIBUTES* lpSecurityAttributes, DWORD dwCreationDisposition, DWORD dwFlagsAndAttributes, HANDLE hTemplateFile) { return CurrentKernel32().CreateFileW(lpFileName, dwDesiredAccess, dwShareMode, lpSecurityAttributes, dwCreationDisposition, dwFlagsAndAttributes, hTemplateFile); }
BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped) { return CurrentKernel32().WriteFile(hFile, lpBuffer, nNumberOfBytesToWrite, lpNumberOfBytesWritten, lpOverlapped); }
BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped) { return CurrentKernel32().ReadFile(hFile, lpBuffer, nNumberOfBytesToRead, lpNumberOfBytesRead, lpOverlapped); }
BOOL DeleteFileW(LPCWSTR lpFileName) { return CurrentKernel32().DeleteFileW(lpFileName); }
UINT GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName) { return CurrentKernel32().GetTempFileNameW(lpPathName, lpPrefixString, uUnique, lpTempFileName); }

BOOL GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode) { return CurrentKernel32().GetExitCodeProcess(hProcess, lpExitCode); }
BOOL TerminateProcess(HANDLE hProcess, UINT uExitCode) { return CurrentKernel32().TerminateProcess(hProcess, uExitCode); }

HMODULE LoadLibraryW(LPCWSTR lpLibFileName) { return CurrentKernel32().LoadLibraryW(lpLibFileName); }
FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName) { return CurrentKernel32().GetProcAddress(hModule, lpProcName); }
BOOL FreeLibrary(HMODULE hLibModule) { return CurrentKernel32().FreeLibrary(hLibModule); }
DWORD GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize) { return CurrentKernel32().GetModuleFileNameW(hModule, lpFilename, nSize); }
BOOL GetModuleHandleExW(DWORD dwFlags, LPCWSTR lpModuleName, HMODULE* phModule) { return CurrentKernel32().GetModuleHandleExW(dwFlags, lpModuleName, phModule); }

HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit) { return CurrentOle32().CoInitializeEx(pvReserved, dwCoInit); }
void CoUninitialize() { CurrentOle32().CoUninitialize(); }
HRESULT CoCreateInstance(REFCLSID rclsid, IUnknown* pUnkOuter, DWORD dwClsContext, REFIID riid, LPVOID* ppv) { return CurrentOle32().CoCreateInstance(rclsid, pUnkOuter, dwClsContext, riid, ppv); }
HRESULT CoRegisterClassObject(REFCLSID rclsid, IUnknown* pUnk, DWORD dwClsContext, DWORD flags, LPDWORD lpdwRegister) { return CurrentOle32().CoRegisterClassObject(rclsid, pUnk, dwClsContext, flags, lpdwRegister); }
HRESULT CoRevokeClassObject(DWORD dwRegister) { return CurrentOle32().CoRevokeClassObject(dwRegister); }
HRESULT CreateStreamOnHGlobal(HGLOBAL hGlobal, BOOL fDeleteOnRelease, IStream** ppstm) { return CurrentOle32().CreateStreamOnHGlobal(hGlobal, fDeleteOnRelease, ppstm); }
HRESULT GetHGlobalFromStream(IStream* pstm, HGLOBAL* phglobal) { return CurrentOle32().GetHGlobalFromStream(pstm, phglobal); }

BOOL OpenPrinterW(LPWSTR pPrinterName, LPHANDLE phPrinter, LPPRINTER_DEFAULTSW pDefault) { return CurrentWinSpool().OpenPrinterW(pPrinterName, phPrinter, pDefault); }
BOOL ClosePrinter(HANDLE hPrinter) { return CurrentWinSpool().ClosePrinter(hPrinter); }
BOOL GetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD cbBuf, LPDWORD pcbNeeded) { return CurrentWinSpool().GetPrinterW(hPrinter, Level, pPrinter, cbBuf, pcbNeeded); }
BOOL GetPrinterDriverW(HANDLE hPrinter, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf, LPDWORD pcbNeeded) { return CurrentWinSpool().GetPrinterDriverW(hPrinter, pEnvironment, Level, pDriverInfo, cbBuf, pcbNeeded); }
BOOL GetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD cbBuf, LPDWORD pcbNeeded) { return CurrentWinSpool().GetJobW(hPrinter, JobId, Level, pJob, cbBuf, pcbNeeded); }

LSTATUS RegOpenCurrentUser(REGSAM samDesired, PHKEY phkResult) { return CurrentAdvApi32().RegOpenCurrentUser(samDesired, phkResult); }
LSTATUS RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD ulOptions, REGSAM samDesired, PHKEY phkResult) { return CurrentAdvApi32().RegOpenKeyExW(hKey, lpSubKey, ulOptions, samDesired, phkResult); }
LSTATUS RegCloseKey(HKEY hKey) { return CurrentAdvApi32().RegCloseKey(hKey); }
LSTATUS RegQueryInfoKeyW(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved, LPDWORD lpcSubKeys, LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen, LPDWORD lpcValues, LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen, LPDWORD lpcbSecurityDescriptor, FILETIME* lpftLastWriteTime) { return CurrentAdvApi32().RegQueryInfoKeyW(hKey, lpClass, lpcchClass, lpReserved, lpcSubKeys, lpcbMaxSubKeyLen, lpcbMaxClassLen, lpcValues, lpcbMaxValueNameLen, lpcbMaxValueLen, lpcbSecurityDescriptor, lpftLastWriteTime); }
LSTATUS RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved, LPWSTR lpClass, LPDWORD lpcchClass, FILETIME* lpftLastWriteTime) { return CurrentAdvApi32().RegEnumKeyExW(hKey, dwIndex, lpName, lpcchName, lpReserved, lpClass, lpcchClass, lpftLastWriteTime); }
LSTATUS RegGetValueW(HKEY hkey, LPCWSTR lpSubKey, LPCWSTR lpValue, DWORD dwFlags, LPDWORD pdwType, PVOID pvData, LPDWORD pcbData) { return CurrentAdvApi32().RegGetValueW(hkey, lpSubKey, lpValue, dwFlags, pdwType, pvData, pcbData); }
LSTATUS RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) { return CurrentAdvApi32().RegQueryValueExW(hKey, lpValueName, lpReserved, lpType, lpData, lpcbData); }

BOOL SetThreadToken(PHANDLE Thread, HANDLE Token) { return CurrentAdvApi32().SetThreadToken(Thread, Token); }
DWORD GetCurrentThreadId() { return static_cast<DWORD>(::gettid()); }
BOOL CreateProcessAsUserW(HANDLE hToken, LPCWSTR lpApplicationName, LPWSTR lpCommandLine, SECURITY_ATTRIBUTES* lpProcessAttributes, SECURITY_ATTRIBUTES* lpThreadAttributes, BOOL bInheritHandles, DWORD dwCreationFlags, LPVOID lpEnvironment, LPCWSTR lpCurrentDirectory, LPSTARTUPINFOW lpStartupInfo, LPPROCESS_INFORMATION lpProcessInformation) { return CurrentAdvApi32().CreateProcessAsUserW(hToken, lpApplicationName, lpCommandLine, lpProcessAttributes, lpThreadAttributes, bInheritHandles, dwCreationFlags, lpEnvironment, lpCurrentDirectory, lpStartupInfo, lpProcessInformation); }

BOOL CreateEnvironmentBlock(LPVOID* lpEnvironment, HANDLE hToken, BOOL bInherit) { return CurrentUserEnv().CreateEnvironmentBlock(lpEnvironment, hToken, bInherit); }
BOOL DestroyEnvironmentBlock(LPVOID lpEnvironment) { return CurrentUserEnv().DestroyEnvironmentBlock(lpEnvironment); }

BOOL SHGetSpecialFolderPathW(HWND hwnd, LPWSTR pszPath, int csidl, BOOL fCreate) { return CurrentShell32().SHGetSpecialFolderPathW(hwnd, pszPath, csidl, fCreate); }
