// Starting a program as the job's user, in that user's environment, as the driver starts its
// preview application.
#pragma once

#include <string>

#include <windows.h>

#include <processthreadsapi.h>

class DriverV4WinApi {
public:
    // Starts "executablePath arguments" (the arguments only when there are any) without a shell,
    // with the user's environment block, in the executable's own folder. The record is all zero
    // when the start failed; the caller closes both handles of a started process.
    static PROCESS_INFORMATION ExecuteProcessAsUser(const std::wstring& executablePath, HANDLE userToken,
                                                    const std::wstring& arguments);
};
