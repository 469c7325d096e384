// The stand-in of the driver's closed KORU library "XPSUIOLib.dll": it answers a KORU request for a
// printer's paper sources from the simulated machine, which it shares with its caller through the
// platform library.
#include <cwchar>
#include <string>

#include <platform/simulatedmachine.h>

#include "korudescription.h"

namespace {

constexpr wchar_t kKoru[] = L"KORU";

// The closed library is called with an empty text, 0 and 1 between the printer and the protocol;
// a call that passes anything else is not one it answers.
bool IsKoruRequest(const wchar_t* printerName, const wchar_t* empty, int zero, int one, const wchar_t* protocol)
{
    return printerName != nullptr && (empty == nullptr || *empty == L'\0') && zero == 0 && one == 1 &&
           protocol != nullptr && std::wcscmp(protocol, kKoru) == 0;
}

}  // namespace

// Non-zero when output (outputCharacters wide characters, room for the terminating zero included)
// holds the printer's description; 0 for an unknown or unreachable printer, another protocol or a
// description that does not fit, with output then empty.
extern "C" __attribute__((visibility("default"))) int GetBidiResponse(wchar_t* output, int outputCharacters,
                                                                      const wchar_t* printerName,
                                                                      const wchar_t* empty, int zero, int one,
                                                                      const wchar_t* protocol)
{
    if (output == nullptr || outputCharacters <= 0) {
        return 0;
    }
    output[0] = L'\0';
    try {
        if (!IsKoruRequest(printerName, empty, zero, one, protocol)) {
            return 0;
        }
        const auto printer = platform::SimulatedMachine::FindPrinter(printerName);
        if (!printer || !printer->bidiReachable) {
            return 0;
        }
        const std::wstring description = xpsuiolib::KoruDescription(printer->koruPaperSources);
        if (description.size() >= static_cast<std::size_t>(outputCharacters)) {
            return 0;
        }
        std::wmemcpy(output, description.c_str(), description.size() + 1);
        return 1;
    } catch (...) {
        return 0;  // nothing may cross the C boundary
    }
}
