// What the host tells a driver engineer after a run.
#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "pipelinehost/filecompare.h"
#include "pipelinehost/filterrun.h"
#include "pipelinehost/propertybag.h"
#include "pipelinehost/readstream.h"

namespace pipelinehost {

struct RunReport {
    std::string modulePath;
    std::string inputPath;
    std::string outputPath;
    bool outputTemporary = false;
    std::string machineRoot;
    bool gradual = false;
    std::string machineFile;                                  // empty: the job ran without a context
    std::vector<std::pair<std::string, std::string>> job;     // label and text of each line

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

// The pipeline's objects are read here, before the host lets go of them; the notes explain bag values.
RunReport SnapshotJob(const JobPipeline& pipeline, const FilterRunResult& run,
                      const PropertyBag::ValueNote& notes = nullptr);
void PrintReport(std::ostream& out, const RunReport& report);
// What DllCanUnloadNow answered once the filters were released, and whether the module went.
std::string DescribeUnload(HRESULT canUnloadNow, bool unloaded);
// One line of a report section: the label in a column of ten, then the value.
void PrintSetting(std::ostream& out, const std::string& label, const std::string& value);

}  // namespace pipelinehost
