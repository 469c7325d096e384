// The print pipeline filter: one object per print job.
#pragma once

#include <filterpipeline.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "arssmanager.h"
#include "filterliveness.h"
#include "pipelinepropertybagproxy.h"
#include "printerdriverproperties.h"
#include "ptsettings.h"
#include "unknownbase.h"

class HostPreviewFilter : public UnknownBase<IPrintPipelineFilter> {
public:
    HostPreviewFilter();

    HRESULT InitializeFilter(IInterFilterCommunicator* negotiation, IPrintPipelinePropertyBag* propertyBag,
                             IPrintPipelineManagerControl* pipelineControl) override;
    HRESULT ShutdownOperation() override;
    HRESULT StartOperation() override;

    // The cancellation callback handed to rasterizers; it reports cancellation after ShutdownOperation.
    IXpsRasterizerNotificationCallback* Liveness() const { return m_liveness.Get(); }

    // For the preview only: enlarges the pages to media longer or wider than 3276.7 mm. TRUE when a
    // page changed; throws hr_error when an XPS call fails.
    static BOOL CorrectXpsPageSize(IXpsOMDocumentSequence* documentSequence, IPTSettings& settings);

private:
    ~HostPreviewFilter() override;

    void InitializeFilter_throws(IInterFilterCommunicator* negotiation, IPrintPipelinePropertyBag* propertyBag,
                                 IPrintPipelineManagerControl* pipelineControl);
    void StartOperation_throws();
    // Everything done with one job between the frame's set-up and its clean-up; its log lines and
    // failures are reported at the site given.
    void RunJob(IXpsOMObjectFactory* xpsFactory, const LogSite& site);
    // Lets the printer's loaded paper sources choose input bin and rotation when the ticket leaves
    // them to the printer, and publishes the choice.
    static void ApplyPaperSource(ArssManager& arss, PTSettings& settings, PrinterDriverProperties& driverProperties,
                                 PipelinePropertyBagProxy& propertyBag);
    static void AddPrivacyProperties(PTSettings& settings, PipelinePropertyBagProxy& propertyBag);
    void RunPreview(IXpsOMPackage* package, IXpsOMDocumentSequence* documentSequence, PTSettings& settings,
                    PipelinePropertyBagProxy& propertyBag, HANDLE userToken, const LogSite& site);
    static void PublishAcceptedPreview(PTSettings& settings, PipelinePropertyBagProxy& propertyBag);
    void PassThrough(const LogSite& site);

    Microsoft::WRL::ComPtr<IPrintReadStream> m_reader;
    Microsoft::WRL::ComPtr<IPrintWriteStream> m_writer;
    Microsoft::WRL::ComPtr<IPrintPipelineManagerControl> m_pipelineControl;
    Microsoft::WRL::ComPtr<IPrintPipelinePropertyBag> m_propertyBag;
    Microsoft::WRL::ComPtr<FilterLiveness> m_liveness;
};
