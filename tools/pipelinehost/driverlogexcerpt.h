// What the filter wrote into the driver log during one run, filtered down to the lines a driver
// engineer looks for first: the preview decision and its reasons, the session's verdict, how the
// job run ended, and every error. Hosts sharing a machine share its log file, and its records do
// not say which process wrote them, so the excerpt is taken from this process's own writes to the
// file as they are made, never from what the file holds afterwards.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <platform/systemapi.h>

namespace pipelinehost {

class DriverLogExcerpt {
public:
    // Starts listening; create it before the module is loaded, as the log opens its file once.
    DriverLogExcerpt();
    ~DriverLogExcerpt();

    // The marked lines written since, without their time stamps. Read once the module is
    // unloaded: the log writes its last records out when the module goes.
    std::vector<std::string> Lines() const;

    struct Captured;

    DriverLogExcerpt(const DriverLogExcerpt&) = delete;
    DriverLogExcerpt& operator=(const DriverLogExcerpt&) = delete;

private:
    class Listener;

    std::shared_ptr<Captured> captured_;
    std::unique_ptr<Listener> listener_;
    platform::IKernel32* replaced_ = nullptr;
};

}  // namespace pipelinehost
