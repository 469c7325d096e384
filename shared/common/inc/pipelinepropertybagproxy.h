// Typed access to the job's pipeline property bag: the job context the pipeline hands over, the
// values the driver's filters pass on to each other, and the job's driver property bag.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <filterpipeline.h>
#include <wrl/client.h>

#include "driverpropertybagproxy.h"

class IPipelinePropertyBagProxy {
public:
    virtual ~IPipelinePropertyBagProxy() = default;

    // Publishing never fails the job: a refused value is logged.
    virtual void AddProperty(const std::wstring& name, const std::string& value) = 0;
    virtual void AddProperty(const std::wstring& name, const std::wstring& value) = 0;
    virtual void AddProperty(const std::wstring& name, std::int32_t value) = 0;
    // Replaces the value: the old one is deleted first.
    virtual void SetProperty(const std::wstring& name, const std::string& value) = 0;
    virtual void SetProperty(const std::wstring& name, const std::wstring& value) = 0;
    virtual void SetProperty(const std::wstring& name, std::int32_t value) = 0;

    // False, value untouched, when the bag has no such property.
    virtual bool GetProperty(const std::wstring& name, std::wstring& value) = 0;
    // Always true: an absent property reads as empty text.
    virtual bool GetProperty(const std::wstring& name, std::string& value) = 0;
    virtual bool GetProperty(const std::wstring& name, std::int32_t& value) = 0;

    // Borrowed; throws hr_error E_FAIL when the job's driver has no property bag.
    virtual IDriverPropertyBagProxy* GetDriverPropertyBag() = 0;
    virtual bool HasDriverPropertyBag() = 0;
    // The job context: a missing value is logged and thrown as hr_error. Handles stay the pipeline's.
    virtual HANDLE GetPrinterHandle() = 0;
    virtual Microsoft::WRL::ComPtr<IPrintPipelineProgressReport> GetPrintPipelineProgressReport() = 0;
    virtual std::wstring GetPrinterName() = 0;
};

class PipelinePropertyBagProxy : public IPipelinePropertyBagProxy {
public:
    // Finds the job's driver property bag: the version-4 bag when the pipeline offers one, else the
    // legacy file of the printer's driver, else none.
    explicit PipelinePropertyBagProxy(Microsoft::WRL::ComPtr<IPrintPipelinePropertyBag> bag);

    void AddProperty(const std::wstring& name, const std::string& value) override;
    void AddProperty(const std::wstring& name, const std::wstring& value) override;
    void AddProperty(const std::wstring& name, std::int32_t value) override;
    void SetProperty(const std::wstring& name, const std::string& value) override;
    void SetProperty(const std::wstring& name, const std::wstring& value) override;
    void SetProperty(const std::wstring& name, std::int32_t value) override;

    bool GetProperty(const std::wstring& name, std::wstring& value) override;
    bool GetProperty(const std::wstring& name, std::string& value) override;
    bool GetProperty(const std::wstring& name, std::int32_t& value) override;

    IDriverPropertyBagProxy* GetDriverPropertyBag() override;
    bool HasDriverPropertyBag() override { return m_driverPropertyBag != nullptr; }
    HANDLE GetPrinterHandle() override;
    Microsoft::WRL::ComPtr<IPrintPipelineProgressReport> GetPrintPipelineProgressReport() override;
    std::wstring GetPrinterName() override;

    DWORD GetJobID();
    HANDLE GetUserToken();
    std::wstring GetStringProperty(const std::wstring& name);

private:
    Microsoft::WRL::ComPtr<IPrintPipelinePropertyBag> m_pipelinePropertyBag;
    std::unique_ptr<IDriverPropertyBagProxy> m_driverPropertyBag;
};
