#include "streamhandler.h"

#include <algorithm>

#include "hrerror.h"
#include "safehglobal.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr ULONG kChunkSize = 4096;

}  // namespace

HRESULT PrintReadStreamReader::Read(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile)
{
    return m_stream->ReadBytes(buffer, requested, read, endOfFile);
}

HRESULT PrintReadStreamReader::Seek(LONGLONG offset, DWORD origin, ULONGLONG* newPosition)
{
    return m_stream->Seek(offset, origin, newPosition);
}

void PrintWriteStreamWriter::Write(const void* buffer, ULONG size)
{
    if (buffer == nullptr) {
        ThrowHrWithMessage(E_INVALIDARG, L"Source buffer is null", QX_HERE);
    }
    if (size == 0) {
        return;
    }
    ULONG written = 0;
    // The stream's own HRESULT is not passed on: a failed write is always E_FAIL to the job.
    if (FAILED(m_stream->WriteBytes(buffer, size, &written))) {
        ThrowHrWithMessage(E_FAIL, L"WriteBytes failed", QX_HERE);
    }
    if (written != size) {
        ThrowHrWithMessage(E_FAIL, L"Not all writes written", QX_HERE);
    }
}

void PrimeReadStream(const ComPtr<IPrintReadStream>& reader)
{
    PrintReadStreamReader streamReader(reader);
    BYTE first = 0;
    ULONG read = 0;
    BOOL endOfFile = FALSE;
    streamReader.Read(&first, 1, &read, &endOfFile);
    streamReader.Seek(0, STREAM_SEEK_SET, nullptr);
}

ComPtr<IStream> CopyToMemoryStream(const ComPtr<IPrintReadStream>& reader)
{
    ULONGLONG size = 0;
    THROW_IF_FAILED(reader->Seek(0, STREAM_SEEK_END, &size));
    THROW_IF_FAILED(reader->Seek(0, STREAM_SEEK_SET, nullptr));

    SafeHGlobal block(GlobalAlloc(GMEM_MOVEABLE, static_cast<SIZE_T>(size)));
    if (block.Get() == nullptr) {
        THROW_HR(E_OUTOFMEMORY);
    }
    {
        GlobalLockGuard lock(block.Get());
        if (lock.Data() == nullptr) {
            THROW_HR(E_OUTOFMEMORY);
        }
        auto* data = static_cast<BYTE*>(lock.Data());
        ULONGLONG filled = 0;
        for (;;) {
            const auto requested = static_cast<ULONG>(std::min<ULONGLONG>(size - filled, 0xFFFFFFFFu));
            ULONG read = 0;
            BOOL endOfFile = FALSE;
            reader->ReadBytes(data + filled, requested, &read, &endOfFile);
            filled += std::min(read, requested);
            if (endOfFile || read == 0) {
                break;
            }
        }
    }
    HRESULT hr = S_OK;
    ComPtr<IStream> stream = block.DetachAsStream(hr);
    THROW_IF_FAILED(hr);
    LARGE_INTEGER start{};
    THROW_IF_FAILED(stream->Seek(start, STREAM_SEEK_SET, nullptr));
    return stream;
}

void CopyStream(const ComPtr<IPrintReadStream>& reader, const ComPtr<IPrintWriteStream>& writer)
{
    PrintReadStreamReader streamReader(reader);
    PrintWriteStreamWriter streamWriter(writer);
    StreamHandler handler(streamReader, streamWriter);

    handler.Seek(0, STREAM_SEEK_SET, nullptr);
    BYTE buffer[kChunkSize];
    ULONG read = 0;
    BOOL endOfFile = FALSE;
    do {
        read = 0;
        endOfFile = FALSE;
        // A failing read that returns nothing ends the copy like the end of the stream.
        handler.Read(buffer, kChunkSize, &read, &endOfFile);
        handler.Write(buffer, read);
    } while (!endOfFile && read > 0);
}
