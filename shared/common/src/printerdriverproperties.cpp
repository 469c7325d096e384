#include "printerdriverproperties.h"

#include "mesawidthquery.h"

namespace {

constexpr std::int32_t kMicronsPerMillimetre = 1000;

}  // namespace

PrinterDriverProperties::PrinterDriverProperties(IPipelinePropertyBagProxy& propertyBag,
                                                 IPrinterAttributeSettings& printerAttributes)
    : m_propertyBag(&propertyBag)
{
    if (printerAttributes.IsPdfDriver()) {
        SetPDL(L"PDF");
        return;
    }
    IDriverPropertyBagProxy* bag = m_propertyBag->GetDriverPropertyBag();
    std::wstring platform;
    bag->GetString(L"Platform", platform);
    SetPlatform(platform);
    std::wstring pdl;
    bag->GetString(L"PDL", pdl);
    SetPDL(pdl);
    bag->GetInt(L"ManualMarginInMicrons", &m_manualMargin);
    bag->GetInt(L"TrayMarginInMicrons", &m_trayMargin);
    bag->GetInt(L"MaxPrinterWidthInMicrons", &m_maxPrinterWidth);
    std::wstring encryptedPin;
    bag->GetString(L"EncryptedPinSupported", encryptedPin);
    SetEncryptedPinSupport(encryptedPin);
    std::wstring protocols;
    bag->GetString(L"ConnectivityProtocolsSupported", protocols);
    SetConnectivityProtocols(protocols);

    // A Mesa printer knows its own width better than the driver package does.
    if (platform == L"Mesa") {
        if (const auto width = QueryMesaMachineWidthInMillimetres(m_propertyBag->GetPrinterName())) {
            m_maxPrinterWidth = *width * kMicronsPerMillimetre;
        }
    }
}

void PrinterDriverProperties::SetPlatform(const std::wstring& text)
{
    m_platform = text == L"Quarry" ? Quarry : text == L"Mesa" ? Mesa : OtherPlatform;
}

void PrinterDriverProperties::SetPDL(const std::wstring& text)
{
    m_pdl = text == L"KESTREL" ? KESTREL : text == L"PS3" ? PS3 : OtherPdl;
}

void PrinterDriverProperties::SetEncryptedPinSupport(const std::wstring& text)
{
    m_encryptedPinSupport = text == L"oKAV" ? EncryptedPinOKAV : text == L"On" ? EncryptedPinOn : EncryptedPinNone;
}

void PrinterDriverProperties::SetConnectivityProtocols(const std::wstring& text)
{
    m_koruOnly = text.find(L"KORU") != std::wstring::npos && text.find(L',') == std::wstring::npos ? 1 : 0;
}

BOOL PrinterDriverProperties::ReadFlag(const wchar_t* key)
{
    BOOL value = FALSE;
    m_propertyBag->GetDriverPropertyBag()->GetBool(key, &value);
    return value;
}

void PrinterDriverProperties::ReadText(const wchar_t* key, std::wstring& value)
{
    m_propertyBag->GetDriverPropertyBag()->GetString(key, value);
}

void PrinterDriverProperties::GetFamilyPaperType(std::wstring& value) { ReadText(L"FamilyPaperType", value); }
void PrinterDriverProperties::GetDriverProperty(const std::wstring& key, std::wstring& value) { ReadText(key.c_str(), value); }
void PrinterDriverProperties::GetDriverVersionProperty(std::wstring& value) { ReadText(L"DriverVersion", value); }
void PrinterDriverProperties::GetSoftwareUrl(std::wstring& value) { ReadText(L"SoftwareUrl", value); }

BOOL PrinterDriverProperties::IsArssSupported() { return ReadFlag(L"IsArssSupported"); }
BOOL PrinterDriverProperties::CanDoCopies() { return ReadFlag(L"CanDoCopies"); }
BOOL PrinterDriverProperties::CanDoCollate() { return ReadFlag(L"CanDoCollate"); }
BOOL PrinterDriverProperties::CanDoReverse() { return ReadFlag(L"CanDoReverse"); }
BOOL PrinterDriverProperties::CanDoAutorotate() { return ReadFlag(L"CanDoAutorotate"); }
BOOL PrinterDriverProperties::HasBidiInformation() { return ReadFlag(L"BidiInformation"); }
BOOL PrinterDriverProperties::IsRookSupported() { return ReadFlag(L"IsRookSupported"); }
BOOL PrinterDriverProperties::CanDoCropLinesAndRBAAndAutoRotatePDF() { return ReadFlag(L"CanDoCropLinesAndRBAAndAutoRotatePDF"); }
BOOL PrinterDriverProperties::GetColorAdjustment() { return ReadFlag(L"ColorAdjustment"); }
BOOL PrinterDriverProperties::IsPureBlackAndWhiteSupported() { return ReadFlag(L"PureBlackAndWhiteSupported"); }

void ExtractQuotedValue(const std::wstring& text, const std::wstring& key, std::wstring& value)
{
    const std::size_t keyAt = text.find(key);
    if (keyAt == std::wstring::npos) {
        return;
    }
    const std::size_t colon = text.find(L':', keyAt);
    const std::size_t open = colon == std::wstring::npos ? colon : text.find(L'"', colon);
    const std::size_t close = open == std::wstring::npos ? open : text.find(L'"', open + 1);
    if (close == std::wstring::npos) {
        return;
    }
    value = text.substr(open + 1, close - open - 1);
}
