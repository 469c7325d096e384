// The simulated machine's printers, jobs and users: one process-wide state behind one lock.
#include "platform/simulatedmachine.h"

#include <algorithm>
#include <cwctype>
#include <memory>
#include <mutex>

#include "driverpropertybag.h"
#include "handletable.h"
#include "simulatedmachinestate.h"

namespace platform {
namespace {

constexpr wchar_t kDefaultComputerName[] = L"SIMULATED-PC";

struct Printer {
    std::uint64_t serial = 0;
    PrinterDescription description;
};

struct Contents {
    std::wstring computerName = kDefaultComputerName;
    std::vector<Printer> printers;      // in the order they were first added
    std::vector<JobDescription> jobs;   // in the order they were queued
    std::vector<UserDescription> users;
};

struct State {
    std::mutex mutex;
    Contents contents;
    std::uint64_t nextSerial = 1;  // never reused, so a forgotten printer stays forgotten
};

State& TheState()
{
    static State* state = new State;  // outlives every static destructor that may still ask
    return *state;
}

template <class Items, class Name>
auto FindNamed(Items& items, const std::wstring& name, Name nameOf)
{
    return std::find_if(items.begin(), items.end(), [&](const auto& item) { return SameName(nameOf(item), name); });
}

const std::wstring& NameOfPrinter(const Printer& printer) { return printer.description.name; }
const std::wstring& NameOfUser(const UserDescription& user) { return user.name; }

void AddPrinterTo(Contents& contents, std::uint64_t& nextSerial, const PrinterDescription& description)
{
    const auto found = FindNamed(contents.printers, description.name, NameOfPrinter);
    if (found != contents.printers.end()) {
        found->description = description;
    } else {
        contents.printers.push_back({nextSerial++, description});
    }
}

void AddJobTo(Contents& contents, const JobDescription& job)
{
    const auto found = std::find_if(contents.jobs.begin(), contents.jobs.end(), [&](const JobDescription& queued) {
        return queued.id == job.id && SameName(queued.printerName, job.printerName);
    });
    if (found != contents.jobs.end()) {
        *found = job;
    } else {
        contents.jobs.push_back(job);
    }
}

void AddUserTo(Contents& contents, const UserDescription& user)
{
    const auto found = FindNamed(contents.users, user.name, NameOfUser);
    if (found != contents.users.end()) {
        *found = user;
    } else {
        contents.users.push_back(user);
    }
}

// The submission time is taken outside the lock: GetLocalTime may be a test's double.
JobDescription Submitted(JobDescription job)
{
    if (!job.submitted) {
        SYSTEMTIME now{};
        ::GetLocalTime(&now);
        job.submitted = now;
    }
    return job;
}

std::vector<JobDescription> QueueOf(const Contents& contents, const std::wstring& printerName)
{
    std::vector<JobDescription> queue;
    for (const JobDescription& job : contents.jobs) {
        if (SameName(job.printerName, printerName)) {
            queue.push_back(job);
        }
    }
    return queue;
}

// A logon's token: it names its user for as long as it is open. Tokens are not waitable.
class UserToken : public KernelObject {
public:
    explicit UserToken(std::wstring user) : user_(std::move(user)) {}
    DWORD Wait(DWORD) override
    {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    const std::wstring& User() const { return user_; }

private:
    std::wstring user_;
};

}  // namespace

bool SameName(std::wstring_view first, std::wstring_view second)
{
    return first.size() == second.size() &&
           std::equal(first.begin(), first.end(), second.begin(),
                      [](wchar_t a, wchar_t b) { return std::towupper(a) == std::towupper(b); });
}

std::optional<PrinterIdentity> IdentifyPrinter(const std::wstring& name)
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    const auto found = FindNamed(state.contents.printers, name, NameOfPrinter);
    if (found == state.contents.printers.end()) {
        return std::nullopt;
    }
    return PrinterIdentity{found->serial, found->description.name};
}

std::optional<PrinterState> StateOfPrinter(std::uint64_t serial)
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    const auto& printers = state.contents.printers;
    const auto found =
        std::find_if(printers.begin(), printers.end(), [serial](const Printer& printer) { return printer.serial == serial; });
    if (found == printers.end()) {
        return std::nullopt;
    }
    return PrinterState{found->description, QueueOf(state.contents, found->description.name),
                        state.contents.computerName};
}

void SimulatedMachine::AddPrinter(const PrinterDescription& printer)
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    AddPrinterTo(state.contents, state.nextSerial, printer);
}

void SimulatedMachine::AddJob(const JobDescription& job)
{
    const JobDescription submitted = Submitted(job);
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    AddJobTo(state.contents, submitted);
}

std::optional<PrinterDescription> SimulatedMachine::FindPrinter(const std::wstring& name)
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    const auto found = FindNamed(state.contents.printers, name, NameOfPrinter);
    if (found == state.contents.printers.end()) {
        return std::nullopt;
    }
    return found->description;
}

std::optional<JobDescription> SimulatedMachine::FindJob(const std::wstring& printerName, DWORD id)
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    for (const JobDescription& job : state.contents.jobs) {
        if (job.id == id && SameName(job.printerName, printerName)) {
            return job;
        }
    }
    return std::nullopt;
}

std::vector<std::wstring> SimulatedMachine::PrinterNames()
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    std::vector<std::wstring> names;
    for (const Printer& printer : state.contents.printers) {
        names.push_back(printer.description.name);
    }
    return names;
}

std::vector<JobDescription> SimulatedMachine::JobsOn(const std::wstring& printerName)
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    return QueueOf(state.contents, printerName);
}

void SimulatedMachine::Clear() { Replace(MachineContents{}); }

void SimulatedMachine::Replace(const MachineContents& contents)
{
    std::vector<JobDescription> jobs;
    for (const JobDescription& job : contents.jobs) {
        jobs.push_back(Submitted(job));
    }
    Contents replacement;
    if (!contents.computerName.empty()) {
        replacement.computerName = contents.computerName;
    }
    for (const UserDescription& user : contents.users) {
        AddUserTo(replacement, user);
    }
    for (const JobDescription& job : jobs) {
        AddJobTo(replacement, job);
    }
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    for (const PrinterDescription& printer : contents.printers) {
        AddPrinterTo(replacement, state.nextSerial, printer);
    }
    std::swap(state.contents, replacement);  // the old contents go once the lock is released
}

std::wstring SimulatedMachine::ComputerName()
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    return state.contents.computerName;
}

void SimulatedMachine::AddUser(const UserDescription& user)
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    AddUserTo(state.contents, user);
}

std::optional<UserDescription> SimulatedMachine::FindUser(const std::wstring& name)
{
    State& state = TheState();
    std::lock_guard lock(state.mutex);
    const auto found = FindNamed(state.contents.users, name, NameOfUser);
    if (found == state.contents.users.end()) {
        return std::nullopt;
    }
    return *found;
}

HANDLE SimulatedMachine::TokenFor(const std::wstring& userName)
{
    const auto user = FindUser(userName);
    if (!user) {
        ::SetLastError(ERROR_NO_SUCH_USER);
        return nullptr;
    }
    return HandleTable::Add(std::make_shared<UserToken>(user->name));
}

std::optional<std::wstring> SimulatedMachine::UserOfToken(HANDLE token)
{
    const auto found = HandleTable::FindAs<UserToken>(token);
    if (!found) {
        return std::nullopt;
    }
    return found->User();
}

IPrinterPropertyBag* SimulatedMachine::NewDriverPropertyBag(const std::wstring& printerName)
{
    const auto printer = FindPrinter(printerName);
    if (!printer || !printer->driverPropertyBag) {
        return nullptr;
    }
    return NewDriverPropertyBagObject(*printer->driverPropertyBag);
}

}  // namespace platform
