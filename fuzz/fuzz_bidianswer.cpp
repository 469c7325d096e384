// The printer's bidi answer to the paper source query: the response text read into typed schema
// entries, and those into paper source records.
#include <cstddef>
#include <cstdint>
#include <optional>

#include "bidiconnection.h"
#include "bidipapersourceanswer.h"
#include "fuzzsupport.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    fuzzsupport::StartProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::optional<BidiEntries> entries = ReadBidiSchemaEntries(fuzzsupport::WideText(data, size));
    if (entries) {
        PaperSourcesFromBidiAnswer(*entries);
    }
    return 0;
}
