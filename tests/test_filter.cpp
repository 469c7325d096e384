// The filter object driven as the pipeline drives it: initialisation checks, the job frame, the
// entry-point rule and the report to the pipeline.
#include <new>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include <platform/systemapi.h>
#include <wrl/client.h>

#include "hostpreviewfilter.h"
#include "hrerror.h"
#include "pipelinehost/interfiltercommunicator.h"
#include "pipelinehost/pipelinecontrol.h"
#include "pipelinehost/propertybag.h"
#include "pipelinehost/readstream.h"
#include "pipelinehost/writestream.h"
#include "testmachine.h"

using Microsoft::WRL::ComPtr;
using namespace pipelinehost;
using testsupport::LogTail;

namespace {

std::vector<BYTE> Job(std::size_t size)
{
    std::vector<BYTE> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<BYTE>((i * 7) ^ (i >> 9));
    }
    return bytes;
}

// One filter with the pipeline's objects around it.
struct Pipeline {
    explicit Pipeline(ComPtr<ReadStream> input = ReadStream::FromBytes(Job(10000)))
        : reader(std::move(input)),
          writer(WriteStream::ToMemory()),
          bag(PropertyBag::Create()),
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

TEST(StartOperation, PassesTheJobThroughAndReportsOnlyFilterFinished)
{
    Pipeline pipeline;
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    const LogTail log;
    EXPECT_EQ(pipeline.Start(), S_OK);
    EXPECT_EQ(pipeline.writer->Bytes(), Job(10000));
    EXPECT_TRUE(pipeline.writer->Closed());
    EXPECT_EQ(pipeline.control->Calls(), std::vector<std::string>{"FilterFinished"});
    EXPECT_TRUE(log.WaitFor(L"[INF] [hostpreviewfilter:HostPreviewFilter::StartOperation:"));
    EXPECT_TRUE(log.WaitFor(L"Host Preview Filter - Finishing StartOperation"));
}

TEST(StartOperation, WaitsForAnInputThatArrivesLate)
{
    Pipeline pipeline(ReadStream::Gradual());
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    HRESULT hr = E_UNEXPECTED;
    std::thread job = pipeline.StartWhenInputArrives(hr);
    const std::vector<BYTE> input = Job(9000);
    pipeline.reader->Append(input.data(), 5000);
    pipeline.reader->Append(input.data() + 5000, 4000);
    pipeline.reader->CloseInput();
    job.join();
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(pipeline.writer->Bytes(), input);
}

TEST(StartOperation, AFailedWriteIsReportedToThePipeline)
{
    Pipeline pipeline;
    pipeline.writer->AcceptAtMost(1000);
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    const LogTail log;
    EXPECT_EQ(pipeline.Start(), E_FAIL);
    EXPECT_EQ(pipeline.control->Calls(), (std::vector<std::string>{"RequestShutdown(0x80004005)", "FilterFinished"}));
    EXPECT_FALSE(pipeline.writer->Closed());
    EXPECT_TRUE(log.WaitFor(L"Message: Not all writes written"));
    EXPECT_TRUE(log.WaitFor(L"[ERR] [hostpreviewfilter:HostPreviewFilter::StartOperation:"));
    EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult: -2147467259"));
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

TEST(ShutdownOperation, InterruptsNothing)
{
    Pipeline pipeline(ReadStream::Gradual());
    ASSERT_EQ(pipeline.Initialize(), S_OK);
    HRESULT hr = E_UNEXPECTED;
    std::thread job = pipeline.StartWhenInputArrives(hr);
    EXPECT_EQ(pipeline.filter->ShutdownOperation(), S_OK);
    EXPECT_EQ(pipeline.filter->Liveness()->Continue(), HRESULT_FROM_WIN32(ERROR_PRINT_CANCELLED));
    pipeline.reader->Append("late", 4);
    pipeline.reader->CloseInput();
    job.join();
    EXPECT_EQ(hr, S_OK) << "the job goes on to its end";
    EXPECT_EQ(pipeline.writer->Bytes().size(), 4u);
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
