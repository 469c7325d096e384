// The job ticket's bytes as the job run reads them: loaded into a DOM from a stream, so that the
// parser decides the encoding, then every feature read into the job's settings for one fixed
// version-4 printer whose driver declares print modes and colour adjustments.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>
#include <string>

#include <msxml6.h>
#include <objbase.h>
#include <platform/simulatedmachine.h>
#include <wrl/client.h>

#include "fuzzsupport.h"
#include "hrerror.h"
#include "jobcontext.h"
#include "pipelinepropertybagproxy.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "ptsettings.h"
#include "raiiowners.h"

using Microsoft::WRL::ComPtr;

namespace {

platform::PrinterDescription FuzzPrinter()
{
    const std::wstring familyPaperType =
        LR"({"AutoSelect":{"PMCategory":"Bond","PMFamily":"Plain Paper"},)"
        LR"("Plainpaper":{"PMCategory":"Bond","PMFamily":"Plain Paper"},)"
        LR"("CoatedPaper":{"PMCategory":"Coated","PMFamily":"Coated Paper"},)"
        LR"("PhotoGlossPaper":{"PMCategory":"Photo","PMFamily":"Photo Paper"}})";
    platform::PrinterDescription printer;
    printer.name = L"QX Fuzz 44";
    printer.port = L"USB001";
    printer.driverName = L"QX Fuzz 44 Class Driver";
    printer.driverPropertyBag = std::map<std::wstring, platform::DriverPropertyValue>{
        {L"Platform", std::wstring(L"Mesa")},
        {L"PDL", std::wstring(L"PS3")},
        {L"EncryptedPinSupported", std::wstring(L"On")},
        {L"ConnectivityProtocolsSupported", std::wstring(L"KORU,oKAV")},
        {L"FamilyPaperType", familyPaperType},
        {L"Bond-1", std::wstring(LR"({"RenderRes":"600","Passes":"4"})")},
        {L"Bond-33", std::wstring(LR"({"RenderRes":"600","Passes":"6"})")},
        {L"Coated-33", std::wstring(LR"({"RenderRes":"600","Passes":"8"})")},
        {L"Photo-34", std::wstring(LR"({"RenderRes":"1200","Passes":"12"})")},
        {L"DriverVersion", std::wstring(L"3.0.7.1")},
        {L"ManualMarginInMicrons", LONG{5000}},
        {L"TrayMarginInMicrons", LONG{3000}},
        {L"MaxPrinterWidthInMicrons", LONG{1117600}},
        {L"ColorAdjustment", true},
        {L"CanDoCopies", true},
        {L"CanDoCollate", true},
        {L"CanDoAutorotate", true},
    };
    return printer;
}

// The printer and its decoded driver properties, built once: reading a ticket does not change them.
struct Driver {
    testsupport::JobContext job{FuzzPrinter()};
    PipelinePropertyBagProxy proxy{job.BagInterface()};
    PrinterAttributeSettings attributes{proxy};
    PrinterDriverProperties properties{proxy, attributes};
};

Driver* g_driver = nullptr;

void RemoveDriver()
{
    delete g_driver;
    g_driver = nullptr;
    platform::SimulatedMachine::Clear();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    fuzzsupport::StartProcess();
    g_driver = new Driver;
    fuzzsupport::AtExit(RemoveDriver);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ComPtr<IXMLDOMDocument2> document;
    if (FAILED(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                                reinterpret_cast<void**>(document.GetAddressOf())))) {
        fuzzsupport::SetupFailed("no DOM document");
    }
    const ComPtr<IStream> stream = fuzzsupport::MemoryStream(data, size);
    ScopedVariant source;
    source.Get().vt = VT_UNKNOWN;
    source.Get().punkVal = stream.Get();
    stream->AddRef();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    if (FAILED(document->load(source.Get(), &loaded)) || loaded != VARIANT_TRUE) {
        return 0;
    }
    PTSettings settings(&g_driver->properties);
    try {
        settings.LoadPrintTicket(document.Get());
    } catch (const hr_error&) {
        // A ticket the settings refuse (no copies, an unreadable page size) fails the job cleanly.
    }
    return 0;
}
