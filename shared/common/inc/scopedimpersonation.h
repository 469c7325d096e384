// The calling thread acting as the job's user for as long as the scope lasts: files it creates
// and folders it asks for are the user's. The thread's own identity comes back on every way out.
#pragma once

#include <windows.h>

#include <processthreadsapi.h>

class ScopedImpersonation {
public:
    // The result of taking the token is not examined: without it the thread keeps its own
    // identity and the user's folders are simply not found.
    explicit ScopedImpersonation(HANDLE userToken) { SetThreadToken(nullptr, userToken); }
    ~ScopedImpersonation() { SetThreadToken(nullptr, nullptr); }

    ScopedImpersonation(const ScopedImpersonation&) = delete;
    ScopedImpersonation& operator=(const ScopedImpersonation&) = delete;
};
