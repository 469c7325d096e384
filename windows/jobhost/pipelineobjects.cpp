#include "pipelineobjects.h"

namespace {

// The pipeline hands handles over as VT_UINT_PTR, which VariantCopy refuses (no automation type):
// such a value is copied as it is, every other one by VariantCopy.
HRESULT CopyValue(VARIANT* target, const VARIANT* source)
{
    if (source->vt == VT_UINT_PTR || source->vt == VT_INT_PTR) {
        *target = *source;
        return S_OK;
    }
    return VariantCopy(target, const_cast<VARIANT*>(source));  // VariantCopy takes no const source
}

}  // namespace

PropertyBag::PropertyBag()
{
    InitializeCriticalSection(&m_lock);
}

PropertyBag::~PropertyBag()
{
    for (auto& entry : m_entries) {
        VariantClear(&entry.second);
    }
    DeleteCriticalSection(&m_lock);
}

HRESULT PropertyBag::QueryInterface(REFIID iid, void** out)
{
    return Answer(iid, out, this, {&IID_IPrintPipelinePropertyBag});
}

// A name already taken is refused, as the pipeline's bag does: a filter replaces a value by
// deleting it first.
HRESULT PropertyBag::AddProperty(const wchar_t* name, const VARIANT* value)
{
    if (name == nullptr || *name == L'\0') {
        return E_INVALIDARG;
    }
    if (value == nullptr) {
        return E_POINTER;
    }
    VARIANT copy;
    VariantInit(&copy);
    HRESULT hr = CopyValue(&copy, value);
    if (FAILED(hr)) {
        return hr;
    }
    EnterCriticalSection(&m_lock);
    for (const auto& entry : m_entries) {
        if (entry.first == name) {
            hr = HRESULT_FROM_WIN32(ERROR_ALREADY_EXISTS);
        }
    }
    if (SUCCEEDED(hr)) {
        m_entries.emplace_back(name, copy);
    }
    LeaveCriticalSection(&m_lock);
    if (FAILED(hr)) {
        VariantClear(&copy);
    }
    return hr;
}

HRESULT PropertyBag::GetProperty(const wchar_t* name, VARIANT* value)
{
    if (name == nullptr || value == nullptr) {
        return E_POINTER;
    }
    VariantInit(value);
    HRESULT hr = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    EnterCriticalSection(&m_lock);
    for (const auto& entry : m_entries) {
        if (entry.first == name) {
            hr = CopyValue(value, &entry.second);
        }
    }
    LeaveCriticalSection(&m_lock);
    return hr;
}

BOOL PropertyBag::DeleteProperty(const wchar_t* name)
{
    BOOL deleted = FALSE;
    EnterCriticalSection(&m_lock);
    for (auto entry = m_entries.begin(); name != nullptr && entry != m_entries.end(); ++entry) {
        if (entry->first == name) {
            VariantClear(&entry->second);
            m_entries.erase(entry);
            deleted = TRUE;
            break;
        }
    }
    LeaveCriticalSection(&m_lock);
    return deleted;
}

std::vector<std::pair<std::wstring, VARIANT>> PropertyBag::Snapshot()
{
    std::vector<std::pair<std::wstring, VARIANT>> copies;
    EnterCriticalSection(&m_lock);
    for (const auto& entry : m_entries) {
        VARIANT copy;
        VariantInit(&copy);
        CopyValue(&copy, &entry.second);
        copies.emplace_back(entry.first, copy);
    }
    LeaveCriticalSection(&m_lock);
    return copies;
}

HRESULT FileReadStream::QueryInterface(REFIID iid, void** out)
{
    return Answer(iid, out, this, {&IID_IPrintReadStream});
}

HRESULT FileReadStream::Seek(LONGLONG move, DWORD origin, ULONGLONG* position)
{
    LARGE_INTEGER distance;
    distance.QuadPart = move;
    LARGE_INTEGER reached;
    if (origin > FILE_END) {
        return STG_E_INVALIDFUNCTION;
    }
    if (!SetFilePointerEx(m_file, distance, &reached, origin)) {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    if (position != nullptr) {
        *position = static_cast<ULONGLONG>(reached.QuadPart);
    }
    return S_OK;
}

HRESULT FileReadStream::ReadBytes(void* buffer, ULONG requested, ULONG* read, BOOL* endOfFile)
{
    if ((buffer == nullptr && requested > 0) || read == nullptr || endOfFile == nullptr) {
        return E_POINTER;
    }
    *read = 0;
    *endOfFile = FALSE;
    DWORD count = 0;
    if (requested > 0 && !ReadFile(m_file, buffer, requested, &count, nullptr)) {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    *read = count;
    // The end is told with the last bytes, as a stream behind a finished filter tells it.
    LARGE_INTEGER zero{};
    LARGE_INTEGER here;
    LARGE_INTEGER size;
    if (SetFilePointerEx(m_file, zero, &here, FILE_CURRENT) && GetFileSizeEx(m_file, &size)) {
        *endOfFile = here.QuadPart >= size.QuadPart ? TRUE : FALSE;
    }
    return S_OK;
}

HRESULT FileWriteStream::QueryInterface(REFIID iid, void** out)
{
    return Answer(iid, out, this, {&IID_IPrintWriteStream});
}

HRESULT FileWriteStream::WriteBytes(const void* buffer, ULONG size, ULONG* written)
{
    if ((buffer == nullptr && size > 0) || written == nullptr) {
        return E_POINTER;
    }
    *written = 0;
    if (Closed()) {
        return E_UNEXPECTED;
    }
    DWORD count = 0;
    if (size > 0 && !WriteFile(m_file, buffer, size, &count, nullptr)) {
        m_failed = true;
        return HRESULT_FROM_WIN32(GetLastError());
    }
    *written = count;
    return S_OK;
}

void FileWriteStream::Close()
{
    if (!Closed()) {
        if (!CloseHandle(m_file)) {
            m_failed = true;
        }
        m_file = INVALID_HANDLE_VALUE;
    }
}

HRESULT PipelineControl::QueryInterface(REFIID iid, void** out)
{
    return Answer(iid, out, this, {&IID_IPrintPipelineManagerControl});
}

HRESULT PipelineControl::RequestShutdown(HRESULT reason, IImgErrorInfo*)
{
    if (InterlockedIncrement(&shutdownRequests) == 1) {
        shutdownReason = reason;
    }
    return S_OK;
}

HRESULT PipelineControl::FilterFinished()
{
    InterlockedIncrement(&finished);
    return S_OK;
}

Communicator::Communicator(IPrintReadStream* reader, IPrintWriteStream* writer) : m_reader(reader), m_writer(writer)
{
    m_reader->AddRef();
    m_writer->AddRef();
}

Communicator::~Communicator()
{
    m_reader->Release();
    m_writer->Release();
}

HRESULT Communicator::QueryInterface(REFIID iid, void** out)
{
    return Answer(iid, out, this, {&IID_IInterFilterCommunicator});
}

HRESULT Communicator::RequestReader(void** reader)
{
    if (reader == nullptr) {
        return E_POINTER;
    }
    m_reader->AddRef();
    *reader = m_reader;
    return S_OK;
}

HRESULT Communicator::RequestWriter(void** writer)
{
    if (writer == nullptr) {
        return E_POINTER;
    }
    m_writer->AddRef();
    *writer = m_writer;
    return S_OK;
}

HRESULT DriverPropertyBag::QueryInterface(REFIID iid, void** out)
{
    return Answer(iid, out, static_cast<IPrinterPropertyBag*>(this), {&IID_IDispatch, &IID_IPrinterPropertyBag});
}

HRESULT DriverPropertyBag::GetTypeInfoCount(UINT* count)
{
    if (count == nullptr) {
        return E_POINTER;
    }
    *count = 0;
    return S_OK;
}

const DriverPropertyBag::Value* DriverPropertyBag::Find(BSTR name, Value::Kind kind) const
{
    const auto found = m_values.find(name);
    return found == m_values.end() || found->second.kind != kind ? nullptr : &found->second;
}

HRESULT DriverPropertyBag::GetBool(BSTR name, BOOL* value)
{
    if (name == nullptr || value == nullptr) {
        return E_POINTER;
    }
    const Value* stored = Find(name, Value::Bool);
    if (stored == nullptr) {
        return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    }
    *value = stored->number != 0 ? TRUE : FALSE;
    return S_OK;
}

HRESULT DriverPropertyBag::GetInt32(BSTR name, LONG* value)
{
    if (name == nullptr || value == nullptr) {
        return E_POINTER;
    }
    const Value* stored = Find(name, Value::Int32);
    if (stored == nullptr) {
        return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    }
    *value = stored->number;
    return S_OK;
}

HRESULT DriverPropertyBag::GetString(BSTR name, BSTR* value)
{
    if (name == nullptr || value == nullptr) {
        return E_POINTER;
    }
    const Value* stored = Find(name, Value::String);
    if (stored == nullptr) {
        return HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    }
    *value = SysAllocStringLen(stored->text.data(), static_cast<UINT>(stored->text.size()));
    return *value == nullptr ? E_OUTOFMEMORY : S_OK;
}
