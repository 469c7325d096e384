#include "pipelinehost/calllog.h"

#include <algorithm>
#include <utility>

namespace pipelinehost {

void CallLog::Record(std::string call)
{
    std::lock_guard lock(mutex_);
    entries_.push_back(Entry{std::move(call), {}});
}

void CallLog::RecordTransfer(const std::string& call, ULONGLONG bytes, bool endOfFile)
{
    std::lock_guard lock(mutex_);
    if (entries_.empty() || entries_.back().run.empty()) {
        entries_.push_back(Entry{});
    }
    std::vector<Transfers>& run = entries_.back().run;
    auto same = std::find_if(run.begin(), run.end(), [&call](const Transfers& t) { return t.call == call; });
    if (same == run.end()) {
        same = run.insert(run.end(), Transfers{call});
    }
    ++same->repeats;
    same->bytes += bytes;
    same->endOfFile = same->endOfFile || endOfFile;
}

std::vector<std::string> CallLog::Entries() const
{
    std::lock_guard lock(mutex_);
    std::vector<std::string> lines;
    lines.reserve(entries_.size());
    for (const Entry& entry : entries_) {
        lines.push_back(Format(entry));
    }
    return lines;
}

std::string CallLog::Format(const Entry& entry)
{
    if (entry.run.empty()) {
        return entry.call;
    }
    std::string line;
    for (const Transfers& transfers : entry.run) {
        line += line.empty() ? "" : "; ";
        line += transfers.call + " x" + std::to_string(transfers.repeats) + ": " + std::to_string(transfers.bytes) +
                (transfers.bytes == 1 ? " byte" : " bytes");
        if (transfers.endOfFile) {
            line += ", end of file reported";
        }
    }
    return line;
}

}  // namespace pipelinehost
