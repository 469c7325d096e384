#include "hostpreviewfilter.h"

#include "hrerror.h"
#include "moduleobjectcount.h"
#include "raiiowners.h"
#include "streamhandler.h"
#include "xpspagesizecorrection.h"

using Microsoft::WRL::ComPtr;

namespace {

const wchar_t kLogFolder[] = L"C:\\QX Inc\\Calvost";

// What the negotiation object hands out is checked for the stream interface the job needs.
template <class Stream, class Request>
ComPtr<Stream> RequestStream(Request request, const LogSite& site)
{
    ComPtr<IUnknown> object;
    HRESULT hr = request(reinterpret_cast<void**>(object.GetAddressOf()));
    if (SUCCEEDED(hr) && !object) {
        hr = E_POINTER;
    }
    ThrowIfFailed(hr, site);
    ComPtr<Stream> stream;
    ThrowIfFailed(object.As(&stream), site);
    return stream;
}

}  // namespace

HostPreviewFilter::HostPreviewFilter()
{
    QXDrvLogger::Initialize(kLogFolder);
    QXLOG_INFO(L"Host Preview Filter - Calling Constructor");
    m_liveness.Attach(new FilterLiveness);
    IncrementModuleObjectCount();
}

HostPreviewFilter::~HostPreviewFilter()
{
    DecrementModuleObjectCount();
    QXLOG_INFO(L"Host Preview Filter - Calling Destructor");
    m_liveness.Reset();
    m_propertyBag.Reset();
    m_pipelineControl.Reset();
    m_writer.Reset();
    m_reader.Reset();
}

HRESULT HostPreviewFilter::InitializeFilter(IInterFilterCommunicator* negotiation,
                                            IPrintPipelinePropertyBag* propertyBag,
                                            IPrintPipelineManagerControl* pipelineControl)
{
    QXLOG_INFO(L"Host Preview Filter - Starting InitializeFilter");
    if (negotiation == nullptr || propertyBag == nullptr || pipelineControl == nullptr) {
        return E_POINTER;
    }
    const ComPtr<IInterFilterCommunicator> heldNegotiation(negotiation);
    const ComPtr<IPrintPipelinePropertyBag> heldPropertyBag(propertyBag);
    const ComPtr<IPrintPipelineManagerControl> heldControl(pipelineControl);
    const HRESULT hr = RunAtEntryPoint(QX_HERE, [&] { InitializeFilter_throws(negotiation, propertyBag, pipelineControl); });
    QXLOG_INFO(L"Host Preview Filter - Finishing InitializeFilter");
    return hr;
}

void HostPreviewFilter::InitializeFilter_throws(IInterFilterCommunicator* negotiation,
                                                IPrintPipelinePropertyBag* propertyBag,
                                                IPrintPipelineManagerControl* pipelineControl)
{
    QXLOG_INFO(L"Host Preview Filter - Starting InitializeFilter_throws");
    auto reader = RequestStream<IPrintReadStream>([&](void** object) { return negotiation->RequestReader(object); },
                                                  QX_HERE);
    auto writer = RequestStream<IPrintWriteStream>([&](void** object) { return negotiation->RequestWriter(object); },
                                                   QX_HERE);
    m_reader = std::move(reader);
    m_writer = std::move(writer);
    m_propertyBag = propertyBag;
    m_pipelineControl = pipelineControl;
    QXLOG_INFO(L"Host Preview Filter - Finishing InitializeFilter_throws");
}

HRESULT HostPreviewFilter::StartOperation()
{
    QXLOG_INFO(L"Host Preview Filter - Starting StartOperation");
    const HRESULT hr = RunAtEntryPoint(QX_HERE, [this] { StartOperation_throws(); });
    if (m_pipelineControl) {
        if (hr != S_OK) {
            m_pipelineControl->RequestShutdown(hr, nullptr);
        }
        m_pipelineControl->FilterFinished();
    }
    QXLOG_INFO(L"Host Preview Filter - Finishing StartOperation");
    return hr;
}

HRESULT HostPreviewFilter::ShutdownOperation()
{
    QXLOG_INFO(L"Host Preview Filter - Calling ShutdownOperation");
    m_liveness->Cancel();
    return S_OK;
}

void HostPreviewFilter::StartOperation_throws()
{
    QXLOG_INFO(L"Host Preview Filter - Starting StartOperation_throws");
    if (!m_reader || !m_writer || !m_propertyBag || !m_pipelineControl) {
        THROW_HR(E_UNEXPECTED);  // the pipeline did not initialise this filter
    }
    const ComApartment apartment(COINIT_MULTITHREADED);
    ComPtr<IXpsOMObjectFactory> xpsFactory;
    THROW_IF_FAILED(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER,
                                     IID_PPV_ARGS(&xpsFactory)));
    RunJob(xpsFactory.Get());
}

BOOL HostPreviewFilter::CorrectXpsPageSize(IXpsOMDocumentSequence* documentSequence, IPTSettings& settings)
{
    const XpsPageSizeCorrection correction(settings.GetMediaSizeWidth(), settings.GetMediaSizeHeight(),
                                           settings.GetOrientation(), QX_HERE);
    return correction.Apply(documentSequence) ? TRUE : FALSE;
}

void HostPreviewFilter::RunJob(IXpsOMObjectFactory*)
{
    PrimeReadStream(m_reader);
    CopyStream(m_reader, m_writer);
    m_writer->Close();
    QXLOG_INFO(L"Host Preview Filter - Finishing StartOperation_throws without launching Host Preview");
}
