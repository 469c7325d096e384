// Threads.
#pragma once

#include "windef.h"
#include "winerror.h"

// Impersonation: with a null thread the calling thread runs as the token's user until the next call
// with a null token. Only the calling thread can be given a token here (a thread handle gives
// ERROR_INVALID_HANDLE), and the token must be a user's token (SimulatedMachine::TokenFor).
BOOL SetThreadToken(PHANDLE Thread, HANDLE Token);
// Unique among the threads running in the system.
DWORD GetCurrentThreadId();

// ---- processes
#define CREATE_NEW_CONSOLE 0x00000010u
#define CREATE_UNICODE_ENVIRONMENT 0x00000400u
#define CREATE_NO_WINDOW 0x08000000u
#define CREATE_BREAKAWAY_FROM_JOB 0x01000000u
#define STARTF_USESHOWWINDOW 0x00000001u
#ifndef SW_SHOWNORMAL
#define SW_SHOWNORMAL 1
#endif
#define STILL_ACTIVE 259u

struct STARTUPINFOW {
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    LPBYTE lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
using LPSTARTUPINFOW = STARTUPINFOW*;

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};
using LPPROCESS_INFORMATION = PROCESS_INFORMATION*;

struct SECURITY_ATTRIBUTES;

// Starts a host program as the token's user; no shell is involved.
// - The program: lpApplicationName when given, else the command line's first token. A quoted token
//   is the program as written. An unquoted one may contain blanks, and is found as Windows finds
//   it: the prefixes of the command line that end before a blank (and finally the whole line) are
//   tried left to right, and the first that names an existing file wins. ".exe" is added to a
//   name without an extension, and a Windows name "app.exe" is also found as the host file "app"
//   (host programs have no extension). Only absolute Windows paths are searched (no PATH search).
// - The arguments: the rest of the command line, split as CommandLineToArgvW and the C runtime
//   split it (blanks separate; quotes group; 2n backslashes before a quote give n and the quote
//   acts, 2n+1 give n and a literal quote; "" inside quotes is a literal quote; other backslashes
//   are literal). The child's argv[0] is the program's host path.
// - The environment: lpEnvironment as a block of wide (CREATE_UNICODE_ENVIRONMENT) or narrow UTF-8
//   "NAME=value" strings ending in an empty one, given to the child as its environment; none: the
//   calling process's own.
// - lpCurrentDirectory: a Windows folder (ERROR_DIRECTORY when it is not one); none or empty: the
//   caller's current folder.
// - Identity: when the caller runs as root and the user exists as a host account, the child runs
//   with that account's uid, gid and groups; otherwise as the calling user.
// Errors: ERROR_INVALID_HANDLE for a token that is not a user's token, ERROR_INVALID_PARAMETER for
// an empty command line or missing structures, ERROR_FILE_NOT_FOUND for a program that is not
// found, ERROR_ACCESS_DENIED or ERROR_BAD_EXE_FORMAT when the host refuses to run it. The process
// handle is waitable; the thread handle stands for the child's main thread and is signalled with
// the process; the thread id is the process id. Both handles are closed with CloseHandle.
BOOL CreateProcessAsUserW(HANDLE hToken, LPCWSTR lpApplicationName, LPWSTR lpCommandLine,
                          SECURITY_ATTRIBUTES* lpProcessAttributes, SECURITY_ATTRIBUTES* lpThreadAttributes,
                          BOOL bInheritHandles, DWORD dwCreationFlags, LPVOID lpEnvironment,
                          LPCWSTR lpCurrentDirectory, LPSTARTUPINFOW lpStartupInfo,
                          LPPROCESS_INFORMATION lpProcessInformation);

// STILL_ACTIVE while the process runs; then its exit status, or for a child ended by a signal the
// Windows status of the matching crash: SIGABRT 0xC0000409 (a fast-fail abort), SIGSEGV and SIGBUS
// 0xC0000005, SIGILL 0xC000001D, SIGFPE 0xC0000094, any other signal 0xC0000000 | signal number.
BOOL GetExitCodeProcess(HANDLE hProcess, LPDWORD lpExitCode);

// Ends the process at once (SIGKILL on the host); its exit code becomes uExitCode. A process that
// has already ended fails with ERROR_ACCESS_DENIED, a handle that is not a process's with
// ERROR_INVALID_HANDLE.
BOOL TerminateProcess(HANDLE hProcess, UINT uExitCode);
