#include "fuzzsupport.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include <platform/machine.h>
#include <platform/text.h>

namespace fuzzsupport {

namespace {

namespace fs = std::filesystem;

std::vector<void (*)()>& Cleanups()
{
    static auto* cleanups = new std::vector<void (*)()>;
    return *cleanups;
}

fs::path& MachineFolder()
{
    static auto* folder = new fs::path;
    return *folder;
}

void EndProcess()
{
    for (auto cleanup = Cleanups().rbegin(); cleanup != Cleanups().rend(); ++cleanup) {
        (*cleanup)();
    }
    Cleanups().clear();
    CoUninitialize();
    std::error_code ignored;
    fs::remove_all(MachineFolder(), ignored);
}

}  // namespace

void StartProcess()
{
    std::string pattern = (fs::temp_directory_path() / "qxfuzz-machine-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        SetupFailed("cannot create the machine root under the temporary folder");
    }
    MachineFolder() = pattern;
    platform::SetMachineRoot(pattern);
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {
        SetupFailed("cannot join the multithreaded apartment");
    }
    std::atexit(EndProcess);
}

void SetupFailed(const char* what)
{
    std::fprintf(stderr, "fuzz setup failed: %s\n", what);
    std::_Exit(2);
}

void AtExit(void (*cleanup)()) { Cleanups().push_back(cleanup); }

std::wstring WideText(const std::uint8_t* data, std::size_t size)
{
    return platform::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
}

Microsoft::WRL::ComPtr<IStream> MemoryStream(const std::uint8_t* data, std::size_t size)
{
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (size != 0) {
        std::memcpy(GlobalLock(memory), data, size);
        GlobalUnlock(memory);
    }
    Microsoft::WRL::ComPtr<IStream> stream;
    if (FAILED(CreateStreamOnHGlobal(memory, TRUE, &stream))) {
        GlobalFree(memory);
        throw std::runtime_error("CreateStreamOnHGlobal");
    }
    return stream;
}

}  // namespace fuzzsupport
