// Impersonation: which user the calling thread runs as.
#include "platform/simulatedmachine.h"
#include "platform/systemapi.h"
#include "simulatedmachinestate.h"

namespace platform {

BOOL AdvApi32::SetThreadToken(PHANDLE thread, HANDLE token)
{
    if (thread != nullptr) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    std::optional<std::wstring> user;
    if (token != nullptr) {
        user = SimulatedMachine::UserOfToken(token);
        if (!user) {
            ::SetLastError(ERROR_INVALID_HANDLE);
            return FALSE;
        }
    }
    ImpersonateOnThisThread(std::move(user));
    return TRUE;
}

}  // namespace platform
