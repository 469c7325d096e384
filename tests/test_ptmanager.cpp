// Reading a job's ticket out of its XPS package: the page counts published on the way, the
// settings that come back for every kind of job, and the failures that end the job.
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <objbase.h>
#include <platform/simulatedmachine.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "hrerror.h"
#include "jobcontext.h"
#include "pipelinepropertybagproxy.h"
#include "ptmanager.h"
#include "testmachine.h"
#include "xpsbuilder.h"

using Microsoft::WRL::ComPtr;
using platform::DriverPropertyValue;
using platform::PrinterDescription;
using testsupport::JobContext;
using testsupport::LogTail;

namespace {

const char kTicketHead[] =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<psf:PrintTicket xmlns:psf="http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework"
    xmlns:psk="http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords"
    xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema"
    xmlns:ns0000="http://schemas.qx.com/lfp/ptpc/2006/1" version="1">
)";

std::string Copies(int copies)
{
    return R"(  <psf:ParameterInit name="psk:JobCopiesAllDocuments"><psf:Value xsi:type="xsd:integer">)" +
           std::to_string(copies) + "</psf:Value></psf:ParameterInit>\n";
}

const char kPreviewOn[] =
    R"(  <psf:Feature name="ns0000:JobPrintPreview"><psf:Option name="ns0000:ON"/></psf:Feature>
)";

// Every ticket the driver writes names a media size; without one the settings load fails.
const char kMediaSize[] =
    R"(  <psf:Feature name="psk:PageMediaSize"><psf:Option name="psk:ISOA4">
    <psf:ScoredProperty name="psk:MediaSizeWidth"><psf:Value xsi:type="xsd:integer">210000</psf:Value></psf:ScoredProperty>
    <psf:ScoredProperty name="psk:MediaSizeHeight"><psf:Value xsi:type="xsd:integer">297000</psf:Value></psf:ScoredProperty>
  </psf:Option></psf:Feature>
)";

std::string Ticket(const std::string& body) { return kTicketHead + (kMediaSize + body) + "</psf:PrintTicket>\n"; }

PrinterDescription Printer(bool canDoCopies)
{
    PrinterDescription printer;
    printer.name = L"QX Ticket 44";
    printer.port = L"IP_10.0.0.44";
    printer.driverName = L"QX Mesa 44 Class Driver";
    printer.driverPropertyBag = std::map<std::wstring, DriverPropertyValue>{
        {L"Platform", std::wstring(L"Quarry")},
        {L"PDL", std::wstring(L"KESTREL")},
        {L"EncryptedPinSupported", std::wstring(L"Off")},
        {L"ConnectivityProtocolsSupported", std::wstring(L"KORU,oKAV")},
        {L"FamilyPaperType", std::wstring(L"\"AutoSelect\": {\"PMCategory\": \"Bond\"}")},
        {L"CanDoCopies", canDoCopies},
    };
    return printer;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

// A job's package opened from memory as the filter opens it.
ComPtr<IXpsOMDocumentSequence> OpenSequence(const std::string& package)
{
    HGLOBAL memory = ::GlobalAlloc(GMEM_MOVEABLE, package.size());
    std::copy(package.begin(), package.end(), static_cast<char*>(::GlobalLock(memory)));
    ::GlobalUnlock(memory);
    ComPtr<IStream> stream;
    EXPECT_EQ(CreateStreamOnHGlobal(memory, TRUE, &stream), S_OK);
    ComPtr<IXpsOMObjectFactory> factory;
    EXPECT_EQ(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)), S_OK);
    ComPtr<IXpsOMPackage> opened;
    EXPECT_EQ(factory->CreatePackageFromStream(stream.Get(), FALSE, &opened), S_OK);
    ComPtr<IXpsOMDocumentSequence> sequence;
    EXPECT_EQ(opened->GetDocumentSequence(&sequence), S_OK);
    return sequence;
}

std::string JobWithTicket(const std::optional<std::string>& ticket)
{
    testsupport::XpsJobPlan plan = testsupport::XpsJobPlan::Pages(1, 3);
    plan.jobTicket = ticket;
    return testsupport::BuildXps(plan);
}

HRESULT ThrownBy(const std::function<void()>& action)
{
    try {
        action();
    } catch (const hr_error& error) {
        return error.hr;
    }
    return S_OK;
}

class JobTicketLoading : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
    }
    void TearDown() override { CoUninitialize(); }

    // The published value as the next filter reads it; empty when absent.
    static std::wstring Published(JobContext& job, const wchar_t* key)
    {
        const auto value = job.Bag().Get(key);
        if (!value) {
            return L"(absent)";
        }
        const VARIANT& v = value->Get();
        return v.vt == VT_BSTR ? std::wstring(v.bstrVal) : v.vt == VT_I4 ? L"i4:" + std::to_wstring(v.lVal) : L"?";
    }

    static PTSettings Load(JobContext& job, const std::string& package, bool& ticketRead)
    {
        PipelinePropertyBagProxy proxy(job.BagInterface());
        const ComPtr<IXpsOMDocumentSequence> sequence = OpenSequence(package);
        return PTManager::GetJobTicket(ticketRead, proxy, sequence.Get());
    }
};

void ExpectNeverLoaded(PTSettings& settings)
{
    EXPECT_EQ(settings.GetPrintPreview(), EOnOff::NotSpecified);
    EXPECT_EQ(settings.GetInputBin(), EInputBin::NotSpecified);
    EXPECT_EQ(settings.GetCopies(), 0u);
    EXPECT_EQ(settings.GetResolution(), 0u);
}

TEST_F(JobTicketLoading, ReadsTheTicketAndPublishesThePageCount)
{
    JobContext job(Printer(true));
    bool ticketRead = false;
    PTSettings settings = Load(job, JobWithTicket(Ticket(Copies(2) + kPreviewOn)), ticketRead);
    EXPECT_TRUE(ticketRead);
    EXPECT_EQ(settings.GetCopies(), 2u);
    EXPECT_EQ(settings.GetPrintPreview(), EOnOff::ON);
    EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"3");
    // A printer that makes copies itself is sent each page once.
    EXPECT_EQ(Published(job, L"XPS_FP_TOTALNUMBERPAGES"), L"(absent)");
}

TEST_F(JobTicketLoading, APrinterWithoutCopiesGetsEveryCopysPagesCounted)
{
    JobContext job(Printer(false), true, 5);
    bool ticketRead = false;
    Load(job, JobWithTicket(Ticket(Copies(3))), ticketRead);
    EXPECT_TRUE(ticketRead);
    EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"5");
    EXPECT_EQ(Published(job, L"XPS_FP_TOTALNUMBERPAGES"), L"i4:15");
}

TEST_F(JobTicketLoading, APrinterThatCannotBeOpenedGivesUnloadedSettingsAndPublishesNothing)
{
    JobContext job(Printer(true));
    job.Bag().Set(L"PrinterName", std::wstring(L"QX Nowhere"));
    bool ticketRead = true;
    PTSettings settings = Load(job, JobWithTicket(Ticket(Copies(1))), ticketRead);
    EXPECT_FALSE(ticketRead);
    ExpectNeverLoaded(settings);
    EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"(absent)");
}

TEST_F(JobTicketLoading, APrinterNameThatDoesNotFitNamesNoPrinter)
{
    PrinterDescription printer = Printer(true);
    printer.name = std::wstring(260, L'Q');
    JobContext job(printer);
    bool ticketRead = true;
    PTSettings settings = Load(job, JobWithTicket(Ticket(Copies(1))), ticketRead);
    EXPECT_FALSE(ticketRead);
    ExpectNeverLoaded(settings);
}

TEST_F(JobTicketLoading, ATicketThatIsNoXmlGivesUnloadedSettingsAfterThePageCount)
{
    for (const std::string& ticket : {std::string("not xml at all"), std::string("<psf:PrintTicket"), std::string()}) {
        JobContext job(Printer(true));
        bool ticketRead = true;
        PTSettings settings = Load(job, JobWithTicket(ticket), ticketRead);
        EXPECT_FALSE(ticketRead) << ticket;
        ExpectNeverLoaded(settings);
        EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"3") << ticket;
    }
}

TEST_F(JobTicketLoading, AJobWithoutRecordStillLoadsItsTicketButPublishesNoCount)
{
    JobContext job(Printer(false));
    job.Bag().Set(L"PrintJobId", LONG{4242});
    const LogTail log;
    bool ticketRead = false;
    PTSettings settings = Load(job, JobWithTicket(Ticket(Copies(2))), ticketRead);
    EXPECT_TRUE(ticketRead);
    EXPECT_EQ(settings.GetCopies(), 2u);
    EXPECT_TRUE(log.WaitFor(L"Job 4242 has no readable record; its page count is not published"));
    EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"(absent)");
    EXPECT_EQ(Published(job, L"XPS_FP_TOTALNUMBERPAGES"), L"(absent)");
}

TEST_F(JobTicketLoading, ASequenceWithoutTicketAndABadTicketEndTheJob)
{
    JobContext job(Printer(true));
    bool ticketRead = true;
    const LogTail log;
    EXPECT_EQ(ThrownBy([&] { Load(job, JobWithTicket(std::nullopt), ticketRead); }), E_POINTER);
    EXPECT_TRUE(log.WaitFor(L"[ptmanager:"));
    EXPECT_FALSE(ticketRead);
    // Copies absent or 0: the load's own failures pass through.
    EXPECT_EQ(ThrownBy([&] { Load(job, JobWithTicket(Ticket(kPreviewOn)), ticketRead); }), E_POINTER);
    EXPECT_EQ(ThrownBy([&] { Load(job, JobWithTicket(Ticket(Copies(0))), ticketRead); }), E_INVALIDARG);
    EXPECT_FALSE(ticketRead);
}

TEST_F(JobTicketLoading, TheBundledPosterJobLoadsEveryFeature)
{
    JobContext job(Printer(true));
    bool ticketRead = false;
    PTSettings settings = Load(job, ReadFile(QX_SAMPLES_DIR "/jobs/poster-coated.xps"), ticketRead);
    ASSERT_TRUE(ticketRead);
    EXPECT_EQ(settings.GetCopies(), 2u);
    EXPECT_EQ(settings.GetInputBin(), EInputBin::Roll1);
    EXPECT_EQ(settings.GetMediaType(), EMediaType::CoatedPaper);
    EXPECT_EQ(settings.GetMediaSize(), EMediaSize::ISOA1);
    EXPECT_EQ(settings.GetMediaSizeWidth(), 594000u);
    EXPECT_EQ(settings.GetMediaSizeHeight(), 841000u);
    EXPECT_EQ(settings.GetOrientation(), EOrientation::Landscape);
    EXPECT_EQ(settings.GetRotation(), ERotate::Rotate0);
    EXPECT_EQ(settings.GetPrintPreview(), EOnOff::OFF);
    EXPECT_EQ(settings.GetScalingMode(), 2u);
    EXPECT_EQ(settings.GetResolution(), 600u);
}

}  // namespace
