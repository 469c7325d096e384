// The host's command line.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "pipelinehost/ownedvariant.h"

namespace pipelinehost {

struct PropertyOption {
    std::wstring name;
    OwnedVariant value;
};

struct HostOptions {
    bool help = false;
    std::string input;
    std::string inputFolder;  // every regular file in it is a job, in name order, instead of input
    unsigned repeat = 1;      // each input runs this many times
    unsigned threads = 1;     // jobs run side by side on this many threads of one process
    std::string output;   // empty: a temporary file, removed after the run
    std::string module;   // empty: the filter module beside the host
    std::string root;     // empty: $QX_MACHINE_ROOT, or the platform's default
    std::string machine;  // a machine description; empty: the bundled one beside the host
    std::string printer;  // empty: the machine's first printer
    std::optional<DWORD> job;  // none: the first job on the printer
    std::vector<PropertyOption> properties;
    bool gradual = false;
    bool showDriver = false;  // print the job printer's decoded driver properties instead of running
    bool showTicket = false;  // print the settings of the job's (or the --ticket file's) ticket instead
    std::string ticket;       // a bare print ticket file for showTicket
    std::optional<unsigned> shutdownAfterMs;
    std::string preview;   // QXPREVIEW_MODE for the jobs; empty: the environment's, else "accept"
    std::string logLevel;  // the driver log's level; empty: its configuration stays as it is
};

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Accepts "--option value" and "--option=value". Throws UsageError with a one-line reason.
HostOptions ParseHostOptions(int argc, const char* const* argv);
std::string HostUsage();

}  // namespace pipelinehost
