// Loading a job's ticket as the filter does (PTManager::GetJobTicket on an in-memory job with a
// 10 KB ticket), beside one bare libxml2 parse of the same ticket in the same run, so that the
// cost of the ticket model shows apart from the cost of XML parsing itself.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>
#include <libxml/parser.h>

#include <objbase.h>
#include <platform/machine.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "jobcontext.h"
#include "pipelinepropertybagproxy.h"
#include "ptmanager.h"

using Microsoft::WRL::ComPtr;
namespace fs = std::filesystem;

namespace {

std::string ReadFile(const char* path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path);
        std::exit(1);
    }
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void Check(HRESULT hr, const char* what)
{
    if (FAILED(hr)) {
        std::fprintf(stderr, "%s failed: 0x%08X\n", what, static_cast<unsigned>(hr));
        std::exit(1);
    }
}

// A version-4 printer with a print mode record for the sample's medium, so that the render
// resolution path runs too.
platform::PrinterDescription BenchPrinter()
{
    platform::PrinterDescription printer;
    printer.name = L"QX Bench 44";
    printer.port = L"IP_10.0.0.44";
    printer.driverName = L"QX Mesa 44 Class Driver";
    printer.driverPropertyBag = std::map<std::wstring, platform::DriverPropertyValue>{
        {L"Platform", std::wstring(L"Quarry")},
        {L"PDL", std::wstring(L"KESTREL")},
        {L"EncryptedPinSupported", std::wstring(L"On")},
        {L"ConnectivityProtocolsSupported", std::wstring(L"KORU,oKAV")},
        {L"FamilyPaperType", std::wstring(L"\"Plainpaper\": {\"PMCategory\": \"Bond\"}, \"CoatedPaper\": "
                                          L"{\"PMCategory\": \"Coated\"}, \"AutoSelect\": {\"PMCategory\": \"Bond\"}")},
        {L"Coated-33", std::wstring(L"\"RenderRes\": \"600\"")},
        {L"ColorAdjustment", true},
        {L"CanDoCopies", false},
    };
    return printer;
}

// One job on one simulated machine, with its package open and its document sequence at hand.
class TicketJob {
public:
    explicit TicketJob(const std::string& package)
        : root_(fs::temp_directory_path() / ("qxbench-ticket-" + std::to_string(::getpid()))),
          context_((fs::create_directories(root_), platform::SetMachineRoot(root_.string()), BenchPrinter())),
          proxy_(context_.BagInterface())
    {
        HGLOBAL memory = ::GlobalAlloc(GMEM_MOVEABLE, package.size());
        std::memcpy(::GlobalLock(memory), package.data(), package.size());
        ::GlobalUnlock(memory);
        ComPtr<IStream> stream;
        Check(CreateStreamOnHGlobal(memory, TRUE, &stream), "CreateStreamOnHGlobal");
        ComPtr<IXpsOMObjectFactory> factory;
        Check(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
              "CoCreateInstance(XpsOMObjectFactory)");
        ComPtr<IXpsOMPackage> package_;
        Check(factory->CreatePackageFromStream(stream.Get(), FALSE, &package_), "CreatePackageFromStream");
        Check(package_->GetDocumentSequence(&sequence_), "GetDocumentSequence");
    }
    ~TicketJob()
    {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

    PTSettings Load()
    {
        bool ticketRead = false;
        PTSettings settings = PTManager::GetJobTicket(ticketRead, proxy_, sequence_.Get());
        if (!ticketRead) {
            std::fprintf(stderr, "the ticket was not read\n");
            std::exit(1);
        }
        return settings;
    }

private:
    fs::path root_;
    testsupport::JobContext context_;
    PipelinePropertyBagProxy proxy_;
    ComPtr<IXpsOMDocumentSequence> sequence_;
};

void BM_GetJobTicket(benchmark::State& state)
{
    TicketJob job(ReadFile(QX_SAMPLES_DIR "/jobs/poster-coated.xps"));
    for (auto _ : state) {
        PTSettings settings = job.Load();
        benchmark::DoNotOptimize(settings.GetCopies());
    }
}
BENCHMARK(BM_GetJobTicket)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_BareLibxml2Parse(benchmark::State& state)
{
    const std::string ticket = ReadFile(QX_SAMPLES_DIR "/tickets/poster-coated.xml");
    state.counters["ticket_bytes"] = static_cast<double>(ticket.size());
    for (auto _ : state) {
        xmlDocPtr document = xmlReadMemory(ticket.data(), static_cast<int>(ticket.size()), nullptr, nullptr, XML_PARSE_NONET);
        benchmark::DoNotOptimize(document);
        xmlFreeDoc(document);
    }
}
BENCHMARK(BM_BareLibxml2Parse)->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace

int main(int argc, char** argv)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    CoUninitialize();
    return 0;
}
