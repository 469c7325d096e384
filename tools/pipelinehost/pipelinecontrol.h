// The pipeline manager's control as a filter sees it, recording what the filter reported.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <filterpipeline.h>
#include <platform/comobject.h>
#include <wrl/client.h>

#include "pipelinehost/calllog.h"

namespace pipelinehost {

class PipelineControl : public platform::ComObject<PipelineControl, IPrintPipelineManagerControl> {
public:
    static Microsoft::WRL::ComPtr<PipelineControl> Create();

    void LogCallsTo(std::shared_ptr<CallLog> log) { log_ = std::move(log); }

    // Both always answer S_OK, as the pipeline does.
    HRESULT RequestShutdown(HRESULT reason, IImgErrorInfo* errorInfo) override;
    HRESULT FilterFinished() override;

    // "RequestShutdown(0x80004004)", "FilterFinished", in the order they came. An error-information
    // object's description is added: "RequestShutdown(0x80004005, \"text\")".
    std::vector<std::string> Calls() const;
    // The reason of the first shutdown request, if there was one.
    std::optional<HRESULT> ShutdownReason() const;
    ULONG ShutdownRequests() const;
    ULONG FinishedCount() const;

private:
    using Base = platform::ComObject<PipelineControl, IPrintPipelineManagerControl>;
    friend Base;

    PipelineControl() = default;
    ~PipelineControl() override = default;

    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    std::optional<HRESULT> shutdownReason_;
    ULONG shutdownRequests_ = 0;
    ULONG finished_ = 0;
    std::shared_ptr<CallLog> log_;
};

}  // namespace pipelinehost
