// What the platform's calls see of the simulated machine. A printer handle remembers the printer's
// serial rather than its name, so that a handle opened before the machine forgot its printer keeps
// failing even after a new printer of the same name arrives.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "names.h"
#include "platform/simulatedmachine.h"
#include "registrykey.h"

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

// The printer as one bidi request finds it: its description and, when the request asks for paper
// sources, the answer the printer gives now (that request counts as one paper source query).
struct BidiPrinterState {
    PrinterDescription printer;
    std::optional<PaperSourceAnswer> paperSources;
};
std::optional<BidiPrinterState> AskPrinterOverBidi(const std::wstring& name, bool asksForPaperSources);

// One registry key as it is now; nothing when it does not exist.
std::optional<RegistryKeySnapshot> SnapshotRegistryKey(const RegistryHive& hive, const std::vector<std::wstring>& path);

// Who the calling thread runs as until the next call; nothing ends the impersonation.
void ImpersonateOnThisThread(std::optional<std::wstring> user);
// The user the calling thread impersonates; none while it runs as the process.
std::optional<std::wstring> ImpersonatedUserOfThisThread();

// ---- the state itself, for the files of the simulated machine only

struct SimulatedPrinter {
    std::uint64_t serial = 0;
    PrinterDescription description;
    std::size_t paperSourceQueries = 0;
};

struct MachineRecords {
    std::wstring computerName;
    std::vector<SimulatedPrinter> printers;  // in the order they were first added
    std::vector<JobDescription> jobs;        // in the order they were queued
    std::vector<UserDescription> users;
    std::map<std::wstring, RegistryKey, NameLess> hives;  // by user name; "" is HKEY_LOCAL_MACHINE
};

struct MachineState {
    std::mutex mutex;
    MachineRecords records;
    std::uint64_t nextSerial = 1;  // never reused, so a forgotten printer stays forgotten
};

MachineState& TheMachine();
// Null for a printer the records do not hold; the caller holds the machine's lock.
SimulatedPrinter* FindPrinterIn(MachineRecords& records, const std::wstring& name);

// The records a machine starts with, or is cleared to.
MachineRecords EmptyRecords();

void ApplyRegistryEntry(MachineRecords& records, const RegistryEntry& entry);

}  // namespace platform
