#include "safehglobal.h"

using Microsoft::WRL::ComPtr;

SafeHGlobal::~SafeHGlobal()
{
    if (m_memory != nullptr) {
        GlobalFree(m_memory);
    }
}

ComPtr<IStream> SafeHGlobal::DetachAsStream(HRESULT& hr)
{
    ComPtr<IStream> stream;
    hr = CreateStreamOnHGlobal(m_memory, TRUE, &stream);
    if (hr == S_OK) {
        m_memory = nullptr;
        return stream;
    }
    if (stream) {
        stream.Reset();  // a stream that came back anyway owns the block and frees it
        m_memory = nullptr;
    }
    if (SUCCEEDED(hr)) {
        hr = E_UNEXPECTED;  // a success other than S_OK still gives no usable stream
    }
    return nullptr;
}
