#include "driverv4winapi.h"

#include <userenv.h>

#include "qxdrvlogger.h"

namespace {

constexpr DWORD kCreationFlags = CREATE_NEW_CONSOLE | CREATE_UNICODE_ENVIRONMENT | CREATE_BREAKAWAY_FROM_JOB;

// The user's environment for as long as the start needs it; none when it cannot be made, and the
// process then starts with the environment the system gives. A failure is logged for caller.
class UserEnvironmentBlock {
public:
    UserEnvironmentBlock(HANDLE userToken, const LogSite& caller)
    {
        if (!CreateEnvironmentBlock(&m_block, userToken, TRUE)) {
            LogAt(LogLevel::Error, QX_FOR(caller), L"Error in CreateEnvironmentBlock %d", static_cast<int>(GetLastError()));
            m_block = nullptr;
        }
    }
    ~UserEnvironmentBlock()
    {
        if (m_block != nullptr) {
            DestroyEnvironmentBlock(m_block);
        }
    }
    LPVOID Get() const { return m_block; }

    UserEnvironmentBlock(const UserEnvironmentBlock&) = delete;
    UserEnvironmentBlock& operator=(const UserEnvironmentBlock&) = delete;

private:
    LPVOID m_block = nullptr;
};

std::wstring FolderOf(const std::wstring& path)
{
    const std::size_t slash = path.rfind(L'\\');
    return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash + 1);
}

}  // namespace

PROCESS_INFORMATION DriverV4WinApi::ExecuteProcessAsUser(const std::wstring& executablePath, HANDLE userToken,
                                                         const std::wstring& arguments)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_SHOWNORMAL;
    PROCESS_INFORMATION process{};

    const UserEnvironmentBlock environment(userToken, QX_HERE);
    const std::wstring currentDirectory = FolderOf(executablePath);
    std::wstring commandLine = arguments.empty() ? executablePath : executablePath + L" " + arguments;
    if (!CreateProcessAsUserW(userToken, nullptr, commandLine.data(), nullptr, nullptr, FALSE, kCreationFlags,
                              environment.Get(), currentDirectory.c_str(), &startup, &process)) {
        QXLOG_ERROR(L"Error to CreateProcessAsUser %d", static_cast<int>(GetLastError()));
        process = PROCESS_INFORMATION{};
    }
    return process;
}
