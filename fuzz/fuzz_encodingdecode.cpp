// The encoding library's decoder, loaded by its file as the filter loads it: the bytes as the
// encoded settings text the preview application sends back, up to the first zero as the field is
// read. A text it accepts must come back the same through an encode and a second decode.
#include <dlfcn.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzzsupport.h"
#include "morvikrecord.h"

namespace {

using EncodeFunction = std::int32_t (*)(MorvikSettingsRecord, char*);
using DecodeFunction = MorvikSettingsRecord (*)(const char*, std::uint8_t*);

// The library's text field, terminator included.
constexpr std::size_t kTextBufferSize = 512;

void* g_library = nullptr;
EncodeFunction g_encode = nullptr;
DecodeFunction g_decode = nullptr;

void UnloadLibrary()
{
    g_encode = nullptr;
    g_decode = nullptr;
    if (g_library != nullptr) {
        ::dlclose(g_library);
        g_library = nullptr;
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    fuzzsupport::StartProcess();
    g_library = ::dlopen(QXITRN_PATH, RTLD_NOW | RTLD_LOCAL);
    if (g_library == nullptr) {
        fuzzsupport::SetupFailed(::dlerror());
    }
    fuzzsupport::AtExit(UnloadLibrary);
    g_encode = reinterpret_cast<EncodeFunction>(::dlsym(g_library, "EncodeFibonacciUnmanaged"));
    g_decode = reinterpret_cast<DecodeFunction>(::dlsym(g_library, "DecodeFibonacci"));
    if (g_encode == nullptr || g_decode == nullptr) {
        fuzzsupport::SetupFailed("the encoding library lacks an export");
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::uint8_t success = 0;
    const MorvikSettingsRecord record = g_decode(text.c_str(), &success);
    if (success == 0) {
        return 0;
    }
    char encoded[kTextBufferSize];
    if (g_encode(record, encoded) != 0) {
        std::fprintf(stderr, "a decoded record could not be encoded again\n");
        std::abort();
    }
    std::uint8_t again = 0;
    const MorvikSettingsRecord second = g_decode(encoded, &again);
    if (again == 0 || std::memcmp(&record, &second, sizeof record) != 0) {
        std::fprintf(stderr, "the record did not survive an encode and a decode: \"%s\"\n", encoded);
        std::abort();
    }
    return 0;
}
