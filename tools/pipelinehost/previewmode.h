// How the preview application the filter may start behaves: QXPREVIEW_MODE in the host's
// environment, which the simulated machine passes on in the job user's environment block.
#pragma once

#include <string>

namespace pipelinehost {

// accept, change, cancel, exit, crash, garbage, short, silent or interactive.
bool IsPreviewMode(const std::string& mode);
// "accept, change, ..." for a usage message.
std::string PreviewModeList();

// Sets QXPREVIEW_MODE to the mode. Without one, a mode the caller's environment already names
// stays; otherwise "accept", so that a run never waits for a keyboard unless asked to.
// Changes the process environment: call it before any thread that might read it starts.
void UsePreviewMode(const std::string& mode);

}  // namespace pipelinehost
