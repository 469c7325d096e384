// What the spooler sees of the simulated machine. A printer handle remembers the printer's serial
// rather than its name, so that a handle opened before the machine forgot its printer keeps
// failing even after a new printer of the same name arrives.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulatedmachine.h"

namespace platform {

struct PrinterIdentity {
    std::uint64_t serial = 0;
    std::wstring name;  // as the machine spells it
};

// The printer, its queue in order and the machine's name, taken together.
struct PrinterState {
    PrinterDescription printer;
    std::vector<JobDescription> queue;
    std::wstring computerName;
};

std::optional<PrinterIdentity> IdentifyPrinter(const std::wstring& name);
// Nothing once the machine has forgotten that printer.
std::optional<PrinterState> StateOfPrinter(std::uint64_t serial);

// Windows compares printer and user names without regard to case.
bool SameName(std::wstring_view first, std::wstring_view second);

}  // namespace platform
