// The pipeline's objects for one job, as the host sets them up around the filter: the input and
// output streams, the communicator that hands them over, the property bag, the control, the
// progress report when the job has one, and one record of every call the filter makes into any of them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <wrl/client.h>

#include "pipelinehost/calllog.h"
#include "pipelinehost/hostoptions.h"
#include "pipelinehost/interfiltercommunicator.h"
#include "pipelinehost/pipelinecontrol.h"
#include "pipelinehost/progressreport.h"
#include "pipelinehost/propertybag.h"
#include "pipelinehost/readstream.h"
#include "pipelinehost/writestream.h"

namespace pipelinehost {

struct JobPipeline {
    std::shared_ptr<CallLog> calls;
    Microsoft::WRL::ComPtr<ReadStream> reader;
    Microsoft::WRL::ComPtr<WriteStream> writer;
    Microsoft::WRL::ComPtr<InterFilterCommunicator> communicator;
    Microsoft::WRL::ComPtr<PropertyBag> bag;
    Microsoft::WRL::ComPtr<PipelineControl> control;
    Microsoft::WRL::ComPtr<ProgressReport> progress;  // may be null
};

// Around the job's input and output streams; the bag starts with the given properties, in order, a
// later one replacing an earlier one of the same name. The progress report, if any, is the one the
// properties hand the filter; its calls are recorded with the others.
JobPipeline BuildJobPipeline(Microsoft::WRL::ComPtr<ReadStream> reader, Microsoft::WRL::ComPtr<WriteStream> writer,
                             const std::vector<PropertyOption>& properties,
                             Microsoft::WRL::ComPtr<ProgressReport> progress = nullptr);

}  // namespace pipelinehost
