// The exit codes of the preview application. The filter reads 0 as "print" and 1 as "cancel"; any
// other code lets the job print unchanged, so the failures of this program get codes of their own
// that a test (or a person reading the spooler's log) can tell apart.
#pragma once

namespace previewapp {

enum ExitCode : int {
    kExitPrint = 0,
    kExitCancel = 1,
    kExitUsage = 3,       // command line or script not understood
    kExitNoAnswer = 4,    // the filter cannot be reached or did not answer in time
    kExitLibrary = 5,     // a library or one of its exports is missing
    kExitSettings = 6,    // the settings text cannot be decoded or encoded for a change
    kExitInternal = 7,    // anything else that went wrong
};

}  // namespace previewapp
