// One job through the filter, driven as the pipeline drives it: the class object, one filter
// instance, InitializeFilter and StartOperation on the filter's own thread, ShutdownOperation from
// another thread on request, and the final release.
#pragma once

#include <optional>

#include <objbase.h>

#include "pipelinehost/filtermodule.h"
#include "pipelinehost/jobpipeline.h"

namespace pipelinehost {

// The host preview filter's class.
inline constexpr CLSID kHostPreviewFilterClsid = {0x71466C95, 0xF6AC, 0x4F67, {0x83, 0x5D, 0x2F, 0x5F, 0x66, 0xE3, 0xED, 0xE4}};

struct FilterRunResult {
    enum class Shutdown {
        NotRequested,
        Sent,
        NotNeeded,  // the filter was done before the time came
    };

    HRESULT classObject = E_UNEXPECTED;     // DllGetClassObject for IClassFactory
    HRESULT createInstance = E_UNEXPECTED;  // IClassFactory::CreateInstance for IPrintPipelineFilter
    std::optional<HRESULT> initialize;      // when it was called
    std::optional<HRESULT> start;           // when it was called
    Shutdown shutdown = Shutdown::NotRequested;
    HRESULT shutdownResult = S_OK;
    double startMilliseconds = 0;
    // The output stream's fault once the filter was released (WriteStream::WriteFault): a write or
    // a close of the output file that failed. A filter may not hear of it (bytes buffered until its
    // Close, or a failed write it ignored), so a filter that succeeded still fails the job by it.
    HRESULT output = S_OK;

    // The outcome that decides the host's exit status: StartOperation's, or the step that failed
    // before it, or, when StartOperation succeeded, the output file's fault.
    HRESULT Outcome() const;
    // The step Outcome comes from: "StartOperation", the one before it that failed, or "output file".
    const char* OutcomeStep() const;
};

FilterRunResult RunFilter(const FilterModule& module, const JobPipeline& pipeline,
                          std::optional<unsigned> shutdownAfterMs);

}  // namespace pipelinehost
