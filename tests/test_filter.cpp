// The filter object driven as the pipeline drives it: initialisation checks, the job frame, the
// entry-point rule and the report to the pipeline, and the job run on a simulated printer with the
// real preview application: every outcome, the values published for the filters that follow, and
// overlapping jobs of different users.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <new>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include <platform/simulatedmachine.h>
#include <xpsobjectmodel.h>
#include <platform/systemapi.h>
#include <wrl/client.h>

#include "hostpreviewfilter.h"
#include "hrerror.h"
#include "pipelinehost/interfiltercommunicator.h"
#include "pipelinehost/pipelinecontrol.h"
#include "pipelinehost/propertybag.h"
#include "pipelinehost/readstream.h"
#include "pipelinehost/writestream.h"
#include "filterjob.h"
#include "jobcontext.h"
#include "previewinstall.h"
#include "testmachine.h"
#include "textconversion.h"
#include "tickettext.h"
#include "xpsbuilder.h"
#include "xpsfpkeys.h"

using Microsoft::WRL::ComPtr;
using namespace pipelinehost;
using platform::DriverPropertyValue;
using platform::SimulatedMachine;
using testsupport::LogTail;
using testsupport::Option;

namespace {

using testsupport::FilterPrinter;

// An XPS job of two letter pages whose job ticket carries the given features.
std::vector<BYTE> Job(const std::wstring& ticketFeatures = L"") { return testsupport::XpsJobBytes(ticketFeatures); }

// A printer with the user's job queued on it, and the job's context in the pipeline's bag.
class PrintJob {
public:
    explicit PrintJob(const std::wstring& user = L"ana", platform::PrinterDescription printer = FilterPrinter())
        : context_(std::move(printer)), token_(SimulatedMachine::TokenFor(user))
    {
        context_.SetHandle(L"UserSecurityToken", token_);
    }
    ~PrintJob() { CloseHandle(token_); }
    ComPtr<PropertyBag> Bag() { return ComPtr<PropertyBag>(&context_.Bag()); }

    PrintJob(const PrintJob&) = delete;
    PrintJob& operator=(const PrintJob&) = delete;

private:
    testsupport::JobContext context_;
    HANDLE token_;
};

// One filter with the pipeline's objects around it.
struct Pipeline {
    explicit Pipeline(ComPtr<ReadStream> input = ReadStream::FromBytes(Job()),
                      ComPtr<PropertyBag> jobBag = PropertyBag::Create())
        : reader(std::move(input)),
          writer(WriteStream::ToMemory()),
          bag(std::move(jobBag)),
          control(PipelineControl::Create()),
          communicator(InterFilterCommunicator::Create(reader.Get(), writer.Get()))
    {
        filter.Attach(new HostPreviewFilter);
    }

    HRESULT Initialize() { return filter->InitializeFilter(communicator.Get(), bag.Get(), control.Get()); }

    // The pipeline runs a job on a thread of its own, outside any apartment.
    HRESULT Start()
    {
        HRESULT hr = E_UNEXPECTED;
        std::thread([&] { hr = filter->StartOperation(); }).join();
        return hr;
    }

    // Starts the job on its own thread and returns once the job waits for its input.
    std::thread StartWhenInputArrives(HRESULT& hr)
    {
        std::thread job([this, &hr] { hr = filter->StartOperation(); });
        while (reader->Waiting() == 0) {
            std::this_thread::yield();
        }
        return job;
    }

    ComPtr<ReadStream> reader;
    ComPtr<WriteStream> writer;
    ComPtr<PropertyBag> bag;
    ComPtr<PipelineControl> control;
    ComPtr<InterFilterCommunicator> communicator;
    ComPtr<HostPreviewFilter> filter;
};

TEST(InitializeFilter, RefusesNullArgumentsBeforeDoingAnything)
{
    Pipeline pipeline;
    const LogTail log;
    EXPECT_EQ(pipeline.filter->InitializeFilter(nullptr, pipeline.bag.Get(), pipeline.control.Get()), E_POINTER);
    EXPECT_EQ(pipeline.filter->InitializeFilter(pipeline.communicator.Get(), nullptr, pipeline.control.Get()), E_POINTER);
    EXPECT_EQ(pipeline.filter->InitializeFilter(pipeline.communicator.Get(), pipeline.bag.Get(), nullptr), E_POINTER);
    const std::string logged = log.Settled();
    EXPECT_NE(logged.find("Host Preview Filter - Starting InitializeFilter"), std::string::npos);
    EXPECT_EQ(logged.find("Host Preview Filter - Finishing InitializeFilter"), std::string::npos);
    EXPECT_EQ(logged.find("Starting InitializeFilter_throws"), std::string::npos);
}

TEST(InitializeFilter, ChecksThatTheStreamsAreThePipelinesStreams)
{
    const struct {
        const char* what;
        std::function<void(Pipeline&)> arrange;
        HRESULT expected;
    } cases[] = {
        {"reader is a writer", [](Pipeline& p) { p.communicator = InterFilterCommunicator::Create(p.writer.Get(), p.writer.Get()); }, E_NOINTERFACE},
        {"writer is a reader", [](Pipeline& p) { p.communicator = InterFilterCommunicator::Create(p.reader.Get(), p.reader.Get()); }, E_NOINTERFACE},
        {"reader request fails", [](Pipeline& p) { p.communicator->FailReaderRequestWith(E_ACCESSDENIED); }, E_ACCESSDENIED},
        {"writer request fails", [](Pipeline& p) { p.communicator->FailWriterRequestWith(E_OUTOFMEMORY); }, E_OUTOFMEMORY},
        {"no reader", [](Pipeline& p) { p.communicator->HandOutNullReader(); }, E_POINTER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Pipeline pipeline;
        c.arrange(pipeline);
        const LogTail log;
        EXPECT_EQ(pipeline.Initialize(), c.expected);
        const std::wstring code = std::to_wstring(c.expected);
        EXPECT_TRUE(log.WaitFor(L"[ERR] [hostpreviewfilter:HostPreviewFilter::InitializeFilter_throws:"));
        EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult " + code));
        EXPECT_TRUE(log.WaitFor(L"[ERR] [hostpreviewfilter:HostPreviewFilter::InitializeFilter:"));
        EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult: " + code));
        EXPECT_TRUE(log.WaitFor(L"Host Preview Filter - Finishing InitializeFilter"));

        EXPECT_EQ(pipeline.Start(), E_UNEXPECTED) << "a filter that was not initialised runs no job";
        EXPECT_TRUE(pipeline.control->Calls().empty()) << "it knows no pipeline control to report to";
    }
}

// A machine with three users whose preview applications decide differently, and the build's
// preview application installed. The users' own environments script the application, so jobs of
// different users in one process can end differently.
class JobRun : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        platform::UserDescription ana{L"ana", {{L"QXPREVIEW_MODE", L"accept"}}};
        platform::UserDescription ben{L"ben", {{L"QXPREVIEW_MODE", L"cancel"}}};
        platform::UserDescription cy{L"cy", {{L"QXPREVIEW_MODE", L"change"}, {L"QXPREVIEW_INPUT_BIN", L"2"},
                                             {L"QXPREVIEW_SCALING_MODE", L"1"}, {L"QXPREVIEW_SCALING_PERCENTAGE", L"50"}}};
        SimulatedMachine::Replace({L"", {ana, ben, cy}, {}, {}, {}});
        testsupport::InstallPreviewApplication(QX_PREVIEWAPP_PATH);
        for (const char* name : {"QXPREVIEW_MODE", "QXPREVIEW_INPUT_BIN", "QXPREVIEW_SCALING_MODE",
                                 "QXPREVIEW_SCALING_PERCENTAGE", "QXPREVIEW_REPORT"}) {
            ::unsetenv(name);
        }
    }

    static std::optional<LONG> Published(PropertyBag& bag, const std::wstring& name)
    {
        const auto value = bag.Get(name);
        if (!value || value->Get().vt != VT_I4) {
            return std::nullopt;
        }
        return value->Get().lVal;
    }
};

const std::wstring kPreviewOn = Option(L"ns0000:JobPrintPreview", L"ON");
const std::wstring kPreviewOff = Option(L"ns0000:JobPrintPreview", L"OFF");
const std::vector<std::wstring> kAcceptedPreviewKeys = {
    XPS_FP_ROTATION, XPS_FP_OUTPUTCOLOR, XPS_FP_INPUTBIN, XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW};
const std::vector<std::wstring> kScalingKeys = {XPS_FP_SCALINGMODE, XPS_FP_FITTOPAPERMEDIASIZEWIDTH,
                                                XPS_FP_FITTOPAPERMEDIASIZEHEIGHT, XPS_FP_FITTOPAPER,
                                                XPS_FP_SCALINGPERCENTAGE};

TEST_F(JobRun, WithThePreviewOffTheJobPassesThroughByteForByte)
{
    PrintJob job;
    const std::vector<BYTE> input = Job(kPreviewOff);
    Pipeline pipeline(ReadStream::FromBytes(input), job.Bag());
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    const LogTail log;
    EXPECT_EQ(pipeline.Start(), S_OK);
    EXPECT_EQ(pipeline.writer->Bytes(), input);
    EXPECT_TRUE(pipeline.writer->Closed());
    EXPECT_EQ(pipeline.control->Calls(), std::vector<std::string>{"FilterFinished"});
    EXPECT_TRUE(log.WaitFor(L"Print Preview option is off"));
    EXPECT_TRUE(log.WaitFor(L"Print Preview option is installed"));
    EXPECT_TRUE(log.WaitFor(L"Host Preview Filter - Finishing StartOperation_throws without launching Host Preview"));
    EXPECT_EQ(pipeline.bag->Get(XPS_FP_PIN)->Get().vt, VT_BSTR);
    EXPECT_TRUE(Published(*pipeline.bag.Get(), XPS_FP_PRIVACYLEVEL));
    for (const auto& key : kAcceptedPreviewKeys) {
        EXPECT_FALSE(pipeline.bag->Get(key)) << WideToUtf8(key);
    }
}

TEST_F(JobRun, AnAcceptedPreviewPrintsTheInputAndPublishesTheUsersChoices)
{
    PrintJob job(L"cy");
    const std::vector<BYTE> input = Job(kPreviewOn + Option(L"psk:JobInputBin", L"Roll1"));
    Pipeline pipeline(ReadStream::FromBytes(input), job.Bag());
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    const LogTail log;
    EXPECT_EQ(pipeline.Start(), S_OK);
    EXPECT_EQ(pipeline.writer->Bytes(), input);
    EXPECT_TRUE(pipeline.writer->Closed());
    EXPECT_EQ(pipeline.control->Calls(), std::vector<std::string>{"FilterFinished"});
    EXPECT_TRUE(log.WaitFor(L"Print Preview option is on"));
    EXPECT_TRUE(log.WaitFor(L"PrintPreview 2.0 launched correctly"));
    EXPECT_TRUE(log.WaitFor(L"Host Preview Filter - Finishing StartOperation_throws"));
    // The job run's steps log in its name, each from its own line.
    std::set<std::string> steps;
    for (const char* step : {"Host Preview Filter - Starting StartOperation_throws", "Print Preview option is on",
                             "Print Preview option is installed", "Host Preview Filter - Finishing StartOperation_throws"}) {
        const std::vector<std::string> sites = log.SitesOf(step);
        ASSERT_EQ(sites.size(), 1u) << step;
        EXPECT_EQ(sites[0].rfind("hostpreviewfilter:HostPreviewFilter::StartOperation_throws:", 0), 0u) << sites[0];
        steps.insert(sites[0]);
    }
    EXPECT_EQ(steps.size(), 4u) << "one line per step";
    PropertyBag& bag = *pipeline.bag.Get();
    EXPECT_EQ(Published(bag, XPS_FP_INPUTBIN), 2) << "the user chose the tray";
    EXPECT_EQ(Published(bag, XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW), 1);
    EXPECT_EQ(Published(bag, XPS_FP_SCALINGMODE), 1);
    EXPECT_EQ(Published(bag, XPS_FP_SCALINGPERCENTAGE), 50);
    EXPECT_EQ(Published(bag, XPS_FP_FITTOPAPERMEDIASIZEWIDTH), 0);
    // Published in the order the following filters expect them.
    std::vector<std::wstring> expectedOrder = kAcceptedPreviewKeys;
    expectedOrder.insert(expectedOrder.end(), kScalingKeys.begin(), kScalingKeys.end());
    const std::vector<std::wstring> names = bag.Names();
    const auto first = std::find(names.begin(), names.end(), XPS_FP_ROTATION);
    EXPECT_EQ(std::vector<std::wstring>(first, names.end()), expectedOrder);
}

TEST_F(JobRun, ACancelledPreviewClosesTheOutputEmptyAndAbortsTheJob)
{
    PrintJob job(L"ben");
    Pipeline pipeline(ReadStream::FromBytes(Job(kPreviewOn)), job.Bag());
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    const LogTail log;
    EXPECT_EQ(pipeline.Start(), E_ABORT);
    EXPECT_TRUE(pipeline.writer->Bytes().empty());
    EXPECT_TRUE(pipeline.writer->Closed());
    EXPECT_EQ(pipeline.control->Calls(), (std::vector<std::string>{"RequestShutdown(0x80004004)", "FilterFinished"}));
    EXPECT_TRUE(log.WaitFor(L"Print Preview result: cancel"));
    EXPECT_TRUE(log.WaitFor(L"[hostpreviewfilter:HostPreviewFilter::StartOperation_throws:"));
    EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult -2147467260"));
    EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult: -2147467260"));
    for (const auto& key : kAcceptedPreviewKeys) {
        EXPECT_FALSE(pipeline.bag->Get(key)) << WideToUtf8(key);
    }
}

// Jobs that print their own bytes without showing a preview: ben's application would cancel, but it
// is never started.
TEST_F(JobRun, WithoutAUsablePreviewTheJobPrintsWithoutLaunchingIt)
{
    const struct {
        const char* what;
        std::wstring ticket;
        std::function<void(PropertyBag&)> arrange;
        std::vector<const wchar_t*> lines;
    } rows[] = {
        // The preview values are published all the same.
        {"no preview option", L"", [](PropertyBag&) {}, {L"Print Preview option is not available"}},
        // The ticket cannot be read for a printer the spooler does not know: every feature reads as
        // absent, so the job takes the preview path without showing anything.
        {"a printer the spooler does not know", kPreviewOn,
         [](PropertyBag& bag) { bag.Set(L"PrinterName", std::wstring(L"QX Printer Nobody Installed")); },
         {L"Print Preview option is not available"}},
        {"a registry entry that names no program", kPreviewOn,
         [](PropertyBag&) { testsupport::InstallPreviewFolderOnly(); },
         {L"Print Preview option is not installed", L"without launching Host Preview"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        PrintJob job(L"ben");
        ComPtr<PropertyBag> bag = job.Bag();
        row.arrange(*bag.Get());
        const std::vector<BYTE> input = Job(row.ticket);
        Pipeline pipeline(ReadStream::FromBytes(input), bag);
        ASSERT_EQ(pipeline.Initialize(), S_OK);
        const LogTail log;
        EXPECT_EQ(pipeline.Start(), S_OK);
        EXPECT_EQ(pipeline.writer->Bytes(), input);
        for (const wchar_t* line : row.lines) {
            EXPECT_TRUE(log.WaitFor(line)) << WideToUtf8(line);
        }
        EXPECT_EQ(log.Settled().find("launched"), std::string::npos);
        for (const auto& key : row.ticket.empty() ? kAcceptedPreviewKeys : std::vector<std::wstring>{}) {
            EXPECT_TRUE(pipeline.bag->Get(key)) << WideToUtf8(key);
        }
    }
}

TEST_F(JobRun, AFailureBeforeTheOutputIsClosedIsReportedWithItsHresult)
{
    const struct {
        const char* what;
        std::vector<BYTE> input;
        std::function<void(PropertyBag&)> spoil;
        HRESULT expected;
    } rows[] = {
        {"not an XPS package", std::vector<BYTE>(5000, 'x'), [](PropertyBag&) {},
         OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY},
        {"no user token", Job(), [](PropertyBag& bag) { bag.DeleteProperty(L"UserSecurityToken"); }, E_FAIL},
        // A job-context value of another VARIANT type must not be read as its expected payload.
        {"driver bag as VT_I4", Job(), [](PropertyBag& bag) { bag.Set(L"DriverPropertyBag", LONG{7}); }, DISP_E_TYPEMISMATCH},
        {"driver bag as VT_BSTR", Job(), [](PropertyBag& bag) { bag.Set(L"DriverPropertyBag", L"bag"); }, DISP_E_TYPEMISMATCH},
        {"printer handle as VT_I4", Job(), [](PropertyBag& bag) { bag.Set(L"PrinterHandle", LONG{7}); }, DISP_E_TYPEMISMATCH},
        {"printer handle as VT_BSTR", Job(), [](PropertyBag& bag) { bag.Set(L"PrinterHandle", L"7"); }, DISP_E_TYPEMISMATCH},
        {"job id as VT_BSTR", Job(), [](PropertyBag& bag) { bag.Set(L"PrintJobId", L"7"); }, DISP_E_TYPEMISMATCH},
        {"user token as VT_I4", Job(), [](PropertyBag& bag) { bag.Set(L"UserSecurityToken", LONG{7}); }, DISP_E_TYPEMISMATCH},
        {"printer name as VT_I4", Job(), [](PropertyBag& bag) { bag.Set(L"PrinterName", LONG{7}); }, DISP_E_TYPEMISMATCH},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        PrintJob job;
        ComPtr<PropertyBag> bag = job.Bag();
        row.spoil(*bag.Get());
        Pipeline pipeline(ReadStream::FromBytes(row.input), bag);
        ASSERT_EQ(pipeline.Initialize(), S_OK);
        const LogTail log;
        const HRESULT hr = pipeline.Start();
        EXPECT_TRUE(FAILED(hr));
        if (row.expected != E_FAIL) {
            EXPECT_EQ(hr, row.expected);
        }
        if (row.expected == DISP_E_TYPEMISMATCH) {
            EXPECT_TRUE(log.WaitFor(L"[ERR] [pipelinepropertybagproxy:PipelinePropertyBagProxy::"));
            EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult " + std::to_wstring(row.expected)));
        }
        EXPECT_FALSE(pipeline.writer->Closed());
        ASSERT_EQ(pipeline.control->Calls().size(), 2u);
        EXPECT_EQ(pipeline.control->ShutdownReason(), hr);
        EXPECT_EQ(pipeline.control->Calls().back(), "FilterFinished");
    }
}

// The paper source query is one of the job's objects: its bidi connection to the printer closes in
// the job run's clean-up, after the job's output, not when the choice is made.
TEST_F(JobRun, ThePaperSourceQueryLastsUntilTheJobsCleanUp)
{
    platform::PrinterDescription printer = FilterPrinter();
    (*printer.driverPropertyBag)[L"IsArssSupported"] = true;
    (*printer.driverPropertyBag)[L"BidiInformation"] = true;
    platform::PaperSource tray;
    tray.type = L"sheetFeedAutoNonRemovableTray";
    tray.installed = L"installed";
    tray.width = 8418;  // A4 across, in 1/720 inch
    tray.length = 11906;
    printer.paperSourceAnswers = {platform::PaperSourceAnswer{{tray}, std::nullopt, 0}};
    PrintJob job(L"ana", printer);
    Pipeline pipeline(ReadStream::FromBytes(Job(kPreviewOff + Option(L"psk:JobInputBin", L"AutoSelect") +
                                                 Option(L"ns0000:JobRotate", L"None"))),
                      job.Bag());
    struct UnbindWatch : platform::ComObjects {
        WriteStream* output = nullptr;
        std::vector<bool> outputClosedAtUnbind;  // the machine width query has a connection too
        HRESULT MethodCalled(const char* method) override
        {
            if (std::string(method) == "UnbindDevice") {
                outputClosedAtUnbind.push_back(output->Closed());
            }
            return S_OK;
        }
    } watch;
    watch.output = pipeline.writer.Get();
    platform::ScopedInstall<platform::IComObjects> watching(watch);
    ASSERT_EQ(pipeline.Initialize(), S_OK);

    EXPECT_EQ(pipeline.Start(), S_OK);
    EXPECT_TRUE(Published(*pipeline.bag.Get(), XPS_FP_INPUTBIN)) << "the printer was asked";
    ASSERT_FALSE(watch.outputClosedAtUnbind.empty());
    EXPECT_TRUE(watch.outputClosedAtUnbind.back());
}

TEST_F(JobRun, AFailedWriteIsReportedToThePipeline)
{
    PrintJob job;
    Pipeline pipeline(ReadStream::FromBytes(Job(kPreviewOff)), job.Bag());
    pipeline.writer->AcceptAtMost(1000);
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    const LogTail log;
    EXPECT_EQ(pipeline.Start(), E_FAIL);
    EXPECT_EQ(pipeline.control->Calls(), (std::vector<std::string>{"RequestShutdown(0x80004005)", "FilterFinished"}));
    EXPECT_FALSE(pipeline.writer->Closed());
    EXPECT_TRUE(log.WaitFor(L"Message: Not all writes written"));
    EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult: -2147467259"));
}

TEST_F(JobRun, WaitsForAnInputThatArrivesLate)
{
    PrintJob job;
    Pipeline pipeline(ReadStream::Gradual(), job.Bag());
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    HRESULT hr = E_UNEXPECTED;
    std::thread running = pipeline.StartWhenInputArrives(hr);
    const std::vector<BYTE> input = Job(kPreviewOff);
    pipeline.reader->Append(input.data(), 1000);
    pipeline.reader->Append(input.data() + 1000, input.size() - 1000);
    pipeline.reader->CloseInput();
    running.join();
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(pipeline.writer->Bytes(), input);
}

TEST_F(JobRun, ShutdownDuringAPreviewLeavesTheVerdictToTheApplication)
{
    PrintJob job(L"ben");
    Pipeline pipeline(ReadStream::Gradual(), job.Bag());
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    HRESULT hr = S_OK;
    std::thread running = pipeline.StartWhenInputArrives(hr);
    EXPECT_EQ(pipeline.filter->ShutdownOperation(), S_OK);
    EXPECT_EQ(pipeline.filter->Liveness()->Continue(), HRESULT_FROM_WIN32(ERROR_PRINT_CANCELLED));
    const std::vector<BYTE> input = Job(kPreviewOn);
    pipeline.reader->Append(input.data(), input.size());
    pipeline.reader->CloseInput();
    running.join();
    EXPECT_EQ(hr, E_ABORT) << "the application cancelled, not the shutdown";
}

// Sixteen jobs of three users at once in one process: each ends as its own user decided, with its
// own values, and no job's end disturbs another's session.
TEST_F(JobRun, OverlappingJobsOfDifferentUsersKeepTheirOwnSessions)
{
    constexpr std::size_t kJobs = 16;
    const std::wstring users[] = {L"ana", L"ben", L"cy", L"ana"};
    const std::wstring tickets[] = {kPreviewOn, kPreviewOn, kPreviewOn, kPreviewOff};
    std::vector<std::unique_ptr<PrintJob>> jobs;
    std::vector<std::unique_ptr<Pipeline>> pipelines;
    std::vector<std::vector<BYTE>> inputs;
    for (std::size_t i = 0; i < kJobs; ++i) {
        jobs.push_back(std::make_unique<PrintJob>(users[i % 4], FilterPrinter(L"QX Filter Printer " + std::to_wstring(i))));
        inputs.push_back(Job(tickets[i % 4]));
        pipelines.push_back(std::make_unique<Pipeline>(ReadStream::FromBytes(inputs.back()), jobs.back()->Bag()));
        ASSERT_EQ(pipelines.back()->Initialize(), S_OK);
    }
    std::vector<HRESULT> results(kJobs, E_UNEXPECTED);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kJobs; ++i) {
        threads.emplace_back([&, i] { results[i] = pipelines[i]->filter->StartOperation(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < kJobs; ++i) {
        SCOPED_TRACE("job " + std::to_string(i));
        PropertyBag& bag = *pipelines[i]->bag.Get();
        switch (i % 4) {
        case 1:
            EXPECT_EQ(results[i], E_ABORT);
            EXPECT_TRUE(pipelines[i]->writer->Bytes().empty());
            break;
        case 2:
            EXPECT_EQ(results[i], S_OK);
            EXPECT_EQ(pipelines[i]->writer->Bytes(), inputs[i]);
            EXPECT_EQ(Published(bag, XPS_FP_INPUTBIN), 2);
            EXPECT_EQ(Published(bag, XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW), 1);
            break;
        case 0:
            EXPECT_EQ(results[i], S_OK);
            EXPECT_EQ(pipelines[i]->writer->Bytes(), inputs[i]);
            EXPECT_EQ(Published(bag, XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW), 0);
            break;
        default:
            EXPECT_EQ(results[i], S_OK);
            EXPECT_EQ(pipelines[i]->writer->Bytes(), inputs[i]);
            EXPECT_FALSE(bag.Get(XPS_FP_SETTINGSCHANGEDINPRINTPREVIEW));
            break;
        }
        EXPECT_TRUE(pipelines[i]->writer->Closed());
    }
}

TEST(StartOperation, AnXpsFactoryThatCannotBeCreatedEndsTheJobAndLeavesTheApartment)
{
    struct NoXps : platform::Ole32 {
        HRESULT CoCreateInstance(REFCLSID, IUnknown*, DWORD, REFIID, LPVOID* object) override
        {
            *object = nullptr;
            return REGDB_E_CLASSNOTREG;
        }
    } noXps;
    platform::ScopedInstall<platform::IOle32> failing(noXps);
    Pipeline pipeline;
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    HRESULT hr = S_OK;
    HRESULT apartmentAfter = E_FAIL;
    std::thread([&] {
        hr = pipeline.filter->StartOperation();
        apartmentAfter = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);  // only possible if the MTA was left
        CoUninitialize();
    }).join();
    EXPECT_EQ(hr, REGDB_E_CLASSNOTREG);
    EXPECT_EQ(apartmentAfter, S_OK);
    EXPECT_EQ(pipeline.control->Calls(), (std::vector<std::string>{"RequestShutdown(0x80040154)", "FilterFinished"}));
    EXPECT_TRUE(pipeline.writer->Bytes().empty());
}

// The entry-point rule, one row per kind of exception.
TEST(EntryPointRule, TranslatesEveryExceptionAndLogsIt)
{
    const struct {
        const char* what;
        std::function<void()> body;
        HRESULT expected;
        const wchar_t* logged;
    } rows[] = {
        {"allocation", [] { throw std::bad_alloc(); }, E_OUTOFMEMORY, L"failed hresult: -2147024882"},
        {"hr_error", [] { throw hr_error{E_ACCESSDENIED}; }, E_ACCESSDENIED, L"failed hresult: -2147024891"},
        {"cancelled", [] { throw Exception{0}; }, S_OK, L"The job was cancelled."},
        {"other Exception", [] { throw Exception{7}; }, E_FAIL, L"failed hresult: -2147467259"},
        {"standard", [] { throw std::runtime_error("x"); }, E_FAIL, L"failed hresult: -2147467259"},
        {"anything", [] { throw 42; }, E_UNEXPECTED, L"failed hresult: -2147418113"},
        {"nothing", [] {}, S_OK, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const LogTail log;
        EXPECT_EQ(RunAtEntryPoint(QX_HERE, row.body), row.expected);
        if (row.logged != nullptr) {
            EXPECT_TRUE(log.WaitFor(L"[ERR] [test_filter:"));
            EXPECT_TRUE(log.WaitFor(row.logged));
        } else {
            EXPECT_EQ(log.Settled().find("[ERR]"), std::string::npos);
        }
    }
}

}  // namespace
