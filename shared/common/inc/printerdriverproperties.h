// What the printer's driver declares about the printer: platform, page description language,
// margins, widths and capability flags.
#pragma once

#include <cstdint>
#include <string>

#include "pipelinepropertybagproxy.h"
#include "printerattributesettings.h"

enum EPlatform : std::int32_t {
    Quarry = 0,
    OtherPlatform = 1,
    Mesa = 2,
};

enum EPdl : std::int32_t {
    PS3 = 0,
    KESTREL = 1,
    OtherPdl = 2,
};

enum EEncryptedPinSupport : std::int32_t {
    EncryptedPinNone = 0,
    EncryptedPinOn = 1,
    EncryptedPinOKAV = 2,
};

class IPrinterDriverProperties {
public:
    virtual ~IPrinterDriverProperties() = default;
    virtual EPlatform GetPlatform() = 0;
    virtual std::int32_t GetMaxPrinterWidthInMicrons() = 0;
    virtual std::int32_t GetManualMarginInMicrons() = 0;
    virtual std::int32_t GetTrayMarginInMicrons() = 0;
    virtual void GetFamilyPaperType(std::wstring& value) = 0;
    virtual void GetDriverProperty(const std::wstring& key, std::wstring& value) = 0;
    virtual void GetDriverVersionProperty(std::wstring& value) = 0;
    virtual BOOL IsArssSupported() = 0;
    virtual EPdl GetPDL() = 0;
    virtual BOOL CanDoCopies() = 0;
    virtual BOOL CanDoCollate() = 0;
    virtual BOOL CanDoReverse() = 0;
    virtual BOOL CanDoAutorotate() = 0;
    virtual BOOL HasBidiInformation() = 0;
    virtual BOOL IsRookSupported() = 0;
    virtual bool IsEncryptedPinSupported() = 0;
    virtual void SetPlatform(const std::wstring& text) = 0;
    virtual void SetPDL(const std::wstring& text) = 0;
    virtual BOOL CanDoCropLinesAndRBAAndAutoRotatePDF() = 0;
    virtual std::int32_t IsKoruOnly() = 0;
    virtual void SetConnectivityProtocols(const std::wstring& text) = 0;
};

class PrinterDriverProperties : public IPrinterDriverProperties {
public:
    // Reads the decoded values once; a job without a driver property bag is a PDF driver's job.
    // The proxy must outlive this object.
    PrinterDriverProperties(IPipelinePropertyBagProxy& propertyBag, IPrinterAttributeSettings& printerAttributes);

    EPlatform GetPlatform() override { return m_platform; }
    std::int32_t GetMaxPrinterWidthInMicrons() override { return m_maxPrinterWidth; }
    std::int32_t GetManualMarginInMicrons() override { return m_manualMargin; }
    std::int32_t GetTrayMarginInMicrons() override { return m_trayMargin; }
    void GetFamilyPaperType(std::wstring& value) override;
    void GetDriverProperty(const std::wstring& key, std::wstring& value) override;
    void GetDriverVersionProperty(std::wstring& value) override;
    BOOL IsArssSupported() override;
    EPdl GetPDL() override { return m_pdl; }
    BOOL CanDoCopies() override;
    BOOL CanDoCollate() override;
    BOOL CanDoReverse() override;
    BOOL CanDoAutorotate() override;
    BOOL HasBidiInformation() override;
    BOOL IsRookSupported() override;
    bool IsEncryptedPinSupported() override { return m_encryptedPinSupport != EncryptedPinNone; }
    void SetPlatform(const std::wstring& text) override;
    void SetPDL(const std::wstring& text) override;
    BOOL CanDoCropLinesAndRBAAndAutoRotatePDF() override;
    std::int32_t IsKoruOnly() override { return m_koruOnly; }
    void SetConnectivityProtocols(const std::wstring& text) override;

    BOOL GetColorAdjustment();
    BOOL IsPureBlackAndWhiteSupported();
    void GetSoftwareUrl(std::wstring& value);
    void SetEncryptedPinSupport(const std::wstring& text);

private:
    BOOL ReadFlag(const wchar_t* key);
    void ReadText(const wchar_t* key, std::wstring& value);

    // Nothing sets these on a PDF driver's job; they read as "other platform, no PIN, not KORU only".
    EPlatform m_platform = OtherPlatform;
    LONG m_manualMargin = 0;  // LONG, as the driver property bag reads them
    LONG m_maxPrinterWidth = 0;
    LONG m_trayMargin = 0;
    EPdl m_pdl = OtherPdl;
    EEncryptedPinSupport m_encryptedPinSupport = EncryptedPinNone;
    std::int32_t m_koruOnly = 0;
    IPipelinePropertyBagProxy* m_propertyBag;
};

// The value in double quotes after the key and a colon ("RenderRes": "600" gives 600); the value is
// left as it was when the key is absent, or when no colon and pair of quotes follow it.
void ExtractQuotedValue(const std::wstring& text, const std::wstring& key, std::wstring& value);
