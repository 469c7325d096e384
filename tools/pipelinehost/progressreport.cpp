#include "pipelinehost/progressreport.h"

#include <cstdio>
#include <string>

#include "pipelinehost/hresulttext.h"

namespace pipelinehost {
namespace {

std::string UpdateName(EXpsJobConsumption update)
{
    switch (update) {
    case XpsJob_DocumentSequenceAdded: return "XpsJob_DocumentSequenceAdded";
    case XpsJob_FixedDocumentAdded: return "XpsJob_FixedDocumentAdded";
    case XpsJob_FixedPageAdded: return "XpsJob_FixedPageAdded";
    }
    char text[16];
    std::snprintf(text, sizeof text, "%u", static_cast<unsigned>(update));
    return text;
}

}  // namespace

Microsoft::WRL::ComPtr<ProgressReport> ProgressReport::Create()
{
    Microsoft::WRL::ComPtr<ProgressReport> report;
    report.Attach(new ProgressReport);
    return report;
}

HRESULT ProgressReport::ReportProgress(EXpsJobConsumption update)
{
    const bool known = update == XpsJob_DocumentSequenceAdded || update == XpsJob_FixedDocumentAdded ||
                       update == XpsJob_FixedPageAdded;
    const HRESULT hr = known ? S_OK : E_INVALIDARG;
    if (known) {
        std::lock_guard lock(mutex_);
        reports_.push_back(update);
    }
    if (log_) {
        log_->Record("progress.ReportProgress(" + UpdateName(update) + ") -> " + HresultShort(hr));
    }
    return hr;
}

std::vector<EXpsJobConsumption> ProgressReport::Reports() const
{
    std::lock_guard lock(mutex_);
    return reports_;
}

}  // namespace pipelinehost
