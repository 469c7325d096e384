// Loading a large job as the filter does: the whole job in one global memory block, then
// CreatePackageFromStream, GetDocumentSequence and the job ticket. Time and memory are shown beside
// the job's size: the package reads the archive in place, so neither should grow with the job.
// Then the page size correction's path: a page enlarged and the package written to a file.
//
// Usage: bench_xps [job size in MB, 512 by default]
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <zip.h>

#include <objbase.h>
#include <platform/machine.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

using Microsoft::WRL::ComPtr;
namespace fs = std::filesystem;

namespace {

constexpr const char* kNamespace = "http://schemas.microsoft.com/xps/2005/06";
constexpr int kPages = 4;

double Mb(double bytes)
{
    return bytes / (1024.0 * 1024.0);
}

// Peak resident memory of the process so far.
double PeakRss()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return Mb(static_cast<double>(usage.ru_maxrss) * 1024.0);
}

double CurrentRss()
{
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return Mb(static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)));
}

class Stopwatch {
public:
    double Ms() const
    {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

void Check(HRESULT hr, const char* what)
{
    if (FAILED(hr)) {
        std::fprintf(stderr, "%s failed: 0x%08X\n", what, static_cast<unsigned>(hr));
        std::exit(1);
    }
}

// Image-like bytes made as libzip asks for them, so that building the job never holds the image.
struct ImageSource {
    zip_uint64_t size;
    zip_uint64_t produced = 0;
    std::uint64_t state = 0x9E3779B97F4A7C15ull;
    zip_error_t error{};
};

zip_int64_t ImageCallback(void* user, void* data, zip_uint64_t length, zip_source_cmd_t command)
{
    auto& image = *static_cast<ImageSource*>(user);
    switch (command) {
    case ZIP_SOURCE_OPEN:
        image.produced = 0;
        return 0;
    case ZIP_SOURCE_READ: {
        const zip_uint64_t count = std::min(length, image.size - image.produced);
        auto* bytes = static_cast<unsigned char*>(data);
        for (zip_uint64_t i = 0; i < count; i += 8) {
            image.state ^= image.state << 13;
            image.state ^= image.state >> 7;
            image.state ^= image.state << 17;
            std::memcpy(bytes + i, &image.state, std::min<zip_uint64_t>(8, count - i));
        }
        image.produced += count;
        return static_cast<zip_int64_t>(count);
    }
    case ZIP_SOURCE_CLOSE:
        return 0;
    case ZIP_SOURCE_STAT: {
        auto* stat = static_cast<zip_stat_t*>(data);
        zip_stat_init(stat);
        stat->size = image.size;
        stat->valid |= ZIP_STAT_SIZE;
        return sizeof(zip_stat_t);
    }
    case ZIP_SOURCE_ERROR:
        return zip_error_to_data(&image.error, data, length);
    case ZIP_SOURCE_FREE:
        return 0;
    case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_READABLE;
    default:
        return -1;
    }
}

void Add(zip_t* zip, const std::string& name, const std::string& text)
{
    zip_source_t* source = zip_source_buffer(zip, text.data(), text.size(), 0);
    if (source == nullptr || zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8) < 0) {
        std::fprintf(stderr, "cannot add %s: %s\n", name.c_str(), zip_strerror(zip));
        std::exit(1);
    }
}

// A job of a few pages that all draw one big stored image.
void BuildJob(const std::string& path, zip_uint64_t imageBytes)
{
    int error = 0;
    zip_t* zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (zip == nullptr) {
        std::fprintf(stderr, "cannot create %s\n", path.c_str());
        std::exit(1);
    }
    std::vector<std::string> texts;  // libzip reads them when it closes
    const auto add = [&](const std::string& name, std::string text) {
        texts.push_back(std::move(text));
        Add(zip, name, texts.back());
    };
    add("[Content_Types].xml",
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"fdseq\" ContentType=\"application/vnd.ms-package.xps-fixeddocumentsequence+xml\"/>"
        "<Default Extension=\"fdoc\" ContentType=\"application/vnd.ms-package.xps-fixeddocument+xml\"/>"
        "<Default Extension=\"fpage\" ContentType=\"application/vnd.ms-package.xps-fixedpage+xml\"/>"
        "<Default Extension=\"tif\" ContentType=\"image/tiff\"/>"
        "<Override PartName=\"/Metadata/Job_PT.xml\" ContentType=\"application/vnd.ms-printing.printticket+xml\"/>"
        "</Types>");
    add("_rels/.rels",
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
        "<Relationship Id=\"R0\" Type=\"http://schemas.microsoft.com/xps/2005/06/fixedrepresentation\" "
        "Target=\"/FixedDocumentSequence.fdseq\"/></Relationships>");
    add("FixedDocumentSequence.fdseq", std::string("<FixedDocumentSequence xmlns=\"") + kNamespace +
                                           "\"><DocumentReference Source=\"Documents/1/FixedDocument.fdoc\"/>"
                                           "</FixedDocumentSequence>");
    add("_rels/FixedDocumentSequence.fdseq.rels",
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
        "<Relationship Id=\"T0\" Type=\"http://schemas.microsoft.com/xps/2005/06/printticket\" "
        "Target=\"Metadata/Job_PT.xml\"/></Relationships>");
    add("Metadata/Job_PT.xml",
        "<psf:PrintTicket xmlns:psf=\"http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework\" "
        "version=\"1\"/>");
    std::string document = std::string("<FixedDocument xmlns=\"") + kNamespace + "\">";
    for (int page = 1; page <= kPages; ++page) {
        document +=
            "<PageContent Source=\"Pages/" + std::to_string(page) + ".fpage\" Width=\"3456\" Height=\"12000\"/>";
        add("Documents/1/Pages/" + std::to_string(page) + ".fpage",
            std::string("<FixedPage xmlns=\"") + kNamespace +
                "\" Width=\"3456\" Height=\"12000\"><Path Data=\"M 0,0 L 3456,0 3456,12000 0,12000 Z\">"
                "<Path.Fill><ImageBrush ImageSource=\"/Resources/scan.tif\" Viewbox=\"0,0,3456,12000\" "
                "ViewboxUnits=\"Absolute\" Viewport=\"0,0,3456,12000\" ViewportUnits=\"Absolute\"/></Path.Fill>"
                "</Path></FixedPage>");
    }
    add("Documents/1/FixedDocument.fdoc", document + "</FixedDocument>");

    ImageSource image{imageBytes};
    zip_source_t* source = zip_source_function(zip, ImageCallback, &image);
    const zip_int64_t index = source == nullptr ? -1 : zip_file_add(zip, "Resources/scan.tif", source, 0);
    if (index < 0 || zip_set_file_compression(zip, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0) != 0 ||
        zip_close(zip) != 0) {
        std::fprintf(stderr, "cannot write %s: %s\n", path.c_str(), zip_strerror(zip));
        std::exit(1);
    }
}

// The job as the filter holds it: one movable global memory block, read whole.
HGLOBAL LoadJob(const std::string& path)
{
    const auto size = static_cast<SIZE_T>(fs::file_size(path));
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
    auto* data = static_cast<char*>(GlobalLock(memory));
    const int fd = ::open(path.c_str(), O_RDONLY);
    SIZE_T done = 0;
    while (fd >= 0 && done < size) {
        const ssize_t count = ::read(fd, data + done, std::min<SIZE_T>(size - done, 8u << 20));
        if (count <= 0) {
            break;
        }
        done += static_cast<SIZE_T>(count);
    }
    if (fd >= 0) {
        ::close(fd);
    }
    GlobalUnlock(memory);
    if (done != size) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        std::exit(1);
    }
    return memory;
}

void Report(const char* step, double ms, double before, double after)
{
    std::printf("%-52s %9.1f ms   resident %7.1f -> %7.1f MB   peak %7.1f MB\n", step, ms, before, after, PeakRss());
}

}  // namespace

int main(int argc, char** argv)
{
    const zip_uint64_t jobMb = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 512;
    char pattern[] = "/tmp/qxbench-xps-XXXXXX";
    const fs::path root = ::mkdtemp(pattern);
    platform::SetMachineRoot(root.string());
    fs::create_directories(root / "C" / "bench");
    const std::string jobPath = (root / "job.xps").string();

    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "CoInitializeEx");
    ComPtr<IXpsOMObjectFactory> factory;
    Check(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IXpsOMObjectFactory,
                           reinterpret_cast<void**>(factory.GetAddressOf())),
          "CoCreateInstance");

    BuildJob(jobPath, jobMb << 20);
    HGLOBAL memory = LoadJob(jobPath);
    fs::remove(jobPath);
    ComPtr<IStream> stream;
    Check(CreateStreamOnHGlobal(memory, TRUE, &stream), "CreateStreamOnHGlobal");
    std::printf(
        "job: %.1f MB in global memory (one stored image of %llu MB, %d pages); resident %.1f MB, peak %.1f MB\n\n",
        Mb(static_cast<double>(GlobalSize(memory))), static_cast<unsigned long long>(jobMb), kPages, CurrentRss(),
        PeakRss());

    double before = CurrentRss();
    Stopwatch loading;
    ComPtr<IXpsOMPackage> package;
    ComPtr<IXpsOMDocumentSequence> sequence;
    ComPtr<IXpsOMPrintTicketResource> ticket;
    ComPtr<IStream> ticketStream;
    Check(factory->CreatePackageFromStream(stream.Get(), TRUE, &package), "CreatePackageFromStream");
    stream.Reset();  // as the job run does: the package keeps what it needs
    Check(package->GetDocumentSequence(&sequence), "GetDocumentSequence");
    Check(sequence->GetPrintTicketResource(&ticket), "GetPrintTicketResource");
    Check(ticket->GetStream(&ticketStream), "GetStream");
    Report("CreatePackageFromStream + sequence + job ticket", loading.Ms(), before, CurrentRss());

    before = CurrentRss();
    Stopwatch walking;
    ComPtr<IXpsOMDocumentCollection> documents;
    ComPtr<IXpsOMDocument> document;
    ComPtr<IXpsOMPageReferenceCollection> references;
    Check(sequence->GetDocuments(&documents), "GetDocuments");
    Check(documents->GetAt(0, &document), "GetAt");
    Check(document->GetPageReferences(&references), "GetPageReferences");
    UINT32 count = 0;
    Check(references->GetCount(&count), "GetCount");
    for (UINT32 i = 0; i < count; ++i) {
        ComPtr<IXpsOMPageReference> reference;
        ComPtr<IXpsOMPage> page;
        Check(references->GetAt(i, &reference), "GetAt");
        Check(reference->GetPage(&page), "GetPage");
        XPS_SIZE size{};
        Check(page->GetPageDimensions(&size), "GetPageDimensions");
        if (i == 0) {
            const XPS_SIZE enlarged{3456, 18897.637f};
            Check(page->SetPageDimensions(&enlarged), "SetPageDimensions");
        }
    }
    Report("every page loaded, the first enlarged", walking.Ms(), before, CurrentRss());

    before = CurrentRss();
    Stopwatch writing;
    Check(package->WriteToFile(L"C:\\bench\\preview.xps", nullptr, FILE_ATTRIBUTE_READONLY, TRUE), "WriteToFile");
    Report("WriteToFile (the image copied as stored)", writing.Ms(), before, CurrentRss());
    std::printf("\nwritten: %.1f MB\n", Mb(static_cast<double>(fs::file_size(root / "C" / "bench" / "preview.xps"))));

    ticketStream.Reset();
    ticket.Reset();
    references.Reset();
    document.Reset();
    documents.Reset();
    sequence.Reset();
    package.Reset();
    factory.Reset();
    CoUninitialize();
    fs::remove_all(root);
    return 0;
}
