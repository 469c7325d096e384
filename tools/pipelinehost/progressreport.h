// The pipeline's progress report object, as a filter receives it in the property bag
// ("ProgressReport"), recording what the filter reports.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include <filterpipeline.h>
#include <platform/comobject.h>
#include <wrl/client.h>

#include "pipelinehost/calllog.h"

namespace pipelinehost {

class ProgressReport : public platform::ComObject<ProgressReport, IPrintPipelineProgressReport> {
public:
    static Microsoft::WRL::ComPtr<ProgressReport> Create();

    void LogCallsTo(std::shared_ptr<CallLog> log) { log_ = std::move(log); }

    // S_OK for the three kinds of progress, E_INVALIDARG for anything else; every call is recorded.
    HRESULT ReportProgress(EXpsJobConsumption update) override;

    // The accepted reports, in order.
    std::vector<EXpsJobConsumption> Reports() const;

private:
    using Base = platform::ComObject<ProgressReport, IPrintPipelineProgressReport>;
    friend Base;

    ProgressReport() = default;
    ~ProgressReport() override = default;

    mutable std::mutex mutex_;
    std::vector<EXpsJobConsumption> reports_;
    std::shared_ptr<CallLog> log_;
};

}  // namespace pipelinehost
