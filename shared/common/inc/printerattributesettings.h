// What the spooler knows about the job's printer.
#pragma once

#include <string>
#include <vector>

#include <windows.h>
#include <winspool.h>

#include "pipelinepropertybagproxy.h"

class IPrinterAttributeSettings {
public:
    virtual ~IPrinterAttributeSettings() = default;
    virtual std::wstring GetPortName() = 0;
    virtual std::wstring GetDriverName() = 0;
    // True when the job's driver has no driver property bag at all.
    virtual bool IsPdfDriver() = 0;
};

class PrinterAttributeSettings : public IPrinterAttributeSettings {
public:
    // Reads the printer's record once; throws hr_error when the spooler has none.
    explicit PrinterAttributeSettings(IPipelinePropertyBagProxy& propertyBag);

    std::wstring GetPortName() override;
    std::wstring GetDriverName() override;
    bool IsPdfDriver() override;

private:
    void InitializeStructure();

    IPipelinePropertyBagProxy* m_propertyBag;
    std::vector<BYTE> m_printerInfoBuffer;
    const PRINTER_INFO_2W* m_printerInfo = nullptr;
};
