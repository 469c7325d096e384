// The printers, drivers, print jobs, users and registry behind the spooler, the driver property bag,
// the bidi calls and the registry calls. The host loads them from a machine description; tests
// declare them in code.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "../windows.h"
#include "papersources.h"
#include "registrydata.h"

struct IPrinterPropertyBag;

namespace platform {

// A value of a version-4 driver's property bag: text, a 32-bit integer or a boolean.
using DriverPropertyValue = std::variant<std::wstring, LONG, bool>;

// A value the printer answers to a bidi Get, typed as in the bidi response schema
// ("BIDI_INT", "BIDI_STRING", "BIDI_BOOL", "BIDI_ENUM", "BIDI_TEXT", "BIDI_FLOAT", "BIDI_BLOB").
struct BidiValue {
    std::wstring type;
    std::wstring text;
};

struct PrinterDescription {
    std::wstring name;
    std::wstring port;
    std::wstring driverName;
    DWORD driverModelVersion = 4;     // DRIVER_INFO cVersion: 3 for a legacy XPS driver, 4 for version 4
    ULONGLONG driverFileVersion = 0;  // DRIVER_INFO_6W dwlDriverVersion
    std::vector<std::wstring> dependentFiles;  // Windows paths
    // The version-4 driver property bag; a printer without one has a legacy driver.
    std::optional<std::map<std::wstring, DriverPropertyValue>> driverPropertyBag;
    // Bidi schema names ("\Printer.DeviceInfo:MachineWidth") and their values; a printer that
    // cannot be reached through bidi refuses to bind.
    std::map<std::wstring, BidiValue> bidiValues;
    bool bidiReachable = true;
    // What the printer answers to paper source queries, in turn: each request that asks for paper
    // sources takes the next answer, and the last one repeats. Its entries join bidiValues, in
    // place of declared values of the same name. None: only bidiValues answer.
    std::vector<PaperSourceAnswer> paperSourceAnswers;
    // What the driver's KORU library describes for this printer.
    std::vector<KoruPaperSource> koruPaperSources;

    // What the spooler reports besides; an empty text is reported as an empty string.
    std::wstring comment;
    std::wstring location;
    std::wstring driverPath;  // Windows paths of the driver's own files
    std::wstring dataFile;
    std::wstring configFile;
    std::wstring helpFile;
    std::wstring manufacturer;  // DRIVER_INFO_6W pszMfgName and pszProvider
    std::wstring oemUrl;
    std::wstring hardwareId;
    FILETIME driverDate{};
};

struct JobDescription {
    DWORD id = 0;
    std::wstring printerName;
    std::wstring document;
    std::wstring userName;
    DWORD totalPages = 0;
    DWORD size = 0;  // bytes spooled
    // Set from the local time when the job is added, unless given.
    std::optional<SYSTEMTIME> submitted = std::nullopt;
};

// A user's profile folders (C:\Users\<name> with AppData\Roaming, AppData\Local and
// AppData\Local\Temp) are made under the machine root in force when the user is added, as a
// first logon makes them; files already there stay.
struct UserDescription {
    std::wstring name;
    // Variables of the user's environment besides (and in place of) those of a fresh profile.
    std::map<std::wstring, std::wstring> environment = {};
};

// A whole machine at once, as a machine description declares it.
struct MachineContents {
    std::wstring computerName;  // empty: the default name
    std::vector<UserDescription> users;
    std::vector<PrinterDescription> printers;
    std::vector<JobDescription> jobs;
    std::vector<RegistryEntry> registry;  // applied in order
};

// Printer and user names are compared without regard to case, as Windows compares them. Every
// call is safe from any thread.
class SimulatedMachine {
public:
    // Replaces a printer of the same name, which then starts its paper source answers over.
    static void AddPrinter(const PrinterDescription& printer);
    // Replaces a job of the same id on the same printer; a job queues behind the printer's others.
    static void AddJob(const JobDescription& job);
    static std::optional<PrinterDescription> FindPrinter(const std::wstring& name);
    static std::optional<JobDescription> FindJob(const std::wstring& printerName, DWORD id);
    // In the order the printers were first added.
    static std::vector<std::wstring> PrinterNames();
    // The printer's queue, in order.
    static std::vector<JobDescription> JobsOn(const std::wstring& printerName);
    // Forgets every printer, job, user and registry key; handles already open to printers and keys
    // fail from then on.
    static void Clear();
    // Clear and fill in one step: no caller sees a machine between the old contents and the new.
    static void Replace(const MachineContents& contents);

    // The name jobs are submitted from (JOB_INFO pMachineName is "\\" and this name).
    static std::wstring ComputerName();

    // Replaces a user of the same name.
    static void AddUser(const UserDescription& user);
    static std::optional<UserDescription> FindUser(const std::wstring& name);
    // A token for a known user, a handle closed with CloseHandle, as a logon would give; null
    // with ERROR_NO_SUCH_USER for a user the machine does not know.
    static HANDLE TokenFor(const std::wstring& userName);
    // The user a token stands for; nothing for a handle that is not an open token.
    static std::optional<std::wstring> UserOfToken(HANDLE token);

    // The user the calling thread runs as: the user it impersonates (SetThreadToken), else the
    // process's user, which is the machine's first user; nothing for a machine without users.
    static std::optional<std::wstring> CurrentUser();
    static std::optional<std::wstring> ProcessUser();

    // A new object over the printer's version-4 driver property bag, holding one reference; null
    // for an unknown printer or one without a bag. It starts with the printer's declared values;
    // what is set through it stays with the object.
    static IPrinterPropertyBag* NewDriverPropertyBag(const std::wstring& printerName);

    // How many bidi requests asked the printer for its paper sources since it was added; the next
    // one takes answer number min(count, answers - 1) of its paperSourceAnswers.
    static std::size_t PaperSourceQueries(const std::wstring& printerName);

    // The registry. Keys are paths below the hive ("SOFTWARE\QX\QX Print Preview2"); the keys on
    // a path are created as needed. An empty value name is the key's default value.
    static void SetRegistryValue(const RegistryHive& hive, const std::wstring& key, const std::wstring& valueName,
                                 const RegistryData& data);
    static void CreateRegistryKey(const RegistryHive& hive, const std::wstring& key);
    // The key with its values and everything below it; handles open to them fail from then on.
    static void DeleteRegistryKey(const RegistryHive& hive, const std::wstring& key);
};

}  // namespace platform
