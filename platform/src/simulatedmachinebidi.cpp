// The simulated machine's printers as bidi finds them: each paper source query takes the printer's
// next answer.
#include <algorithm>

#include "simulatedmachinestate.h"

namespace platform {

std::optional<BidiPrinterState> AskPrinterOverBidi(const std::wstring& name, bool asksForPaperSources)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    SimulatedPrinter* printer = FindPrinterIn(state.records, name);
    if (printer == nullptr) {
        return std::nullopt;
    }
    BidiPrinterState asked{printer->description, std::nullopt};
    const auto& answers = printer->description.paperSourceAnswers;
    if (asksForPaperSources && printer->description.bidiReachable) {
        if (!answers.empty()) {
            asked.paperSources = answers[std::min(printer->paperSourceQueries, answers.size() - 1)];
        }
        ++printer->paperSourceQueries;
    }
    return asked;
}

std::size_t SimulatedMachine::PaperSourceQueries(const std::wstring& printerName)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    const SimulatedPrinter* printer = FindPrinterIn(state.records, printerName);
    return printer == nullptr ? 0 : printer->paperSourceQueries;
}

}  // namespace platform
