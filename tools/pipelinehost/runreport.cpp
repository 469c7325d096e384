#include "pipelinehost/runreport.h"

#include <cstdio>
#include <sstream>

#include "pipelinehost/hresulttext.h"

namespace pipelinehost {
namespace {

std::string Counted(ULONGLONG count, const std::string& what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Bytes(ULONGLONG count) { return Counted(count, "byte"); }

std::string Ms(double milliseconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f ms", milliseconds);
    return text;
}

void PrintResult(std::ostream& out, const FilterRunResult& run)
{
    const auto line = [&out](const char* step, const std::string& text) {
        out << "  " << step << std::string(20 - std::string(step).size(), ' ') << text << "\n";
    };
    line("DllGetClassObject", HresultDescription(run.classObject));
    if (FAILED(run.classObject)) {
        return;
    }
    line("CreateInstance", HresultDescription(run.createInstance));
    if (FAILED(run.createInstance)) {
        return;
    }
    line("InitializeFilter", run.initialize ? HresultDescription(*run.initialize) : "not called");
    line("StartOperation", run.start ? HresultDescription(*run.start) + " after " + Ms(run.startMilliseconds)
                                     : "not called");
    switch (run.shutdown) {
    case FilterRunResult::Shutdown::NotRequested: line("ShutdownOperation", "not requested"); break;
    case FilterRunResult::Shutdown::NotNeeded: line("ShutdownOperation", "not sent, the filter had finished"); break;
    case FilterRunResult::Shutdown::Sent: line("ShutdownOperation", HresultDescription(run.shutdownResult)); break;
    }
    if (FAILED(run.output)) {
        line("Output file", HresultDescription(run.output) + ", a write or close failed: the file lacks bytes");
    }
}

void PrintCalls(std::ostream& out, const std::vector<std::string>& calls)
{
    out << "\nPipeline calls, in order\n";
    for (std::size_t i = 0; i < calls.size(); ++i) {
        char number[32];
        std::snprintf(number, sizeof number, "%4zu  ", i + 1);
        out << number << calls[i] << "\n";
    }
}

void PrintControl(std::ostream& out, const std::vector<std::string>& controlCalls)
{
    std::string joined;
    for (const std::string& call : controlCalls) {
        joined += (joined.empty() ? "" : ", ") + call;
    }
    out << "\nPipeline control: " << (joined.empty() ? "no calls" : joined) << "\n";
}

void PrintBag(std::ostream& out, const std::string& bag)
{
    out << "\nProperty bag after the run\n";
    if (bag.empty()) {
        out << "  (empty)\n";
        return;
    }
    std::istringstream lines(bag);
    for (std::string line; std::getline(lines, line);) {
        out << "  " << line << "\n";
    }
}

void PrintOutput(std::ostream& out, const RunReport& report)
{
    out << "\nOutput\n";
    const FileComparison& comparison = report.output;
    PrintSetting(out, "size", Bytes(report.bytesWritten) + " in " + Counted(report.writeCalls, "WriteBytes call") +
                                  " (input " + Bytes(comparison.firstSize) + ")");
    std::string equal;
    if (!comparison.regular) {
        equal = "not compared, the output is no regular file";
    } else if (!comparison.readable) {
        equal = "unknown, the files could not be read";
    } else if (comparison.Equal()) {
        equal = "yes, byte for byte";
    } else {
        equal = "no, first difference at byte " + std::to_string(*comparison.firstDifference);
    }
    PrintSetting(out, "equal", equal);
    PrintSetting(out, "closed", report.writerCloses == 1 ? "yes" : std::to_string(report.writerCloses) + " times");
    const ReadStream::Statistics& reads = report.reads;
    PrintSetting(out, "reads", Counted(reads.reads, "ReadBytes call") + ", " + Bytes(reads.bytesRead) + ", " +
                                   std::to_string(reads.readsThatWaited) + " waited for data" +
                                   (reads.endOfFileReported ? ", end of file reported" : ""));
}

}  // namespace

std::string DescribeUnload(HRESULT canUnloadNow, bool unloaded)
{
    return "DllCanUnloadNow after release: " + HresultDescription(canUnloadNow) +
           (unloaded ? ", module unloaded" : ", module left loaded");
}

void PrintSetting(std::ostream& out, const std::string& label, const std::string& value)
{
    out << "  " << label << std::string(label.size() < 10 ? 10 - label.size() : 1, ' ') << value << "\n";
}

RunReport SnapshotJob(const JobPipeline& pipeline, const FilterRunResult& run, const PropertyBag::ValueNote& notes)
{
    RunReport report;
    report.run = run;
    report.calls = pipeline.calls->Entries();
    report.controlCalls = pipeline.control->Calls();
    report.bag = pipeline.bag->Dump(notes);
    report.reads = pipeline.reader->Stats();
    report.writeCalls = pipeline.writer->WriteCalls();
    report.writerCloses = pipeline.writer->CloseCount();
    report.bytesWritten = pipeline.writer->BytesWritten();
    return report;
}

void PrintReport(std::ostream& out, const RunReport& report)
{
    out << "Pipeline host\n";
    PrintSetting(out, "module", report.modulePath);
    PrintSetting(out, "input", report.inputPath + (report.gradual ? " (delivered gradually)" : ""));
    PrintSetting(out, "output", report.outputPath + (report.outputTemporary ? " (temporary, removed)" : ""));
    PrintSetting(out, "machine", report.machineRoot);

    if (!report.machineFile.empty()) {
        out << "\nJob, from " << report.machineFile << "\n";
        for (const auto& [label, text] : report.job) {
            PrintSetting(out, label, text);
        }
    }

    out << "\nResult\n";
    PrintResult(out, report.run);
    PrintControl(out, report.controlCalls);
    PrintCalls(out, report.calls);
    PrintBag(out, report.bag);
    PrintOutput(out, report);

    out << "\nModule\n";
    PrintSetting(out, "unload", DescribeUnload(report.canUnloadNow, report.unloaded));
}

}  // namespace pipelinehost
