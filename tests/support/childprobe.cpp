// A child for process tests: records what it was started with, then does what its first argument
// says. The record (argv one per line, "--cwd" and the folder, "--env" and the environment) goes to
// the host file that QX_PROBE_RECORD names, when set; "--uid" and the user id come before "--env".
//   exit N     exit with status N
//   abort      end by abort()
//   sleep MS   sleep, then exit 0
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <thread>

extern char** environ;

namespace {

void Record(int argc, char** argv)
{
    const char* file = std::getenv("QX_PROBE_RECORD");
    if (file == nullptr) {
        return;
    }
    std::ofstream out(file);
    for (int i = 0; i < argc; ++i) {
        out << argv[i] << '\n';
    }
    char folder[4096] = {};
    out << "--cwd\n" << (::getcwd(folder, sizeof folder) != nullptr ? folder : "?") << '\n';
    out << "--uid\n" << ::getuid() << '\n';
    out << "--env\n";
    for (char** entry = environ; *entry != nullptr; ++entry) {
        out << *entry << '\n';
    }
}

}  // namespace

int main(int argc, char** argv)
{
    Record(argc, argv);
    const char* mode = argc > 1 ? argv[1] : "";
    const char* value = argc > 2 ? argv[2] : "0";
    if (std::strcmp(mode, "exit") == 0) {
        return std::atoi(value);
    }
    if (std::strcmp(mode, "abort") == 0) {
        std::abort();
    }
    if (std::strcmp(mode, "sleep") == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(value)));
    }
    return 0;
}
