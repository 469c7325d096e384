#include "ptmanager.h"

#include <optional>
#include <string>

#include <objbase.h>
#include <wrl/client.h>

#include "hrerror.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "ptnamespaces.h"
#include "raiiowners.h"
#include "scopedprinter.h"
#include "spoolerbuffer.h"
#include "xmlhandler.h"
#include "xpsfpkeys.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr std::size_t kPrinterNameCharacters = 260;  // MAX_PATH, as the spooler's callers keep it

// The name as it fits a buffer of MAX_PATH characters: one that does not fit names no printer.
std::wstring PrinterNameAsKept(const std::wstring& name)
{
    return name.size() < kPrinterNameCharacters ? name : std::wstring();
}

// The job's page count from the spooler; none when its record cannot be read. Logged for caller.
std::optional<DWORD> ReadTotalPages(HANDLE printer, DWORD jobId, const LogSite& caller)
{
    const std::vector<BYTE> record = ReadSpoolerRecord([printer, jobId](BYTE* data, DWORD size, DWORD* needed) {
        return GetJobW(printer, jobId, 2, data, size, needed) != FALSE;
    });
    if (record.empty()) {
        LogAt(LogLevel::Warning, QX_FOR(caller), L"Job %u has no readable record; its page count is not published",
              jobId);
        return std::nullopt;
    }
    return reinterpret_cast<const JOB_INFO_2W*>(record.data())->TotalPages;
}

void PublishPageCount(PipelinePropertyBagProxy& propertyBag, const std::optional<DWORD>& totalPages)
{
    if (totalPages) {
        propertyBag.SetProperty(XPS_FP_NUMBERPAGES, std::to_wstring(*totalPages));
    }
}

// Failures are logged and thrown for caller.
ComPtr<IStream> OpenTicketStream(IXpsOMDocumentSequence* documentSequence, const LogSite& caller)
{
    ComPtr<IXpsOMPrintTicketResource> resource;
    ThrowIfFailed(documentSequence->GetPrintTicketResource(&resource), QX_FOR(caller));
    if (resource == nullptr) {
        // A package without a job ticket still prints, with nothing of the ticket known, as
        // when its ticket does not load.
        return nullptr;
    }
    ComPtr<IStream> stream;
    ThrowIfFailed(resource->GetStream(&stream), QX_FOR(caller));
    return stream;
}

// The ticket as a DOM; null when no DOM can be created or the stream is no XML document.
ComPtr<IXMLDOMDocument2> LoadTicketDocument(IStream* stream)
{
    ComPtr<IXMLDOMDocument2> document;
    if (FAILED(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                                reinterpret_cast<void**>(document.GetAddressOf())))) {
        return nullptr;
    }
    ScopedVariant source;
    source.Get().vt = VT_UNKNOWN;
    source.Get().punkVal = stream;
    stream->AddRef();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    if (FAILED(document->load(source.Get(), &loaded)) || loaded != VARIANT_TRUE) {
        return nullptr;
    }
    return document;
}

void SetSelectionNamespaces(IXMLDOMDocument2* document)
{
    const ScopedBstr name = AllocateBstr(L"SelectionNamespaces");
    ScopedVariant value;
    value.Get().vt = VT_BSTR;
    value.Get().bstrVal = AllocateBstr(SelectionNamespacesValue).Detach();
    // Every reader of the ticket sets the property again and fails on its own when it cannot.
    document->setProperty(name.Get(), value.Get());
}

}  // namespace

PTSettings PTManager::GetJobTicket(bool& ticketRead, PipelinePropertyBagProxy& propertyBag,
                                   IXpsOMDocumentSequence* documentSequence)
{
    ticketRead = false;
    const ScopedPrinter printer(PrinterNameAsKept(propertyBag.GetPrinterName()));
    if (printer.Get() == nullptr) {
        return PTSettings(nullptr);
    }
    const std::optional<DWORD> totalPages = ReadTotalPages(printer.Get(), propertyBag.GetJobID(), QX_HERE);
    PublishPageCount(propertyBag, totalPages);

    const ComPtr<IStream> ticketStream = OpenTicketStream(documentSequence, QX_HERE);
    if (ticketStream == nullptr) {
        return PTSettings(nullptr);
    }
    const ComPtr<IXMLDOMDocument2> document = LoadTicketDocument(ticketStream.Get());
    if (document == nullptr) {
        return PTSettings(nullptr);
    }
    SetSelectionNamespaces(document.Get());

    PrinterAttributeSettings printerAttributes(propertyBag);
    PrinterDriverProperties driverProperties(propertyBag, printerAttributes);
    PTSettings settings(&driverProperties);
    settings.LoadPrintTicket(document.Get());

    PublishPageCount(propertyBag, totalPages);
    if (totalPages && !driverProperties.CanDoCopies()) {
        propertyBag.SetProperty(XPS_FP_TOTALNUMBERPAGES,
                                static_cast<std::int32_t>(*totalPages * settings.GetCopies()));
    }
    ticketRead = true;
    // The driver properties end with this call; the caller's copy must not point at them.
    settings.DetachDriverProperties();
    return settings;
}
