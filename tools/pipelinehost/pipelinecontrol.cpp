#include "pipelinehost/pipelinecontrol.h"

#include <platform/text.h>

#include "pipelinehost/hresulttext.h"

namespace pipelinehost {
namespace {

std::string DescriptionOf(IImgErrorInfo* errorInfo)
{
    BSTR description = nullptr;
    if (FAILED(errorInfo->GetDeveloperDescription(&description)) || description == nullptr) {
        return {};
    }
    std::string text = platform::ToUtf8(std::wstring_view(description, SysStringLen(description)));
    SysFreeString(description);
    return text;
}

}  // namespace

Microsoft::WRL::ComPtr<PipelineControl> PipelineControl::Create()
{
    Microsoft::WRL::ComPtr<PipelineControl> control;
    control.Attach(new PipelineControl);
    return control;
}

HRESULT PipelineControl::RequestShutdown(HRESULT reason, IImgErrorInfo* errorInfo)
{
    std::string call = "RequestShutdown(" + HresultHex(reason);
    if (errorInfo != nullptr) {
        call += ", \"" + DescriptionOf(errorInfo) + "\"";
    }
    call += ")";
    {
        std::lock_guard lock(mutex_);
        calls_.push_back(call);
        if (!shutdownReason_) {
            shutdownReason_ = reason;
        }
        ++shutdownRequests_;
    }
    if (log_) {
        const std::string name = HresultName(reason);
        log_->Record("control." + call + (name.empty() ? "" : " " + name));
    }
    return S_OK;
}

HRESULT PipelineControl::FilterFinished()
{
    {
        std::lock_guard lock(mutex_);
        calls_.push_back("FilterFinished");
        ++finished_;
    }
    if (log_) {
        log_->Record("control.FilterFinished");
    }
    return S_OK;
}

std::vector<std::string> PipelineControl::Calls() const
{
    std::lock_guard lock(mutex_);
    return calls_;
}

std::optional<HRESULT> PipelineControl::ShutdownReason() const
{
    std::lock_guard lock(mutex_);
    return shutdownReason_;
}

ULONG PipelineControl::ShutdownRequests() const
{
    std::lock_guard lock(mutex_);
    return shutdownRequests_;
}

ULONG PipelineControl::FinishedCount() const
{
    std::lock_guard lock(mutex_);
    return finished_;
}

}  // namespace pipelinehost
