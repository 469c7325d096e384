// Where the filter's output goes: a file the user named, or a temporary one that goes away with
// the run.
#pragma once

#include <string>
#include <utility>

namespace pipelinehost {

class OutputFile {
public:
    explicit OutputFile(std::string path) : path_(std::move(path)) {}
    // Creates an empty file in $TMPDIR (or /tmp); throws std::system_error when it cannot.
    static OutputFile Temporary();
    ~OutputFile();
    OutputFile(OutputFile&& other) noexcept;
    OutputFile& operator=(OutputFile&&) = delete;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Path() const { return path_; }
    bool IsTemporary() const { return temporary_; }

private:
    std::string path_;
    bool temporary_ = false;
};

}  // namespace pipelinehost
