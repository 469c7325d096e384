// Failures travel as exceptions inside the module and as HRESULTs across COM boundaries.
#pragma once

#include <cstdint>

#include <windows.h>

#include "qxdrvlogger.h"

// A failed HRESULT that aborts an operation.
struct hr_error {
    HRESULT hr;
};

// A job-level exception; code 0 means the job was cancelled.
struct Exception {
    std::int32_t code;
};

// Logs "Exception thrown because of failed hresult %d" at the site, then throws hr_error.
[[noreturn]] void ThrowHr(HRESULT hr, const LogSite& site);
// The same with "... %d. Message: %s".
[[noreturn]] void ThrowHrWithMessage(HRESULT hr, const wchar_t* message, const LogSite& site);

inline void ThrowIfFailed(HRESULT hr, const LogSite& site)
{
    if (FAILED(hr)) {
        ThrowHr(hr, site);
    }
}

#define THROW_HR(hr) ::ThrowHr((hr), QX_HERE)
#define THROW_IF_FAILED(expr) ::ThrowIfFailed((expr), QX_HERE)

// The entry-point rule: translates the exception being handled into an HRESULT and logs it in the
// entry point's name. Call only from inside a catch block.
HRESULT HResultFromCaughtException(const LogSite& entryPoint) noexcept;

// Runs body under the entry-point rule; nothing escapes.
template <class Body>
HRESULT RunAtEntryPoint(const LogSite& entryPoint, Body&& body) noexcept
{
    try {
        body();
        return S_OK;
    } catch (...) {
        return HResultFromCaughtException(entryPoint);
    }
}
