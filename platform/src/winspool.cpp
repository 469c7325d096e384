// The print spooler over the simulated machine: printer handles, and the printer, driver and job
// records read through them.
#include <memory>

#include "handletable.h"
#include "platform/systemapi.h"
#include "simulatedmachinestate.h"
#include "spoolrecord.h"

namespace platform {
namespace {

// The only environment the machine's drivers are installed for.
constexpr wchar_t kEnvironment[] = L"Windows x64";

constexpr DWORD kPrinterAttributeLocal = 0x00000040;      // PRINTER_ATTRIBUTE_LOCAL
constexpr DWORD kPrinterAttributeEnableBidi = 0x00000800; // PRINTER_ATTRIBUTE_ENABLE_BIDI
constexpr DWORD kDefaultJobPriority = 1;                  // DEF_PRIORITY
constexpr wchar_t kPrintProcessor[] = L"winprint";
constexpr wchar_t kDatatype[] = L"RAW";

// A printer handle names the printer it was opened on; printer handles are not waitable.
class PrinterHandle : public KernelObject {
public:
    explicit PrinterHandle(PrinterIdentity printer) : printer_(std::move(printer)) {}
    DWORD Wait(DWORD) override
    {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    const PrinterIdentity& Printer() const { return printer_; }

private:
    PrinterIdentity printer_;
};

std::optional<PrinterState> StateBehind(HANDLE handle)
{
    const auto printer = HandleTable::FindAs<PrinterHandle>(handle);
    if (!printer) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return std::nullopt;
    }
    auto state = StateOfPrinter(printer->Printer().serial);
    if (!state) {
        ::SetLastError(ERROR_PRINTER_DELETED);
    }
    return state;
}

BOOL RefuseLevel()
{
    ::SetLastError(ERROR_INVALID_LEVEL);
    return FALSE;
}

BOOL PrinterInfo2(const PrinterState& state, LPBYTE buffer, DWORD bufferSize, LPDWORD needed)
{
    const PrinterDescription& printer = state.printer;
    SpoolRecord<PRINTER_INFO_2W> record;
    record.Text(&PRINTER_INFO_2W::pPrinterName, printer.name);  // pServerName stays null: a local printer
    record.Text(&PRINTER_INFO_2W::pShareName, L"");             // not shared
    record.Text(&PRINTER_INFO_2W::pPortName, printer.port);
    record.Text(&PRINTER_INFO_2W::pDriverName, printer.driverName);
    record.Text(&PRINTER_INFO_2W::pComment, printer.comment);
    record.Text(&PRINTER_INFO_2W::pLocation, printer.location);
    record.Text(&PRINTER_INFO_2W::pSepFile, L"");
    record.Text(&PRINTER_INFO_2W::pPrintProcessor, kPrintProcessor);
    record.Text(&PRINTER_INFO_2W::pDatatype, kDatatype);
    record.Text(&PRINTER_INFO_2W::pParameters, L"");
    PRINTER_INFO_2W& fields = record.Fields();
    fields.Attributes = kPrinterAttributeLocal | (printer.bidiValues.empty() ? 0 : kPrinterAttributeEnableBidi);
    fields.Priority = 1;
    fields.Status = 0;
    fields.cJobs = static_cast<DWORD>(state.queue.size());
    return record.CopyTo(buffer, bufferSize, needed);
}

// The fields that DRIVER_INFO_3W and DRIVER_INFO_6W share.
template <class Record>
void FillDriverInfo3(SpoolRecord<Record>& record, const PrinterDescription& printer)
{
    record.Fields().cVersion = printer.driverModelVersion;
    record.Text(&Record::pName, printer.driverName);
    record.Text(&Record::pEnvironment, kEnvironment);
    record.Text(&Record::pDriverPath, printer.driverPath);
    record.Text(&Record::pDataFile, printer.dataFile);
    record.Text(&Record::pConfigFile, printer.configFile);
    record.Text(&Record::pHelpFile, printer.helpFile);
    record.TextList(&Record::pDependentFiles, printer.dependentFiles);
    record.Text(&Record::pDefaultDataType, kDatatype);  // pMonitorName stays null: no language monitor
}

BOOL DriverInfo3(const PrinterDescription& printer, LPBYTE buffer, DWORD bufferSize, LPDWORD needed)
{
    SpoolRecord<DRIVER_INFO_3W> record;
    FillDriverInfo3(record, printer);
    return record.CopyTo(buffer, bufferSize, needed);
}

BOOL DriverInfo6(const PrinterDescription& printer, LPBYTE buffer, DWORD bufferSize, LPDWORD needed)
{
    SpoolRecord<DRIVER_INFO_6W> record;
    FillDriverInfo3(record, printer);
    record.Text(&DRIVER_INFO_6W::pszMfgName, printer.manufacturer);
    record.Text(&DRIVER_INFO_6W::pszOEMUrl, printer.oemUrl);
    record.Text(&DRIVER_INFO_6W::pszHardwareID, printer.hardwareId);
    record.Text(&DRIVER_INFO_6W::pszProvider, printer.manufacturer);  // pszzPreviousNames stays null
    record.Fields().ftDriverDate = printer.driverDate;
    record.Fields().dwlDriverVersion = printer.driverFileVersion;
    return record.CopyTo(buffer, bufferSize, needed);
}

// The fields that JOB_INFO_1W and JOB_INFO_2W share.
template <class Record>
void FillJobInfo1(SpoolRecord<Record>& record, const PrinterState& state, const JobDescription& job, DWORD position)
{
    record.Text(&Record::pPrinterName, state.printer.name);
    record.Text(&Record::pMachineName, L"\\\\" + state.computerName);
    record.Text(&Record::pUserName, job.userName);
    record.Text(&Record::pDocument, job.document);
    record.Text(&Record::pDatatype, kDatatype);  // pStatus stays null: the status bits say it all
    Record& fields = record.Fields();
    fields.JobId = job.id;
    fields.Status = 0;
    fields.Priority = kDefaultJobPriority;
    fields.Position = position;
    fields.TotalPages = job.totalPages;
    fields.PagesPrinted = 0;
    fields.Submitted = job.submitted.value_or(SYSTEMTIME{});
}

BOOL JobInfo1(const PrinterState& state, const JobDescription& job, DWORD position, LPBYTE buffer, DWORD bufferSize,
              LPDWORD needed)
{
    SpoolRecord<JOB_INFO_1W> record;
    FillJobInfo1(record, state, job, position);
    return record.CopyTo(buffer, bufferSize, needed);
}

BOOL JobInfo2(const PrinterState& state, const JobDescription& job, DWORD position, LPBYTE buffer, DWORD bufferSize,
              LPDWORD needed)
{
    SpoolRecord<JOB_INFO_2W> record;
    FillJobInfo1(record, state, job, position);
    record.Text(&JOB_INFO_2W::pNotifyName, job.userName);
    record.Text(&JOB_INFO_2W::pPrintProcessor, kPrintProcessor);
    record.Text(&JOB_INFO_2W::pParameters, L"");
    record.Text(&JOB_INFO_2W::pDriverName, state.printer.driverName);
    record.Fields().Size = job.size;  // pDevMode and pSecurityDescriptor stay null; times are 0
    return record.CopyTo(buffer, bufferSize, needed);
}

}  // namespace

BOOL WinSpool::OpenPrinterW(LPWSTR printerName, LPHANDLE printer, LPPRINTER_DEFAULTSW)
{
    if (printer == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *printer = nullptr;
    // A null name asks for the local print server, which serves nothing the machine simulates.
    const auto identity = printerName == nullptr ? std::nullopt : IdentifyPrinter(printerName);
    if (!identity) {
        ::SetLastError(ERROR_INVALID_PRINTER_NAME);
        return FALSE;
    }
    // The machine grants every access asked for in the defaults.
    *printer = HandleTable::Add(std::make_shared<PrinterHandle>(*identity));
    return TRUE;
}

BOOL WinSpool::ClosePrinter(HANDLE printer)
{
    if (!HandleTable::FindAs<PrinterHandle>(printer) || !HandleTable::Remove(printer)) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    return TRUE;
}

BOOL WinSpool::GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD bufferSize, LPDWORD needed)
{
    const auto state = StateBehind(printer);
    if (!state) {
        return FALSE;
    }
    if (level != 2) {
        return RefuseLevel();
    }
    return PrinterInfo2(*state, buffer, bufferSize, needed);
}

BOOL WinSpool::GetPrinterDriverW(HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer, DWORD bufferSize,
                                 LPDWORD needed)
{
    const auto state = StateBehind(printer);
    if (!state) {
        return FALSE;
    }
    if (level != 3 && level != 6) {
        return RefuseLevel();
    }
    if (environment != nullptr && !SameName(environment, kEnvironment)) {
        ::SetLastError(ERROR_UNKNOWN_PRINTER_DRIVER);
        return FALSE;
    }
    return level == 3 ? DriverInfo3(state->printer, buffer, bufferSize, needed)
                      : DriverInfo6(state->printer, buffer, bufferSize, needed);
}

BOOL WinSpool::GetJobW(HANDLE printer, DWORD jobId, DWORD level, LPBYTE buffer, DWORD bufferSize, LPDWORD needed)
{
    const auto state = StateBehind(printer);
    if (!state) {
        return FALSE;
    }
    if (level != 1 && level != 2) {
        return RefuseLevel();
    }
    for (std::size_t i = 0; i < state->queue.size(); ++i) {
        if (state->queue[i].id == jobId) {
            const auto position = static_cast<DWORD>(i + 1);
            return level == 1 ? JobInfo1(*state, state->queue[i], position, buffer, bufferSize, needed)
                              : JobInfo2(*state, state->queue[i], position, buffer, bufferSize, needed);
        }
    }
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
}

}  // namespace platform
