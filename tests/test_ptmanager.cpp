// Reading a job's ticket out of its XPS package: the page counts published on the way, the
// settings that come back for every kind of job, and the failures that end the job.
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <objbase.h>
#include <platform/simulatedmachine.h>
#include <platform/text.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "hrerror.h"
#include "jobcontext.h"
#include "pipelinepropertybagproxy.h"
#include "ptmanager.h"
#include "testmachine.h"
#include "tickettext.h"
#include "xpsbuilder.h"

using Microsoft::WRL::ComPtr;
using platform::DriverPropertyValue;
using platform::PrinterDescription;
using testsupport::BareTicket;
using testsupport::JobContext;
using testsupport::kMediaSizeA1;
using testsupport::LogTail;
using testsupport::Ticket;

namespace {

const std::wstring kPreviewOn = testsupport::Feature(L"ns0000:JobPrintPreview", L"ns0000:ON");

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

// A job's package opened from memory as the filter opens it.
ComPtr<IXpsOMDocumentSequence> OpenSequence(const std::string& package)
{
    ComPtr<IXpsOMObjectFactory> factory;
    EXPECT_EQ(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)), S_OK);
    ComPtr<IXpsOMPackage> opened;
    EXPECT_EQ(factory->CreatePackageFromStream(testsupport::MemoryStream(package).Get(), FALSE, &opened), S_OK);
    ComPtr<IXpsOMDocumentSequence> sequence;
    EXPECT_EQ(opened->GetDocumentSequence(&sequence), S_OK);
    return sequence;
}

std::string JobWithTicket(const std::optional<std::wstring>& ticket)
{
    testsupport::XpsJobPlan plan = testsupport::XpsJobPlan::Pages(1, 3);
    if (ticket) {
        plan.jobTicket = platform::ToUtf8(*ticket);
    }
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
    PTSettings settings = Load(job, JobWithTicket(Ticket(kPreviewOn, 2)), ticketRead);
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
    Load(job, JobWithTicket(Ticket(L"", 3)), ticketRead);
    EXPECT_TRUE(ticketRead);
    EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"5");
    EXPECT_EQ(Published(job, L"XPS_FP_TOTALNUMBERPAGES"), L"i4:15");
}

TEST_F(JobTicketLoading, APrinterThatCannotBeOpenedGivesUnloadedSettingsAndPublishesNothing)
{
    PrinterDescription tooLong = Printer(true);
    tooLong.name = std::wstring(260, L'Q');  // a name that does not fit names no printer
    for (const bool named : {true, false}) {
        JobContext job(named ? Printer(true) : tooLong);
        if (named) {
            job.Bag().Set(L"PrinterName", std::wstring(L"QX Nowhere"));
        }
        bool ticketRead = true;
        PTSettings settings = Load(job, JobWithTicket(Ticket(L"")), ticketRead);
        EXPECT_FALSE(ticketRead) << named;
        ExpectNeverLoaded(settings);
        EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"(absent)") << named;
    }
}

TEST_F(JobTicketLoading, ATicketThatIsNoXmlOrMissingGivesUnloadedSettingsAfterThePageCount)
{
    for (const std::optional<std::wstring>& ticket :
         {std::optional<std::wstring>(L"not xml at all"), std::optional<std::wstring>(L"<psf:PrintTicket"),
          std::optional<std::wstring>(L""), std::optional<std::wstring>()}) {
        const std::string named = ticket ? platform::ToUtf8(*ticket) : "(no ticket)";
        JobContext job(Printer(true));
        bool ticketRead = true;
        PTSettings settings = Load(job, JobWithTicket(ticket), ticketRead);
        EXPECT_FALSE(ticketRead) << named;
        ExpectNeverLoaded(settings);
        EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"3") << named;
    }
}

TEST_F(JobTicketLoading, AJobWithoutRecordStillLoadsItsTicketButPublishesNoCount)
{
    JobContext job(Printer(false));
    job.Bag().Set(L"PrintJobId", LONG{4242});
    const LogTail log;
    bool ticketRead = false;
    PTSettings settings = Load(job, JobWithTicket(Ticket(L"", 2)), ticketRead);
    EXPECT_TRUE(ticketRead);
    EXPECT_EQ(settings.GetCopies(), 2u);
    const std::vector<std::string> sites = log.SitesOf("Job 4242 has no readable record; its page count is not published");
    ASSERT_EQ(sites.size(), 1u);
    EXPECT_EQ(sites[0].rfind("ptmanager:PTManager::GetJobTicket:", 0), 0u) << sites[0];
    EXPECT_EQ(Published(job, L"XPS_FP_NUMBERPAGES"), L"(absent)");
    EXPECT_EQ(Published(job, L"XPS_FP_TOTALNUMBERPAGES"), L"(absent)");
}

TEST_F(JobTicketLoading, ABadTicketEndsTheJob)
{
    JobContext job(Printer(true));
    bool ticketRead = true;
    // Copies absent or 0: the load's own failures pass through.
    EXPECT_EQ(ThrownBy([&] { Load(job, JobWithTicket(BareTicket(kMediaSizeA1 + kPreviewOn)), ticketRead); }),
              E_POINTER);
    EXPECT_EQ(ThrownBy([&] { Load(job, JobWithTicket(Ticket(L"", 0)), ticketRead); }), E_INVALIDARG);
    EXPECT_FALSE(ticketRead);
}

TEST_F(JobTicketLoading, TheBundledPosterJobLoadsEveryFeature)
{
    JobContext job(Printer(true));
    bool ticketRead = false;
    PTSettings settings = Load(job, testsupport::ReadFile(QX_SAMPLES_DIR "/jobs/poster-coated.xps"), ticketRead);
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
