// Holds a named mutex for another process's test: prints "held" once it owns the mutex, then keeps
// it until its standard input closes, or dies holding it when asked to.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

#include <platform/text.h>
#include <windows.h>

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: mutexholder NAME [die]\n");
        return 2;
    }
    const std::wstring name = platform::FromUtf8(argv[1]);
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, name.c_str());
    if (mutex == nullptr || WaitForSingleObject(mutex, INFINITE) != WAIT_OBJECT_0) {
        return 1;
    }
    std::printf("held\n");
    std::fflush(stdout);
    if (argc > 2 && std::string(argv[2]) == "die") {
        ::raise(SIGKILL);
    }
    char byte = 0;
    while (::read(0, &byte, 1) > 0) {
    }
    ReleaseMutex(mutex);
    CloseHandle(mutex);
    return 0;
}
