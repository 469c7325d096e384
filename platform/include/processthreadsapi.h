// Threads.
#pragma once

#include "windef.h"
#include "winerror.h"

// Impersonation: with a null thread the calling thread runs as the token's user until the next call
// with a null token. Only the calling thread can be given a token here (a thread handle gives
// ERROR_INVALID_HANDLE), and the token must be a user's token (SimulatedMachine::TokenFor).
BOOL SetThreadToken(PHANDLE Thread, HANDLE Token);
