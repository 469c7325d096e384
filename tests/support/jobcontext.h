// A printer of the simulated machine with job 7 queued on it, and a pipeline property bag that
// names both as the pipeline would: printer name and handle, job id and the version-4 driver bag.
#pragma once

#include <string>

#include <platform/simulatedmachine.h>
#include <wrl/client.h>

#include "pipelinehost/propertybag.h"

namespace testsupport {

class JobContext {
public:
    static constexpr DWORD kJobId = 7;

    // The job has three pages unless told otherwise.
    explicit JobContext(platform::PrinterDescription printer, bool offerDriverBag = true, DWORD totalPages = 3);
    ~JobContext();
    JobContext(const JobContext&) = delete;
    JobContext& operator=(const JobContext&) = delete;

    void SetHandle(const std::wstring& name, HANDLE handle);

    pipelinehost::PropertyBag& Bag() { return *bag_.Get(); }
    Microsoft::WRL::ComPtr<IPrintPipelinePropertyBag> BagInterface() { return bag_; }

private:
    Microsoft::WRL::ComPtr<pipelinehost::PropertyBag> bag_;
    HANDLE printer_ = nullptr;
};

}  // namespace testsupport
