#include "jobattributesettings.h"

#include "hrerror.h"
#include "spoolerbuffer.h"

JobAttributeSettings::JobAttributeSettings(PipelinePropertyBagProxy& propertyBag) : m_propertyBag(&propertyBag)
{
    InitializeStructure();
}

void JobAttributeSettings::InitializeStructure()
{
    if (!m_jobInfoBuffer.empty()) {
        return;
    }
    const DWORD jobId = m_propertyBag->GetJobID();
    const HANDLE printer = m_propertyBag->GetPrinterHandle();
    m_jobInfoBuffer = ReadSpoolerRecord([printer, jobId](BYTE* data, DWORD size, DWORD* needed) {
        return GetJobW(printer, jobId, 1, data, size, needed) != FALSE;
    });
    if (m_jobInfoBuffer.empty()) {
        THROW_HR(E_INVALIDARG);
    }
    m_jobInfo = reinterpret_cast<const JOB_INFO_1W*>(m_jobInfoBuffer.data());
}

std::wstring JobAttributeSettings::GetDocumentName()
{
    // A job without a document name has an empty one.
    std::wstring name = m_jobInfo->pDocument == nullptr ? std::wstring() : std::wstring(m_jobInfo->pDocument);
    if (name.find_first_of(L"\\/") == std::wstring::npos) {
        return name;
    }
    // A name that ends with separators is read without them, so that it keeps its last component.
    name.erase(name.find_last_not_of(L"\\/") + 1);
    for (const wchar_t separator : {L'\\', L'/'}) {
        const std::size_t last = name.rfind(separator);
        if (last != std::wstring::npos) {
            name.erase(0, last + 1);
        }
    }
    return name;
}
