#include "pipelinehost/driverreport.h"

#include <iomanip>
#include <string>

#include <platform/text.h>

#include "hrerror.h"
#include "legacydriverpropertybagproxy.h"
#include "pipelinehost/hresulttext.h"
#include "pipelinepropertybagproxy.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"

namespace pipelinehost {
namespace {

const char* PlatformName(EPlatform platform)
{
    switch (platform) {
    case Quarry:
        return "Quarry";
    case Mesa:
        return "Mesa";
    default:
        return "other";
    }
}

const char* PdlName(EPdl pdl)
{
    switch (pdl) {
    case PS3:
        return "PS3";
    case KESTREL:
        return "KESTREL";
    default:
        return "other";
    }
}

void Row(std::ostream& out, const std::string& name, const std::string& value)
{
    out << "  " << std::left << std::setw(38) << name << value << "\n";
}

std::string Flag(BOOL value) { return value ? "yes" : "no"; }

void PrintDecoded(std::ostream& out, PipelinePropertyBagProxy& proxy)
{
    PrinterAttributeSettings attributes(proxy);
    PrinterDriverProperties properties(proxy, attributes);
    out << "Driver properties of \"" << platform::ToUtf8(proxy.GetPrinterName()) << "\"\n";
    Row(out, "driver", platform::ToUtf8(attributes.GetDriverName()));
    Row(out, "port", platform::ToUtf8(attributes.GetPortName()));
    if (attributes.IsPdfDriver()) {
        Row(out, "source", "none: no driver property bag, read as a PDF driver");
        Row(out, "page description language", PdlName(properties.GetPDL()));
        return;
    }
    const bool legacy = dynamic_cast<LegacyDriverPropertyBagProxy*>(proxy.GetDriverPropertyBag()) != nullptr;
    Row(out, "source", legacy ? "legacy property bag file (.ldpb)" : "version-4 driver property bag");
    Row(out, "platform", PlatformName(properties.GetPlatform()));
    Row(out, "page description language", PdlName(properties.GetPDL()));
    Row(out, "max printer width (um)", std::to_string(properties.GetMaxPrinterWidthInMicrons()));
    Row(out, "manual margin (um)", std::to_string(properties.GetManualMarginInMicrons()));
    Row(out, "tray margin (um)", std::to_string(properties.GetTrayMarginInMicrons()));
    Row(out, "encrypted PIN supported", properties.IsEncryptedPinSupported() ? "yes" : "no");
    Row(out, "KORU only", properties.IsKoruOnly() ? "yes" : "no");
    std::wstring text;
    properties.GetFamilyPaperType(text);
    Row(out, "FamilyPaperType", platform::ToUtf8(text));
    properties.GetDriverVersionProperty(text);
    Row(out, "DriverVersion", platform::ToUtf8(text));
    properties.GetSoftwareUrl(text);
    Row(out, "SoftwareUrl", platform::ToUtf8(text));
    Row(out, "IsArssSupported", Flag(properties.IsArssSupported()));
    Row(out, "CanDoCopies", Flag(properties.CanDoCopies()));
    Row(out, "CanDoCollate", Flag(properties.CanDoCollate()));
    Row(out, "CanDoReverse", Flag(properties.CanDoReverse()));
    Row(out, "CanDoAutorotate", Flag(properties.CanDoAutorotate()));
    Row(out, "BidiInformation", Flag(properties.HasBidiInformation()));
    Row(out, "IsRookSupported", Flag(properties.IsRookSupported()));
    Row(out, "CanDoCropLinesAndRBAAndAutoRotatePDF", Flag(properties.CanDoCropLinesAndRBAAndAutoRotatePDF()));
    Row(out, "ColorAdjustment", Flag(properties.GetColorAdjustment()));
    Row(out, "PureBlackAndWhiteSupported", Flag(properties.IsPureBlackAndWhiteSupported()));
}

}  // namespace

bool PrintDriverProperties(std::ostream& out, IPrintPipelinePropertyBag* bag)
{
    try {
        PipelinePropertyBagProxy proxy(bag);
        PrintDecoded(out, proxy);
        return true;
    } catch (const hr_error& error) {
        out << "The filter cannot read this driver's properties: " << HresultDescription(error.hr) << "\n";
    } catch (const std::exception& error) {
        out << "The filter cannot read this driver's properties: " << error.what() << "\n";
    }
    return false;
}

}  // namespace pipelinehost
