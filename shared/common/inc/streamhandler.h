// The job's input and output streams behind a uniform read/seek/write surface, and the three
// stream operations of a job: priming the input, copying it into memory, and passing it through.
#pragma once

#include <utility>

#include <filterpipeline.h>
#include <wrl/client.h>

class IStreamReader {
public:
    virtual HRESULT Read(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile) = 0;
    virtual HRESULT Seek(LONGLONG offset, DWORD origin, ULONGLONG* newPosition) = 0;

protected:
    ~IStreamReader() = default;
};

class PrintReadStreamReader : public IStreamReader {
public:
    explicit PrintReadStreamReader(Microsoft::WRL::ComPtr<IPrintReadStream> stream) : m_stream(std::move(stream)) {}
    HRESULT Read(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile) override;
    HRESULT Seek(LONGLONG offset, DWORD origin, ULONGLONG* newPosition) override;

private:
    Microsoft::WRL::ComPtr<IPrintReadStream> m_stream;
};

class IStreamWriter {
public:
    virtual ~IStreamWriter() = default;
    // Writes every byte or throws hr_error.
    virtual void Write(const void* buffer, ULONG size) = 0;
};

class PrintWriteStreamWriter : public IStreamWriter {
public:
    explicit PrintWriteStreamWriter(Microsoft::WRL::ComPtr<IPrintWriteStream> stream) : m_stream(std::move(stream)) {}
    void Write(const void* buffer, ULONG size) override;

private:
    Microsoft::WRL::ComPtr<IPrintWriteStream> m_stream;
};

class IStreamHandler {
public:
    virtual void Write(const void* buffer, ULONG size) = 0;
    virtual HRESULT Read(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile) = 0;
    virtual HRESULT Seek(LONGLONG offset, DWORD origin, ULONGLONG* newPosition) = 0;
    virtual ~IStreamHandler() = default;
};

// Reads from one stream and writes to another; both outlive it.
class StreamHandler : public IStreamHandler {
public:
    StreamHandler(IStreamReader& reader, IStreamWriter& writer) : m_reader(reader), m_writer(writer) {}
    void Write(const void* buffer, ULONG size) override { m_writer.Write(buffer, size); }
    HRESULT Read(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile) override
    {
        return m_reader.Read(buffer, requested, read, endOfFile);
    }
    HRESULT Seek(LONGLONG offset, DWORD origin, ULONGLONG* newPosition) override
    {
        return m_reader.Seek(offset, origin, newPosition);
    }

private:
    IStreamReader& m_reader;
    IStreamWriter& m_writer;
};

// Waits until the previous filter has produced data (or closed its output), then rewinds.
void PrimeReadStream(const Microsoft::WRL::ComPtr<IPrintReadStream>& reader);

// The whole job, from its start, in one memory block wrapped as a stream positioned at 0.
Microsoft::WRL::ComPtr<IStream> CopyToMemoryStream(const Microsoft::WRL::ComPtr<IPrintReadStream>& reader);

// Copies the job from its start to the output in 4096-byte chunks; the output is not closed.
void CopyStream(const Microsoft::WRL::ComPtr<IPrintReadStream>& reader,
                const Microsoft::WRL::ComPtr<IPrintWriteStream>& writer);
