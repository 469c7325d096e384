// A simulated machine for one test program: a fresh machine root in a temporary folder, with the
// driver log switched on at info level so that tests can read what the system logged.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace testsupport {

class TestMachine {
public:
    // Creates the root, points the platform at it, writes the log configuration and starts the log.
    static TestMachine& Get();

    const std::filesystem::path& Root() const { return root_; }
    std::filesystem::path LogFile() const;
    // Removes the machine's folder once the tests are done with it.
    void Remove() const;

private:
    TestMachine();
    std::filesystem::path root_;
};

// What the driver log received from one point on: mark, act, then read.
class LogTail {
public:
    // Marks the log's end once everything logged before has been written.
    LogTail();
    // Waits (bounded, generously) until the text appears after the mark; false if it never does.
    bool WaitFor(const std::wstring& text) const;
    // Everything logged after the mark, up to a sentinel record logged and awaited by this call, so
    // that a line the system did not write can be shown to be absent.
    std::string Settled() const;
    // Where each settled record that starts with message came from: "file:function:line".
    std::vector<std::string> SitesOf(const std::string& message) const;

private:
    std::string ReadSinceMark() const;
    // Logs a unique line and waits until the writer has put it into the file.
    std::wstring LogSentinel() const;
    std::uintmax_t mark_;
};

}  // namespace testsupport
