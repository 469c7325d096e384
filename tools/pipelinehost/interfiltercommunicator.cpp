#include "pipelinehost/interfiltercommunicator.h"

#include <string>

#include "pipelinehost/hresulttext.h"

namespace pipelinehost {
namespace {

// The object's identity, so that whatever it is, the filter receives an IUnknown.
Microsoft::WRL::ComPtr<IUnknown> IdentityOf(IUnknown* object)
{
    Microsoft::WRL::ComPtr<IUnknown> identity;
    if (object != nullptr) {
        object->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(identity.GetAddressOf()));
    }
    return identity;
}

}  // namespace

Microsoft::WRL::ComPtr<InterFilterCommunicator> InterFilterCommunicator::Create(IUnknown* reader, IUnknown* writer)
{
    Microsoft::WRL::ComPtr<InterFilterCommunicator> communicator;
    communicator.Attach(new InterFilterCommunicator);
    communicator->reader_ = IdentityOf(reader);
    communicator->writer_ = IdentityOf(writer);
    return communicator;
}

HRESULT InterFilterCommunicator::RequestReader(void** reader)
{
    return HandOut("communicator.RequestReader", reader_.Get(), readerFailure_, nullReader_, reader);
}

HRESULT InterFilterCommunicator::RequestWriter(void** writer)
{
    return HandOut("communicator.RequestWriter", writer_.Get(), writerFailure_, nullWriter_, writer);
}

HRESULT InterFilterCommunicator::HandOut(const char* call, IUnknown* object, HRESULT failure, bool handOutNull,
                                         void** out) const
{
    HRESULT hr = S_OK;
    if (out == nullptr) {
        hr = E_POINTER;
    } else {
        *out = nullptr;
        if (FAILED(failure)) {
            hr = failure;
        } else if (!handOutNull && object != nullptr) {
            object->AddRef();
            *out = object;
        }
    }
    if (log_) {
        const bool none = SUCCEEDED(hr) && *out == nullptr;
        log_->Record(std::string(call) + " -> " + HresultShort(hr) + (none ? ", no object" : ""));
    }
    return hr;
}

}  // namespace pipelinehost
