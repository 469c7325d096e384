// LoadLibraryW of a full path, as the real preview application loads its libraries: the library
// beside this program is taken, never one found on the search path.
#include "sharedlibrary.h"

#include <windows.h>

#include "previewfailure.h"

namespace previewapp {

namespace {

std::wstring Widened(const std::string& utf8)
{
    const int characters = ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(characters), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), characters);
    return wide;
}

std::string LastLoaderError()
{
    return "error " + std::to_string(::GetLastError());
}

}  // namespace

SharedLibrary::SharedLibrary(const std::string& path)
    : m_path(path), m_handle(::LoadLibraryW(Widened(path).c_str()))
{
    if (m_handle == nullptr) {
        throw PreviewFailure(kExitLibrary, "cannot load " + path + ": " + LastLoaderError());
    }
}

SharedLibrary::~SharedLibrary()
{
    ::FreeLibrary(static_cast<HMODULE>(m_handle));
}

void* SharedLibrary::Symbol(const char* name) const
{
    const FARPROC address = ::GetProcAddress(static_cast<HMODULE>(m_handle), name);
    if (address == nullptr) {
        throw PreviewFailure(kExitLibrary, m_path + " has no export " + name + ": " + LastLoaderError());
    }
    return reinterpret_cast<void*>(address);
}

}  // namespace previewapp
