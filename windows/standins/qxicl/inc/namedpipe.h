// The pipes of the library are Windows named pipes, \\.\pipe\<name>: the machine's one namespace
// that the Linux build imitates with abstract sockets. Every handle is opened for overlapped
// operation, so that a wait can also watch the endpoint's stop event and give up after a time.
#pragma once

#include <windows.h>

#include <string>

#include "uniquehandle.h"

namespace qxicl {

// For a checked name (pipename.h), which holds only ASCII characters.
std::wstring PipePath(const std::string& pipeName);

// The receiving end: the one instance of the name, refused when the name is taken, by this process
// or by any other. Default security: the creator's user, administrators and the system may write
// to it, everyone else may at most read, which a receiving end never answers.
UniqueHandle CreateReceivingPipe(const std::string& pipeName);

// A sending connection: invalid at once when no pipe has the name; a pipe busy with another
// sender is waited for, up to 10 seconds in all.
UniqueHandle ConnectToPipe(const std::string& pipeName);

enum class IoWait { Done, Stopped, TimedOut };

// Waits for the overlapped operation started on handle, for stop (null: none) or for the time
// limit. An operation given up is cancelled and waited for: its OVERLAPPED and buffer outlive it.
IoWait WaitForIo(HANDLE handle, OVERLAPPED& overlapped, HANDLE stop, DWORD milliseconds);

// An event for one overlapped operation at a time: manual reset, since the I/O manager sets it and
// GetOverlappedResult reads it.
UniqueHandle NewIoEvent();

}  // namespace qxicl
