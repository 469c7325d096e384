#include "pipelinehost/jobpipeline.h"

#include <utility>

namespace pipelinehost {

JobPipeline BuildJobPipeline(Microsoft::WRL::ComPtr<ReadStream> reader, Microsoft::WRL::ComPtr<WriteStream> writer,
                             const std::vector<PropertyOption>& properties,
                             Microsoft::WRL::ComPtr<ProgressReport> progress)
{
    JobPipeline pipeline;
    pipeline.calls = std::make_shared<CallLog>();
    pipeline.reader = std::move(reader);
    pipeline.writer = std::move(writer);
    pipeline.communicator = InterFilterCommunicator::Create(pipeline.reader.Get(), pipeline.writer.Get());
    pipeline.bag = PropertyBag::Create();
    for (const PropertyOption& property : properties) {
        pipeline.bag->Set(property.name, property.value);
    }
    pipeline.control = PipelineControl::Create();
    pipeline.progress = std::move(progress);

    pipeline.reader->LogCallsTo(pipeline.calls);
    pipeline.writer->LogCallsTo(pipeline.calls);
    pipeline.communicator->LogCallsTo(pipeline.calls);
    pipeline.bag->LogCallsTo(pipeline.calls);
    pipeline.control->LogCallsTo(pipeline.calls);
    if (pipeline.progress) {
        pipeline.progress->LogCallsTo(pipeline.calls);
    }
    return pipeline;
}

}  // namespace pipelinehost
