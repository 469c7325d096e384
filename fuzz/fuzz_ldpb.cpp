// A legacy driver's ".ldpb" property file: the bytes written as the file on the fuzz machine,
// parsed, and looked up by the keys the driver reads and by keys the file may define.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include <platform/machine.h>

#include "fuzzsupport.h"
#include "legacydriverpropertybag.h"

namespace {

const wchar_t kPropertyFile[] = L"C:\\Windows\\System32\\spool\\drivers\\x64\\3\\qxfuzz.ldpb";

std::filesystem::path* g_hostFile = nullptr;

void ForgetHostFile()
{
    delete g_hostFile;
    g_hostFile = nullptr;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    fuzzsupport::StartProcess();
    const std::optional<std::string> host = platform::HostPathOf(kPropertyFile);
    if (!host) {
        fuzzsupport::SetupFailed("the property file has no place on the machine root");
    }
    g_hostFile = new std::filesystem::path(*host);
    std::error_code error;
    std::filesystem::create_directories(g_hostFile->parent_path(), error);
    if (error) {
        fuzzsupport::SetupFailed("cannot create the driver folder on the machine root");
    }
    // The file lives under the machine root, which goes at exit with everything in it.
    fuzzsupport::AtExit(ForgetHostFile);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    {
        std::ofstream file(*g_hostFile, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
        if (!file) {
            fuzzsupport::SetupFailed("cannot write the property file");
        }
    }
    try {
        LegacyDriverPropertyBag bag(kPropertyFile);
        const wchar_t* text = nullptr;
        LONG number = 0;
        BOOL flag = FALSE;
        for (const wchar_t* key : {L"Platform", L"PDL", L"DriverVersion", L"MaxPrinterWidthInMicrons",
                                   L"CanDoCopies", L"x", L""}) {
            bag.GetString(key, &text);
            bag.GetInt(key, &number);
            bag.GetBool(key, &flag);
        }
    } catch (const std::exception&) {
        // Malformed XML and text that is not UTF-8 refuse the file, as documented.
    }
    return 0;
}
