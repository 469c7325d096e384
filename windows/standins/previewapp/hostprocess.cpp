#include "hostprocess.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <io.h>

namespace previewapp {

const char* const kChannelLibraryFile = "qxicl.dll";
const char* const kEncodingLibraryFile = "qxitrn.dll";

// In UTF-8, as every path of this program is kept; sharedlibrary.cpp widens it again.
std::string ExecutableFolder()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            return ".\\";
        }
        if (length < path.size()) {
            path.resize(length);
            break;
        }
        path.resize(path.size() * 2);
    }
    path.resize(path.rfind(L'\\') + 1);
    const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, path.data(), static_cast<int>(path.size()), nullptr, 0,
                                            nullptr, nullptr);
    std::string folder(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, path.data(), static_cast<int>(path.size()), folder.data(), bytes, nullptr,
                          nullptr);
    return folder;
}

bool StandardInputIsTerminal()
{
    return _isatty(_fileno(stdin)) != 0;
}

void AbortQuietly()
{
    // No error reporting dialog waits for a person while the filter waits for this process.
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    std::abort();
}

}  // namespace previewapp
