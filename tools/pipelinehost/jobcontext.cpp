#include "pipelinehost/jobcontext.h"

#include <stdexcept>

#include <platform/simulatedmachine.h>
#include <platform/text.h>
#include <winspool.h>

namespace pipelinehost {
namespace {

using platform::SimulatedMachine;

std::string Utf8(const std::wstring& text) { return platform::ToUtf8(text); }
std::string Quoted(const std::wstring& text) { return "\"" + Utf8(text) + "\""; }

std::string Pages(DWORD count) { return std::to_string(count) + (count == 1 ? " page" : " pages"); }

UINT_PTR Payload(HANDLE handle) { return reinterpret_cast<UINT_PTR>(handle); }

}  // namespace

void JobContext::PrinterCloser::operator()(HANDLE printer) const { ClosePrinter(printer); }
void JobContext::HandleCloser::operator()(HANDLE handle) const { CloseHandle(handle); }

JobContext::JobContext(const std::string& printerName, std::optional<DWORD> jobId)
{
    std::optional<platform::PrinterDescription> printer;
    if (printerName.empty()) {
        const auto names = SimulatedMachine::PrinterNames();
        if (names.empty()) {
            throw std::runtime_error("the machine has no printer to run the job on");
        }
        printer = SimulatedMachine::FindPrinter(names.front());
    } else if (!(printer = SimulatedMachine::FindPrinter(platform::FromUtf8(printerName)))) {
        throw std::runtime_error("the machine has no printer named \"" + printerName + "\"");
    }
    printerName_ = printer->name;
    driverName_ = printer->driverName;
    driverModelVersion_ = printer->driverModelVersion;
    driverValues_ = printer->driverPropertyBag ? printer->driverPropertyBag->size() : 0;

    std::optional<platform::JobDescription> job;
    if (jobId) {
        job = SimulatedMachine::FindJob(printerName_, *jobId);
        if (!job) {
            throw std::runtime_error("printer " + Quoted(printerName_) + " has no job " + std::to_string(*jobId));
        }
    } else {
        const auto queue = SimulatedMachine::JobsOn(printerName_);
        if (queue.empty()) {
            throw std::runtime_error("printer " + Quoted(printerName_) + " has no job queued");
        }
        job = queue.front();
    }
    jobId_ = job->id;
    document_ = job->document;
    totalPages_ = job->totalPages;
    userName_ = job->userName;

    std::wstring name = printerName_;
    HANDLE printerHandle = nullptr;
    if (!OpenPrinterW(name.data(), &printerHandle, nullptr)) {
        throw std::runtime_error("cannot open printer " + Quoted(printerName_) + ": error " +
                                 std::to_string(GetLastError()));
    }
    printer_.reset(printerHandle);
    token_.reset(SimulatedMachine::TokenFor(userName_));
    if (!token_) {
        throw std::runtime_error("the machine has no user " + Quoted(userName_) + " to log on");
    }
    progress_ = ProgressReport::Create();
    if (driverModelVersion_ == 4) {
        driverPropertyBag_.Attach(SimulatedMachine::NewDriverPropertyBag(printerName_));
    }
}

JobContext::~JobContext() = default;

std::vector<PropertyOption> JobContext::Properties() const
{
    std::vector<PropertyOption> properties;
    properties.push_back({L"PrinterName", OwnedVariant::String(printerName_)});
    properties.push_back({L"PrinterHandle", OwnedVariant::UIntPtr(Payload(printer_.get()))});
    properties.push_back({L"PrintJobId", OwnedVariant::UInt32(jobId_)});
    properties.push_back({L"UserSecurityToken", OwnedVariant::UIntPtr(Payload(token_.get()))});
    properties.push_back({L"ProgressReport", OwnedVariant::Unknown(progress_.Get())});
    if (driverPropertyBag_) {
        properties.push_back({L"DriverPropertyBag", OwnedVariant::Unknown(driverPropertyBag_.Get())});
    }
    return properties;
}

std::string JobContext::Describe(const std::wstring&, const VARIANT& value) const
{
    if (value.vt == VT_UINT_PTR && value.uintptrVal == Payload(printer_.get())) {
        return "printer handle of " + Quoted(printerName_);
    }
    if (value.vt == VT_UINT_PTR && value.uintptrVal == Payload(token_.get())) {
        return "token of user " + Utf8(userName_);
    }
    if (value.vt == VT_UI4 && value.ulVal == jobId_) {
        return "job " + Quoted(document_);
    }
    if (value.vt == VT_UNKNOWN && value.punkVal != nullptr) {
        if (value.punkVal == static_cast<IUnknown*>(progress_.Get())) {
            const std::size_t reports = progress_->Reports().size();
            return "IPrintPipelineProgressReport, " + std::to_string(reports) + (reports == 1 ? " report" : " reports");
        }
        if (driverPropertyBag_ && value.punkVal == static_cast<IUnknown*>(driverPropertyBag_.Get())) {
            return "IPrinterPropertyBag of " + Quoted(printerName_) + ", " + std::to_string(driverValues_) +
                   " declared values";
        }
    }
    return {};
}

std::vector<std::pair<std::string, std::string>> JobContext::Summary() const
{
    const std::string driver = driverModelVersion_ == 4 ? "version-4 driver " : "legacy version-3 driver ";
    return {
        {"printer", Quoted(printerName_) + ", " + driver + Quoted(driverName_)},
        {"job", std::to_string(jobId_) + ", " + Quoted(document_) + ", " + Pages(totalPages_)},
        {"user", Utf8(userName_)},
    };
}

}  // namespace pipelinehost
