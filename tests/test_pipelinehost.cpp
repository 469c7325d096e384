// The pipeline's side of a filter's world, and the host program that runs a filter module through it.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <xpsobjectmodel.h>

#include "pipelinehost/calllog.h"
#include "pipelinehost/hresulttext.h"
#include "pipelinehost/interfiltercommunicator.h"
#include "pipelinehost/pipelinecontrol.h"
#include "pipelinehost/progressreport.h"
#include "pipelinehost/propertybag.h"
#include "pipelinehost/readstream.h"
#include "pipelinehost/writestream.h"

namespace {

using Microsoft::WRL::ComPtr;
using namespace pipelinehost;
namespace fs = std::filesystem;

// An object that is nothing but an IUnknown, whose reference count a test can read.
class Probe : public platform::ComObject<Probe, IUnknown> {
public:
    static ComPtr<Probe> Create()
    {
        ComPtr<Probe> probe;
        probe.Attach(new Probe);
        return probe;
    }
    ULONG References()
    {
        AddRef();
        return Release();
    }
};

// Polls until the condition holds; false after a generous bound, so a broken wait fails instead of hanging.
bool Eventually(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

struct ReadResult {
    HRESULT hr = E_UNEXPECTED;
    std::string bytes;
    BOOL endOfFile = -1;

    bool operator==(const ReadResult& other) const
    {
        return hr == other.hr && bytes == other.bytes && endOfFile == other.endOfFile;
    }
};
std::ostream& operator<<(std::ostream& out, const ReadResult& result)
{
    return out << HresultDescription(result.hr) << " \"" << result.bytes << "\" end of file " << result.endOfFile;
}

ReadResult Read(IPrintReadStream& stream, ULONG count)
{
    ReadResult result;
    std::string buffer(count, '\0');
    ULONG read = 0;
    result.hr = stream.ReadBytes(buffer.data(), count, &read, &result.endOfFile);
    result.bytes = buffer.substr(0, read);
    return result;
}

HRESULT Write(IPrintWriteStream& stream, const std::string& bytes, ULONG* written)
{
    return stream.WriteBytes(bytes.data(), static_cast<ULONG>(bytes.size()), written);
}

// Makes the call on a thread of its own and, once it waits for the producer, acts as the producer;
// false if the call never waited or returned before the producer acted.
bool WaitsForTheProducer(ReadStream& stream, const std::function<void()>& call, const std::function<void()>& act)
{
    std::atomic<bool> done{false};
    std::thread caller([&] {
        call();
        done = true;
    });
    const bool waited = Eventually([&] { return stream.Waiting() == 1; }) && !done;
    act();
    caller.join();
    return waited;
}

std::string AsText(const std::vector<BYTE>& bytes) { return std::string(bytes.begin(), bytes.end()); }
std::vector<BYTE> AsBytes(const std::string& text) { return std::vector<BYTE>(text.begin(), text.end()); }

// A folder of its own for each test that needs files, with an empty machine root in it.
class TempFolder {
public:
    TempFolder()
    {
        char pattern[] = "/tmp/qxtest-pipelinehost-XXXXXX";
        path_ = ::mkdtemp(pattern);
        fs::create_directory(path_ / "machine");
        // Whatever the umask: the host takes only a root that nobody else may write.
        fs::permissions(path_ / "machine", fs::perms(0755));
    }
    ~TempFolder()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    fs::path operator/(const std::string& name) const { return path_ / name; }
    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

void WriteFile(const fs::path& path, const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }

std::string ReadFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// ---- property bag

TEST(PropertyBag, GetAndAddPropertyHandOutAndKeepIndependentCopies)
{
    ComPtr<PropertyBag> bag = PropertyBag::Create();
    bag->Set(L"XPS_FP_PIN", std::wstring(L"1234"));

    VARIANT first;
    ASSERT_EQ(bag->GetProperty(L"XPS_FP_PIN", &first), S_OK);
    first.bstrVal[0] = L'9';
    VARIANT second;
    ASSERT_EQ(bag->GetProperty(L"XPS_FP_PIN", &second), S_OK);
    EXPECT_NE(first.bstrVal, second.bstrVal);
    EXPECT_STREQ(second.bstrVal, L"1234");
    VariantClear(&first);  // freeing the caller's copy leaves the bag's value intact
    VariantClear(&second);
    EXPECT_STREQ(bag->Get(L"XPS_FP_PIN")->Get().bstrVal, L"1234");

    OwnedVariant text = OwnedVariant::String(L"abc");
    ASSERT_EQ(bag->AddProperty(L"Name", &text.Get()), S_OK);
    text = OwnedVariant::Int32(0);  // frees the caller's BSTR
    EXPECT_STREQ(bag->Get(L"Name")->Get().bstrVal, L"abc");
}

TEST(PropertyBag, AMissingNameOrABadArgumentFailsWithItsHresult)
{
    ComPtr<PropertyBag> bag = PropertyBag::Create();
    VARIANT value;
    value.vt = VT_I4;
    EXPECT_EQ(bag->GetProperty(L"PrintJobId", &value), kPropertyNotFound);
    EXPECT_EQ(value.vt, VT_EMPTY);
    EXPECT_FALSE(bag->Get(L"PrintJobId").has_value());

    OwnedVariant number = OwnedVariant::Int32(1);
    EXPECT_EQ(bag->AddProperty(nullptr, &number.Get()), E_INVALIDARG);
    EXPECT_EQ(bag->AddProperty(L"", &number.Get()), E_INVALIDARG);
    EXPECT_EQ(bag->AddProperty(L"Name", nullptr), E_POINTER);
    EXPECT_EQ(bag->GetProperty(nullptr, &value), E_INVALIDARG);
    EXPECT_EQ(bag->GetProperty(L"Name", nullptr), E_POINTER);
    EXPECT_EQ(bag->DeleteProperty(nullptr), FALSE);
    EXPECT_TRUE(bag->Names().empty());
}

TEST(PropertyBag, AddingAnExistingNameFailsAndKeepsTheFirstValueUntilItIsDeleted)
{
    ComPtr<PropertyBag> bag = PropertyBag::Create();
    bag->Set(L"A", 1);
    bag->Set(L"B", 2);
    OwnedVariant text = OwnedVariant::String(L"three");
    EXPECT_EQ(bag->AddProperty(L"A", &text.Get()), HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS));
    EXPECT_EQ(bag->Get(L"A")->Get().lVal, 1);

    // Deleting answers whether there was such a property; a name added again goes last.
    EXPECT_EQ(bag->DeleteProperty(L"A"), TRUE);
    EXPECT_EQ(bag->DeleteProperty(L"A"), FALSE);
    ASSERT_EQ(bag->AddProperty(L"A", &text.Get()), S_OK);
    EXPECT_STREQ(bag->Get(L"A")->Get().bstrVal, L"three");
    EXPECT_EQ(bag->Names(), (std::vector<std::wstring>{L"B", L"A"}));
}

TEST(PropertyBag, HoldsAReferenceToAnObjectUntilItsValueGoes)
{
    ComPtr<Probe> probe = Probe::Create();
    ComPtr<PropertyBag> bag = PropertyBag::Create();
    bag->SetUnknown(L"ProgressReport", probe.Get());
    EXPECT_EQ(probe->References(), 2u);

    VARIANT value;
    ASSERT_EQ(bag->GetProperty(L"ProgressReport", &value), S_OK);
    EXPECT_EQ(value.punkVal, static_cast<IUnknown*>(probe.Get()));
    EXPECT_EQ(probe->References(), 3u);
    VariantClear(&value);

    bag->Set(L"ProgressReport", 0);
    EXPECT_EQ(probe->References(), 1u);
    bag->SetUnknown(L"ProgressReport", probe.Get());
    bag.Reset();
    EXPECT_EQ(probe->References(), 1u);
}

TEST(PropertyBag, DumpShowsNameTypeAndValueInOrderWithANoteAfterTheValuesItKnows)
{
    ComPtr<PropertyBag> bag = PropertyBag::Create();
    bag->Set(L"XPS_FP_INPUTBIN", 7);
    bag->Set(L"PrinterName", std::wstring(L"QX 5200"));
    EXPECT_EQ(bag->Dump(), "XPS_FP_INPUTBIN  VT_I4       7\n"
                           "PrinterName      VT_BSTR     \"QX 5200\"\n");

    ComPtr<PropertyBag> context = PropertyBag::Create();
    context->Set(L"PrinterHandle", OwnedVariant::UIntPtr(0x104));
    context->Set(L"PrintJobId", OwnedVariant::UInt32(12));
    const auto note = [](const std::wstring& name, const VARIANT& value) -> std::string {
        return name == L"PrinterHandle" && value.vt == VT_UINT_PTR ? "printer handle" : "";
    };
    EXPECT_EQ(context->Dump(note), "PrinterHandle  VT_UINT_PTR 0x104, printer handle\n"
                                   "PrintJobId     VT_UI4      12\n");
}

TEST(PropertyBag, ConcurrentFiltersSeeWholeValues)
{
    ComPtr<PropertyBag> bag = PropertyBag::Create();
    std::atomic<int> torn{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 500; ++i) {
                OwnedVariant text = OwnedVariant::String(std::wstring(20, static_cast<wchar_t>(L'a' + t)));
                bag->DeleteProperty(L"Shared");
                bag->AddProperty(L"Shared", &text.Get());
                VARIANT value;
                if (bag->GetProperty(L"Shared", &value) == S_OK) {
                    const std::wstring got(value.bstrVal);
                    torn += got != std::wstring(20, got[0]);
                    VariantClear(&value);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(bag->Names().size(), 1u);
}

// ---- read stream

// A read that finds nothing waits, and ends with whatever the producer does next.
TEST(ReadStream, AWaitingReadEndsWithWhatTheProducerDoesNext)
{
    const struct {
        const char* name;
        std::function<void(ReadStream&)> act;
        ReadResult result;
    } rows[] = {
        {"bytes arrive", [](ReadStream& s) { s.Append("hello", 5); }, {S_OK, "hello", FALSE}},  // not closed yet
        {"the producer closes", [](ReadStream& s) { s.CloseInput(); }, {S_OK, "", TRUE}},
        {"reads fail", [](ReadStream& s) { s.FailReadsWith(E_ABORT); }, {E_ABORT, "", FALSE}},
    };
    for (const auto& row : rows) {
        ComPtr<ReadStream> stream = ReadStream::Gradual();
        stream->Append("ab", 2);
        EXPECT_EQ(Read(*stream.Get(), 2).bytes, "ab") << row.name;
        ReadResult result;
        EXPECT_TRUE(WaitsForTheProducer(*stream.Get(), [&] { result = Read(*stream.Get(), 16); },
                                        [&] { row.act(*stream.Get()); }))
            << row.name;
        EXPECT_EQ(result, row.result) << row.name;
        EXPECT_EQ(stream->Stats().readsThatWaited, 1u) << row.name;
    }
}

TEST(ReadStream, EndOfFileComesWithTheLastBytesOfAClosedStream)
{
    ComPtr<ReadStream> empty = ReadStream::FromBytes({});
    EXPECT_EQ(Read(*empty.Get(), 4096), (ReadResult{S_OK, "", TRUE}));
    EXPECT_EQ(empty->Stats().readsThatWaited, 0u);

    ComPtr<ReadStream> stream = ReadStream::FromBytes(AsBytes("0123456789"));
    EXPECT_EQ(Read(*stream.Get(), 4), (ReadResult{S_OK, "0123", FALSE}));
    EXPECT_EQ(Read(*stream.Get(), 100), (ReadResult{S_OK, "456789", TRUE}));
    EXPECT_EQ(Read(*stream.Get(), 100), (ReadResult{S_OK, "", TRUE}));
}

TEST(ReadStream, SeekFromTheEndWaitsUntilTheProducerCloses)
{
    ComPtr<ReadStream> stream = ReadStream::Gradual();
    stream->Append("abc", 3);
    ULONGLONG end = 0;
    HRESULT hr = E_UNEXPECTED;
    EXPECT_TRUE(WaitsForTheProducer(*stream.Get(), [&] { hr = stream->Seek(0, STREAM_SEEK_END, &end); }, [&] {
        stream->Append("defg", 4);
        stream->CloseInput();
    }));
    EXPECT_EQ(hr, S_OK);
    EXPECT_EQ(end, 7u);
}

TEST(ReadStream, SeeksFromStartAndCurrentAndRejectsBadOnes)
{
    ComPtr<ReadStream> stream = ReadStream::FromBytes(AsBytes("0123456789"));
    ULONGLONG position = 99;
    EXPECT_EQ(stream->Seek(6, STREAM_SEEK_SET, &position), S_OK);
    EXPECT_EQ(position, 6u);
    EXPECT_EQ(stream->Seek(-2, STREAM_SEEK_CUR, &position), S_OK);
    EXPECT_EQ(position, 4u);
    EXPECT_EQ(stream->Seek(-3, STREAM_SEEK_END, nullptr), S_OK);
    EXPECT_EQ(Read(*stream.Get(), 10).bytes, "789");

    EXPECT_EQ(stream->Seek(-1, STREAM_SEEK_SET, &position), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(position, 10u);  // unchanged
    EXPECT_EQ(stream->Seek(0, 3, &position), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek(2, STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(Read(*stream.Get(), 3).bytes, "234");
}

TEST(ReadStream, GradualFileBecomesReadableAsItIsProvided)
{
    TempFolder folder;
    WriteFile(folder / "job.bin", "abcdefgh");
    ComPtr<ReadStream> stream = ReadStream::OpenFile((folder / "job.bin").string(), ReadStream::Delivery::Gradual);
    EXPECT_EQ(stream->Provide(3), 3u);
    EXPECT_EQ(Read(*stream.Get(), 8).bytes, "abc");
    ReadResult rest;
    EXPECT_TRUE(WaitsForTheProducer(*stream.Get(), [&] { rest = Read(*stream.Get(), 8); },
                                    [&] { EXPECT_EQ(stream->Provide(100), 8u); }));
    EXPECT_EQ(rest, (ReadResult{S_OK, "defgh", FALSE}));  // more may come until the producer closes
    stream->CloseInput();
    EXPECT_EQ(Read(*stream.Get(), 8).endOfFile, TRUE);
    EXPECT_THROW(stream->Append("x", 1), std::logic_error);
    EXPECT_THROW(ReadStream::OpenFile((folder / "missing.bin").string()), std::system_error);
    EXPECT_THROW(ReadStream::OpenFile(folder.Path().string()), std::runtime_error);
}

// ---- write stream

TEST(WriteStream, RecordsTheBytesAndTheClose)
{
    ComPtr<WriteStream> stream = WriteStream::ToMemory();
    ULONG written = 0;
    EXPECT_EQ(Write(*stream.Get(), "abc", &written), S_OK);
    EXPECT_EQ(written, 3u);
    EXPECT_EQ(Write(*stream.Get(), "", &written), S_OK);
    EXPECT_EQ(written, 0u);
    EXPECT_FALSE(stream->Closed());
    stream->Close();
    EXPECT_EQ(Write(*stream.Get(), "d", &written), E_UNEXPECTED);
    stream->Close();

    EXPECT_EQ(AsText(stream->Bytes()), "abc");
    EXPECT_EQ(stream->CloseCount(), 2u);
    EXPECT_EQ(stream->WritesAfterClose(), 1u);
    EXPECT_EQ(stream->WriteCalls(), 3u);
}

TEST(Streams, NullArgumentsFailWithEPointer)
{
    ComPtr<ReadStream> reader = ReadStream::FromBytes(AsBytes("x"));
    char byte = 0;
    ULONG read = 7;
    BOOL end = FALSE;
    EXPECT_EQ(reader->ReadBytes(nullptr, 1, &read, &end), E_POINTER);
    EXPECT_EQ(read, 0u);
    EXPECT_EQ(reader->ReadBytes(&byte, 1, nullptr, &end), E_POINTER);
    EXPECT_EQ(reader->ReadBytes(&byte, 1, &read, nullptr), E_POINTER);

    ComPtr<WriteStream> writer = WriteStream::ToMemory();
    ULONG written = 0;
    EXPECT_EQ(writer->WriteBytes(nullptr, 1, &written), E_POINTER);
    EXPECT_EQ(writer->WriteBytes("a", 1, nullptr), E_POINTER);
    EXPECT_EQ(writer->BytesWritten(), 0u);
}

TEST(WriteStream, AFileThatCannotBeMadeThrows)
{
    TempFolder folder;
    EXPECT_THROW(WriteStream::ToFile((folder / "no" / "such").string()), std::system_error);
}

// /dev/full takes no byte (ENOSPC): a device is written through, so the WriteBytes call that met the
// full disk fails with its Win32 error, as a Windows stream's would, and the stream keeps the fault.
TEST(WriteStream, AWriteThatFindsTheDiskFullFailsWithErrorDiskFull)
{
    ComPtr<WriteStream> stream = WriteStream::ToFile("/dev/full");
    ULONG written = 7;
    EXPECT_EQ(Write(*stream.Get(), "abc", &written), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(stream->WriteFault(), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
    EXPECT_EQ(Write(*stream.Get(), "d", &written), HRESULT_FROM_WIN32(ERROR_DISK_FULL)) << "every later write fails";
    stream->Close();
    EXPECT_EQ(stream->BytesWritten(), 0u);
    EXPECT_EQ(stream->WriteFault(), HRESULT_FROM_WIN32(ERROR_DISK_FULL));
}

// ---- progress report, communicator, call log, HRESULT text

TEST(ProgressReport, RecordsTheKnownKindsOfProgressAndRefusesOthers)
{
    ComPtr<ProgressReport> progress = ProgressReport::Create();
    auto log = std::make_shared<CallLog>();
    progress->LogCallsTo(log);
    EXPECT_EQ(progress->ReportProgress(XpsJob_DocumentSequenceAdded), S_OK);
    EXPECT_EQ(progress->ReportProgress(XpsJob_FixedPageAdded), S_OK);
    EXPECT_EQ(progress->ReportProgress(static_cast<EXpsJobConsumption>(7)), E_INVALIDARG);
    EXPECT_EQ(progress->Reports(),
              (std::vector<EXpsJobConsumption>{XpsJob_DocumentSequenceAdded, XpsJob_FixedPageAdded}));
    EXPECT_EQ(log->Entries(), (std::vector<std::string>{
                                  "progress.ReportProgress(XpsJob_DocumentSequenceAdded) -> S_OK",
                                  "progress.ReportProgress(XpsJob_FixedPageAdded) -> S_OK",
                                  "progress.ReportProgress(7) -> E_INVALIDARG",
                              }));
}

// Whichever object it was given, of whatever type: the filter tests show it handed on as it is.
TEST(InterFilterCommunicator, HandsOutItsObjectWithAReferenceForTheCallerOrWhatItsKnobsSay)
{
    ComPtr<ReadStream> reader = ReadStream::FromBytes({});
    ComPtr<Probe> notAWriter = Probe::Create();
    ComPtr<InterFilterCommunicator> communicator = InterFilterCommunicator::Create(reader.Get(), notAWriter.Get());
    const ULONG before = notAWriter->References();
    ComPtr<IUnknown> gotWriter;
    ASSERT_EQ(communicator->RequestWriter(&gotWriter), S_OK);
    EXPECT_EQ(gotWriter.Get(), static_cast<IUnknown*>(notAWriter.Get()));
    EXPECT_EQ(notAWriter->References(), before + 1);
    EXPECT_EQ(communicator->RequestReader(nullptr), E_POINTER);

    communicator->FailReaderRequestWith(E_OUTOFMEMORY);
    communicator->HandOutNullWriter();
    void* object = reinterpret_cast<void*>(1);
    EXPECT_EQ(communicator->RequestReader(&object), E_OUTOFMEMORY);
    EXPECT_EQ(object, nullptr);
    object = reinterpret_cast<void*>(1);
    EXPECT_EQ(communicator->RequestWriter(&object), S_OK);
    EXPECT_EQ(object, nullptr);
}

TEST(CallLog, FoldsARunOfTransfersBetweenOtherCalls)
{
    CallLog log;
    log.RecordTransfer("reader.ReadBytes", 1);
    log.Record("reader.Seek");
    for (int i = 0; i < 3; ++i) {
        log.RecordTransfer("reader.ReadBytes", 4096, i == 2);
        log.RecordTransfer("writer.WriteBytes", 4096);
    }
    log.Record("writer.Close");
    EXPECT_EQ(log.Entries(), (std::vector<std::string>{
                                 "reader.ReadBytes x1: 1 byte",
                                 "reader.Seek",
                                 "reader.ReadBytes x3: 12288 bytes, end of file reported; "
                                 "writer.WriteBytes x3: 12288 bytes",
                                 "writer.Close",
                             }));
}

TEST(HresultText, ShowsHexSignedDecimalAndName)
{
    EXPECT_EQ(HresultDescription(E_ABORT), "0x80004004 (-2147467260, E_ABORT)");
    EXPECT_EQ(HresultDescription(S_OK), "0x00000000 (0, S_OK)");
    EXPECT_EQ(HresultDescription(static_cast<HRESULT>(0x80041234)), "0x80041234 (-2147216844)");
    EXPECT_EQ(HresultName(kPropertyNotFound), "HRESULT_FROM_WIN32(ERROR_NOT_FOUND)");
    EXPECT_EQ(HresultName(HRESULT_FROM_WIN32(4321)), "HRESULT_FROM_WIN32(4321)");
    EXPECT_EQ(HresultShort(E_OUTOFMEMORY), "E_OUTOFMEMORY");
    EXPECT_EQ(HresultDescription(OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY),
              "0x8051100F (-2142171121, OPC_E_ZIP_MISSING_END_OF_CENTRAL_DIRECTORY, OPC package error)");
    EXPECT_EQ(HresultDescription(XPS_E_MISSING_REFERRED_PAGE),
              "0x8052010B (-2142109429, XPS_E_MISSING_REFERRED_PAGE, XPS document error)");
}

// ---- the host program, end to end with the filter module beside it

struct ProcessResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs the host program, its output and errors caught in files of the folder. The shell's command
// line begins with the prefix: a limit or a trap set before "exec ", a program the host runs under.
ProcessResult RunHost(const std::vector<std::string>& arguments, const TempFolder& folder,
                      const std::string& shellPrefix = "")
{
    const auto quoted = [](const std::string& text) {
        return "'" + std::regex_replace(text, std::regex("'"), "'\\''") + "'";
    };
    std::string command = shellPrefix + quoted(QX_PIPELINEHOST_PATH);
    for (const std::string& argument : arguments) {
        command += " " + quoted(argument);
    }
    const int status = std::system((command + " >" + quoted((folder / "host.stdout").string()) + " 2>" +
                                    quoted((folder / "host.stderr").string()))
                                       .c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(folder / "host.stdout"),
            ReadFile(folder / "host.stderr")};
}

// Runs the host on the bundled machine, rooted in the folder.
ProcessResult RunOnMachine(std::vector<std::string> arguments, const TempFolder& folder,
                           const std::string& shellPrefix = "")
{
    arguments.insert(arguments.end(), {"--root", (folder / "machine").string(), "--machine", QX_DEFAULT_MACHINE});
    return RunHost(arguments, folder, shellPrefix);
}

// A bundled sample job: a real package, which the filter reads before it hands the bytes on.
fs::path SampleJob(const std::string& name)
{
    return fs::path(QX_DEFAULT_MACHINE).parent_path().parent_path() / "jobs" / name;
}

// Delivered gradually, as behind a real previous filter; the whole delivery runs in every other test.
TEST(PipelineHostProgram, PassesTheJobThroughTheModuleUnchanged)
{
    TempFolder folder;
    const ProcessResult run = RunOnMachine({"--input", SampleJob("poster-coated.xps").string(), "--gradual", "--output",
                                            (folder / "out.bin").string(), "--property", "PrintJobId=i4:7"},
                                           folder);
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_NE(run.out.find("StartOperation      0x00000000 (0, S_OK)"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("control.FilterFinished"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("equal     yes, byte for byte"), std::string::npos) << run.out;
    EXPECT_EQ(ReadFile(folder / "out.bin"), ReadFile(SampleJob("poster-coated.xps")));
    EXPECT_EQ(run.err, "");
}

// Hosts sharing one machine share its driver log, whose records do not say which process wrote
// them. A waits in its preview for an answer on its terminal while B runs a whole job; each
// report's excerpt still holds only its own job's records.
TEST(PipelineHostProgram, HostsSharingAMachineEachShowOnlyTheirOwnLogRecords)
{
    TempFolder folderA;
    TempFolder folderB;
    const fs::path answers = folderA / "answers";
    ASSERT_EQ(::mkfifo(answers.c_str(), 0600), 0);
    const auto run = [&](const TempFolder& folder, const std::string& preview, const std::string& prefix) {
        return RunHost({"--input", SampleJob("preview.xps").string(), "--preview", preview, "--log-level", "info",
                        "--root", (folderA / "machine").string(), "--machine", QX_DEFAULT_MACHINE},
                       folder, prefix);
    };
    ProcessResult a;
    std::thread waiting([&] { a = run(folderA, "interactive", "exec <'" + answers.string() + "'; "); });
    std::ofstream terminal(answers);  // A's terminal: opened once A reads it, closed as the answer
    const fs::path log = folderA / "machine" / "C" / "QX Inc" / "Calvost" / "qxdrvlog.log";
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (ReadFile(log).find("PrintPreview 2.0 launched correctly") == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // B sets the level while A's log runs: by a new file renamed over the old, so that no reader
    // ever finds it empty, and nothing is left beside it.
    const fs::path configuration = log.parent_path() / "qxdrvlog.cfg";
    struct stat before {};
    ASSERT_EQ(::stat(configuration.c_str(), &before), 0);
    const ProcessResult b = run(folderB, "accept", "");
    terminal.close();
    waiting.join();
    struct stat after {};
    ASSERT_EQ(::stat(configuration.c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(ReadFile(configuration), "0\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(log.parent_path()), fs::directory_iterator()), 2);

    EXPECT_EQ(b.exitCode, 0) << b.out << b.err;
    EXPECT_NE(b.out.find("Print Preview result: ok"), std::string::npos) << b.out;
    EXPECT_EQ(a.exitCode, 1) << a.out << a.err;
    EXPECT_NE(a.out.find("Print Preview result: cancel"), std::string::npos) << a.out;
    EXPECT_EQ(a.out.find("Print Preview result: ok"), std::string::npos) << "B's records in A's report:\n" << a.out;
    EXPECT_NE(ReadFile(log).find("Print Preview result: ok"), std::string::npos) << "both wrote the one log";
}

// The report's line for an output file that a write or a close could not fill: exit status 1.
const std::string kDiskFullLine =
    "\n  Output file         0x80070070 (-2147024784, HRESULT_FROM_WIN32(ERROR_DISK_FULL)), a write or close "
    "failed: the file lacks bytes\n";

// /dev/full refuses every byte with ENOSPC. It is no regular file: it is written through, so the
// filter's WriteBytes gets ERROR_DISK_FULL, and it is not read back for the comparison (it never
// ends). The bounded time turns a host that would read it forever into a failure.
TEST(PipelineHostProgram, AnOutputOnAFullDiskFailsTheRunWithErrorDiskFull)
{
    TempFolder folder;
    const ProcessResult run =
        RunOnMachine({"--input", SampleJob("sample.xps").string(), "--output", "/dev/full"}, folder, "timeout 60 ");
    EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
    EXPECT_EQ(run.err, "");
    const std::string size = std::to_string(fs::file_size(SampleJob("sample.xps")));
    EXPECT_NE(run.out.find("writer.WriteBytes(" + size + " bytes) -> HRESULT_FROM_WIN32(ERROR_DISK_FULL)\n"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find(kDiskFullLine), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\n  equal     not compared, the output is no regular file\n"), std::string::npos)
        << run.out;
}

// A regular output file is written through a buffer: a job smaller than it goes to the file at the
// filter's Close, when no WriteBytes is left to fail, so the filter succeeds and the host fails the
// job. The file size limit plays the full disk (EFBIG, ERROR_DISK_FULL as Windows reports it): the
// job is padded past it with a ZIP comment, the machine's own files stay below it.
TEST(PipelineHostProgram, AnOutputCutShortByTheDiskFailsTheRunThoughTheFilterSucceeded)
{
    TempFolder folder;
    std::string job = ReadFile(SampleJob("sample.xps"));
    const std::size_t end = job.rfind(std::string("PK\x05\x06", 4));
    ASSERT_EQ(end + 22, job.size()) << "the sample has no ZIP comment";
    constexpr std::size_t kComment = 60000;
    job[end + 20] = static_cast<char>(kComment & 0xFF);
    job[end + 21] = static_cast<char>(kComment >> 8);
    job += std::string(kComment, '#');
    WriteFile(folder / "padded.xps", job);

    // 32 blocks of 512 bytes; SIGXFSZ ignored, so that a write past the limit fails with EFBIG.
    const ProcessResult run = RunOnMachine(
        {"--input", (folder / "padded.xps").string(), "--output", (folder / "out.bin").string()}, folder,
        "trap '' XFSZ; ulimit -f 32; exec ");
    EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("StartOperation      0x00000000 (0, S_OK)"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("writer.Close -> HRESULT_FROM_WIN32(ERROR_DISK_FULL)\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find(kDiskFullLine), std::string::npos) << run.out;
    EXPECT_EQ(fs::file_size(folder / "out.bin"), 32u * 512u);
}

// ---- the host on a machine description

// The text matched literally in a pattern.
std::string Literal(const std::string& text)
{
    return std::regex_replace(text, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)");
}

// Whether the report's property bag holds the property with the type and a value the pattern matches.
bool HasBagLine(const std::string& report, const std::string& name, const std::string& type, const std::string& value)
{
    return std::regex_search(report, std::regex("\n  " + name + " +" + type + " +" + value + "\n"));
}

struct MachineJob {
    std::vector<std::string> choice;  // --printer / --job, none for the defaults
    std::string printer;
    std::string job;
    std::string document;
    std::string user;
    bool driverPropertyBag;
};

class PipelineHostOnTheBundledMachine : public testing::TestWithParam<MachineJob> {};

TEST_P(PipelineHostOnTheBundledMachine, GivesTheJobItsContext)
{
    const MachineJob& expected = GetParam();
    TempFolder folder;
    std::vector<std::string> arguments{"--input", SampleJob("sample.xps").string()};
    arguments.insert(arguments.end(), expected.choice.begin(), expected.choice.end());
    const ProcessResult run = RunOnMachine(arguments, folder);

    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(run.err, "");
    const std::string printer = "\"" + expected.printer + "\"";
    const std::string document = "\"" + expected.document + "\"";
    EXPECT_NE(run.out.find("\nJob, from " + std::string(QX_DEFAULT_MACHINE) + "\n  printer   " + printer + ", "),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("\n  job       " + expected.job + ", " + document + ", "), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("\n  user      " + expected.user + "\n"), std::string::npos) << run.out;

    const std::string hex = "0x[0-9A-F]+";
    EXPECT_TRUE(HasBagLine(run.out, "PrinterName", "VT_BSTR", Literal(printer))) << run.out;
    EXPECT_TRUE(HasBagLine(run.out, "PrintJobId", "VT_UI4", Literal(expected.job + ", job " + document))) << run.out;
    EXPECT_TRUE(HasBagLine(run.out, "PrinterHandle", "VT_UINT_PTR", hex + Literal(", printer handle of " + printer)));
    EXPECT_TRUE(HasBagLine(run.out, "UserSecurityToken", "VT_UINT_PTR", hex + ", token of user " + expected.user));
    EXPECT_TRUE(HasBagLine(run.out, "ProgressReport", "VT_UNKNOWN", "object, IPrintPipelineProgressReport, .*"));
    EXPECT_EQ(run.out.find("\n  DriverPropertyBag ") != std::string::npos, expected.driverPropertyBag)
        << "a legacy driver has no bag in the pipeline";
    EXPECT_EQ(HasBagLine(run.out, "DriverPropertyBag", "VT_UNKNOWN",
                         Literal("object, IPrinterPropertyBag of " + printer + ", 24 declared values")),
              expected.driverPropertyBag);
    // The machine's declared files are there for the legacy driver to find.
    EXPECT_TRUE(fs::exists(folder / "machine/C/Windows/System32/spool/drivers/x64/3/qxlegacy.ldpb"));
}

INSTANTIATE_TEST_SUITE_P(
    Printers, PipelineHostOnTheBundledMachine,
    testing::Values(MachineJob{{}, "QX Mesa 44", "12", "C:\\Users\\ana\\Documents\\poster.pdf", "ana", true},
                    MachineJob{{"--printer", "qx quarry 36", "--job", "22"}, "QX Quarry 36", "22",
                               "https://example.com/plans/elevations.dwg", "ben", false}),
    [](const testing::TestParamInfo<MachineJob>& info) { return info.param.driverPropertyBag ? "Version4" : "Legacy"; });

TEST(PipelineHostShowDriver, DecodesBothKindsOfDriverOnTheBundledMachine)
{
    const struct {
        const char* printer;
        const char* source;
        const char* platform;
        const char* width;
    } rows[] = {
        {"QX Mesa 44", "version-4 driver property bag", "Mesa", "1118000"},  // the width the printer reports
        {"QX Quarry 36", "legacy property bag file (.ldpb)", "Quarry", "914400"},
    };
    for (const auto& row : rows) {
        TempFolder folder;
            const ProcessResult run = RunOnMachine({"--printer", row.printer, "--show-driver"}, folder);
        EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
        const auto has = [&](const std::string& name, const std::string& value) {
            return run.out.find("  " + name + std::string(38 - name.size(), ' ') + value + "\n") != std::string::npos;
        };
        EXPECT_TRUE(has("source", row.source)) << run.out;
        EXPECT_TRUE(has("platform", row.platform)) << run.out;
        EXPECT_TRUE(has("max printer width (um)", row.width)) << run.out;
    }
}

// Without --machine the host runs on the bundled machine the build put beside it, found from the
// program's own place: a copy of the host with that file runs on it wherever it is.
TEST(PipelineHostProgram, WithoutMachineACopiedHostRunsOnTheBundledMachineBesideIt)
{
    TempFolder folder;
    const fs::path built = fs::path(QX_PIPELINEHOST_PATH).parent_path();
    const fs::path bin = folder / "bin";
    fs::create_directory(bin);
    fs::copy_file(built / "qxpipelinehost", bin / "qxpipelinehost");
    fs::copy_file(built / "default-machine.json", bin / "default-machine.json");
    for (const char* file : {"libqxiprev.so", "libqxplatform.so", "qxpreviewapp"}) {
        fs::create_symlink(built / file, bin / file);
    }
    const auto run = [&](const std::string& arguments) {
        const std::string command = (bin / "qxpipelinehost").string() + " --root " + (folder / "machine").string() +
                                    " " + arguments + " >" + (folder / "out").string() + " 2>&1";
        const int status = std::system(command.c_str());
        return std::make_pair(WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(folder / "out"));
    };
    const auto [status, out] = run("--input " + SampleJob("sample.xps").string());
    EXPECT_EQ(status, 0) << out;
    EXPECT_NE(out.find("\nJob, from " + (bin / "default-machine.json").string() + "\n  printer   \"QX Mesa 44\", "),
              std::string::npos)
        << out;
    const auto [shown, driver] = run("--show-driver --printer 'QX Quarry 36'");
    EXPECT_EQ(shown, 0) << driver;
    EXPECT_NE(driver.find("legacy property bag file (.ldpb)"), std::string::npos) << driver;
}

// The machine starts the programs under its root as the job's user, so a root others may write, or
// another user's, could run their program in the user's name: given by --root or by the variable
// that stands for the default, it is refused before anything runs.
TEST(PipelineHostProgramErrors, AMachineRootOthersMayWriteOrOwnIsRefusedAndNothingRuns)
{
    TempFolder folder;
    const std::string root = (folder / "machine").string();
    const auto refused = [&](const std::string& why) {
        for (const std::string& prefix : {std::string(), "QX_MACHINE_ROOT=" + root + " "}) {
            std::vector<std::string> arguments{"--input", SampleJob("sample.xps").string(), "--log-level", "info",
                                               "--output", (folder / "out.bin").string()};
            if (prefix.empty()) {
                arguments.insert(arguments.end(), {"--root", root});
            }
            const ProcessResult run = RunHost(arguments, folder, prefix);
            EXPECT_EQ(run.exitCode, 2) << run.out << run.err;
            EXPECT_EQ(run.out, "");
            EXPECT_EQ(run.err, "qxpipelinehost: machine root " + root + why + "; refused\n");
            EXPECT_FALSE(fs::exists(folder / "out.bin")) << "nothing ran";
            EXPECT_TRUE(fs::is_empty(root)) << "nothing ran";
        }
    };
    fs::permissions(root, fs::perms::all);
    refused(" may be written by others (mode 0777)");
    if (::geteuid() == 0) {
        fs::permissions(root, fs::perms(0755));
        ASSERT_EQ(::chown(root.c_str(), 65534, 65534), 0);
        refused(" belongs to user 65534, not to this user (0)");
    }
}

// The processes whose parent is the given one, from /proc/<pid>/stat: "pid (name) state ppid ...".
std::vector<pid_t> ChildrenOf(pid_t parent)
{
    std::vector<pid_t> children;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        if (!std::isdigit(static_cast<unsigned char>(entry.path().filename().string()[0]))) {
            continue;
        }
        const std::string stat = ReadFile(entry.path() / "stat");
        std::istringstream rest(stat.substr(stat.rfind(')') + 1));
        std::string state;
        pid_t ppid = 0;
        if (rest >> state >> ppid && ppid == parent) {
            children.push_back(std::stoi(entry.path().filename().string()));
        }
    }
    return children;
}

// The abstract socket names the process holds open, matched by inode in /proc/net/unix.
std::vector<std::string> AbstractSocketsOf(pid_t process)
{
    std::vector<std::string> inodes;
    std::error_code gone;  // the process may end meanwhile
    for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", gone)) {
        const std::string target = fs::read_symlink(entry.path(), gone).string();
        if (target.rfind("socket:[", 0) == 0) {
            inodes.push_back(target.substr(8, target.size() - 9));
        }
    }
    std::vector<std::string> names;
    std::istringstream table(ReadFile("/proc/net/unix"));
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string field;
        std::vector<std::string> row;
        while (fields >> field) {
            row.push_back(field);
        }
        if (row.size() == 8 && row[7][0] == '@' && std::count(inodes.begin(), inodes.end(), row[6]) > 0) {
            names.push_back(row[7]);
        }
    }
    return names;
}

// A signal ends the preview application the filter waits for without a time limit; the filter then
// cleans up after its job and the host removes its temporary output: nothing of the job is left.
TEST(PipelineHostProgram, SigtermWhileThePreviewRunsEndsItAndLeavesNothingOfTheJob)
{
    TempFolder folder;
    fs::create_directory(folder / "tmp");
    int keyboard[2];  // the interactive application waits on it for an answer that never comes
    ASSERT_EQ(::pipe(keyboard), 0);
    const std::string out = (folder / "host.stdout").string();
    std::vector<std::string> arguments{QX_PIPELINEHOST_PATH, "--input", SampleJob("preview.xps").string(),
                                       "--root", (folder / "machine").string(), "--preview", "interactive"};
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    std::string temporary = "TMPDIR=" + (folder / "tmp").string();
    char* environment[] = {temporary.data(), nullptr};
    const pid_t host = ::fork();
    if (host == 0) {
        const int file = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(keyboard[0], 0);
        ::dup2(file, 1);
        ::dup2(file, 2);
        ::execve(argv[0], argv.data(), environment);
        ::_exit(127);
    }
    ::close(keyboard[0]);
    // The application asks once the job is with it.
    const bool asking = Eventually([&] { return ReadFile(out).find("[p]rint, [c]ancel") != std::string::npos; });
    const std::vector<pid_t> children = ChildrenOf(host);
    std::vector<std::string> jobFiles;
    std::error_code none;  // nothing of the job is there yet if the application never asked
    for (const auto& file : fs::recursive_directory_iterator(folder / "machine/C/Users", none)) {
        if (file.is_regular_file()) {
            jobFiles.push_back(file.path().string());
        }
    }
    std::vector<std::string> endpoints = AbstractSocketsOf(host);
    for (const pid_t child : children) {
        const std::vector<std::string> own = AbstractSocketsOf(child);
        endpoints.insert(endpoints.end(), own.begin(), own.end());
    }
    ::kill(host, SIGTERM);
    int status = 0;
    const bool ended = Eventually([&] { return ::waitpid(host, &status, WNOHANG) == host; });
    if (!ended) {
        ::kill(host, SIGKILL);
        ::waitpid(host, &status, 0);
    }
    ::close(keyboard[1]);
    ASSERT_TRUE(asking) << ReadFile(out);
    ASSERT_TRUE(ended) << ReadFile(out);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGTERM) << status << ReadFile(out);
    ASSERT_EQ(children.size(), 1u);
    EXPECT_TRUE(Eventually([&] { return !fs::exists("/proc/" + std::to_string(children[0])); }));
    EXPECT_EQ(jobFiles.size(), 1u) << "the job file the application was given";
    EXPECT_EQ(endpoints.size(), 2u) << "the filter's pipe and the application's";
    for (const std::string& gone : jobFiles) {
        EXPECT_FALSE(fs::exists(gone)) << gone;
    }
    const std::string sockets = ReadFile("/proc/net/unix");
    for (const std::string& name : endpoints) {
        EXPECT_EQ(sockets.find(" " + name + "\n"), std::string::npos) << name;
    }
    EXPECT_TRUE(fs::is_empty(folder / "tmp")) << "the temporary output is removed";
    EXPECT_NE(ReadFile(out).find("filter.ShutdownOperation (interrupted by SIGTERM)"), std::string::npos);
}

// ---- many jobs in one host process

// The lines of a report that begin with the prefix, in order.
std::vector<std::string> LinesStartingWith(const std::string& report, const std::string& prefix)
{
    std::vector<std::string> lines;
    std::istringstream text(report);
    for (std::string line; std::getline(text, line);) {
        if (line.rfind(prefix, 0) == 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string PassThroughLine(int job, const std::string& name, std::uintmax_t bytes)
{
    return "job " + std::to_string(job) + ": " + name + ": StartOperation 0x00000000 S_OK, RequestShutdown no, " +
           "FilterFinished yes, output " + std::to_string(bytes) + " bytes, equal";
}

// Temporary outputs go where TMPDIR says while the test runs, so that a test can see them all go.
struct TemporaryFolderVariable {
    explicit TemporaryFolderVariable(const fs::path& folder) { ::setenv("TMPDIR", folder.c_str(), 1); }
    ~TemporaryFolderVariable() { old ? ::setenv("TMPDIR", old->c_str(), 1) : ::unsetenv("TMPDIR"); }
    const std::optional<std::string> old =
        std::getenv("TMPDIR") ? std::optional<std::string>(std::getenv("TMPDIR")) : std::nullopt;
};

TEST(PipelineHostManyJobs, RepeatedJobOnTwoThreadsGivesALineEachInOrderTheTotalsAndTheResources)
{
    TempFolder folder;
    fs::create_directories(folder / "tmp");
    const auto size = fs::file_size(SampleJob("sample.xps"));
    const TemporaryFolderVariable temporary(folder / "tmp");
    const ProcessResult run =
        RunOnMachine({"--input", SampleJob("sample.xps").string(), "--repeat", "20", "--threads", "2"}, folder);

    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out.rfind("Pipeline host, 20 jobs on 2 threads\n", 0), 0u) << run.out;
    std::vector<std::string> jobLines;
    for (int job = 1; job <= 20; ++job) {
        jobLines.push_back(PassThroughLine(job, "sample.xps", size));
    }
    EXPECT_EQ(LinesStartingWith(run.out, "job "), jobLines) << run.out;
    EXPECT_NE(run.out.find("\nSummary\n  jobs      20\n  succeeded 20\n  failed    0\n"
                           "  equal     20 outputs equal to their input\n"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("\n  unload    DllCanUnloadNow after release: 0x00000000 (0, S_OK), module unloaded\n"),
              std::string::npos)
        << run.out;
    EXPECT_EQ(run.out.find("Pipeline calls, in order"), std::string::npos) << "no full report for many jobs";
    EXPECT_TRUE(fs::is_empty(folder / "tmp")) << "every job's temporary output is removed";

    // What the process held at the start, warm and at the end, after the totals: the same two workers
    // are alive and idle at both moments, and a pass-through job keeps nothing.
    EXPECT_EQ(LinesStartingWith(run.out, "  resources ").size(), 1u) << run.out;
    const std::regex resources("\nSummary\n[\\s\\S]*\n  resources start: [^\n]* MB; warm: [^\n]* MB; end: [^\n]* MB\n"
                               "  growth    end - warm: \\+0 fds, \\+0 threads, ");
    EXPECT_TRUE(std::regex_search(run.out, resources)) << run.out;
}

// A folder of one job is a single job with the full report; of more, a line per job in name order.
TEST(PipelineHostManyJobs, InputFolderRunsEveryRegularFileInNameOrder)
{
    TempFolder folder;
    fs::create_directories(folder / "jobs/a-folder");
    fs::copy_file(SampleJob("sample.xps"), folder / "jobs/b-sample.xps");
    const std::vector<std::string> arguments{"--input-folder", (folder / "jobs").string()};
    const ProcessResult single = RunOnMachine(arguments, folder);
    EXPECT_EQ(single.exitCode, 0) << single.out << single.err;
    EXPECT_EQ(single.out.rfind("Pipeline host\n", 0), 0u) << single.out;
    EXPECT_NE(single.out.find("\n  input     " + (folder / "jobs/b-sample.xps").string() + "\n"), std::string::npos);
    EXPECT_NE(single.out.find("equal     yes, byte for byte"), std::string::npos) << single.out;
    EXPECT_TRUE(LinesStartingWith(single.out, "job ").empty()) << single.out;

    fs::copy_file(SampleJob("poster-coated.xps"), folder / "jobs/a-poster.xps");
    const ProcessResult run = RunOnMachine(arguments, folder);
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(LinesStartingWith(run.out, "job "),
              (std::vector<std::string>{PassThroughLine(1, "a-poster.xps", fs::file_size(folder / "jobs/a-poster.xps")),
                                        PassThroughLine(2, "b-sample.xps", fs::file_size(folder / "jobs/b-sample.xps"))}))
        << run.out;
    EXPECT_NE(run.out.find("\n  jobs      2\n  succeeded 2\n"), std::string::npos) << run.out;
}

// Only job packages run: regular files that begin with the ZIP local header's signature, as an XPS
// package does. A script, notes, an empty file, a bare "PK" or an empty ZIP archive's end record
// beside them are no jobs; a folder of nothing but those ends the run with status 2 and one line.
TEST(PipelineHostManyJobs, InputFolderRunsOnlyTheJobPackagesInIt)
{
    TempFolder folder;
    fs::create_directories(folder / "jobs");
    WriteFile(folder / "jobs/0-make_samples.py", "#!/usr/bin/env python3\nprint('PK')\n");
    WriteFile(folder / "jobs/1-notes.txt", "a job begins with PK\x03\x04\n");  // not at the start
    WriteFile(folder / "jobs/2-empty.xps", "");
    WriteFile(folder / "jobs/3-short.xps", "PK");
    WriteFile(folder / "jobs/4-empty-zip.xps", std::string("PK\x05\x06", 4) + std::string(18, '\0'));
    const std::vector<std::string> arguments{"--input-folder", (folder / "jobs").string()};

    const ProcessResult none = RunOnMachine(arguments, folder);
    EXPECT_EQ(none.exitCode, 2) << none.out << none.err;
    EXPECT_EQ(none.out, "");
    EXPECT_EQ(none.err, "qxpipelinehost: the input folder " + (folder / "jobs").string() +
                            " holds no job: no regular file in it begins with PK\\x03\\x04, as a ZIP package does\n");

    fs::copy_file(SampleJob("poster-coated.xps"), folder / "jobs/a-poster.xps");
    fs::copy_file(SampleJob("sample.xps"), folder / "jobs/b-sample.xps");
    const ProcessResult run = RunOnMachine(arguments, folder);
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(LinesStartingWith(run.out, "job "),
              (std::vector<std::string>{PassThroughLine(1, "a-poster.xps", fs::file_size(folder / "jobs/a-poster.xps")),
                                        PassThroughLine(2, "b-sample.xps", fs::file_size(folder / "jobs/b-sample.xps"))}))
        << run.out;
    EXPECT_NE(run.out.find("\n  jobs      2\n  succeeded 2\n"), std::string::npos) << run.out;
}

// The bundled samples folder holds jobs and nothing else (its generator lives in scripts/), and a run
// over it runs every one of them. How the preview jobs end depends on the preview's libraries, which
// this test does not build: only the jobs that ran are checked.
TEST(PipelineHostManyJobs, TheSampleJobsFolderHoldsOnlyJobs)
{
    const fs::path samples = SampleJob("");
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(samples)) {
        EXPECT_EQ(entry.path().extension(), ".xps") << entry.path();
        EXPECT_EQ(ReadFile(entry.path()).substr(0, 4), std::string("PK\x03\x04", 4)) << entry.path();
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    TempFolder folder;
    const ProcessResult run = RunOnMachine({"--input-folder", samples.string(), "--preview", "cancel"}, folder);
    EXPECT_NE(run.exitCode, 2) << run.out << run.err;
    const std::vector<std::string> lines = LinesStartingWith(run.out, "job ");
    ASSERT_EQ(lines.size(), names.size()) << run.out;
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(lines[i].rfind("job " + std::to_string(i + 1) + ": " + names[i] + ": StartOperation ", 0), 0u)
            << lines[i];
    }
    EXPECT_NE(run.out.find("\n  jobs      " + std::to_string(names.size()) + "\n"), std::string::npos) << run.out;
}

TEST(PipelineHostDriverLog, LogLevelIsWrittenBeforeTheModuleLoadsAndTheLogFileIsNamed)
{
    const struct {
        const char* level;
        const char* configuration;
        bool logFile;      // the log starts, and makes its file, at any level but off
        bool constructor;  // the filter's informational records are kept
    } rows[] = {
        {"info", "0\n", true, true},
        {"error", "3\n", true, false},
        {"off", "off\n", false, false},
    };
    for (const auto& row : rows) {
        TempFolder folder;
            const ProcessResult run =
            RunOnMachine({"--input", SampleJob("sample.xps").string(), "--log-level", row.level}, folder);

        EXPECT_EQ(run.exitCode, 0) << row.level << ": " << run.out << run.err;
        const fs::path logFolder = folder / "machine/C/QX Inc/Calvost";
        EXPECT_EQ(ReadFile(logFolder / "qxdrvlog.cfg"), row.configuration) << row.level;
        const std::string named = "\nDriver log\n  file      " + (logFolder / "qxdrvlog.log").string() + "\n";
        EXPECT_EQ(fs::exists(logFolder / "qxdrvlog.log"), row.logFile) << row.level;
        EXPECT_EQ(run.out.find(named) != std::string::npos, row.logFile) << run.out;
        EXPECT_EQ(ReadFile(logFolder / "qxdrvlog.log").find("Host Preview Filter - Calling Constructor") !=
                      std::string::npos,
                  row.constructor)
            << row.level;
    }
}

TEST(PipelineHostProgramErrors, BadUsageGivesExitCode2AndOneLineAndRunsNothing)
{
    TempFolder folder;
    WriteFile(folder / "job.bin", "x");
    WriteFile(folder / "machine.json", R"({"printers": [{"name": "P", "port": "LPT1:", "driverName": "D",
        "driverModelVersion": 4, "driverFileVersion": "1.0.0.0",
        "driverPropertyBag": {"CanDoCopies": {"type": "bool", "value": "yes"}}}]})");
    fs::create_directories(folder / "empty");
    const std::string job = (folder / "job.bin").string();
    const std::string out = (folder / "out.bin").string();
    const std::string machine = (folder / "machine.json").string();
    const std::string missing = (folder / "missing").string();
    const struct {
        std::vector<std::string> arguments;
        std::string line;  // empty: any one line
    } rows[] = {
        {{}, ""},
        {{"--bogus"}, ""},
        {{"--input"}, ""},
        {{"--input", job, "--property", "Name=i8:1"}, ""},
        {{"--input", job, "--shutdown-after", "soon"}, ""},
        {{"--input", job, "--root", missing}, ""},
        {{"--input", job, "--module", missing + ".so"}, ""},
        {{"--input", job, "--root", (folder / "machine").string(), "--printer", "No Such"}, ""},
        {{"--input", job, "--machine", QX_DEFAULT_MACHINE, "--job", "none"}, ""},
        {{"--input", job, "--machine", missing + ".json"}, ""},
        {{"--input", job, "--machine", QX_DEFAULT_MACHINE, "--printer", "No Such"}, ""},
        {{"--input", job, "--machine", QX_DEFAULT_MACHINE, "--job", "21"}, ""},
        {{"--input", job, "--output", out, "--machine", machine},
         machine + ": /printers/0/driverPropertyBag/CanDoCopies/value: expected true or false for type \"bool\", "
                   "found the string \"yes\""},
        {{"--input", job, "--preview", "bogus"},
         "--preview wants one of accept, change, cancel, exit, crash, garbage, short, silent, interactive, not "
         "'bogus' (see --help)"},
        {{"--input", job, "--log-level", "verbose"},
         "--log-level wants one of info, warning, exception, error, performance, off, not 'verbose' (see --help)"},
        {{"--input", job, "--repeat", "0"}, "--repeat wants a number from 1 to 1000000, not '0' (see --help)"},
        {{"--input", job, "--threads", "-2"}, "--threads wants a number from 1 to 64, not '-2' (see --help)"},
        {{"--input", job, "--threads", "2", "--threads", "3"}, "--threads given twice (see --help)"},
        {{"--input", job, "--input-folder", folder.Path().string()},
         "--input and --input-folder exclude each other (see --help)"},
        {{"--input", job, "--repeat", "2", "--output", out},
         "--output goes with a single job; with --repeat or --input-folder outputs are temporary (see --help)"},
        {{"--machine", QX_DEFAULT_MACHINE, "--show-driver", "--threads", "2"},
         "--show-driver and --show-ticket run no job: no --repeat, --threads or --input-folder (see --help)"},
        {{"--input-folder", (folder / "empty").string()},
         "the input folder " + (folder / "empty").string() +
             " holds no job: no regular file in it begins with PK\\x03\\x04, as a ZIP package does"},
        {{"--input-folder", missing}, "cannot list the input folder " + missing + ": No such file or directory"},
        {{"--input", missing}, "cannot read the input: " + missing + ": No such file or directory"},
        {{"--input", missing, "--repeat", "2"}, "cannot read the input: " + missing + ": No such file or directory"},
    };
    for (const auto& row : rows) {
        const ProcessResult run = RunHost(row.arguments, folder);
        const std::string shown = row.arguments.empty() ? "(none)" : row.arguments[0] + " ... " + row.arguments.back();
        EXPECT_EQ(run.exitCode, 2) << shown;
        EXPECT_EQ(run.out, "") << shown;
        if (row.line.empty()) {
            EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << shown << ": " << run.err;
            EXPECT_EQ(run.err.rfind("qxpipelinehost: ", 0), 0u) << run.err;
        } else {
            EXPECT_EQ(run.err, "qxpipelinehost: " + row.line + "\n");
        }
    }
    EXPECT_FALSE(fs::exists(folder / "out.bin")) << "nothing ran";
}

// An output that is the input file, however it is named, would be truncated before the filter read
// it: the run is refused with status 2 and one line before anything is created, and the job stays.
TEST(PipelineHostProgramErrors, AnOutputThatIsTheInputFileIsRefusedAndTheInputStaysWhole)
{
    TempFolder folder;
    fs::create_directories(folder / "sub");
    const std::string job = (folder / "job.xps").string();
    fs::copy_file(SampleJob("sample.xps"), job);
    const std::string bytes = ReadFile(job);
    fs::create_hard_link(job, folder / "hard-link.xps");
    fs::create_symlink(job, folder / "symlink.xps");
    fs::create_symlink("job.xps", folder / "relative-symlink.xps");
    const struct {
        std::string input;
        std::string output;
    } rows[] = {
        {job, job},
        {job, (folder / "." / "job.xps").string()},
        {job, (folder / "sub" / ".." / "job.xps").string()},
        {job, (folder / "hard-link.xps").string()},
        {job, (folder / "symlink.xps").string()},
        {job, (folder / "relative-symlink.xps").string()},
        {(folder / "symlink.xps").string(), job},
        {(folder / "hard-link.xps").string(), (folder / "relative-symlink.xps").string()},
    };
    for (const auto& row : rows) {
        const ProcessResult run = RunOnMachine({"--input", row.input, "--output", row.output}, folder);
        EXPECT_EQ(run.exitCode, 2) << row.output << ": " << run.out << run.err;
        EXPECT_EQ(run.out, "") << row.output;
        EXPECT_EQ(run.err, "qxpipelinehost: the output " + row.output + " is the input " + row.input +
                               " (the same file): writing it would destroy the job\n");
        EXPECT_EQ(ReadFile(job), bytes) << row.output;
    }
    EXPECT_TRUE(fs::is_symlink(folder / "symlink.xps"));
    EXPECT_EQ(fs::hard_link_count(job), 2u);

    // A copy is another file: the job runs into it.
    fs::copy_file(job, folder / "copy.xps");
    const ProcessResult copy = RunOnMachine({"--input", job, "--output", (folder / "copy.xps").string()}, folder);
    EXPECT_EQ(copy.exitCode, 0) << copy.out << copy.err;
    EXPECT_EQ(ReadFile(folder / "copy.xps"), bytes);
    EXPECT_EQ(ReadFile(job), bytes);
}

}  // namespace
