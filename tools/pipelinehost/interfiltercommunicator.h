// The inter-filter communicator: hands a filter its reader and writer. They are handed out as plain
// IUnknown, as the pipeline does, so the filter must ask them for the stream interfaces itself; a
// test may hand out any object at all to see the filter refuse it.
#pragma once

#include <atomic>
#include <memory>

#include <filterpipeline.h>
#include <platform/comobject.h>
#include <wrl/client.h>

#include "pipelinehost/calllog.h"

namespace pipelinehost {

class InterFilterCommunicator : public platform::ComObject<InterFilterCommunicator, IInterFilterCommunicator> {
public:
    // Either object may be null; a request for it then answers S_OK with null.
    static Microsoft::WRL::ComPtr<InterFilterCommunicator> Create(IUnknown* reader, IUnknown* writer);

    void LogCallsTo(std::shared_ptr<CallLog> log) { log_ = std::move(log); }

    // Knobs, to be set before the filter asks.
    void FailReaderRequestWith(HRESULT hr) { readerFailure_ = hr; }
    void FailWriterRequestWith(HRESULT hr) { writerFailure_ = hr; }
    // The request succeeds but yields no object.
    void HandOutNullReader() { nullReader_ = true; }
    void HandOutNullWriter() { nullWriter_ = true; }

    // E_POINTER for a null out parameter; otherwise the object's IUnknown with a reference for the caller.
    HRESULT RequestReader(void** reader) override;
    HRESULT RequestWriter(void** writer) override;

private:
    using Base = platform::ComObject<InterFilterCommunicator, IInterFilterCommunicator>;
    friend Base;

    InterFilterCommunicator() = default;
    ~InterFilterCommunicator() override = default;

    HRESULT HandOut(const char* call, IUnknown* object, HRESULT failure, bool handOutNull, void** out) const;

    Microsoft::WRL::ComPtr<IUnknown> reader_;
    Microsoft::WRL::ComPtr<IUnknown> writer_;
    std::atomic<HRESULT> readerFailure_{S_OK};
    std::atomic<HRESULT> writerFailure_{S_OK};
    std::atomic<bool> nullReader_{false};
    std::atomic<bool> nullWriter_{false};
    std::shared_ptr<CallLog> log_;
};

}  // namespace pipelinehost
