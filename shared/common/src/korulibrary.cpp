#include "korulibrary.h"

#include <stdexcept>
#include <vector>

#include "modulefolder.h"

namespace {

const wchar_t kLibraryName[] = L"\\XPSUIOLib.dll";
const char kGetBidiResponse[] = "GetBidiResponse";
const wchar_t kProtocol[] = L"KORU";
constexpr int kDescriptionCharacters = 65536;

}  // namespace

// Empty when the module's own folder is not known: the library is never looked for elsewhere.
std::wstring KoruLibrary::DefaultPath()
{
    const std::wstring folder = OwnModuleFolder();
    return folder.empty() ? std::wstring() : folder + kLibraryName;
}

KoruLibrary::KoruLibrary(const std::wstring& path)
    : m_library(path),
      m_getBidiResponse(m_library.Export<GetBidiResponseFunction>(kGetBidiResponse))
{
    if (m_getBidiResponse == nullptr) {
        throw std::runtime_error("ComLibrary not loaded");
    }
}

std::optional<std::wstring> KoruLibrary::GetPaperSourceDescription(const std::wstring& printerName) const
{
    std::vector<wchar_t> description(kDescriptionCharacters, L'\0');
    if (m_getBidiResponse(description.data(), kDescriptionCharacters, printerName.c_str(), L"", 0, 1, kProtocol) ==
        0) {
        return std::nullopt;
    }
    description.back() = L'\0';  // whatever the library wrote, the text ends inside the buffer
    return std::wstring(description.data());
}
