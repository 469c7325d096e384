#include "hrerror.h"

#include <new>
#include <stdexcept>

void ThrowHr(HRESULT hr, const LogSite& site)
{
    LogAt(LogLevel::Error, site, L"Exception thrown because of failed hresult %d", hr);
    throw hr_error{hr};
}

void ThrowHrWithMessage(HRESULT hr, const wchar_t* message, const LogSite& site)
{
    LogAt(LogLevel::Error, site, L"Exception thrown because of failed hresult %d. Message: %s", hr, message);
    throw hr_error{hr};
}

HRESULT HResultFromCaughtException(const LogSite& entryPoint) noexcept
{
    HRESULT hr = E_UNEXPECTED;
    try {
        throw;
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    } catch (const hr_error& error) {
        hr = error.hr;
    } catch (const Exception& exception) {
        if (exception.code == 0) {
            LogAt(LogLevel::Error, entryPoint, L"The job was cancelled.");
            return S_OK;
        }
        hr = E_FAIL;
    } catch (const std::exception&) {
        hr = E_FAIL;
    } catch (...) {
        hr = E_UNEXPECTED;
    }
    LogAt(LogLevel::Error, entryPoint, L"Exception thrown because of failed hresult: %d", hr);
    return hr;
}
