// The job's print mode as the driver names it: the print-mode category of the job's medium, "-",
// and a code built from the quality and four on/off features of the ticket (C-33 for category C,
// quality Normal and max detail ON). The driver declares one property per print mode it knows.
#pragma once

#include <cstdint>
#include <string>

#include <msxml6.h>

#include "printerdriverproperties.h"

class PrintMode {
public:
    // Both are borrowed and must outlive this object.
    PrintMode(IXMLDOMDocument2* document, IPrinterDriverProperties* driverProperties);
    virtual ~PrintMode() = default;

    // Quality in the low bits, then economode, max detail, more passes and unidirectional from bit
    // 4 up. A feature left at its default of -1 sets every bit above its place, so that the key
    // names no print mode of the driver.
    std::uint32_t GetPrintModeCode();
    // The "PMCategory" that follows the medium's name (or its donor's) in the driver's
    // FamilyPaperType text; the one after "AutoSelect" when the medium is not listed. hr_error
    // when the driver lists neither, or declares no FamilyPaperType.
    std::wstring GetTypeFamilyNameBasedOnPaperType();
    std::wstring GetPrintModeKey();

private:
    IXMLDOMDocument2* m_document;
    IPrinterDriverProperties* m_driverProperties;
};

// The driver's record of one print mode.
class XpsResolution {
public:
    // Borrowed; must outlive this object.
    explicit XpsResolution(IPrinterDriverProperties* driverProperties);
    virtual ~XpsResolution() = default;

    // Throws hr_error when the driver declares no print mode of that key.
    void LoadPrintModeRecord(const std::wstring& key);

private:
    IPrinterDriverProperties* m_driverProperties;
};
