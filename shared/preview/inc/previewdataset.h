// What the preview application learns about the job: the data block filled from the settings,
// the pipeline property bag and the driver properties, and one entry per paper source the printer
// reports. Both go into the session's channel state, which the message handlers send from. Records
// are written in the name of the session step that asked (caller).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "bidipapersource.h"
#include "morvikmanager.h"
#include "pipelinepropertybagproxy.h"
#include "previewchannelstate.h"
#include "printerdriverproperties.h"
#include "ptsettings.h"
#include "qxdrvlogger.h"

class PreviewDataSet {
public:
    using MorvikLoader = std::function<std::unique_ptr<MorvikManager>()>;

    // Characters kept of the document name and of a paper source's name; longer ones are cut.
    static constexpr std::size_t kDocumentNameCharacters = 127;
    static constexpr std::size_t kSourceNameCharacters = 254;
    // Printer names, paths and the custom media type name are refused, not cut, beyond these.
    static constexpr std::size_t kCustomMediaTypeNameLimit = 99;
    // A paper source entry's constant, as the application expects it.
    static constexpr std::uint32_t kPaperSourceConstant = 8;
    // The media type id of a source that reports no medium.
    static constexpr std::int32_t kNoMediaTypeId = -2;

    // The state must outlive the data set. The loader gives the encoding library for each fill.
    explicit PreviewDataSet(PreviewChannelState& state, MorvikLoader loadMorvik = LoadMorvikBesideModule);

    // Fills every field of the data block except the PDL id, the roll width and the prn file
    // path. Throws std::runtime_error "Morvik not loaded" without the encoding library, and the
    // standard conversion's std::invalid_argument or std::out_of_range when XPS_FP_NUMBERPAGES is
    // absent or not a decimal number (with this standard library both say just "stoi").
    void SetPrintPreviewData(PTSettings settings, PipelinePropertyBagProxy& propertyBag,
                             PrinterDriverProperties& driverProperties, const LogSite& caller);
    // Appends the printer's paper sources, asked through KORU or through bidi. Throws
    // std::invalid_argument "Printer name is blank or null" for a bag without a printer name.
    void SetPaperSourcesData(IPipelinePropertyBagProxy& propertyBag, bool useKoru, const LogSite& caller);

    // The session's own fields of the data block; a path that does not fit is logged and left out.
    void SetPrnFilePath(const std::wstring& path, const LogSite& caller);

    // Appends one entry per source, numbered on from 1 in the list's order.
    void AppendPaperSources(const BIDI_PAPERSOURCE& paperSources, const LogSite& caller);
    static PaperSourceEntry MakePaperSourceEntry(const BIDI_PAPERSOURCE_ITEM& source, std::uint32_t position,
                                                 const LogSite& caller);

private:
    void SetEncodedSettings(PTSettings& settings, const LogSite& caller);
    void SetPageCount(PipelinePropertyBagProxy& propertyBag);
    void SetNames(PTSettings& settings, PipelinePropertyBagProxy& propertyBag, const LogSite& caller);
    void SetMediaAndScaling(PTSettings& settings);
    void SetDriverFlags(PTSettings& settings, PrinterDriverProperties& driverProperties);

    PreviewChannelState& m_state;
    MorvikLoader m_loadMorvik;
};
