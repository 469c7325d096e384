#include "filterliveness.h"

HRESULT FilterLiveness::Continue()
{
    return m_alive.load() != 0 ? S_OK : HRESULT_FROM_WIN32(ERROR_PRINT_CANCELLED);
}
