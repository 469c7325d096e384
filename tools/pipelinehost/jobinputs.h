// The inputs of a run's jobs: one file, or every job package of a folder in name order, each
// repeated round after round.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace pipelinehost {

class JobInputs {
public:
    // The files in the order they run in a round; throws std::invalid_argument for none.
    JobInputs(std::vector<std::string> files, unsigned repeat);
    // The job packages of the folder, sorted by name: its regular files (links to one count) whose
    // first four bytes are the ZIP local header's signature "PK\x03\x04", as every XPS job's are.
    // Anything else in it is no job and is left out. Throws SetupError when the folder cannot be
    // listed or holds no job.
    static JobInputs FromFolder(const std::string& folder, unsigned repeat);

    // Every file can be opened for reading; throws SetupError naming the first that cannot, so that
    // a run of many jobs stops before any of them as a single job would.
    void CheckReadable() const;

    std::size_t Count() const { return files_.size() * repeat_; }
    // The input of a job by its 0-based place in the run.
    const std::string& operator[](std::size_t job) const { return files_[job % files_.size()]; }

private:
    std::vector<std::string> files_;
    unsigned repeat_;
};

}  // namespace pipelinehost
