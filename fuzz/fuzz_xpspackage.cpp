// The job's bytes as the job run opens them: a package read from a memory stream by the XPS object
// model, its document sequence, and the job ticket's stream loaded into a DOM.
#include <cstddef>
#include <cstdint>

#include <msxml6.h>
#include <objbase.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "fuzzsupport.h"
#include "raiiowners.h"

using Microsoft::WRL::ComPtr;

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    fuzzsupport::StartProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ComPtr<IXpsOMObjectFactory> factory;
    if (FAILED(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)))) {
        fuzzsupport::SetupFailed("no XPS object factory");
    }
    ComPtr<IXpsOMPackage> package;
    if (FAILED(factory->CreatePackageFromStream(fuzzsupport::MemoryStream(data, size).Get(), TRUE, &package))) {
        return 0;
    }
    ComPtr<IXpsOMDocumentSequence> sequence;
    if (FAILED(package->GetDocumentSequence(&sequence))) {
        return 0;
    }
    ComPtr<IXpsOMPrintTicketResource> ticket;
    if (FAILED(sequence->GetPrintTicketResource(&ticket)) || ticket == nullptr) {
        return 0;
    }
    ComPtr<IStream> stream;
    if (FAILED(ticket->GetStream(&stream))) {
        return 0;
    }
    ComPtr<IXMLDOMDocument2> document;
    if (FAILED(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                                reinterpret_cast<void**>(document.GetAddressOf())))) {
        fuzzsupport::SetupFailed("no DOM document");
    }
    ScopedVariant source;
    source.Get().vt = VT_UNKNOWN;
    source.Get().punkVal = stream.Get();
    stream->AddRef();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->load(source.Get(), &loaded);
    return 0;
}
