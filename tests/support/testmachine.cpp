#include "testmachine.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>
#include <vector>

#include <platform/machine.h>
#include <platform/text.h>

#include "qxdrvlogger.h"

namespace testsupport {

namespace fs = std::filesystem;

TestMachine& TestMachine::Get()
{
    static TestMachine* machine = new TestMachine;
    return *machine;
}

TestMachine::TestMachine()
{
    char pattern[] = "/tmp/qxtest-machine-XXXXXX";
    root_ = ::mkdtemp(pattern);
    platform::SetMachineRoot(root_.string());
    const fs::path logFolder = root_ / "C" / "QX Inc" / "Calvost";
    fs::create_directories(logFolder);
    std::ofstream(logFolder / "qxdrvlog.cfg") << "info\n";
    QXDrvLogger::Initialize(L"C:\\QX Inc\\Calvost");
}

void TestMachine::Remove() const
{
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

fs::path TestMachine::LogFile() const { return root_ / "C" / "QX Inc" / "Calvost" / "qxdrvlog.log"; }

LogTail::LogTail()
{
    std::error_code error;
    const auto size = fs::file_size(TestMachine::Get().LogFile(), error);
    mark_ = error ? 0 : size;
    // Records still queued from before would land after the mark: the mark moves past a sentinel
    // logged now, which the writer writes after all of them.
    const std::string sentinel = platform::ToUtf8(LogSentinel());
    const std::string text = ReadSinceMark();
    const std::size_t lineEnd = text.find('\n', text.find(sentinel));
    mark_ += lineEnd == std::string::npos ? text.size() : lineEnd + 1;
}

std::wstring LogTail::LogSentinel() const
{
    static std::atomic<int> sentinels{0};
    const std::wstring sentinel = L"test sentinel " + std::to_wstring(++sentinels);
    QXLOG_INFO(L"%s", sentinel.c_str());
    WaitFor(sentinel);
    return sentinel;
}

std::string LogTail::ReadSinceMark() const
{
    std::ifstream file(TestMachine::Get().LogFile(), std::ios::binary);
    file.seekg(static_cast<std::streamoff>(mark_));
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool LogTail::WaitFor(const std::wstring& text) const
{
    const std::string wanted = platform::ToUtf8(text);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < deadline) {
        if (ReadSinceMark().find(wanted) != std::string::npos) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

std::string LogTail::Settled() const
{
    const std::wstring sentinel = LogSentinel();
    const std::string text = ReadSinceMark();
    return text.substr(0, text.find(platform::ToUtf8(sentinel)));
}

std::vector<std::string> LogTail::SitesOf(const std::string& message) const
{
    const std::string text = Settled();
    std::vector<std::string> sites;
    const std::string separator = "] - " + message;
    for (std::size_t at = text.find(separator); at != std::string::npos; at = text.find(separator, at + 1)) {
        const std::size_t open = text.rfind(" [", at);
        sites.push_back(text.substr(open + 2, at - open - 2));
    }
    return sites;
}

}  // namespace testsupport
