#include "filterjob.h"

#include "textconversion.h"
#include "tickettext.h"
#include "xpsbuilder.h"

namespace testsupport {

platform::PrinterDescription FilterPrinter(const std::wstring& name)
{
    platform::PrinterDescription printer;
    printer.name = name;
    printer.port = L"USB001";
    printer.driverName = L"QX LFP Class Driver";
    printer.driverFileVersion = 0x0003000000070001ULL;
    printer.driverPropertyBag = std::map<std::wstring, platform::DriverPropertyValue>{
        {L"Platform", std::wstring(L"Mesa")},
        {L"PDL", std::wstring(L"PS3")},
        {L"MaxPrinterWidthInMicrons", LONG{1117600}},
        {L"EncryptedPinSupported", std::wstring(L"None")},
        {L"ConnectivityProtocolsSupported", std::wstring(L"USB")},
        {L"SoftwareUrl", std::wstring(L"https://example.com/qx/software")},
        {L"IsArssSupported", false},
        {L"BidiInformation", false},
        {L"ColorAdjustment", false},
        {L"PureBlackAndWhiteSupported", false},
        {L"CanDoCropLinesAndRBAAndAutoRotatePDF", false},
    };
    return printer;
}

std::vector<BYTE> XpsJobBytes(const std::wstring& ticketFeatures)
{
    XpsJobPlan plan = XpsJobPlan::Pages(1, 2);
    plan.jobTicket = WideToUtf8(Ticket(ticketFeatures));
    const std::string bytes = BuildXps(plan);
    return std::vector<BYTE>(bytes.begin(), bytes.end());
}

}  // namespace testsupport
