// What the host tells a driver engineer after a run.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "pipelinehost/filecompare.h"
#include "pipelinehost/filterrun.h"
#include "pipelinehost/readstream.h"

namespace pipelinehost {

struct RunReport {
    std::string modulePath;
    std::string inputPath;
    std::string outputPath;
    bool outputTemporary = false;
    std::string machineRoot;
    bool gradual = false;

    FilterRunResult run;
    std::vector<std::string> calls;         // every call, in order
    std::vector<std::string> controlCalls;  // RequestShutdown / FilterFinished alone
    std::string bag;                        // the property bag after the run, one line each
    ReadStream::Statistics reads;
    ULONG writeCalls = 0;
    ULONG writerCloses = 0;
    ULONGLONG bytesWritten = 0;
    FileComparison output;                  // input against output
    HRESULT canUnloadNow = S_FALSE;
    bool unloaded = false;
};

// The pipeline's objects are read here, before the host lets go of them.
RunReport SnapshotJob(const JobPipeline& pipeline, const FilterRunResult& run);
void PrintReport(std::ostream& out, const RunReport& report);

}  // namespace pipelinehost
