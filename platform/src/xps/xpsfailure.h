// Failures inside the XPS object model travel as XpsFailure and leave every COM method as its HRESULT.
#pragma once

#include <new>

#include <xpsobjectmodel.h>

#include "platform/systemapi.h"

namespace platform::xps {

// Win32 errors that the stand-in reports and that winerror.h has no name for yet.
inline constexpr DWORD kErrorWriteProtect = 19;      // ERROR_WRITE_PROTECT
inline constexpr DWORD kErrorGenFailure = 31;        // ERROR_GEN_FAILURE
inline constexpr DWORD kErrorSharingViolation = 32;  // ERROR_SHARING_VIOLATION
inline constexpr DWORD kErrorDiskFull = 112;         // ERROR_DISK_FULL
inline constexpr DWORD kErrorFilenameTooLong = 206;  // ERROR_FILENAME_EXCED_RANGE
inline constexpr DWORD kErrorFileTooLarge = 223;     // ERROR_FILE_TOO_LARGE

struct XpsFailure {
    HRESULT hr;
};

[[noreturn]] inline void Fail(HRESULT hr)
{
    throw XpsFailure{hr};
}

inline void ThrowIfFailed(HRESULT hr)
{
    if (FAILED(hr)) {
        Fail(hr);
    }
}

// Runs the body of a COM method and turns what it throws into the method's HRESULT. The method
// is named by its caller.
template <class Body>
HRESULT Guarded(Body&& body, const char* method = __builtin_FUNCTION()) noexcept
{
    if (const HRESULT refused = ComMethodRefusal(method); FAILED(refused)) {
        return refused;
    }
    try {
        return body();
    } catch (const XpsFailure& failure) {
        return failure.hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// The Win32 error that CreateFileW would report for a failed open(2) or write(2).
DWORD Win32ErrorOfErrno(int error);

}  // namespace platform::xps
