// What the filter wrote into the driver log during one run, filtered down to the lines a driver
// engineer looks for first: the preview decision and its reasons, the session's verdict, how the
// job run ended, and every error.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pipelinehost {

class DriverLogExcerpt {
public:
    // Marks the log's present end; call before the module is loaded.
    DriverLogExcerpt();

    // The marked lines written since, without their time stamps. Read once the module is
    // unloaded: the log writes its last records out when the module goes.
    std::vector<std::string> Lines() const;

private:
    std::string file_;
    std::uintmax_t mark_ = 0;
};

}  // namespace pipelinehost
