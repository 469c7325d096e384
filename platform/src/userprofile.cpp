// Profile folders, and the shell's known folders within them.
#include "userprofile.h"

#include <cwchar>
#include <filesystem>
#include <optional>
#include <system_error>

#include "platform/machine.h"
#include "platform/simulatedmachine.h"
#include "platform/systemapi.h"

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

bool MakeFolder(const std::wstring& windowsPath)
{
    const auto host = HostPathOf(windowsPath);
    std::error_code error;
    if (!host) {
        return false;
    }
    std::filesystem::create_directories(*host, error);
    return std::filesystem::is_directory(*host, error);
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
        MakeFolder(ProfileOf(user) + folder);
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
    if (!FolderExists(folder) && !(wantsCreation && MakeFolder(folder))) {
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return FALSE;
    }
    std::wcsncpy(path, folder.c_str(), MAX_PATH - 1);
    path[MAX_PATH - 1] = L'\0';
    return TRUE;
}

}  // namespace platform
