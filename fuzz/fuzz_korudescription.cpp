// The paper source description a KORU printer gives through the driver's KORU library, read into
// paper source records.
#include <cstddef>
#include <cstdint>

#include "fuzzsupport.h"
#include "korupapersourcedescription.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    fuzzsupport::StartProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    PaperSourcesFromKoruDescription(fuzzsupport::WideText(data, size));
    return 0;
}
