// The simulated machine's printers, jobs and users: one process-wide state behind one lock.
#include "platform/simulatedmachine.h"

#include <algorithm>
#include <memory>
#include <mutex>

#include "driverpropertybag.h"
#include "handletable.h"
#include "simulatedmachinestate.h"
#include "userprofile.h"

namespace platform {
namespace {

constexpr wchar_t kDefaultComputerName[] = L"SIMULATED-PC";

template <class Items, class Name>
auto FindNamed(Items& items, const std::wstring& name, Name nameOf)
{
    return std::find_if(items.begin(), items.end(), [&](const auto& item) { return SameName(nameOf(item), name); });
}

const std::wstring& NameOfPrinter(const SimulatedPrinter& printer) { return printer.description.name; }
const std::wstring& NameOfUser(const UserDescription& user) { return user.name; }

// A replaced printer starts its paper source answers over.
void AddPrinterTo(MachineRecords& records, std::uint64_t& nextSerial, const PrinterDescription& description)
{
    const auto found = FindNamed(records.printers, description.name, NameOfPrinter);
    if (found != records.printers.end()) {
        found->description = description;
        found->paperSourceQueries = 0;
    } else {
        records.printers.push_back({nextSerial++, description, 0});
    }
}

void AddJobTo(MachineRecords& records, const JobDescription& job)
{
    const auto found = std::find_if(records.jobs.begin(), records.jobs.end(), [&](const JobDescription& queued) {
        return queued.id == job.id && SameName(queued.printerName, job.printerName);
    });
    if (found != records.jobs.end()) {
        *found = job;
    } else {
        records.jobs.push_back(job);
    }
}

void AddUserTo(MachineRecords& records, const UserDescription& user)
{
    const auto found = FindNamed(records.users, user.name, NameOfUser);
    if (found != records.users.end()) {
        *found = user;
    } else {
        records.users.push_back(user);
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

std::vector<JobDescription> QueueOf(const MachineRecords& records, const std::wstring& printerName)
{
    std::vector<JobDescription> queue;
    for (const JobDescription& job : records.jobs) {
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

MachineState& TheMachine()
{
    static MachineState* state = [] {
        auto* created = new MachineState;  // outlives every static destructor that may still ask
        created->records = EmptyRecords();
        return created;
    }();
    return *state;
}

SimulatedPrinter* FindPrinterIn(MachineRecords& records, const std::wstring& name)
{
    const auto found = FindNamed(records.printers, name, NameOfPrinter);
    return found == records.printers.end() ? nullptr : &*found;
}

MachineRecords EmptyRecords()
{
    MachineRecords records;
    records.computerName = kDefaultComputerName;
    return records;
}

std::optional<PrinterIdentity> IdentifyPrinter(const std::wstring& name)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    const auto found = FindNamed(state.records.printers, name, NameOfPrinter);
    if (found == state.records.printers.end()) {
        return std::nullopt;
    }
    return PrinterIdentity{found->serial, found->description.name};
}

std::optional<PrinterState> StateOfPrinter(std::uint64_t serial)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    const auto& printers = state.records.printers;
    const auto found =
        std::find_if(printers.begin(), printers.end(), [serial](const SimulatedPrinter& printer) { return printer.serial == serial; });
    if (found == printers.end()) {
        return std::nullopt;
    }
    return PrinterState{found->description, QueueOf(state.records, found->description.name),
                        state.records.computerName};
}

void SimulatedMachine::AddPrinter(const PrinterDescription& printer)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    AddPrinterTo(state.records, state.nextSerial, printer);
}

void SimulatedMachine::AddJob(const JobDescription& job)
{
    const JobDescription submitted = Submitted(job);
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    AddJobTo(state.records, submitted);
}

std::optional<PrinterDescription> SimulatedMachine::FindPrinter(const std::wstring& name)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    const auto found = FindNamed(state.records.printers, name, NameOfPrinter);
    if (found == state.records.printers.end()) {
        return std::nullopt;
    }
    return found->description;
}

std::optional<JobDescription> SimulatedMachine::FindJob(const std::wstring& printerName, DWORD id)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    for (const JobDescription& job : state.records.jobs) {
        if (job.id == id && SameName(job.printerName, printerName)) {
            return job;
        }
    }
    return std::nullopt;
}

std::vector<std::wstring> SimulatedMachine::PrinterNames()
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    std::vector<std::wstring> names;
    for (const SimulatedPrinter& printer : state.records.printers) {
        names.push_back(printer.description.name);
    }
    return names;
}

std::vector<JobDescription> SimulatedMachine::JobsOn(const std::wstring& printerName)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    return QueueOf(state.records, printerName);
}

void SimulatedMachine::Clear() { Replace(MachineContents{}); }

void SimulatedMachine::Replace(const MachineContents& contents)
{
    std::vector<JobDescription> jobs;
    for (const JobDescription& job : contents.jobs) {
        jobs.push_back(Submitted(job));
    }
    MachineRecords replacement = EmptyRecords();
    if (!contents.computerName.empty()) {
        replacement.computerName = contents.computerName;
    }
    for (const UserDescription& user : contents.users) {
        CreateProfileFolders(user.name);
        AddUserTo(replacement, user);
    }
    for (const JobDescription& job : jobs) {
        AddJobTo(replacement, job);
    }
    for (const RegistryEntry& entry : contents.registry) {
        ApplyRegistryEntry(replacement, entry);
    }
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    for (const PrinterDescription& printer : contents.printers) {
        AddPrinterTo(replacement, state.nextSerial, printer);
    }
    std::swap(state.records, replacement);  // the old contents go once the lock is released
}

std::wstring SimulatedMachine::ComputerName()
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    return state.records.computerName;
}

void SimulatedMachine::AddUser(const UserDescription& user)
{
    CreateProfileFolders(user.name);
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    AddUserTo(state.records, user);
}

std::optional<UserDescription> SimulatedMachine::FindUser(const std::wstring& name)
{
    MachineState& state = TheMachine();
    std::lock_guard lock(state.mutex);
    const auto found = FindNamed(state.records.users, name, NameOfUser);
    if (found == state.records.users.end()) {
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
