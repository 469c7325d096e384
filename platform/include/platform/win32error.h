// The Win32 error that Windows reports for a host system call's failure, for the code beside the
// platform (the pipeline host's streams) that calls the host directly.
#pragma once

#include "../windef.h"

namespace platform {

// EEXIST reads as ERROR_FILE_EXISTS, what CreateFileW answers; callers that report
// ERROR_ALREADY_EXISTS instead (CreateDirectoryW) say so themselves. An errno Windows has no
// counterpart for is ERROR_GEN_FAILURE, never ERROR_INVALID_PARAMETER.
DWORD Win32ErrorOf(int error);

}  // namespace platform
