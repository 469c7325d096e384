// The driver log: configuration, record format, message text, ordering under concurrency, sharing
// of the file between processes, one-time start, site names, and ending with the module.
//
// The log reads its configuration once per process, so everything that depends on a
// configuration runs in a probe process (logprobe) on a temporary machine root of its own.
#include <algorithm>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "qxdrvlogger.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

// ---- records as they appear in the file

struct Record {
    std::string timestamp;  // "DD-MM-YYYY HH:MM:SS.mmm"
    std::string tag;
    std::string file;
    std::string function;
    std::string line;
    std::string message;
};

// A record line in the documented shape, or nothing.
std::optional<Record> ParseRecord(const std::string& text)
{
    static const std::string shape = "00-00-0000 00:00:00.000 ";
    if (text.size() < shape.size() + 9) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (shape[i] == '0' ? !digit : text[i] != shape[i]) {
            return std::nullopt;
        }
    }
    Record record;
    record.timestamp = text.substr(0, shape.size() - 1);
    record.tag = text.substr(shape.size(), 5);
    static const std::set<std::string> tags = {"[INF]", "[WAR]", "[EXC]", "[ERR]", "[PER]"};
    if (tags.count(record.tag) == 0 || text.compare(shape.size() + 5, 2, " [") != 0) {
        return std::nullopt;
    }
    const std::size_t siteStart = shape.size() + 7;
    const std::size_t siteEnd = text.find("] - ", siteStart);
    if (siteEnd == std::string::npos) {
        return std::nullopt;
    }
    const std::string site = text.substr(siteStart, siteEnd - siteStart);
    const std::size_t firstColon = site.find(':');
    const std::size_t lastColon = site.rfind(':');
    if (firstColon == std::string::npos || lastColon == firstColon) {
        return std::nullopt;
    }
    record.file = site.substr(0, firstColon);
    record.function = site.substr(firstColon + 1, lastColon - firstColon - 1);
    record.line = site.substr(lastColon + 1);
    if (record.line.empty() || record.line.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    record.message = text.substr(siteEnd + 4);
    return record;
}

// ---- probe processes

struct ProbeResult {
    int exitCode = -1;
    std::string output;
};

// A running logprobe. The deadline only keeps a hung probe from hanging the test program.
class Probe {
public:
    Probe(const std::vector<std::string>& arguments, const std::vector<std::string>& extraEnvironment = {})
    {
        std::vector<std::string> argumentText = {LOGPROBE_PATH};
        argumentText.insert(argumentText.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (auto& argument : argumentText) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        // A variable given here replaces the inherited one of the same name.
        const auto nameOf = [](const std::string& variable) { return variable.substr(0, variable.find('=')); };
        std::vector<std::string> environmentText(extraEnvironment.begin(), extraEnvironment.end());
        for (char** variable = environ; *variable != nullptr; ++variable) {
            const bool replaced = std::any_of(extraEnvironment.begin(), extraEnvironment.end(),
                                              [&](const std::string& extra) { return nameOf(extra) == nameOf(*variable); });
            if (!replaced) {
                environmentText.push_back(*variable);
            }
        }
        std::vector<char*> envp;
        for (auto& variable : environmentText) {
            envp.push_back(variable.data());
        }
        envp.push_back(nullptr);

        int fds[2];
        if (::pipe(fds) != 0) {
            return;
        }
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
        ::posix_spawn_file_actions_addclose(&actions, fds[0]);
        ::posix_spawn_file_actions_addclose(&actions, fds[1]);
        if (::posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), envp.data()) != 0) {
            pid_ = -1;
        }
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(fds[1]);
        output_ = fds[0];
    }

    ~Probe()
    {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        if (output_ >= 0) {
            ::close(output_);
        }
    }

    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;

    ProbeResult Finish()
    {
        ProbeResult result;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        char buffer[4096];
        while (output_ >= 0 && std::chrono::steady_clock::now() < deadline) {
            pollfd readable{output_, POLLIN, 0};
            if (::poll(&readable, 1, 100) <= 0) {
                continue;
            }
            const ssize_t got = ::read(output_, buffer, sizeof buffer);
            if (got <= 0) {
                break;
            }
            result.output.append(buffer, static_cast<std::size_t>(got));
        }
        while (pid_ > 0) {
            int status = 0;
            const pid_t done = ::waitpid(pid_, &status, WNOHANG);
            if (done == pid_) {
                pid_ = -1;
                result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            } else if (std::chrono::steady_clock::now() >= deadline) {
                result.output += "\n(probe did not end; killed)";
                break;
            } else {
                ::usleep(10000);
            }
        }
        return result;
    }

private:
    pid_t pid_ = -1;
    int output_ = -1;
};

// A temporary machine root with an empty log folder.
class DriverLogProcess : public ::testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/qxlogtest-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root_ = pattern;
        folder_ = root_ / "C" / "QX Inc" / "Calvost";
        fs::create_directories(folder_);
    }

    void TearDown() override
    {
        std::error_code ignored;
        fs::permissions(folder_, fs::perms::owner_all, fs::perm_options::add, ignored);
        fs::remove_all(root_, ignored);
    }

    void WriteConfiguration(const std::string& bytes) const
    {
        std::ofstream(folder_ / "qxdrvlog.cfg", std::ios::binary) << bytes;
    }

    fs::path LogFile() const { return folder_ / "qxdrvlog.log"; }

    std::vector<std::string> LogLines() const
    {
        std::ifstream file(LogFile(), std::ios::binary);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    std::vector<Record> Records() const
    {
        std::vector<Record> records;
        for (const std::string& line : LogLines()) {
            const auto record = ParseRecord(line);
            EXPECT_TRUE(record.has_value()) << "malformed line: " << line;
            if (record) {
                records.push_back(*record);
            }
        }
        return records;
    }

    std::vector<std::string> ProbeArguments(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> all = {"--root", root_.string()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }

    ProbeResult RunProbe(const std::vector<std::string>& arguments, const std::vector<std::string>& environment = {}) const
    {
        Probe probe(ProbeArguments(arguments), environment);
        return probe.Finish();
    }

    fs::path root_;
    fs::path folder_;
};

// The messages "level=N" logged at levels -1 to 5, as the probe arguments that log them.
std::vector<std::string> OneRecordPerLevel()
{
    std::vector<std::string> commands;
    for (int level = -1; level <= 5; ++level) {
        commands.push_back("log:" + std::to_string(level) + ":level=" + std::to_string(level));
    }
    return commands;
}

// ---- configuration

struct ConfigurationCase {
    const char* name;
    std::string content;
    std::set<int> written;  // empty: the log stays off and no log file appears
};

void PrintTo(const ConfigurationCase& c, std::ostream* out) { *out << c.name; }

class DriverLogConfiguration : public DriverLogProcess, public ::testing::WithParamInterface<ConfigurationCase> {};

TEST_P(DriverLogConfiguration, FirstLineSelectsTheLevelsWritten)
{
    const ConfigurationCase& c = GetParam();
    WriteConfiguration(c.content);
    const ProbeResult result = RunProbe(OneRecordPerLevel());
    ASSERT_EQ(result.exitCode, 0) << result.output;

    if (c.written.empty()) {
        EXPECT_FALSE(fs::exists(LogFile()));
        return;
    }
    static const std::map<int, std::string> tags = {{0, "[INF]"}, {1, "[WAR]"}, {2, "[EXC]"}, {3, "[ERR]"}, {4, "[PER]"}};
    std::set<int> written;
    for (const Record& record : Records()) {
        const int level = std::atoi(record.message.substr(record.message.find('=') + 1).c_str());
        written.insert(level);
        EXPECT_EQ(record.tag, tags.at(level));
    }
    EXPECT_EQ(written, c.written);
}

INSTANTIATE_TEST_SUITE_P(
    Words, DriverLogConfiguration,
    ::testing::Values(ConfigurationCase{"ErrorWord", "error", {3, 4}},
                      ConfigurationCase{"OnlyTheFirstLineCounts", "error\r\ninfo\r\n", {3, 4}},
                      ConfigurationCase{"ErrorNumber", "3\n", {3, 4}},
                      ConfigurationCase{"InfoWord", "info", {0, 1, 2, 3, 4}},
                      ConfigurationCase{"InfoNumber", "0\r\n", {0, 1, 2, 3, 4}},
                      ConfigurationCase{"WarningWord", "warning", {1, 2, 3, 4}},
                      ConfigurationCase{"ExceptionWord", "exception", {2, 3, 4}},
                      ConfigurationCase{"PerformanceWord", "performance", {4}},
                      ConfigurationCase{"CapitalLetter", "Info", {}},
                      ConfigurationCase{"TrailingBlank", "info ", {}},
                      ConfigurationCase{"LeadingBlank", " error", {}},
                      ConfigurationCase{"OffNumber", "5", {}},
                      ConfigurationCase{"UnknownWord", "verbose", {}},
                      ConfigurationCase{"EmptyFile", "", {}},
                      ConfigurationCase{"EmptyFirstLine", "\r\nerror\r\n", {}}),
    [](const ::testing::TestParamInfo<ConfigurationCase>& info) { return std::string(info.param.name); });

TEST_F(DriverLogProcess, WithoutConfigurationFileOrLogFolderNothingIsCreated)
{
    ASSERT_EQ(RunProbe(OneRecordPerLevel()).exitCode, 0);
    EXPECT_FALSE(fs::exists(LogFile()));
    fs::remove(folder_);
    ASSERT_EQ(RunProbe(OneRecordPerLevel()).exitCode, 0);
    EXPECT_FALSE(fs::exists(folder_));
}

// The folder must be a plain folder; any further attribute leaves the log off.
TEST_F(DriverLogProcess, FolderWithAnyFurtherAttributeLeavesLogOff)
{
    struct Case {
        const char* name;
        std::vector<std::string> arguments;
        bool readOnly;
    };
    const Case cases[] = {
        {"read-only", {}, true},
        {"archive", {"--attributes", "0x30"}, false},
        {"hidden", {"--attributes", "0x12"}, false},
    };
    WriteConfiguration("info\n");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.readOnly) {
            fs::permissions(folder_, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                            fs::perm_options::remove);
        }
        std::vector<std::string> arguments = c.arguments;
        arguments.push_back("log:3:should not appear");
        const ProbeResult result = RunProbe(arguments);
        ASSERT_EQ(result.exitCode, 0) << result.output;
        EXPECT_FALSE(fs::exists(LogFile()));
        fs::permissions(folder_, fs::perms::owner_all, fs::perm_options::add);
    }
    // The same folder as a plain folder does take the log.
    ASSERT_EQ(RunProbe({"log:3:plain folder"}).exitCode, 0);
    EXPECT_EQ(LogLines().size(), 1u);
}

// ---- what a record says

TEST_F(DriverLogProcess, RecordCarriesTheLocalTimeOfTheCallAndItsSite)
{
    WriteConfiguration("info\r\n");
    const ProbeResult result =
        RunProbe({"--fixed-time", "log:0:Host Preview Filter - Starting StartOperation", "hresult:0x80004004"});
    ASSERT_EQ(result.exitCode, 0) << result.output;

    const std::vector<Record> records = Records();
    ASSERT_EQ(records.size(), 2u);
    const std::vector<std::string> lines = LogLines();
    EXPECT_EQ(lines[0].substr(0, 24), "03-02-2026 09:05:07.042 ");
    EXPECT_EQ(records[0].tag, "[INF]");
    EXPECT_EQ(records[0].file, "logprobe");
    EXPECT_EQ(records[0].function, "`anonymous-namespace'::ProbeSite::Emit");
    EXPECT_EQ(records[0].message, "Host Preview Filter - Starting StartOperation");
    EXPECT_EQ(lines[0], "03-02-2026 09:05:07.042 [INF] [logprobe:`anonymous-namespace'::ProbeSite::Emit:" +
                            records[0].line + "] - Host Preview Filter - Starting StartOperation");

    // An HRESULT goes through "%d" and so reads as a negative number; "%s" takes a wide string.
    EXPECT_EQ(records[1].tag, "[ERR]");
    EXPECT_EQ(records[1].function, "`anonymous-namespace'::ProbeSite::FailedHresult");
    EXPECT_EQ(records[1].message, "Exception thrown because of failed hresult -2147467260. Message: write failed");
}

TEST_F(DriverLogProcess, MessageTextIsCutAndNarrowedButNeverSilenced)
{
    WriteConfiguration("0");
    std::string digits;
    for (int i = 0; i < 2000; ++i) {
        digits += static_cast<char>('0' + i % 10);
    }
    const ProbeResult result = RunProbe({"log:0:" + digits, "log:1:na\xC3\xAFve \xCE\xA9mega \xE2\x9C\x93 end",
                                         "log:3:after the odd characters", "log:0:" + digits.substr(0, 1023)});
    ASSERT_EQ(result.exitCode, 0) << result.output;

    const std::vector<Record> records = Records();
    ASSERT_EQ(records.size(), 4u);
    digits.resize(1023);
    EXPECT_EQ(records[0].message, digits);  // the first 1023 of 2000 characters
    EXPECT_EQ(records[1].message, "na\xEFve ?mega ? end");  // Latin-1 kept as its byte, the rest '?'
    EXPECT_EQ(records[2].message, "after the odd characters");
    EXPECT_EQ(records[3].message, digits);  // exactly 1023 fit whole
}

// ---- concurrency

TEST_F(DriverLogProcess, ManyThreadsLoseNothingAndKeepEachThreadsOrder)
{
    constexpr int kThreads = 8;
    constexpr int kCount = 2000;
    WriteConfiguration("info");
    const ProbeResult result = RunProbe({"burst:8:2000:0:T"});
    ASSERT_EQ(result.exitCode, 0) << result.output;

    const std::vector<Record> records = Records();
    ASSERT_EQ(records.size(), static_cast<std::size_t>(kThreads * kCount));
    std::vector<int> next(kThreads, 0);
    for (const Record& record : records) {
        int thread = -1;
        int index = -1;
        ASSERT_EQ(std::sscanf(record.message.c_str(), "T t=%d i=%d", &thread, &index), 2) << record.message;
        ASSERT_TRUE(thread >= 0 && thread < kThreads) << record.message;
        ASSERT_EQ(index, next[thread]) << "thread " << thread << " out of order";
        ++next[thread];
    }
}

TEST_F(DriverLogProcess, TwoProcessesAppendToOneFileWithoutMixingRecords)
{
    constexpr int kThreads = 4;
    constexpr int kCount = 1000;
    WriteConfiguration("info");
    Probe first(ProbeArguments({"burst:4:1000:0:first"}));
    Probe second(ProbeArguments({"burst:4:1000:0:second"}));
    const ProbeResult firstResult = first.Finish();
    const ProbeResult secondResult = second.Finish();
    ASSERT_EQ(firstResult.exitCode, 0) << firstResult.output;
    ASSERT_EQ(secondResult.exitCode, 0) << secondResult.output;

    const std::vector<Record> records = Records();
    ASSERT_EQ(records.size(), static_cast<std::size_t>(2 * kThreads * kCount));
    std::map<std::string, std::vector<int>> next = {{"first", std::vector<int>(kThreads)},
                                                    {"second", std::vector<int>(kThreads)}};
    for (const Record& record : records) {
        char process[16] = {};
        int thread = -1;
        int index = -1;
        ASSERT_EQ(std::sscanf(record.message.c_str(), "%15s t=%d i=%d", process, &thread, &index), 3) << record.message;
        ASSERT_TRUE(next.count(process) == 1 && thread >= 0 && thread < kThreads) << record.message;
        ASSERT_EQ(index, next[process][thread]++) << record.message;
    }
}

TEST_F(DriverLogProcess, ConcurrentStartsRunOneWriterAndKeepEveryRecord)
{
    WriteConfiguration("info");
    const ProbeResult result = RunProbe({"--init-threads", "8", "burst:2:50:0:after"});
    ASSERT_EQ(result.exitCode, 0) << result.output;
    EXPECT_NE(result.output.find("writers=1\n"), std::string::npos) << result.output;

    std::multiset<std::string> messages;
    for (const Record& record : Records()) {
        messages.insert(record.message);
    }
    for (int t = 0; t < 8; ++t) {
        EXPECT_EQ(messages.count("initialized by " + std::to_string(t)), 1u) << t;
    }
    EXPECT_EQ(messages.size(), 8u + 2 * 50);
}

// ---- ending with the module

TEST_F(DriverLogProcess, UnloadingTheModuleDrainsAndEndsItsWriter)
{
    WriteConfiguration("info");
    // Names interned by the module stay allocated for the process's life by design; once the module
    // is unloaded nothing points at them, which a leak checker would report.
    std::string sanitizer = "ASAN_OPTIONS=";
    if (const char* existing = std::getenv("ASAN_OPTIONS")) {
        sanitizer += std::string(existing) + ":";
    }
    sanitizer += "detect_leaks=0";  // the last setting of an option wins
    const ProbeResult result =
        RunProbe({"--module", LOGMODULE_PATH, "--threads", "4", "--count", "500", "--cycles", "2"}, {sanitizer});
    ASSERT_EQ(result.exitCode, 0) << result.output;
    // Each unload returns only after the records queued before it are in the file.
    EXPECT_NE(result.output.find("cycle=0 unloaded=1 lines=2000\n"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("cycle=1 unloaded=1 lines=4000\n"), std::string::npos) << result.output;
}

TEST_F(DriverLogProcess, ProcessExitWithTheModuleLoadedDrainsItsLog)
{
    WriteConfiguration("info");
    const ProbeResult result =
        RunProbe({"--module", LOGMODULE_PATH, "--threads", "4", "--count", "500", "--keep-loaded"});
    ASSERT_EQ(result.exitCode, 0) << result.output;
    EXPECT_EQ(Records().size(), 2000u);
}

// ---- in this process: record layout and site names (the log itself stays off here)

TEST(DriverLogRecord, LaysOutTimeTagSiteAndMessage)
{
    struct Case {
        SYSTEMTIME time;
        std::int32_t level;
        std::uint32_t line;
        const char* expected;
    };
    const Case cases[] = {
        {{2026, 2, 2, 3, 9, 5, 7, 42}, 0, 90,
         "03-02-2026 09:05:07.042 [INF] [hostpreviewfilter:HostPreviewFilter::StartOperation:90] - text"},
        {{2026, 11, 2, 17, 23, 59, 59, 999}, 3, 7,
         "17-11-2026 23:59:59.999 [ERR] [hostpreviewfilter:HostPreviewFilter::StartOperation:7] - text"},
        {{987, 1, 0, 1, 0, 0, 0, 0}, 1, 0,
         "01-01-0987 00:00:00.000 [WAR] [hostpreviewfilter:HostPreviewFilter::StartOperation:0] - text"},
        {{2026, 2, 2, 3, 9, 5, 7, 42}, 2, 4294967295u,
         "03-02-2026 09:05:07.042 [EXC] [hostpreviewfilter:HostPreviewFilter::StartOperation:4294967295] - text"},
    };
    for (const Case& c : cases) {
        const LogMessage message{c.line, c.level, c.time, L"text", L"HostPreviewFilter::StartOperation",
                                 L"hostpreviewfilter"};
        const std::wstring record = QXDrvLogger::FormatRecord(message);
        EXPECT_EQ(std::string(record.begin(), record.end()), c.expected);
    }
}

TEST(DriverLogRecord, TagFollowsTheLevelValue)
{
    const std::map<std::int32_t, std::wstring> tags = {{-1, L"[INF]"}, {0, L"[INF]"}, {1, L"[WAR]"}, {2, L"[EXC]"},
                                                      {3, L"[ERR]"},  {4, L"[PER]"}, {5, L"[INF]"}, {99, L"[INF]"}};
    for (const auto& [level, tag] : tags) {
        const LogMessage message{1, level, SYSTEMTIME{2026, 1, 0, 1, 0, 0, 0, 0}, L"m", L"f", L"g"};
        EXPECT_EQ(QXDrvLogger::FormatRecord(message).substr(24, 5), tag) << level;
    }
}

TEST(DriverLogRecord, NothingIsEnabledBeforeTheLogStarts)
{
    for (const LogLevel level : {LogLevel::Info, LogLevel::Warning, LogLevel::Exception, LogLevel::Error,
                                 LogLevel::Performance, LogLevel::Off}) {
        EXPECT_FALSE(QXDrvLogger::IsEnabled(level));
    }
}

TEST(LogSiteNames, FunctionNamesReadAsTheWindowsCompilerWritesThem)
{
    struct Case {
        const char* pretty;
        const wchar_t* expected;
    };
    static const Case cases[] = {
        {"virtual HRESULT HostPreviewFilter::StartOperation()", L"HostPreviewFilter::StartOperation"},
        {"HostPreviewFilter::HostPreviewFilter()", L"HostPreviewFilter::HostPreviewFilter"},
        {"HostPreviewFilter::~HostPreviewFilter()", L"HostPreviewFilter::~HostPreviewFilter"},
        {"static void QXDrvLogger::Initialize(const std::wstring&)", L"QXDrvLogger::Initialize"},
        {"void Foo(int)", L"Foo"},
        {"int main(int, char**)", L"main"},
        {"void ns::Foo(int)", L"ns::Foo"},
        {"std::map<int, int> ns::Table::Get() const", L"ns::Table::Get"},
        {"void ns::{anonymous}::Helper()", L"ns::`anonymous-namespace'::Helper"},
        {"HRESULT UnknownBase<T>::QueryInterface(REFIID, void**) [with T = IClassFactory; HRESULT = int; REFIID = "
         "const GUID&]",
         L"UnknownBase<struct IClassFactory>::QueryInterface"},
        {"void Holder<T>::Set(T) [with T = long unsigned int]", L"Holder<unsigned long>::Set"},
        {"void Holder<T>::Set(T) [with T = const IUnknown*]", L"Holder<const struct IUnknown *>::Set"},
        {"void Pair<T, U>::f() [with T = int; U = Pair<char, IUnknown>]",
         L"Pair<int,struct Pair<char,struct IUnknown> >::f"},
        {"std::map<int, int> ns::K<N, T>::g() [with int N = 5; T = IClassFactory*]",
         L"ns::K<5,struct IClassFactory *>::g"},
        {"void Outer<T>::Inner<U>::f() [with U = Job; T = int]", L"Outer<int>::Inner<struct Job>::f"},
        {"void UnknownBase<T>::Visit(U) [with U = int; T = IClassFactory]", L"UnknownBase<struct IClassFactory>::Visit"},
        {"bool PTList<T>::GetValue(T*) [with T = EAlignment]", L"PTList<enum EAlignment>::GetValue"},
        {"void Holder<T>::Set(T) [with T = Exception]", L"Holder<struct Exception>::Set"},
        {"T Convert(T) [with T = double]", L"Convert"},
        {"bool Settings::operator<(const Settings&) const", L"Settings::operator <"},
        {"void Settings::operator()()", L"Settings::operator ()"},
        {"Settings::operator bool() const", L"Settings::operator bool"},
        {"HostPreviewFilter::StartOperation()::<lambda()>", L"HostPreviewFilter::StartOperation::<lambda>::operator ()"},
        {"static void main(int, char**)::Local::f()", L"main::Local::f"},
    };
    for (const Case& c : cases) {
        EXPECT_STREQ(LogFunctionName(c.pretty), c.expected) << c.pretty;
    }
}

}  // namespace

namespace logtest {

struct Interface {};

template <class T, int N>
struct Site {
    static const wchar_t* Name() { return LogFunctionName(__PRETTY_FUNCTION__); }
};

TEST(LogSiteNames, ACompiledSiteNamesItsClassTemplateArguments)
{
    EXPECT_STREQ((Site<Interface, 3>::Name()), L"logtest::Site<struct logtest::Interface,3>::Name");
    EXPECT_STREQ((Site<unsigned, -1>::Name()), L"logtest::Site<unsigned int,-1>::Name");
}

}  // namespace logtest

namespace {

TEST(LogSiteNames, FileNameIsTheLastComponentWithoutExtension)
{
    struct Case {
        const char* path;
        const wchar_t* expected;
    };
    static const Case cases[] = {
        {"/work/main/shared/common/inc/unknownbase.h", L"unknownbase"},
        {"../filters/qxiprev/src/hostpreviewfilter.cpp", L"hostpreviewfilter"},
        {"C:\\build\\src\\printpreviewmanager.cpp", L"printpreviewmanager"},
        {"mixed/dir\\ptsettings.cpp", L"ptsettings"},
        {"/src/Makefile", L"Makefile"},
        {"/src/archive.tar.gz", L"archive.tar"},
        {"/src.d/noextension", L"noextension"},
    };
    for (const Case& c : cases) {
        EXPECT_STREQ(LogFileName(c.path), c.expected) << c.path;
    }
}

TEST(LogSiteNames, EachSiteIsConvertedOnceAndKept)
{
    static const char pretty[] = "void Once::Site()";
    static const char file[] = "/src/once.cpp";
    const wchar_t* name = LogFunctionName(pretty);
    EXPECT_EQ(LogFunctionName(pretty), name);
    EXPECT_EQ(LogFileName(file), LogFileName(file));
    EXPECT_STREQ(LogFunctionName(nullptr), L"");
    EXPECT_STREQ(LogFileName(nullptr), L"");
}

}  // namespace
