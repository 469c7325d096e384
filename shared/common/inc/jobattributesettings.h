// What the spooler knows about the job.
#pragma once

#include <string>
#include <vector>

#include <windows.h>
#include <winspool.h>

#include "pipelinepropertybagproxy.h"

class JobAttributeSettings {
public:
    // Reads the job's record once; throws hr_error when the spooler has none.
    explicit JobAttributeSettings(PipelinePropertyBagProxy& propertyBag);
    virtual ~JobAttributeSettings() = default;

    // The document name reduced to its last path or address component.
    std::wstring GetDocumentName();

private:
    void InitializeStructure();

    std::vector<BYTE> m_jobInfoBuffer;
    const JOB_INFO_1W* m_jobInfo = nullptr;
    PipelinePropertyBagProxy* m_propertyBag;
};
