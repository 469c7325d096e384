// The pipeline's side of one job as the host gives it to the filter: the property bag, file-backed
// read and write streams, the pipeline control, the inter-filter communicator and a version-4
// driver property bag.
#pragma once

#include <windows.h>
#include <objbase.h>
#include <oaidl.h>

#include <filterpipeline.h>
#include <printerextension.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "comobject.h"

class PropertyBag : public ComObject<IPrintPipelinePropertyBag> {
public:
    PropertyBag();
    ~PropertyBag() override;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    HRESULT STDMETHODCALLTYPE AddProperty(const wchar_t* name, const VARIANT* value) override;
    HRESULT STDMETHODCALLTYPE GetProperty(const wchar_t* name, VARIANT* value) override;
    BOOL STDMETHODCALLTYPE DeleteProperty(const wchar_t* name) override;

    // Name and a copy of each value, in the order they were added.
    std::vector<std::pair<std::wstring, VARIANT>> Snapshot();

private:
    CRITICAL_SECTION m_lock;
    std::vector<std::pair<std::wstring, VARIANT>> m_entries;
};

class FileReadStream : public ComObject<IPrintReadStream> {
public:
    explicit FileReadStream(HANDLE file) : m_file(file) {}
    ~FileReadStream() override { CloseHandle(m_file); }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    HRESULT STDMETHODCALLTYPE Seek(LONGLONG move, DWORD origin, ULONGLONG* position) override;
    HRESULT STDMETHODCALLTYPE ReadBytes(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile) override;

private:
    HANDLE m_file;
};

class FileWriteStream : public ComObject<IPrintWriteStream> {
public:
    explicit FileWriteStream(HANDLE file) : m_file(file) {}
    ~FileWriteStream() override { Close(); }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    HRESULT STDMETHODCALLTYPE WriteBytes(const void* buffer, ULONG size, ULONG* written) override;
    void STDMETHODCALLTYPE Close() override;
    bool Closed() const { return m_file == INVALID_HANDLE_VALUE; }
    bool Failed() const { return m_failed; }

private:
    HANDLE m_file;
    bool m_failed = false;
};

class PipelineControl : public ComObject<IPrintPipelineManagerControl> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    HRESULT STDMETHODCALLTYPE RequestShutdown(HRESULT reason, IImgErrorInfo* info) override;
    HRESULT STDMETHODCALLTYPE FilterFinished() override;

    LONG shutdownRequests = 0;
    HRESULT shutdownReason = S_OK;
    LONG finished = 0;
};

class ProgressReport : public ComObject<IPrintPipelineProgressReport> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, this, {&IID_IPrintPipelineProgressReport});
    }
    HRESULT STDMETHODCALLTYPE ReportProgress(EXpsJobConsumption) override
    {
        InterlockedIncrement(&reports);
        return S_OK;
    }

    LONG reports = 0;
};

class Communicator : public ComObject<IInterFilterCommunicator> {
public:
    Communicator(IPrintReadStream* reader, IPrintWriteStream* writer);
    ~Communicator() override;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    HRESULT STDMETHODCALLTYPE RequestReader(void** reader) override;
    HRESULT STDMETHODCALLTYPE RequestWriter(void** writer) override;

private:
    IPrintReadStream* m_reader;
    IPrintWriteStream* m_writer;
};

// A printer's version-4 driver properties: booleans, 32-bit numbers and texts by name.
class DriverPropertyBag : public ComObject<IPrinterPropertyBag> {
public:
    struct Value {
        enum Kind { Bool, Int32, String } kind;
        LONG number;
        std::wstring text;
    };

    explicit DriverPropertyBag(std::map<std::wstring, Value> values) : m_values(std::move(values)) {}
    size_t Count() const { return m_values.size(); }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetBool(BSTR name, BOOL* value) override;
    HRESULT STDMETHODCALLTYPE SetBool(BSTR, BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetInt32(BSTR name, LONG* value) override;
    HRESULT STDMETHODCALLTYPE SetInt32(BSTR, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetString(BSTR name, BSTR* value) override;
    HRESULT STDMETHODCALLTYPE SetString(BSTR, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetBytes(BSTR, DWORD*, BYTE**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetBytes(BSTR, DWORD, BYTE*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetReadStream(BSTR, IStream**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetWriteStream(BSTR, IStream**) override { return E_NOTIMPL; }

private:
    const Value* Find(BSTR name, Value::Kind kind) const;
    std::map<std::wstring, Value> m_values;
};
