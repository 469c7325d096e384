#include "pipelinehost/gradualfeeder.h"

#include <utility>

namespace pipelinehost {

GradualFeeder::GradualFeeder(Microsoft::WRL::ComPtr<ReadStream> stream, ULONG chunkBytes,
                             std::chrono::milliseconds pause)
    : stream_(std::move(stream)), thread_([this, chunkBytes, pause] { Feed(chunkBytes, pause); })
{
}

GradualFeeder::~GradualFeeder() { thread_.join(); }

void GradualFeeder::Feed(ULONG chunkBytes, std::chrono::milliseconds pause)
{
    const ULONGLONG size = stream_->SourceSize();
    ULONGLONG provided = 0;
    do {
        // The pause comes first, so that the filter's first read finds nothing and waits.
        std::this_thread::sleep_for(pause);
        provided = stream_->Provide(chunkBytes);
        ++chunks_;
    } while (provided < size);
    stream_->CloseInput();
}

}  // namespace pipelinehost
