#include "hostpreviewfilter.h"

#include <array>

#include "arssmanager.h"
#include "comadopt.h"
#include "hrerror.h"
#include "moduleobjectcount.h"
#include "printerattributesettings.h"
#include "printpreviewmanager.h"
#include "ptmanager.h"
#include "raiiowners.h"
#include "scopedimpersonation.h"
#include "streamhandler.h"
#include "ticketpapersourcesettings.h"
#include "xpsfpkeys.h"
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
    ThrowIfFailed(hr, QX_FOR(site));
    ComPtr<Stream> stream;
    ThrowIfFailed(object.As(&stream), QX_FOR(site));
    return stream;
}

const wchar_t* PreviewOptionText(EOnOff option)
{
    switch (static_cast<std::int32_t>(option)) {
    case 0:
        return L"off";
    case 1:
        return L"on";
    default:
        return L"not available";
    }
}

// The job's manager goes with the job, also when the job ends early: a manager left behind would
// carry its job file and paths into the next job on this thread.
class PreviewManagerRelease {
public:
    PreviewManagerRelease() = default;
    ~PreviewManagerRelease() { PrintPreviewManager::ReleaseInstance(); }
    PreviewManagerRelease(const PreviewManagerRelease&) = delete;
    PreviewManagerRelease& operator=(const PreviewManagerRelease&) = delete;
};

template <class Value>
std::int32_t AsInt32(Value value)
{
    return static_cast<std::int32_t>(value);
}

}  // namespace

HostPreviewFilter::HostPreviewFilter()
{
    QXDrvLogger::Initialize(kLogFolder);
    QXLOG_INFO(L"Host Preview Filter - Calling Constructor");
    AdoptNewObject(m_liveness, new FilterLiveness);
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
    // The job run reports in this function's name, wherever its steps are written.
    RunJob(xpsFactory.Get(), QX_HERE);
}

BOOL HostPreviewFilter::CorrectXpsPageSize(IXpsOMDocumentSequence* documentSequence, IPTSettings& settings)
{
    const XpsPageSizeCorrection correction(settings.GetMediaSizeWidth(), settings.GetMediaSizeHeight(),
                                           settings.GetOrientation(), QX_HERE);
    return correction.Apply(documentSequence) ? TRUE : FALSE;
}

void HostPreviewFilter::RunJob(IXpsOMObjectFactory* xpsFactory, const LogSite& site)
{
    PrimeReadStream(m_reader);
    PipelinePropertyBagProxy propertyBag(m_propertyBag);
    const HANDLE userToken = propertyBag.GetUserToken();
    const ScopedImpersonation asUser(userToken);

    ComPtr<IXpsOMPackage> package;
    {
        const ComPtr<IStream> memory = CopyToMemoryStream(m_reader);
        ThrowIfFailed(xpsFactory->CreatePackageFromStream(memory.Get(), TRUE, &package), QX_FOR(site));
    }
    ComPtr<IXpsOMDocumentSequence> documentSequence;
    ThrowIfFailed(package->GetDocumentSequence(&documentSequence), QX_FOR(site));
    bool ticketRead = false;
    PTSettings settings = PTManager::GetJobTicket(ticketRead, propertyBag, documentSequence.Get());

    // The paper source query and its bidi connection live with the other job objects, until the
    // job run's clean-up.
    ArssManager arss(propertyBag.GetPrinterName());
    PrinterAttributeSettings printerAttributes(propertyBag);
    PrinterDriverProperties driverProperties(propertyBag, printerAttributes);
    ApplyPaperSource(arss, settings, driverProperties, propertyBag);

    const PreviewManagerRelease release;
    PrintPreviewManager& manager = PrintPreviewManager::GetInstance();
    const EOnOff previewOption = settings.GetPrintPreview();
    LogAt(LogLevel::Info, QX_FOR(site), L"Print Preview option is %s", PreviewOptionText(previewOption));
    LogAt(LogLevel::Info, QX_FOR(site), L"Print Preview option is%s installed", manager.IsPrintPreviewInstalled() ? L"" : L" not");
    AddPrivacyProperties(settings, propertyBag);
    // Any option but off takes the preview path, an absent one too; the session itself shows the
    // application only when the option is on.
    if (AsInt32(previewOption) != 0 && manager.IsPrintPreviewInstalled()) {
        RunPreview(package.Get(), documentSequence.Get(), settings, propertyBag, userToken, site);
    } else {
        PassThrough(site);
    }
}

void HostPreviewFilter::ApplyPaperSource(ArssManager& arss, PTSettings& settings,
                                         PrinterDriverProperties& driverProperties, PipelinePropertyBagProxy& propertyBag)
{
    const TicketPaperSourceSettings paperSourceSettings(settings);
    if (!arss.CanQueryPaperSources(paperSourceSettings, driverProperties)) {
        return;
    }
    std::int32_t inputBin = AsInt32(settings.GetInputBin());
    std::int32_t rotation = AsInt32(settings.GetRotation());
    arss.SelectPaperSource(paperSourceSettings, inputBin, rotation);
    settings.SetInputBin(static_cast<EInputBin>(inputBin));
    settings.SetRotation(static_cast<ERotate>(rotation));
    propertyBag.AddProperty(XPS_FP_INPUTBIN, inputBin);
    propertyBag.AddProperty(XPS_FP_ROTATION, rotation);
}

void HostPreviewFilter::AddPrivacyProperties(PTSettings& settings, PipelinePropertyBagProxy& propertyBag)
{
    std::array<wchar_t, Settings::kPinCharacters> pin{};
    settings.GetPin(pin.data(), pin.size());
    propertyBag.AddProperty(XPS_FP_PIN, std::wstring(pin.data()));
    propertyBag.AddProperty(XPS_FP_PRIVACYLEVEL, AsInt32(settings.GetPrivacyLevel()));
}

void HostPreviewFilter::RunPreview(IXpsOMPackage* package, IXpsOMDocumentSequence* documentSequence,
                                   PTSettings& settings, PipelinePropertyBagProxy& propertyBag, HANDLE userToken,
                                   const LogSite& site)
{
    PrintPreviewManager& manager = PrintPreviewManager::GetInstance();
    if (CorrectXpsPageSize(documentSequence, settings)) {
        // The preview shows the enlarged pages; the job itself still prints its own bytes.
        manager.CreatePrnTempFile(package, userToken);
    } else {
        ThrowIfFailed(m_reader->Seek(0, STREAM_SEEK_SET, nullptr), QX_FOR(site));
        manager.CreatePrnTempFile(m_reader.Get(), userToken);
    }
    const bool accepted = manager.StartPrintPreview(settings, propertyBag);
    PrintPreviewManager::ReleaseInstance();
    if (!accepted) {
        m_writer->Close();
        ThrowHr(E_ABORT, QX_FOR(site));
    }
    PublishAcceptedPreview(settings, propertyBag);
    CopyStream(m_reader, m_writer);
    m_writer->Close();
    LogAt(LogLevel::Info, QX_FOR(site), L"Host Preview Filter - Finishing StartOperation_throws");
}

void HostPreviewFilter::PublishAcceptedPreview(PTSettings& settings, PipelinePropertyBagProxy& propertyBag)
{
    propertyBag.SetProperty(XPS_FP_ROTATION, AsInt32(settings.GetRotation()));
    propertyBag.AddProperty(XPS_FP_OUTPUTCOLOR, AsInt32(settings.GetOutputColor()));
    propertyBag.SetProperty(XPS_FP_INPUTBIN, AsInt32(settings.GetInputBin()));
    propertyBag.AddProperty(XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW, settings.GetSettingsChangedInPrintPreview());
    const std::uint32_t mode = settings.GetScalingMode();
    if (mode != Scaling::FitToPaper && mode != Scaling::ScaleByPercentage && mode != Scaling::FitToRollWidth) {
        return;
    }
    const Scaling scaling = settings.GetScaling();
    propertyBag.AddProperty(XPS_FP_SCALINGMODE, AsInt32(scaling.mode));
    propertyBag.AddProperty(XPS_FP_FITTOPAPERMEDIASIZEWIDTH, AsInt32(scaling.paperWidth));
    propertyBag.AddProperty(XPS_FP_FITTOPAPERMEDIASIZEHEIGHT, AsInt32(scaling.paperHeight));
    propertyBag.AddProperty(XPS_FP_FITTOPAPER, AsInt32(scaling.paperSize));
    propertyBag.AddProperty(XPS_FP_SCALINGPERCENTAGE, AsInt32(scaling.percentage));
}

void HostPreviewFilter::PassThrough(const LogSite& site)
{
    CopyStream(m_reader, m_writer);
    m_writer->Close();
    PrintPreviewManager::ReleaseInstance();
    LogAt(LogLevel::Info, QX_FOR(site), L"Host Preview Filter - Finishing StartOperation_throws without launching Host Preview");
}
