// The job's context, as the pipeline puts it into the property bag before the first filter runs:
// the printer's name and an open handle to it, the job id, the submitting user's token, the
// progress report object and, for a version-4 driver, the driver's property bag. Built on the
// simulated machine after a machine description has been loaded.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <printerextension.h>
#include <windows.h>
#include <wrl/client.h>

#include "pipelinehost/hostoptions.h"
#include "pipelinehost/progressreport.h"

namespace pipelinehost {

class JobContext {
public:
    // The printer by name (empty: the machine's first printer) and the job by id (none: the first
    // job queued on that printer). Throws std::runtime_error naming what the machine lacks.
    JobContext(const std::string& printerName, std::optional<DWORD> jobId);
    // Closes the printer handle and the token.
    ~JobContext();
    JobContext(const JobContext&) = delete;
    JobContext& operator=(const JobContext&) = delete;

    // In the order the pipeline adds them.
    std::vector<PropertyOption> Properties() const;
    const Microsoft::WRL::ComPtr<ProgressReport>& Progress() const { return progress_; }

    // A note for the report on a bag value that is one of the context's own; empty otherwise.
    std::string Describe(const std::wstring& name, const VARIANT& value) const;
    // Label and text of each line of the report's job section.
    std::vector<std::pair<std::string, std::string>> Summary() const;

private:
    struct PrinterCloser {
        void operator()(HANDLE printer) const;
    };
    struct HandleCloser {
        void operator()(HANDLE handle) const;
    };

    std::wstring printerName_;
    std::wstring driverName_;
    DWORD driverModelVersion_ = 0;
    std::size_t driverValues_ = 0;
    DWORD jobId_ = 0;
    std::wstring document_;
    DWORD totalPages_ = 0;
    std::wstring userName_;
    std::unique_ptr<void, PrinterCloser> printer_;
    std::unique_ptr<void, HandleCloser> token_;
    Microsoft::WRL::ComPtr<ProgressReport> progress_;
    Microsoft::WRL::ComPtr<IPrinterPropertyBag> driverPropertyBag_;  // null for a legacy driver
};

}  // namespace pipelinehost
