#include "trustedpeer.h"

#include <tlhelp32.h>

#include <vector>

#include "uniquehandle.h"

namespace qxicl {

namespace {

// The TOKEN_USER of a process's primary token, empty when it cannot be read.
std::vector<unsigned char> TokenUserOf(HANDLE process)
{
    HANDLE rawToken = nullptr;
    if (!::OpenProcessToken(process, TOKEN_QUERY, &rawToken)) {
        return {};
    }
    const UniqueHandle token(rawToken);
    DWORD size = 0;
    ::GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &size);
    std::vector<unsigned char> user(size);
    if (size == 0 || !::GetTokenInformation(token.Get(), TokenUser, user.data(), size, &size)) {
        return {};
    }
    return user;
}

PSID SidOf(std::vector<unsigned char>& tokenUser)
{
    return reinterpret_cast<TOKEN_USER*>(tokenUser.data())->User.Sid;
}

DWORD ParentOf(DWORD processId)
{
    const UniqueHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = snapshot.IsValid() && ::Process32FirstW(snapshot.Get(), &entry); more;
         more = ::Process32NextW(snapshot.Get(), &entry)) {
        if (entry.th32ProcessID == processId) {
            return entry.th32ParentProcessID;
        }
    }
    return 0;
}

// While its end of the pipe is open the peer normally lives, so its id still names it.
bool IsTrustedProcess(DWORD processId)
{
    if (processId == ::GetCurrentProcessId()) {
        return true;
    }
    const UniqueHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (process.IsValid()) {
        std::vector<unsigned char> peer = TokenUserOf(process.Get());
        std::vector<unsigned char> own = TokenUserOf(::GetCurrentProcess());
        if (!peer.empty() && !own.empty() &&
            (::IsWellKnownSid(SidOf(peer), WinLocalSystemSid) || ::EqualSid(SidOf(peer), SidOf(own)))) {
            return true;
        }
    }
    return ParentOf(processId) == ::GetCurrentProcessId();
}

}  // namespace

bool IsTrustedPipeClient(HANDLE pipe)
{
    ULONG client = 0;
    return ::GetNamedPipeClientProcessId(pipe, &client) && IsTrustedProcess(client);
}

bool IsTrustedPipeServer(HANDLE pipe)
{
    ULONG server = 0;
    return ::GetNamedPipeServerProcessId(pipe, &server) && IsTrustedProcess(server);
}

}  // namespace qxicl
