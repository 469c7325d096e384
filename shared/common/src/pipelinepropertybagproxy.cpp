#include "pipelinepropertybagproxy.h"

#include <cstddef>
#include <cstdio>
#include <new>

#include <share.h>

#include "driverutils.h"
#include "hrerror.h"
#include "legacydriverpropertybagproxy.h"
#include "raiiowners.h"
#include "textconversion.h"

using Microsoft::WRL::ComPtr;

namespace {

const wchar_t kDriverPropertyBag[] = L"DriverPropertyBag";
const wchar_t kPrinterHandle[] = L"PrinterHandle";
const wchar_t kPrintJobId[] = L"PrintJobId";
const wchar_t kUserSecurityToken[] = L"UserSecurityToken";
const wchar_t kPrinterName[] = L"PrinterName";
const wchar_t kProgressReport[] = L"ProgressReport";

// Adds one value to the bag; false when the bag refuses it. The VARIANT is cleared in every case.
bool AddToBag(IPrintPipelinePropertyBag* bag, const std::wstring& name, std::int32_t number)
{
    ScopedVariant value;
    value.Get().vt = VT_I4;
    value.Get().lVal = number;
    return SUCCEEDED(bag->AddProperty(name.c_str(), &value));
}

bool AddToBag(IPrintPipelinePropertyBag* bag, const std::wstring& name, const std::wstring& text)
{
    ScopedVariant value;
    value.Get().bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (value.Get().bstrVal == nullptr) {
        throw std::bad_alloc();
    }
    value.Get().vt = VT_BSTR;
    return SUCCEEDED(bag->AddProperty(name.c_str(), &value));
}

// The VARIANT types under which the pipeline may hand over each kind of job-context payload.
const VARTYPE kObjectTypes[] = {VT_UNKNOWN, VT_DISPATCH};
const VARTYPE kHandleTypes[] = {VT_UINT_PTR, VT_INT_PTR};
const VARTYPE kJobIdTypes[] = {VT_UI4, VT_I4, VT_UINT, VT_INT};
const VARTYPE kTextTypes[] = {VT_BSTR};

template <std::size_t N>
HRESULT CheckType(const ScopedVariant& value, const VARTYPE (&accepted)[N])
{
    for (const VARTYPE type : accepted) {
        if (value.Get().vt == type) {
            return S_OK;
        }
    }
    // Reading the payload of another type would take a number for a pointer.
    return DISP_E_TYPEMISMATCH;
}

// Reads a job-context property; a failed read or a payload of another type is logged at the
// caller's site and thrown.
template <std::size_t N>
void ReadRequired(IPrintPipelinePropertyBag* bag, const wchar_t* name, ScopedVariant& value,
                  const VARTYPE (&accepted)[N], const LogSite& site)
{
    ThrowIfFailed(bag->GetProperty(name, &value), QX_FOR(site));
    ThrowIfFailed(CheckType(value, accepted), QX_FOR(site));
}

}  // namespace

PipelinePropertyBagProxy::PipelinePropertyBagProxy(ComPtr<IPrintPipelinePropertyBag> bag)
    : m_pipelinePropertyBag(std::move(bag))
{
    ScopedVariant driverBag;
    if (SUCCEEDED(m_pipelinePropertyBag->GetProperty(kDriverPropertyBag, &driverBag))) {
        THROW_IF_FAILED(CheckType(driverBag, kObjectTypes));
        ComPtr<IPrinterPropertyBag> printerBag;
        IUnknown* stored = driverBag.Get().punkVal;
        THROW_IF_FAILED(stored == nullptr ? E_NOINTERFACE : stored->QueryInterface(IID_PPV_ARGS(&printerBag)));
        m_driverPropertyBag = std::make_unique<DriverPropertyBagProxy>(printerBag);
        return;
    }
    // No version-4 bag: a legacy driver, whose values may ship as a file among its dependent files.
    ScopedVariant printer;
    ReadRequired(m_pipelinePropertyBag.Get(), kPrinterHandle, printer, kHandleTypes, QX_HERE);
    std::wstring path;
    if (!DriverUtils::GetLDPBFile(static_cast<HANDLE>(printer.Get().byref), path)) {
        return;
    }
    FILE* probe = _wfsopen(path.c_str(), L"r", _SH_DENYNO);
    if (probe == nullptr) {
        return;
    }
    std::fclose(probe);
    m_driverPropertyBag = std::make_unique<LegacyDriverPropertyBagProxy>(path);
}

void PipelinePropertyBagProxy::AddProperty(const std::wstring& name, const std::string& value)
{
    AddProperty(name, AnsiToWide(value));
}

void PipelinePropertyBagProxy::AddProperty(const std::wstring& name, const std::wstring& value)
{
    if (!AddToBag(m_pipelinePropertyBag.Get(), name, value)) {
        QXLOG_ERROR(L"Could not add %s key with value %s", name.c_str(), value.c_str());
    }
}

void PipelinePropertyBagProxy::AddProperty(const std::wstring& name, std::int32_t value)
{
    if (!AddToBag(m_pipelinePropertyBag.Get(), name, value)) {
        QXLOG_ERROR(L"Could not add %s key with value %d", name.c_str(), value);
    }
}

void PipelinePropertyBagProxy::SetProperty(const std::wstring& name, const std::string& value)
{
    SetProperty(name, AnsiToWide(value));
}

void PipelinePropertyBagProxy::SetProperty(const std::wstring& name, const std::wstring& value)
{
    m_pipelinePropertyBag->DeleteProperty(name.c_str());
    if (!AddToBag(m_pipelinePropertyBag.Get(), name, value)) {
        QXLOG_ERROR(L"Could not add %s key with value %s when SetProperty", name.c_str(), value.c_str());
    }
}

void PipelinePropertyBagProxy::SetProperty(const std::wstring& name, std::int32_t value)
{
    m_pipelinePropertyBag->DeleteProperty(name.c_str());
    if (!AddToBag(m_pipelinePropertyBag.Get(), name, value)) {
        QXLOG_ERROR(L"Could not add %s key with value %d when SetProperty", name.c_str(), value);
    }
}

bool PipelinePropertyBagProxy::GetProperty(const std::wstring& name, std::wstring& value)
{
    ScopedVariant stored;
    if (FAILED(m_pipelinePropertyBag->GetProperty(name.c_str(), &stored))) {
        return false;
    }
    // Another type breaks the contract between the filters; the caller gets nothing from it.
    if (stored.Get().vt == VT_BSTR) {
        value.assign(stored.Get().bstrVal == nullptr ? L"" : stored.Get().bstrVal, SysStringLen(stored.Get().bstrVal));
    }
    return true;
}

bool PipelinePropertyBagProxy::GetProperty(const std::wstring& name, std::string& value)
{
    value = WideToUtf8(GetStringProperty(name));
    return true;
}

bool PipelinePropertyBagProxy::GetProperty(const std::wstring& name, std::int32_t& value)
{
    ScopedVariant stored;
    if (FAILED(m_pipelinePropertyBag->GetProperty(name.c_str(), &stored))) {
        return false;
    }
    if (stored.Get().vt == VT_I4) {
        value = stored.Get().lVal;
    }
    return true;
}

std::wstring PipelinePropertyBagProxy::GetStringProperty(const std::wstring& name)
{
    ScopedVariant stored;
    if (FAILED(m_pipelinePropertyBag->GetProperty(name.c_str(), &stored)) || stored.Get().vt != VT_BSTR ||
        stored.Get().bstrVal == nullptr) {
        return {};
    }
    return std::wstring(stored.Get().bstrVal, SysStringLen(stored.Get().bstrVal));
}

IDriverPropertyBagProxy* PipelinePropertyBagProxy::GetDriverPropertyBag()
{
    if (!m_driverPropertyBag) {
        throw hr_error{E_FAIL};
    }
    return m_driverPropertyBag.get();
}

HANDLE PipelinePropertyBagProxy::GetPrinterHandle()
{
    ScopedVariant stored;
    ReadRequired(m_pipelinePropertyBag.Get(), kPrinterHandle, stored, kHandleTypes, QX_HERE);
    return static_cast<HANDLE>(stored.Get().byref);
}

DWORD PipelinePropertyBagProxy::GetJobID()
{
    ScopedVariant stored;
    ReadRequired(m_pipelinePropertyBag.Get(), kPrintJobId, stored, kJobIdTypes, QX_HERE);
    return stored.Get().ulVal;
}

HANDLE PipelinePropertyBagProxy::GetUserToken()
{
    ScopedVariant stored;
    ReadRequired(m_pipelinePropertyBag.Get(), kUserSecurityToken, stored, kHandleTypes, QX_HERE);
    return static_cast<HANDLE>(stored.Get().byref);
}

std::wstring PipelinePropertyBagProxy::GetPrinterName()
{
    ScopedVariant stored;
    ReadRequired(m_pipelinePropertyBag.Get(), kPrinterName, stored, kTextTypes, QX_HERE);
    const BSTR name = stored.Get().bstrVal;
    return name == nullptr ? std::wstring() : std::wstring(name, SysStringLen(name));
}

ComPtr<IPrintPipelineProgressReport> PipelinePropertyBagProxy::GetPrintPipelineProgressReport()
{
    ScopedVariant stored;
    ReadRequired(m_pipelinePropertyBag.Get(), kProgressReport, stored, kObjectTypes, QX_HERE);
    ComPtr<IPrintPipelineProgressReport> report;
    IUnknown* object = stored.Get().punkVal;
    THROW_IF_FAILED(object == nullptr ? E_NOINTERFACE : object->QueryInterface(IID_PPV_ARGS(&report)));
    return report;
}
