// The job streams: priming, the copy into memory and the pass-through copy, with the writer's
// failure texts; and the host's file-backed streams, which gather the filter's small chunks into
// few system calls.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <numeric>
#include <thread>

#include <gtest/gtest.h>

#include <platform/systemapi.h>
#include <wrl/client.h>

#include "hrerror.h"
#include "pipelinehost/calllog.h"
#include "pipelinehost/readstream.h"
#include "pipelinehost/writestream.h"
#include "streamhandler.h"
#include "testmachine.h"

using Microsoft::WRL::ComPtr;
using pipelinehost::ReadStream;
using pipelinehost::WriteStream;
using testsupport::LogTail;
namespace fs = std::filesystem;

namespace {

std::vector<BYTE> Pattern(std::size_t size)
{
    std::vector<BYTE> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<BYTE>(i * 31 + i / 251);
    }
    return bytes;
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

TEST(StreamWriter, ANullBufferIsRefusedBeforeAnythingElse)
{
    const LogTail log;
    const auto output = WriteStream::ToMemory();
    PrintWriteStreamWriter writer(output);
    EXPECT_EQ(ThrownBy([&] { writer.Write(nullptr, 0); }), E_INVALIDARG);
    EXPECT_EQ(output->WriteCalls(), 0u);
    EXPECT_TRUE(log.WaitFor(L"[ERR] [streamhandler:PrintWriteStreamWriter::Write:"));
    EXPECT_TRUE(log.WaitFor(L"Exception thrown because of failed hresult -2147024809. Message: Source buffer is null"));
}

struct CopyCase {
    std::size_t size;
    ULONG expectedWrites;
};

class CopyStreamSizes : public testing::TestWithParam<CopyCase> {};

TEST_P(CopyStreamSizes, CopiesEveryByteInChunksFromTheStart)
{
    const std::vector<BYTE> input = Pattern(GetParam().size);
    const auto reader = ReadStream::FromBytes(input);
    const auto output = WriteStream::ToMemory();
    std::vector<BYTE> scratch(7);
    ULONG read = 0;
    BOOL endOfFile = FALSE;
    reader->ReadBytes(scratch.data(), 7, &read, &endOfFile);  // the copy starts from 0 regardless

    CopyStream(reader, output);

    EXPECT_EQ(output->Bytes(), input);
    EXPECT_EQ(output->WriteCalls(), GetParam().expectedWrites);
    EXPECT_FALSE(output->Closed()) << "the caller closes the output";
}

INSTANTIATE_TEST_SUITE_P(Sizes, CopyStreamSizes,
                         testing::Values(CopyCase{0, 0}, CopyCase{1, 1}, CopyCase{4096, 1}, CopyCase{4097, 2},
                                         CopyCase{3 * 4096 + 5, 4}));

TEST(CopyStream, AFailingReadEndsTheCopyQuietly)
{
    const auto reader = ReadStream::FromBytes(Pattern(10000));
    reader->FailReadsWith(E_FAIL, 4096);
    const auto output = WriteStream::ToMemory();
    EXPECT_NO_THROW(CopyStream(reader, output));
    EXPECT_EQ(output->BytesWritten(), 4096u);
}

TEST(CopyStream, AFailedOrShortWriteEndsTheJobWithEFail)
{
    const struct {
        std::function<void(WriteStream&)> arrange;
        const wchar_t* message;
    } cases[] = {
        {[](WriteStream& w) { w.FailWritesWith(E_ACCESSDENIED); }, L"Message: WriteBytes failed"},
        {[](WriteStream& w) { w.AcceptAtMost(100); }, L"Message: Not all writes written"},
    };
    for (const auto& c : cases) {
        const LogTail log;
        const auto reader = ReadStream::FromBytes(Pattern(5000));
        const auto output = WriteStream::ToMemory();
        c.arrange(*output.Get());
        EXPECT_EQ(ThrownBy([&] { CopyStream(reader, output); }), E_FAIL) << "not the stream's own HRESULT";
        EXPECT_TRUE(log.WaitFor(std::wstring(L"Exception thrown because of failed hresult -2147467259. ") + c.message));
    }
}

TEST(CopyToMemoryStream, HoldsTheWholeJobAndLeavesTheInputAtItsEnd)
{
    const std::vector<BYTE> input = Pattern(10);
    const auto reader = ReadStream::FromBytes(input);
    const ComPtr<IStream> memory = CopyToMemoryStream(reader);
    ASSERT_TRUE(memory);

    std::vector<BYTE> content(32);
    ULONG read = 0;
    ASSERT_EQ(memory->Read(content.data(), 32, &read), S_OK);
    content.resize(read);
    EXPECT_EQ(content, input);

    BYTE byte = 0;
    BOOL endOfFile = FALSE;
    reader->ReadBytes(&byte, 1, &read, &endOfFile);
    EXPECT_EQ(read, 0u);
    EXPECT_TRUE(endOfFile);
}

// An empty job's movable block of no bytes is discarded from the start, as on Windows, so it cannot
// be locked: the copy fails with an HRESULT instead of reading into a missing block.
TEST(CopyToMemoryStream, EmptyJobFailsWithAnHresultSinceItsBlockCannotBeLocked)
{
    const auto reader = ReadStream::FromBytes({});
    EXPECT_EQ(ThrownBy([&] { CopyToMemoryStream(reader); }), E_OUTOFMEMORY);
}

TEST(PrimeReadStream, WaitsForTheFirstDataAndRewinds)
{
    const auto reader = ReadStream::Gradual();
    std::thread producer([&] {
        while (reader->Waiting() == 0) {
            std::this_thread::yield();
        }
        reader->Append("job", 3);
        reader->CloseInput();
    });
    PrimeReadStream(reader);
    producer.join();
    EXPECT_GE(reader->Stats().readsThatWaited, 1u);

    BYTE content[4] = {};
    ULONG read = 0;
    BOOL endOfFile = FALSE;
    reader->ReadBytes(content, 4, &read, &endOfFile);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(content), read), "job");
}

// The file-backed streams. The filter moves data in chunks of this size.
constexpr ULONG kChunk = 4096;
constexpr std::size_t kMiB = 1024 * 1024;

class ScratchFile {
public:
    ScratchFile()
        : path_(fs::temp_directory_path() /
                ("qx-streams-" + std::to_string(::getpid()) + "-" + std::to_string(next_++) + ".bin"))
    {
    }
    ~ScratchFile()
    {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    std::string Path() const { return path_.string(); }
    void Write(const std::vector<BYTE>& bytes) const
    {
        std::ofstream(path_, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    std::vector<BYTE> Read() const
    {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

private:
    static inline int next_ = 0;
    fs::path path_;
};

struct Chunk {
    HRESULT hr = S_OK;
    std::vector<BYTE> bytes;
    BOOL endOfFile = FALSE;
};

Chunk ReadChunk(ReadStream& stream, ULONG size)
{
    Chunk chunk;
    chunk.bytes.resize(size);
    ULONG read = 0;
    chunk.hr = stream.ReadBytes(chunk.bytes.data(), size, &read, &chunk.endOfFile);
    chunk.bytes.resize(read);
    return chunk;
}

std::vector<BYTE> Slice(const std::vector<BYTE>& bytes, std::size_t from, std::size_t count)
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.begin() + static_cast<std::ptrdiff_t>(from + count)};
}

// Read or write system calls this process made so far, from the kernel's own count; -1 where the
// system does not say.
long long SystemCalls(const std::string& counter)
{
    std::ifstream io("/proc/self/io");
    std::string name;
    long long value = 0;
    while (io >> name >> value) {
        if (name == counter + ":") {
            return value;
        }
    }
    return -1;
}

class FileReadChunkSizes : public testing::TestWithParam<ULONG> {};

TEST_P(FileReadChunkSizes, DeliverEveryByteOfTheFileInOrder)
{
    const std::vector<BYTE> content = Pattern(2 * kMiB + 777);
    const ScratchFile file;
    file.Write(content);
    const auto stream = ReadStream::OpenFile(file.Path());
    std::vector<BYTE> copy;
    for (Chunk chunk; !chunk.endOfFile;) {
        chunk = ReadChunk(*stream.Get(), GetParam());
        ASSERT_EQ(chunk.hr, S_OK);
        copy.insert(copy.end(), chunk.bytes.begin(), chunk.bytes.end());
    }
    EXPECT_EQ(copy, content);
    EXPECT_EQ(stream->Stats().bytesRead, content.size());
}

INSTANTIATE_TEST_SUITE_P(Sizes, FileReadChunkSizes,
                         testing::Values(ULONG{1}, kChunk - 3, kChunk, ULONG{kMiB} - 1, ULONG{kMiB}, ULONG{kMiB} + 3,
                                         ULONG{3 * kMiB}));

TEST(FileReadStream, ReadsAfterASeekComeFromTheNewPosition)
{
    const std::vector<BYTE> content = Pattern(3 * kMiB);
    const ScratchFile file;
    file.Write(content);
    const auto stream = ReadStream::OpenFile(file.Path());
    ASSERT_EQ(ReadChunk(*stream.Get(), kChunk).bytes, Slice(content, 0, kChunk));
    for (const std::size_t position : {std::size_t{2 * kMiB + 11}, std::size_t{100}, kMiB - 5, kMiB - 5, std::size_t{0}}) {
        ULONGLONG now = 0;
        ASSERT_EQ(stream->Seek(static_cast<LONGLONG>(position), STREAM_SEEK_SET, &now), S_OK);
        EXPECT_EQ(ReadChunk(*stream.Get(), 10).bytes, Slice(content, position, 10)) << "at " << position;
    }
}

TEST(FileReadStream, AFileThatShrankFailsTheReadItCannotFill)
{
    const ScratchFile file;
    file.Write(Pattern(10000));
    const auto stream = ReadStream::OpenFile(file.Path());
    fs::resize_file(file.Path(), 5000);
    EXPECT_EQ(ReadChunk(*stream.Get(), kChunk).hr, S_OK);
    const Chunk cut = ReadChunk(*stream.Get(), kChunk);
    EXPECT_EQ(cut.hr, pipelinehost::kReadFault);
    EXPECT_TRUE(cut.bytes.empty());
    EXPECT_EQ(stream->Stats().failedReads, 1u);
    EXPECT_EQ(stream->Stats().bytesRead, kChunk);
}

TEST(FileReadStream, SmallReadsCostAboutOneSystemCallPerMegabyte)
{
    const ScratchFile file;
    file.Write(Pattern(8 * kMiB));
    const auto stream = ReadStream::OpenFile(file.Path());
    const long long before = SystemCalls("syscr");
    if (before < 0) {
        GTEST_SKIP() << "the system does not count a process's read calls";
    }
    while (!ReadChunk(*stream.Get(), kChunk).endOfFile) {
    }
    EXPECT_LE(SystemCalls("syscr") - before, 16) << "8 reads of the file and the count's own";
}

void WriteInChunks(WriteStream& stream, const std::vector<BYTE>& bytes, std::size_t chunkSize)
{
    for (std::size_t at = 0; at < bytes.size(); at += chunkSize) {
        const auto size = static_cast<ULONG>(std::min(chunkSize, bytes.size() - at));
        ULONG written = 0;
        ASSERT_EQ(stream.WriteBytes(bytes.data() + at, size, &written), S_OK);
        ASSERT_EQ(written, size);
    }
}

class FileWriteChunkSizes : public testing::TestWithParam<std::size_t> {};

TEST_P(FileWriteChunkSizes, LeaveEveryByteInTheFileOnClose)
{
    const std::vector<BYTE> content = Pattern(3 * kMiB + kMiB / 2 + 9);
    const ScratchFile file;
    const auto stream = WriteStream::ToFile(file.Path());
    WriteInChunks(*stream.Get(), content, GetParam());
    stream->Close();
    EXPECT_EQ(file.Read(), content);
    EXPECT_EQ(stream->BytesWritten(), content.size());
    EXPECT_EQ(stream->WriteFault(), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Sizes, FileWriteChunkSizes,
                         testing::Values(std::size_t{1000}, std::size_t{kChunk - 3}, std::size_t{kChunk}, kMiB - 1, kMiB,
                                         kMiB + 3, 3 * kMiB));

// A job that ends without Close still leaves every byte the filter was told was taken.
TEST(FileWriteStream, AnUnclosedStreamLeavesItsBytesWhenReleased)
{
    const std::vector<BYTE> content = Pattern(5000);
    const ScratchFile file;
    {
        const auto stream = WriteStream::ToFile(file.Path());
        WriteInChunks(*stream.Get(), content, kChunk);
        EXPECT_EQ(stream->BytesWritten(), 5000u);
        EXPECT_FALSE(stream->Closed());
    }
    EXPECT_EQ(file.Read(), content);
}

TEST(FileWriteStream, SmallWritesCostAboutOneSystemCallPerMegabyte)
{
    const ScratchFile file;
    const auto stream = WriteStream::ToFile(file.Path());
    const std::vector<BYTE> content = Pattern(8 * kMiB);
    const long long before = SystemCalls("syscw");
    if (before < 0) {
        GTEST_SKIP() << "the system does not count a process's write calls";
    }
    WriteInChunks(*stream.Get(), content, kChunk);
    stream->Close();
    EXPECT_LE(SystemCalls("syscw") - before, 12) << "8 writes of the file";
}

}  // namespace
