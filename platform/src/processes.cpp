// Processes started as a user of the simulated machine: a Windows command line and environment
// block turned into a host program, its argv and its envp.
#include <sys/stat.h>

#include <cstring>
#include <cwchar>

#include "childprocess.h"
#include "commandline.h"
#include "platform/machine.h"
#include "platform/simulatedmachine.h"
#include "platform/systemapi.h"
#include "platform/text.h"

namespace platform {
namespace {

BOOL Fail(DWORD error)
{
    ::SetLastError(error);
    return FALSE;
}

// "NAME=value" entries up to the empty one; Windows' hidden per-drive entries ("=C:=C:\x") stay
// behind.
template <class Char>
std::vector<std::string> EntriesOf(const Char* block)
{
    std::vector<std::string> entries;
    for (const Char* entry = block; *entry != Char(0);) {
        std::size_t length = 0;
        while (entry[length] != Char(0)) {
            ++length;
        }
        std::string text;
        if constexpr (sizeof(Char) == 1) {
            text.assign(entry, length);
        } else {
            text = ToUtf8(std::wstring_view(entry, length));
        }
        if (text.front() != '=') {
            entries.push_back(std::move(text));
        }
        entry += length + 1;
    }
    return entries;
}

std::optional<std::vector<std::string>> EnvironmentOf(LPVOID block, DWORD flags)
{
    if (block == nullptr) {
        return std::nullopt;
    }
    if ((flags & CREATE_UNICODE_ENVIRONMENT) != 0) {
        return EntriesOf(static_cast<const wchar_t*>(block));
    }
    return EntriesOf(static_cast<const char*>(block));
}

// The program and the text of its arguments: the application name when given (the command line
// then starts with the program's own name, which is left out), else the command line's search.
std::optional<ProgramAndArguments> ProgramOf(LPCWSTR applicationName, const std::wstring& commandLine)
{
    if (applicationName == nullptr || *applicationName == L'\0') {
        return FindProgram(commandLine);
    }
    const auto host = HostProgramOf(applicationName);
    if (!host) {
        return std::nullopt;
    }
    return ProgramAndArguments{*host, ArgumentsAfterProgramName(commandLine)};
}

// ERROR_DIRECTORY for a current folder that is not a folder of the machine.
std::optional<std::string> FolderOf(LPCWSTR currentDirectory, DWORD& error)
{
    error = ERROR_SUCCESS;
    if (currentDirectory == nullptr || *currentDirectory == L'\0') {
        return std::nullopt;
    }
    const auto host = HostPathOf(currentDirectory);
    struct stat status {};
    if (!host || ::stat(host->c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        error = ERROR_DIRECTORY;
        return std::nullopt;
    }
    return host;
}

std::vector<std::string> ArgvOf(const ProgramAndArguments& found)
{
    std::vector<std::string> argv{found.hostProgram};
    for (const std::wstring& word : SplitArguments(found.arguments)) {
        argv.push_back(ToUtf8(word));
    }
    return argv;
}

}  // namespace

BOOL AdvApi32::CreateProcessAsUserW(HANDLE token, LPCWSTR applicationName, LPWSTR commandLine, SECURITY_ATTRIBUTES*,
                                    SECURITY_ATTRIBUTES*, BOOL, DWORD creationFlags, LPVOID environment,
                                    LPCWSTR currentDirectory, LPSTARTUPINFOW startupInfo,
                                    LPPROCESS_INFORMATION processInformation)
{
    const auto user = SimulatedMachine::UserOfToken(token);
    if (!user) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    const std::wstring line = commandLine == nullptr ? L"" : commandLine;
    const bool noProgram = (applicationName == nullptr || *applicationName == L'\0') &&
                           line.find_first_not_of(L" \t") == std::wstring::npos;
    if (startupInfo == nullptr || processInformation == nullptr || noProgram) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    std::memset(processInformation, 0, sizeof *processInformation);
    const auto found = ProgramOf(applicationName, line);
    if (!found) {
        return Fail(ERROR_FILE_NOT_FOUND);
    }
    DWORD folderError = ERROR_SUCCESS;
    const auto folder = FolderOf(currentDirectory, folderError);
    if (folderError != ERROR_SUCCESS) {
        return Fail(folderError);
    }
    const LaunchRequest request{found->hostProgram, ArgvOf(*found), EnvironmentOf(environment, creationFlags), folder,
                                ToUtf8(*user)};
    const auto started = ChildProcess::Start(request);
    if (const DWORD* error = std::get_if<DWORD>(&started)) {
        return Fail(*error);
    }
    const auto& child = std::get<std::shared_ptr<ChildProcess>>(started);
    processInformation->hProcess = HandleTable::Add(child);
    processInformation->hThread = HandleTable::Add(std::make_shared<ChildThread>(child));
    processInformation->dwProcessId = child->Id();
    processInformation->dwThreadId = child->Id();  // the main thread's id is the process id on the host
    ::SetLastError(ERROR_SUCCESS);
    return TRUE;
}

BOOL Kernel32::GetExitCodeProcess(HANDLE process, LPDWORD exitCode)
{
    const auto child = HandleTable::FindAs<ChildProcess>(process);
    if (!child) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    if (exitCode == nullptr) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    *exitCode = child->ExitCode();
    return TRUE;
}

BOOL Kernel32::TerminateProcess(HANDLE process, UINT exitCode)
{
    const auto child = HandleTable::FindAs<ChildProcess>(process);
    if (!child) {
        return Fail(ERROR_INVALID_HANDLE);
    }
    return child->Terminate(exitCode) ? TRUE : Fail(ERROR_ACCESS_DENIED);
}

}  // namespace platform
