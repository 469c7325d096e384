#include "jobcontext.h"

#include <stdexcept>

#include <printerextension.h>
#include <winspool.h>

using Microsoft::WRL::ComPtr;
using platform::SimulatedMachine;

namespace testsupport {

JobContext::JobContext(platform::PrinterDescription printer, bool offerDriverBag, DWORD totalPages)
    : bag_(pipelinehost::PropertyBag::Create())
{
    SimulatedMachine::AddPrinter(printer);
    SimulatedMachine::AddJob({kJobId, printer.name, L"C:\\Users\\ana\\Documents\\poster.pdf", L"ana", totalPages});
    std::wstring name = printer.name;
    if (!OpenPrinterW(name.data(), &printer_, nullptr)) {
        throw std::runtime_error("the simulated spooler does not open the printer just added");
    }
    bag_->Set(L"PrinterName", printer.name);
    SetHandle(L"PrinterHandle", printer_);
    VARIANT jobId;
    VariantInit(&jobId);
    jobId.vt = VT_UI4;
    jobId.ulVal = kJobId;
    bag_->Set(L"PrintJobId", pipelinehost::OwnedVariant(jobId));
    if (offerDriverBag && printer.driverPropertyBag) {
        ComPtr<IPrinterPropertyBag> driverBag;
        driverBag.Attach(SimulatedMachine::NewDriverPropertyBag(printer.name));
        bag_->SetUnknown(L"DriverPropertyBag", driverBag.Get());
    }
}

JobContext::~JobContext() { ClosePrinter(printer_); }

void JobContext::SetHandle(const std::wstring& name, HANDLE handle)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_UINT_PTR;
    value.byref = handle;
    bag_->Set(name, pipelinehost::OwnedVariant(value));  // replaces, as the spooler's setup would
}

}  // namespace testsupport
