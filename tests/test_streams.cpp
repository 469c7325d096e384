// The job streams: priming, the copy into memory and the pass-through copy, with the writer's
// failure texts.
#include <numeric>
#include <thread>

#include <gtest/gtest.h>

#include <platform/systemapi.h>
#include <wrl/client.h>

#include "hrerror.h"
#include "pipelinehost/readstream.h"
#include "pipelinehost/writestream.h"
#include "streamhandler.h"
#include "testmachine.h"

using Microsoft::WRL::ComPtr;
using pipelinehost::ReadStream;
using pipelinehost::WriteStream;
using testsupport::LogTail;

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

TEST(CopyToMemoryStream, CopiesAnEmptyJob)
{
    const ComPtr<IStream> memory = CopyToMemoryStream(ReadStream::FromBytes({}));
    STATSTG status{};
    ASSERT_EQ(memory->Stat(&status, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(status.cbSize.QuadPart, 0u);
}

TEST(CopyToMemoryStream, FailsWithAnHresultWhenTheMemoryCallsFail)
{
    struct NoAlloc : platform::Kernel32 {
        HGLOBAL GlobalAlloc(UINT, SIZE_T) override { return nullptr; }
    } noAlloc;
    struct NoLock : platform::Kernel32 {
        LPVOID GlobalLock(HGLOBAL) override { return nullptr; }
    } noLock;
    struct NoStream : platform::Ole32 {
        HRESULT CreateStreamOnHGlobal(HGLOBAL, BOOL, IStream** stream) override
        {
            *stream = nullptr;
            return E_OUTOFMEMORY;
        }
    } noStream;
    const auto reader = ReadStream::FromBytes(Pattern(100));
    {
        platform::ScopedInstall<platform::IKernel32> failing(noAlloc);
        EXPECT_EQ(ThrownBy([&] { CopyToMemoryStream(reader); }), E_OUTOFMEMORY);
    }
    {
        platform::ScopedInstall<platform::IKernel32> failing(noLock);
        EXPECT_EQ(ThrownBy([&] { CopyToMemoryStream(reader); }), E_OUTOFMEMORY);
    }
    {
        // The block goes back to its owner, which frees it: the leak checker watches this one.
        platform::ScopedInstall<platform::IOle32> failing(noStream);
        EXPECT_EQ(ThrownBy([&] { CopyToMemoryStream(reader); }), E_OUTOFMEMORY);
    }
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

}  // namespace
