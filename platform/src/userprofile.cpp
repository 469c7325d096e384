// Profile folders, and the shell's known folders within them.
#include "userprofile.h"

#include <cwchar>
#include <filesystem>
#include <optional>
#include <system_error>

#include "platform/machine.h"
#include "platform/simulatedmachine.h"
#include "platform/systemapi.h"
#include "platform/text.h"
#include "machinefolders.h"

namespace platform {
namespace {

constexpr const wchar_t* kProfileFolders[] = {L"\\AppData\\Roaming", L"\\AppData\\Local", L"\\AppData\\Local\\Temp"};

std::wstring ProfileOf(const std::wstring& user) { return L"C:\\Users\\" + user; }

// The folder below the profile that a CSIDL names; nothing for one the machine does not know.
std::optional<std::wstring> SubfolderOf(int csidl)
{
    switch (csidl & ~CSIDL_FLAG_CREATE) {
    case CSIDL_PROFILE:
        return L"";
    case CSIDL_APPDATA:
        return L"\\AppData\\Roaming";
    case CSIDL_LOCAL_APPDATA:
        return L"\\AppData\\Local";
    default:
        return std::nullopt;
    }
}

// A profile is its user's own, as on Windows: its folders are open to the user alone and belong to
// the user's host account when a root host has one, so that a program started as that user can use
// them; C:\Users above it is open to all.
bool MakeProfileFolder(const std::wstring& user, const std::wstring& subfolder)
{
    const auto users = HostPathOf(L"C:\\Users");
    const auto host = HostPathOf(ProfileOf(user) + subfolder);
    if (!users || !host) {
        return false;
    }
    std::error_code error;
    CreateSharedFolders(*users, error);
    if (!error) {
        CreateOwnFolders(*users, *host, HostAccountOf(ToUtf8(user)), error);
    }
    return !error && std::filesystem::is_directory(*host, error);
}

bool FolderExists(const std::wstring& windowsPath)
{
    const auto host = HostPathOf(windowsPath);
    std::error_code error;
    return host && std::filesystem::is_directory(*host, error);
}

}  // namespace

void CreateProfileFolders(const std::wstring& user)
{
    for (const wchar_t* folder : kProfileFolders) {
        MakeProfileFolder(user, folder);
    }
}

BOOL Shell32::SHGetSpecialFolderPathW(HWND, LPWSTR path, int csidl, BOOL create)
{
    const auto user = SimulatedMachine::CurrentUser();
    const auto subfolder = SubfolderOf(csidl);
    if (path == nullptr || !subfolder) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (!user) {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return FALSE;
    }
    const std::wstring folder = ProfileOf(*user) + *subfolder;
    const bool wantsCreation = create != FALSE || (csidl & CSIDL_FLAG_CREATE) != 0;
    if (!FolderExists(folder) && !(wantsCreation && MakeProfileFolder(*user, *subfolder))) {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return FALSE;
    }
    std::wcsncpy(path, folder.c_str(), MAX_PATH - 1);
    path[MAX_PATH - 1] = L'\0';
    return TRUE;
}

}  // namespace platform
