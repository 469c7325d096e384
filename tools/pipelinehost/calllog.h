// What a filter asked of the pipeline, in the order the calls arrived, from whichever thread made them.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include <windows.h>

namespace pipelinehost {

class CallLog {
public:
    void Record(std::string call);
    // A byte transfer (a read or a write). An uninterrupted run of transfers is folded into one
    // entry with a count and a byte total per call, so that a copy loop of a thousand chunks
    // reads as one line between the calls around it.
    void RecordTransfer(const std::string& call, ULONGLONG bytes, bool endOfFile = false);

    std::vector<std::string> Entries() const;

private:
    struct Transfers {
        std::string call;
        ULONG repeats = 0;
        ULONGLONG bytes = 0;
        bool endOfFile = false;
    };
    struct Entry {
        std::string call;                // a single call, or
        std::vector<Transfers> run;      // a run of transfers
    };
    static std::string Format(const Entry& entry);

    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

}  // namespace pipelinehost
