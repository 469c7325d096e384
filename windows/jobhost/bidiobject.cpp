// The printers of a Wine spooler have no bidi channel: the object binds to any printer the spooler
// opens and answers every Get query as a printer that reports no value for it. For the paper source
// query that is a printer with no source, so the filter leaves the ticket's input bin and rotation
// as they are.
#include "bidiobject.h"

#include <winspool.h>

#include <bidispl.h>

#include <string>

#include "comobject.h"

namespace {

class BidiSpl : public ComObject<IBidiSpl2> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, this, {&IID_IBidiSpl2});
    }

    HRESULT STDMETHODCALLTYPE BindDevice(const LPCWSTR deviceName, const DWORD) override
    {
        if (deviceName == nullptr) {
            return E_POINTER;
        }
        if (m_bound) {
            return HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE_STATE);
        }
        HANDLE printer = nullptr;
        if (!OpenPrinterW(const_cast<LPWSTR>(deviceName), &printer, nullptr)) {
            return HRESULT_FROM_WIN32(GetLastError());
        }
        ClosePrinter(printer);
        m_bound = true;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE UnbindDevice() override
    {
        if (!m_bound) {
            return HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE_STATE);
        }
        m_bound = false;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE SendRecvXMLString(BSTR request, BSTR* response) override
    {
        if (request == nullptr || response == nullptr) {
            return E_POINTER;
        }
        *response = nullptr;
        if (!m_bound) {
            return HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE_STATE);
        }
        const std::wstring text(request, SysStringLen(request));
        const std::wstring schema = SchemaOf(text);
        if (text.find(L"<bidi:Get") == std::wstring::npos || schema.empty()) {
            return E_INVALIDARG;
        }
        const std::wstring answer = L"<bidi:Get xmlns:bidi=\"http://schemas.microsoft.com/windows/2005/03/printing/bidi\">"
                                    L"<Query schema=\"" + schema + L"\"></Query></bidi:Get>";
        *response = SysAllocStringLen(answer.data(), static_cast<UINT>(answer.size()));
        return *response == nullptr ? E_OUTOFMEMORY : S_OK;
    }

    HRESULT STDMETHODCALLTYPE SendRecvXMLStream(IStream* /*request*/, IStream** /*response*/) override
    {
        return E_NOTIMPL;
    }

private:
    // The schema attribute of the request's first Query, as written (still escaped).
    static std::wstring SchemaOf(const std::wstring& request)
    {
        const size_t query = request.find(L"<Query");
        const size_t key = query == std::wstring::npos ? query : request.find(L"schema=", query);
        if (key == std::wstring::npos || key + 8 >= request.size()) {
            return {};
        }
        const wchar_t quote = request[key + 7];
        const size_t end = request.find(quote, key + 8);
        return end == std::wstring::npos ? std::wstring() : request.substr(key + 8, end - key - 8);
    }

    bool m_bound = false;
};

class BidiSplClass : public ComObject<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override
    {
        return Answer(iid, out, this, {&IID_IClassFactory});
    }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override
    {
        if (out == nullptr) {
            return E_POINTER;
        }
        *out = nullptr;
        if (outer != nullptr) {
            return CLASS_E_NOAGGREGATION;
        }
        BidiSpl* bidi = new BidiSpl;
        const HRESULT hr = bidi->QueryInterface(iid, out);
        bidi->Release();
        return hr;
    }
    HRESULT STDMETHODCALLTYPE LockServer(WINBOOL) override { return S_OK; }
};

}  // namespace

IClassFactory* NewBidiSplClass()
{
    return new BidiSplClass;
}
