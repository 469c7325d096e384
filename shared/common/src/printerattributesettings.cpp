#include "printerattributesettings.h"

#include "hrerror.h"
#include "spoolerbuffer.h"

namespace {

std::wstring Text(const wchar_t* text) { return text == nullptr ? std::wstring() : std::wstring(text); }

}  // namespace

PrinterAttributeSettings::PrinterAttributeSettings(IPipelinePropertyBagProxy& propertyBag) : m_propertyBag(&propertyBag)
{
    InitializeStructure();
}

void PrinterAttributeSettings::InitializeStructure()
{
    if (!m_printerInfoBuffer.empty()) {
        return;
    }
    const HANDLE printer = m_propertyBag->GetPrinterHandle();
    m_printerInfoBuffer = ReadSpoolerRecord([printer](BYTE* data, DWORD size, DWORD* needed) {
        return GetPrinterW(printer, 2, data, size, needed) != FALSE;
    });
    if (m_printerInfoBuffer.empty()) {
        THROW_HR(E_INVALIDARG);
    }
    m_printerInfo = reinterpret_cast<const PRINTER_INFO_2W*>(m_printerInfoBuffer.data());
}

std::wstring PrinterAttributeSettings::GetPortName() { return Text(m_printerInfo->pPortName); }

std::wstring PrinterAttributeSettings::GetDriverName() { return Text(m_printerInfo->pDriverName); }

bool PrinterAttributeSettings::IsPdfDriver() { return !m_propertyBag->HasDriverPropertyBag(); }
