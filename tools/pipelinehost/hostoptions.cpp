#include "pipelinehost/hostoptions.h"

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include <platform/text.h>

#include "pipelinehost/driverlogfolder.h"
#include "pipelinehost/previewmode.h"

namespace pipelinehost {
namespace {

constexpr unsigned kLongestShutdownDelayMs = 24u * 60u * 60u * 1000u;
constexpr unsigned kMostRepeats = 1000000;
// Beyond this the jobs only queue for the two or four cores a workstation has.
constexpr unsigned kMostThreads = 64;

// "NAME=i4:123" or "NAME=bstr:text".
PropertyOption ParseProperty(const std::string& text)
{
    const auto equals = text.find('=');
    const auto colon = equals == std::string::npos ? std::string::npos : text.find(':', equals);
    if (equals == 0 || colon == std::string::npos) {
        throw UsageError("--property wants NAME=i4:NUMBER or NAME=bstr:TEXT, not '" + text + "'");
    }
    const std::string name = text.substr(0, equals);
    const std::string type = text.substr(equals + 1, colon - equals - 1);
    const std::string value = text.substr(colon + 1);
    if (type == "bstr") {
        return {platform::FromUtf8(name), OwnedVariant::String(platform::FromUtf8(value))};
    }
    if (type == "i4") {
        char* end = nullptr;
        errno = 0;
        const long number = std::strtol(value.c_str(), &end, 0);
        if (value.empty() || *end != '\0' || errno == ERANGE || number < INT32_MIN || number > INT32_MAX) {
            throw UsageError("--property " + name + ": '" + value + "' is not a 32-bit integer");
        }
        return {platform::FromUtf8(name), OwnedVariant::Int32(static_cast<LONG>(number))};
    }
    throw UsageError("--property " + name + ": unknown type '" + type + "' (use i4 or bstr)");
}

DWORD ParseJobId(const std::string& text)
{
    char* end = nullptr;
    errno = 0;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 10);
    if (text.empty() || text[0] == '-' || *end != '\0' || errno == ERANGE || number == 0 || number > UINT32_MAX) {
        throw UsageError("--job wants a job id from 1 to " + std::to_string(UINT32_MAX) + ", not '" + text + "'");
    }
    return static_cast<DWORD>(number);
}

unsigned ParseMilliseconds(const std::string& text)
{
    char* end = nullptr;
    errno = 0;
    const unsigned long number = std::strtoul(text.c_str(), &end, 10);
    if (text.empty() || text[0] == '-' || *end != '\0' || errno == ERANGE || number > kLongestShutdownDelayMs) {
        throw UsageError("--shutdown-after wants milliseconds (0 to " + std::to_string(kLongestShutdownDelayMs) +
                         "), not '" + text + "'");
    }
    return static_cast<unsigned>(number);
}

void SetCountOnce(std::optional<unsigned>& target, const std::string& option, const std::string& text, unsigned most)
{
    if (target) {
        throw UsageError(option + " given twice");
    }
    char* end = nullptr;
    errno = 0;
    const unsigned long number = std::strtoul(text.c_str(), &end, 10);
    if (text.empty() || !std::isdigit(static_cast<unsigned char>(text[0])) || *end != '\0' || errno == ERANGE ||
        number == 0 || number > most) {
        throw UsageError(option + " wants a number from 1 to " + std::to_string(most) + ", not '" + text + "'");
    }
    target = static_cast<unsigned>(number);
}

void SetOnce(std::string& target, const std::string& option, const std::string& value)
{
    if (!target.empty()) {
        throw UsageError(option + " given twice");
    }
    if (value.empty()) {
        throw UsageError(option + " wants a non-empty value");
    }
    target = value;
}

// A choice among fixed words: the word, or a usage error that lists them.
void SetChoiceOnce(std::string& target, const std::string& option, const std::string& value, bool known,
                   const std::string& choices)
{
    SetOnce(target, option, value);
    if (!known) {
        throw UsageError(option + " wants one of " + choices + ", not '" + value + "'");
    }
}

void CheckCombinations(const HostOptions& options)
{
    const bool manyJobs = !options.inputFolder.empty() || options.repeat > 1;
    if (!options.input.empty() && !options.inputFolder.empty()) {
        throw UsageError("--input and --input-folder exclude each other");
    }
    if ((options.showDriver || options.showTicket) && (manyJobs || options.threads > 1)) {
        throw UsageError("--show-driver and --show-ticket run no job: no --repeat, --threads or --input-folder");
    }
    if (!options.output.empty() && manyJobs) {
        throw UsageError("--output goes with a single job; with --repeat or --input-folder outputs are temporary");
    }
    if (!options.ticket.empty() && (!options.showTicket || !options.input.empty())) {
        throw UsageError("--ticket FILE goes with --show-ticket, instead of --input");
    }
    if (!options.help && !options.showDriver && options.ticket.empty() && options.input.empty() &&
        options.inputFolder.empty()) {
        throw UsageError("--input FILE (or --input-folder DIR) is required");
    }
}

}  // namespace

HostOptions ParseHostOptions(int argc, const char* const* argv)
{
    HostOptions options;
    std::optional<unsigned> repeat;
    std::optional<unsigned> threads;
    for (int i = 1; i < argc; ++i) {
        std::string option = argv[i];
        std::optional<std::string> inlineValue;
        if (const auto equals = option.find('='); option.rfind("--", 0) == 0 && equals != std::string::npos) {
            inlineValue = option.substr(equals + 1);
            option.erase(equals);
        }
        const auto value = [&]() -> std::string {
            if (inlineValue) {
                return *inlineValue;
            }
            if (i + 1 >= argc) {
                throw UsageError(option + " wants a value");
            }
            return argv[++i];
        };
        const auto flag = [&] {
            if (inlineValue) {
                throw UsageError(option + " takes no value");
            }
        };
        if (option == "--help" || option == "-h") {
            flag();
            options.help = true;
        } else if (option == "--gradual") {
            flag();
            options.gradual = true;
        } else if (option == "--show-driver") {
            flag();
            options.showDriver = true;
        } else if (option == "--show-ticket") {
            flag();
            options.showTicket = true;
        } else if (option == "--ticket") {
            SetOnce(options.ticket, option, value());
        } else if (option == "--input") {
            SetOnce(options.input, option, value());
        } else if (option == "--input-folder") {
            SetOnce(options.inputFolder, option, value());
        } else if (option == "--repeat") {
            SetCountOnce(repeat, option, value(), kMostRepeats);
        } else if (option == "--threads") {
            SetCountOnce(threads, option, value(), kMostThreads);
        } else if (option == "--preview") {
            const std::string mode = value();
            SetChoiceOnce(options.preview, option, mode, IsPreviewMode(mode), PreviewModeList());
        } else if (option == "--log-level") {
            const std::string level = value();
            SetChoiceOnce(options.logLevel, option, level, DriverLogFolder::ConfigurationFor(level).has_value(),
                          DriverLogFolder::LevelList());
        } else if (option == "--output") {
            SetOnce(options.output, option, value());
        } else if (option == "--module") {
            SetOnce(options.module, option, value());
        } else if (option == "--root") {
            SetOnce(options.root, option, value());
        } else if (option == "--machine") {
            SetOnce(options.machine, option, value());
        } else if (option == "--printer") {
            SetOnce(options.printer, option, value());
        } else if (option == "--job") {
            if (options.job) {
                throw UsageError(option + " given twice");
            }
            options.job = ParseJobId(value());
        } else if (option == "--property") {
            options.properties.push_back(ParseProperty(value()));
        } else if (option == "--shutdown-after") {
            if (options.shutdownAfterMs) {
                throw UsageError(option + " given twice");
            }
            options.shutdownAfterMs = ParseMilliseconds(value());
        } else {
            throw UsageError("unknown argument '" + option + "'");
        }
    }
    options.repeat = repeat.value_or(1);
    options.threads = threads.value_or(1);
    CheckCombinations(options);
    return options;
}

std::string HostUsage()
{
    return "usage: qxpipelinehost --input FILE [options]\n"
           "       qxpipelinehost (--input FILE | --input-folder DIR) [--repeat N] [--threads T] [options]\n"
           "       qxpipelinehost [--machine FILE] [--printer NAME] --show-driver\n"
           "       qxpipelinehost [--machine FILE] [--printer NAME] --show-ticket (--input FILE | --ticket FILE)\n"
           "\n"
           "Runs the filter module as the print filter pipeline would for one job: InitializeFilter\n"
           "and StartOperation on a filter thread, the job's bytes from FILE, then reports the\n"
           "HRESULT, the calls the filter made, the property bag and the output.\n"
           "\n"
           "  --input FILE            the job's bytes (an XPS package), required\n"
           "  --input-folder DIR      every job package in DIR is a job, in name order (instead of\n"
           "                          --input): a regular file whose first four bytes are the ZIP\n"
           "                          signature PK\\x03\\x04; anything else is skipped, and a DIR\n"
           "                          with no job is an error (status 2)\n"
           "  --repeat N              run each job N times (default 1)\n"
           "  --threads T             run the jobs on T threads of this process (default 1); the\n"
           "                          module is loaded once, every job has its own filter, bag,\n"
           "                          streams and temporary output. More than one job prints one\n"
           "                          line per job and a summary instead of the full report\n"
           "  --output FILE           where the filter's output goes (default: a temporary file,\n"
           "                          removed after the run); never the input file itself (refused,\n"
           "                          status 2)\n"
           "  --module PATH           the filter module (default: libqxiprev.so beside this program)\n"
           "  --root DIR              the simulated machine's root folder (default: $QX_MACHINE_ROOT,\n"
           "                          else /tmp/qxmachine-<uid>, made private to this user); a\n"
           "                          root of another user's, or that others may write, is refused\n"
           "  --machine FILE          load the simulated machine from a machine description (JSON)\n"
           "                          and give the job its context in the property bag: printer\n"
           "                          name and handle, job id, user token, progress report and,\n"
           "                          for a version-4 driver, the driver property bag (default: the\n"
           "                          bundled machine, default-machine.json beside this program)\n"
           "  --printer NAME          the job's printer (default: the machine's first printer)\n"
           "  --job ID                the job's id (default: the first job on that printer)\n"
           "  --property NAME=i4:N    put a VT_I4 into the pipeline property bag (repeatable;\n"
           "                          after the job context, replacing a property of that name)\n"
           "  --property NAME=bstr:T  put a VT_BSTR into the pipeline property bag (repeatable)\n"
           "  --show-driver           print what the job printer's driver declares, as the filter\n"
           "                          decodes it, and run no job (no --input)\n"
           "  --show-ticket           print the settings the filter reads from the job's print\n"
           "                          ticket (feature, value, option keyword, found), with the\n"
           "                          printer's driver properties, and run no job\n"
           "  --ticket FILE           with --show-ticket: a print ticket file instead of a job\n"
           "  --gradual               deliver the input in small chunks from a producer thread, so\n"
           "                          that reads wait as behind a real previous filter\n"
           "  --shutdown-after MS     call ShutdownOperation from another thread after MS\n"
           "                          milliseconds if the filter is still running\n"
           "  --preview MODE          how the preview application behaves (QXPREVIEW_MODE): accept,\n"
           "                          change, cancel, exit, crash, garbage, short, silent or\n"
           "                          interactive (default: the environment's, else accept)\n"
           "  --log-level LEVEL       turn the driver log on before the module loads: info, warning,\n"
           "                          exception, error, performance or off, written to qxdrvlog.cfg\n"
           "                          in C:\\QX Inc\\Calvost on the machine\n"
           "  --help                  this text\n"
           "\n"
           "Exit status: 0 StartOperation succeeded (for every job), 1 the filter failed or the output\n"
           "file could not be written whole (for any job), 2 usage error, unreadable file, refused\n"
           "machine root or description, an output that is the input file, an input folder with no\n"
           "job, or module that cannot be loaded; 128 + the signal after SIGINT, SIGTERM or SIGHUP,\n"
           "which shut the running filters down, end the programs the machine started (the preview\n"
           "application) and remove the run's temporary outputs (a second signal, a second or more\n"
           "later, ends the host at once).\n";
}

}  // namespace pipelinehost
