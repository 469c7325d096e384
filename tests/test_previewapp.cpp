// The preview application stand-in, driven as the filter drives it: this program plays the filter's
// end of the channel with the real communication library, and runs the application as a child
// process scripted through its environment.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "morvikrecord.h"
#include "previewmessages.h"
#include "previewrecords.h"
#include "testmachine.h"
#include "xpsbuilder.h"

extern char** environ;

namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using Bytes = std::vector<std::uint8_t>;
using Environment = std::map<std::string, std::string>;
using Clock = std::chrono::steady_clock;
using testsupport::ReadFile;

constexpr char kVersionArgument[] = "--Version=61.2405.0.0";
constexpr char kSoftwareUrl[] = "https://www.example.com/qx/preview?lang=en";
// A child still running after this long hangs; it is killed and the test fails.
constexpr auto kChildBound = 20s;
// How long a result has to reach this side once the application has exited.
constexpr auto kResultBound = 5s;
// How long to watch for a result that must not come.
constexpr auto kSettle = 500ms;
// The application's wait for each answer, shortened for the tests of a filter that does not answer.
constexpr char kShortTimeoutMs[] = "300";

// Non-ASCII, a character outside the basic plane included, so that the UTF-16 fields are converted,
// not copied byte by byte.
constexpr char16_t kDocumentName16[] = u"Plan \u00c4rger \u2013 \u03a9 \U0001F5A8.pdf";
constexpr char kDocumentName8[] = "Plan \u00c4rger \u2013 \u03a9 \U0001F5A8.pdf";

// ---- The two libraries, loaded as the filter loads them -------------------------------------------

// Loaded for the whole program, as the filter keeps its libraries loaded.
class LoadedLibrary {
public:
    explicit LoadedLibrary(const char* path) : m_handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}
    template <class Function>
    Function Export(const char* name) const
    {
        using AnyFunction = void (*)();
        return m_handle == nullptr ? nullptr
                                   : reinterpret_cast<Function>(reinterpret_cast<AnyFunction>(dlsym(m_handle, name)));
    }

private:
    void* m_handle;
};

struct Channel {
    using Handler = void (*)(void*);
    static const Channel& Get()
    {
        static const Channel channel;
        return channel;
    }
    bool IsComplete() const { return start != nullptr && enroll != nullptr && send != nullptr && stop != nullptr; }

    LoadedLibrary library{QXICL_PATH};
    void (*start)(const char*) = library.Export<void (*)(const char*)>("StartPipe");
    void (*enroll)(const char*, std::int32_t, Handler) =
        library.Export<void (*)(const char*, std::int32_t, Handler)>("RegisterForMessage");
    std::int32_t (*send)(const char*, std::int32_t, const void*, std::int32_t) =
        library.Export<std::int32_t (*)(const char*, std::int32_t, const void*, std::int32_t)>("SendPipeMessage");
    void (*stop)(const char*) = library.Export<void (*)(const char*)>("StopPipe");
};

struct Encoding {
    static const Encoding& Get()
    {
        static const Encoding encoding;
        return encoding;
    }
    bool IsComplete() const { return encode != nullptr && decode != nullptr; }

    std::string Encode(const MorvikSettingsRecord& record) const
    {
        char text[512] = {};
        EXPECT_EQ(encode(record, text), 0);
        return text;
    }
    std::optional<MorvikSettingsRecord> Decode(const std::string& text) const
    {
        std::uint8_t success = 0;
        const MorvikSettingsRecord record = decode(text.c_str(), &success);
        return success != 0 ? std::optional<MorvikSettingsRecord>(record) : std::nullopt;
    }

    LoadedLibrary library{QXITRN_PATH};
    std::int32_t (*encode)(MorvikSettingsRecord, char*) =
        library.Export<std::int32_t (*)(MorvikSettingsRecord, char*)>("EncodeFibonacciUnmanaged");
    MorvikSettingsRecord (*decode)(const char*, std::uint8_t*) =
        library.Export<MorvikSettingsRecord (*)(const char*, std::uint8_t*)>("DecodeFibonacci");
};

// ---- The job the filter describes --------------------------------------------------------------

template <std::size_t N>
void CopyText(char16_t (&field)[N], std::u16string_view text)
{
    ASSERT_LT(text.size(), N);
    std::copy(text.begin(), text.end(), field);
}

MorvikSettingsRecord SampleSettings()
{
    MorvikSettingsRecord record;
    std::fill(std::begin(record.fields), std::end(record.fields), kMorvikUnset);
    record.fields[kMorvikFormat] = kMorvikFormatVersion;
    record.fields[kMorvikInputBin] = 3;
    record.fields[kMorvikRotation] = 0;
    record.fields[kMorvikOutputColor] = 1;
    record.fields[kMorvikScalingMode] = 2;
    record.fields[kMorvikMediaType] = 14;
    record.fields[kMorvikAlwaysOne] = 1;
    return record;
}

PrintPreviewData SampleData(const std::string& encodedSettings)
{
    PrintPreviewData data{};
    data.pureBlackAndWhiteSupported = 1;
    data.paperSourceQuerySupported = 1;
    data.platformId = 2;
    data.copies = 3;
    data.pageCount = 12;
    data.mediaWidth = 841000;
    data.mediaHeight = 1189000;
    data.rollWidth = 914400;
    data.scalingPercentage = 150;
    data.fitToPaperWidth = 610000;
    data.fitToPaperHeight = 914000;
    data.fitToPaperOption = 2;
    data.pdlId = 1;
    CopyText(data.prnFilePath, u"C:\\Users\\ana\\AppData\\Local\\Temp\\QX_1A2B.tmp");
    CopyText(data.documentName, kDocumentName16);
    CopyText(data.printerName, u"QX LF-900 (Hall 2)");
    std::memcpy(data.encodedSettings, encodedSettings.data(), encodedSettings.size());
    CopyText(data.customMediaTypeName, u"Matte 120g");
    data.cropLinesRbaAutorotatePdf = 1;
    return data;
}

PaperSourceEntry SampleSource(std::uint32_t position, std::int32_t width, std::int32_t mediaTypeId,
                              std::u16string_view name)
{
    PaperSourceEntry entry{};
    entry.state = 1;
    entry.installed = position != 3 ? 1 : 0;
    entry.position = position;
    entry.constant8 = 8;
    entry.width = width;
    entry.length = -34;
    entry.mediaTypeId = mediaTypeId;
    entry.sourceType = position + 10;
    CopyText(entry.name, name);
    return entry;
}

std::vector<PaperSourceEntry> SampleSources()
{
    return {SampleSource(1, 914400, 12, u"Roll 1"), SampleSource(2, 609600, -2, u"Roll 2"),
            SampleSource(3, 254000, 0, u"Sheet tray \u00e9")};
}

// What an application that changes nothing must send back for the sample job.
PrintPreviewResult UnchangedResult(const std::string& encodedSettings)
{
    PrintPreviewResult result{};
    result.fitToPaperWidth = 610000;
    result.fitToPaperHeight = 914000;
    result.fitToPaperOption = 2;
    std::memcpy(result.encodedSettings, encodedSettings.data(), encodedSettings.size());
    result.scalingPercentage = 150;
    return result;
}

Bytes BytesOf(const PrintPreviewResult& result)
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&result);
    return Bytes(bytes, bytes + sizeof(result));
}

PrintPreviewResult ResultOf(const Bytes& bytes)
{
    PrintPreviewResult result{};
    std::memcpy(&result, bytes.data(), std::min(bytes.size(), sizeof(result)));
    return result;
}

std::string RandomPipeName()
{
    std::random_device random;
    return std::to_string(getpid()) + "x" + std::to_string(random()) + "x" + std::to_string(random());
}

// ---- The filter's end of the channel ---------------------------------------------------------------

// Answers the application's requests from the prepared job and keeps every result it receives. The
// library calls handlers without a context, hence the one instance.
class FilterSide {
public:
    struct Answers {
        bool data = true;
        bool softwareUrl = true;
    };

    static FilterSide& Get()
    {
        static FilterSide side;
        return side;
    }

    void Open(const std::string& incoming, const std::string& outgoing, Answers answers)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_incoming = incoming;
            m_outgoing = outgoing;
            m_answers = answers;
            m_results.clear();
        }
        const Channel& channel = Channel::Get();
        channel.start(incoming.c_str());
        channel.enroll(incoming.c_str(), PP_MSG_DATA_REQUEST, &FilterSide::OnDataRequest);
        channel.enroll(incoming.c_str(), PP_MSG_SOFTWARE_URL_REQUEST, &FilterSide::OnSoftwareUrlRequest);
        channel.enroll(incoming.c_str(), PP_MSG_RESULT, &FilterSide::OnResult);
        m_open = true;
    }

    void Close()
    {
        if (m_open) {
            Channel::Get().stop(m_incoming.c_str());
            m_open = false;
        }
    }

    void Prepare(const PrintPreviewData& data, const std::vector<PaperSourceEntry>& sources)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_data = data;
        m_sources = sources;
    }

    // The first result received, waiting at most `bound` for it.
    std::optional<Bytes> WaitForResult(std::chrono::milliseconds bound)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_arrived.wait_for(lock, bound, [this] { return !m_results.empty(); })) {
            return std::nullopt;
        }
        return m_results.front();
    }

    std::size_t ResultCount()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_results.size();
    }

private:
    static void OnDataRequest(void*) { Get().AnswerDataRequest(); }
    static void OnSoftwareUrlRequest(void*) { Get().AnswerSoftwareUrlRequest(); }
    static void OnResult(void* payload)
    {
        // As the filter does: the result block's size, whatever was sent.
        const auto* bytes = static_cast<const std::uint8_t*>(payload);
        FilterSide& side = Get();
        {
            std::lock_guard<std::mutex> lock(side.m_mutex);
            side.m_results.emplace_back(bytes, bytes + sizeof(PrintPreviewResult));
        }
        side.m_arrived.notify_all();
    }

    void AnswerDataRequest()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_answers.data) {
            return;
        }
        Send(PP_MSG_DATA, &m_data, sizeof(m_data));
        for (const PaperSourceEntry& entry : m_sources) {
            Send(PP_MSG_PAPER_SOURCE, &entry, sizeof(entry));
        }
        Send(PP_MSG_PAPER_SOURCE_END, nullptr, 0);
    }

    void AnswerSoftwareUrlRequest()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_answers.softwareUrl) {
            Send(PP_MSG_SOFTWARE_URL, kSoftwareUrl, sizeof(kSoftwareUrl) - 1);
        }
    }

    // Every message the filter sends is a zero-filled payload of the same size.
    void Send(std::int32_t message, const void* content, std::size_t size)
    {
        Bytes payload(kPreviewMessageSize, 0);
        if (size != 0) {
            std::memcpy(payload.data(), content, size);
        }
        EXPECT_EQ(Channel::Get().send(m_outgoing.c_str(), message, payload.data(), kPreviewMessageSize), 0)
            << "message " << message;
    }

    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::string m_incoming;
    std::string m_outgoing;
    Answers m_answers;
    bool m_open = false;
    PrintPreviewData m_data{};
    std::vector<PaperSourceEntry> m_sources;
    std::vector<Bytes> m_results;
};

// ---- The application as a child process ---------------------------------------------------------

void WriteFile(const std::filesystem::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

struct AppRun {
    int waitStatus = 0;
    std::string out;
    std::string err;
    Clock::duration elapsed{};

    // -1 when the application did not exit by itself.
    int ExitCode() const { return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1; }
};

// This process's environment without any scripting of its own, plus the given variables.
std::vector<std::string> ChildEnvironment(const Environment& variables)
{
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (std::string_view(*entry).substr(0, 10) != "QXPREVIEW_") {
            environment.emplace_back(*entry);
        }
    }
    for (const auto& [name, value] : variables) {
        environment.push_back(name + "=" + value);
    }
    return environment;
}

std::vector<char*> PointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

int WaitBounded(pid_t child)
{
    const Clock::time_point deadline = Clock::now() + kChildBound;
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (Clock::now() > deadline) {
            ADD_FAILURE() << "the application still ran after " << kChildBound.count() << " s";
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            break;
        }
        std::this_thread::sleep_for(5ms);
    }
    return status;
}

AppRun RunPreviewApp(const std::vector<std::string>& arguments, const Environment& variables,
                     const std::filesystem::path& folder, const std::string& input)
{
    const std::string in = (folder / "stdin").string();
    const std::string out = (folder / "stdout").string();
    const std::string err = (folder / "stderr").string();
    WriteFile(in, input);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);

    std::vector<std::string> argumentTexts{QXPREVIEWAPP_PATH};
    argumentTexts.insert(argumentTexts.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environmentTexts = ChildEnvironment(variables);
    std::vector<char*> argv = PointersTo(argumentTexts);
    std::vector<char*> envp = PointersTo(environmentTexts);

    AppRun run;
    const Clock::time_point started = Clock::now();
    pid_t child = 0;
    const int spawned = posix_spawn(&child, QXPREVIEWAPP_PATH, &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        ADD_FAILURE() << "cannot start " << QXPREVIEWAPP_PATH << ": " << std::strerror(spawned);
        return run;
    }
    run.waitStatus = WaitBounded(child);
    run.elapsed = Clock::now() - started;
    run.out = ReadFile(out);
    run.err = ReadFile(err);
    return run;
}

// ---- The fixture: a filter waiting on fresh pipes with the sample job -------------------------

class PreviewAppTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Channel::Get().IsComplete()) << QXICL_PATH;
        ASSERT_TRUE(Encoding::Get().IsComplete()) << QXITRN_PATH;
        m_folder = testsupport::TestMachine::Get().Root() / "previewapp";
        std::filesystem::create_directories(m_folder);
        m_settings = SampleSettings();
        m_encoded = Encoding::Get().Encode(m_settings);
        m_incoming = RandomPipeName() + "_IN";
        m_outgoing = RandomPipeName() + "_OUT";
        FilterSide::Get().Prepare(SampleData(m_encoded), SampleSources());
    }

    void TearDown() override
    {
        FilterSide::Get().Close();
        std::filesystem::remove_all(m_folder);
    }

    // A run before in the same test leaves neither its pipe nor its results.
    void OpenFilter(FilterSide::Answers answers = {})
    {
        FilterSide::Get().Close();
        FilterSide::Get().Open(m_incoming, m_outgoing, answers);
    }

    std::vector<std::string> FilterArguments() const
    {
        return {kVersionArgument, "--Input=" + m_incoming, "--Output=" + m_outgoing};
    }

    // The application with the filter's arguments and a report, the filter waiting.
    AppRun RunWithFilter(Environment variables, const std::string& input = std::string())
    {
        OpenFilter();
        return Run(FilterArguments(), std::move(variables), input);
    }

    AppRun Run(const std::vector<std::string>& arguments, Environment variables,
               const std::string& input = std::string())
    {
        std::filesystem::remove(ReportPath());
        variables.emplace("QXPREVIEW_REPORT", ReportPath().string());
        return RunPreviewApp(arguments, variables, m_folder, input);
    }

    std::filesystem::path ReportPath() const { return m_folder / "report.json"; }

    json Report() const { return json::parse(ReadFile(ReportPath()), nullptr, false); }

    Bytes AcceptedResult() const { return BytesOf(UnchangedResult(m_encoded)); }

    // The result the filter received; fails the test when none came.
    Bytes Result() const
    {
        const std::optional<Bytes> result = FilterSide::Get().WaitForResult(kResultBound);
        EXPECT_TRUE(result.has_value());
        return result.value_or(Bytes(sizeof(PrintPreviewResult), 0));
    }

    // The settings the result carries, with the expected changes over the job's.
    void ExpectResultSettings(const Bytes& result, const std::map<MorvikField, std::int32_t>& changes) const
    {
        MorvikSettingsRecord expected = m_settings;
        for (const auto& [field, value] : changes) {
            expected.fields[field] = value;
        }
        const std::optional<MorvikSettingsRecord> decoded = Encoding::Get().Decode(ResultOf(result).encodedSettings);
        ASSERT_TRUE(decoded.has_value()) << ResultOf(result).encodedSettings;
        for (std::size_t i = 0; i < kMorvikFieldCount; ++i) {
            EXPECT_EQ(decoded->fields[i], expected.fields[i]) << "field " << i;
        }
    }

    void ExpectNoResult() const { EXPECT_FALSE(FilterSide::Get().WaitForResult(kSettle).has_value()); }

    std::filesystem::path m_folder;
    MorvikSettingsRecord m_settings{};
    std::string m_encoded;
    std::string m_incoming;
    std::string m_outgoing;
};

const std::vector<std::int32_t> kWholeConversation = {PP_MSG_DATA, PP_MSG_PAPER_SOURCE, PP_MSG_PAPER_SOURCE,
                                                       PP_MSG_PAPER_SOURCE, PP_MSG_PAPER_SOURCE_END,
                                                       PP_MSG_SOFTWARE_URL};

// ---- Accepting the job ---------------------------------------------------------------------------

// Without a mode and without a terminal the job is accepted; the report holds everything the
// filter sent, the settings decoded by name, and the result.
TEST_F(PreviewAppTest, AcceptSendsTheSettingsTextAndScalingBackUnchangedAndReportsTheJob)
{
    const AppRun run = RunWithFilter({});
    ASSERT_EQ(run.ExitCode(), 0) << run.err;
    EXPECT_EQ(Result(), AcceptedResult());
    EXPECT_EQ(FilterSide::Get().ResultCount(), 1u);

    const json report = Report();
    ASSERT_FALSE(report.is_discarded());
    EXPECT_EQ(report["mode"], "accept");
    EXPECT_EQ(report["version"], "61.2405.0.0");
    EXPECT_EQ(report["inputPipe"], m_incoming);
    EXPECT_EQ(report["outputPipe"], m_outgoing);
    EXPECT_EQ(report["messages"].get<std::vector<std::int32_t>>(), kWholeConversation);
    const json expectedData = {
        {"pureBlackAndWhiteSupported", 1}, {"paperSourceQuerySupported", 1}, {"reserved", 0},
        {"sizePassThrough", 0},            {"platformId", 2},                {"copies", 3},
        {"pageCount", 12},                 {"mediaWidth", 841000},           {"mediaHeight", 1189000},
        {"rollWidth", 914400},             {"scalingPercentage", 150},       {"fitToPaperWidth", 610000},
        {"fitToPaperHeight", 914000},      {"fitToPaperOption", 2},          {"pdlId", 1},
        {"prnFilePath", "C:\\Users\\ana\\AppData\\Local\\Temp\\QX_1A2B.tmp"},
        {"documentName", kDocumentName8},  {"printerName", "QX LF-900 (Hall 2)"},
        {"encodedSettings", m_encoded},    {"customMediaTypeName", "Matte 120g"},
        {"cropLinesRbaAutorotatePdf", 1},
    };
    EXPECT_EQ(report["data"], expectedData);
    const json expectedSources = json::array({
        {{"state", 1}, {"installed", 1}, {"position", 1}, {"constant8", 8}, {"width", 914400}, {"length", -34},
         {"mediaTypeId", 12}, {"sourceType", 11}, {"name", "Roll 1"}},
        {{"state", 1}, {"installed", 1}, {"position", 2}, {"constant8", 8}, {"width", 609600}, {"length", -34},
         {"mediaTypeId", -2}, {"sourceType", 12}, {"name", "Roll 2"}},
        {{"state", 1}, {"installed", 0}, {"position", 3}, {"constant8", 8}, {"width", 254000}, {"length", -34},
         {"mediaTypeId", 0}, {"sourceType", 13}, {"name", "Sheet tray \u00e9"}},
    });
    EXPECT_EQ(report["paperSources"], expectedSources);
    EXPECT_EQ(report["paperSourcesComplete"], true);
    EXPECT_EQ(report["softwareUrl"], kSoftwareUrl);
    EXPECT_EQ(report["exitCode"], 0);
    EXPECT_TRUE(report["error"].is_null());
    EXPECT_TRUE(report["signal"].is_null());

    const json& settings = report["settings"];
    EXPECT_EQ(settings["decoded"], true);
    EXPECT_EQ(settings["fields"].get<std::vector<std::int32_t>>(),
              std::vector<std::int32_t>(std::begin(m_settings.fields), std::end(m_settings.fields)));
    const std::map<std::string, std::int32_t> named = {{"format", 2},      {"inputBin", 3},  {"rotation", 0},
                                                       {"outputColor", 1}, {"scalingMode", 2}, {"mediaType", 14},
                                                       {"alwaysOne", 1},   {"collate", -1}};
    for (const auto& [name, value] : named) {
        EXPECT_EQ(settings["named"][name], value) << name;
    }

    const json& result = report["result"];
    EXPECT_EQ(result["message"], 106);
    EXPECT_EQ(result["size"], 528);
    EXPECT_EQ(result["status"], 0);
    const json expectedBlock = {{"fitToPaperWidth", 610000}, {"fitToPaperHeight", 914000},
                                {"fitToPaperOption", 2},     {"encodedSettings", m_encoded},
                                {"scalingPercentage", 150}};
    EXPECT_EQ(result["block"], expectedBlock);
}

TEST_F(PreviewAppTest, SettingsTextThatDoesNotDecodeIsReturnedOnAcceptAndEndsAChangeWithoutResult)
{
    FilterSide::Get().Prepare(SampleData("not a settings text"), SampleSources());

    const AppRun accepted = RunWithFilter({{"QXPREVIEW_MODE", "accept"}});
    EXPECT_EQ(accepted.ExitCode(), 0) << accepted.err;
    EXPECT_EQ(Result(), BytesOf(UnchangedResult("not a settings text")));
    EXPECT_EQ(Report()["settings"], json({{"decoded", false}}));

    const AppRun changed = RunWithFilter({{"QXPREVIEW_MODE", "change"}, {"QXPREVIEW_INPUT_BIN", "2"}});
    EXPECT_EQ(changed.ExitCode(), 6);
    EXPECT_NE(changed.err.find("the settings text of the job does not decode"), std::string::npos) << changed.err;
    ExpectNoResult();
    EXPECT_EQ(Report()["error"], "the settings text of the job does not decode");
}

// ---- Changing the job ------------------------------------------------------------------------------

TEST_F(PreviewAppTest, ChangeSendsTheChangesAndKeepsTheRest)
{
    const struct {
        const char* name;
        Environment variables;
        std::map<MorvikField, std::int32_t> settings;  // fields expected changed, the others stay
        std::array<std::uint32_t, 4> scaling;          // fit width, height and option, percentage
    } cases[] = {
        {"all four settings",
         {{"QXPREVIEW_INPUT_BIN", "5"}, {"QXPREVIEW_ROTATION", "1"}, {"QXPREVIEW_OUTPUT_COLOR", "0"},
          {"QXPREVIEW_SCALING_MODE", "1"}},
         {{kMorvikInputBin, 5}, {kMorvikRotation, 1}, {kMorvikOutputColor, 0}, {kMorvikScalingMode, 1}},
         {610000, 914000, 2, 150}},
        {"output color to unset", {{"QXPREVIEW_OUTPUT_COLOR", "-1"}}, {{kMorvikOutputColor, -1}},
         {610000, 914000, 2, 150}},
        {"fit to paper values",
         {{"QXPREVIEW_SCALING_MODE", "3"}, {"QXPREVIEW_FIT_WIDTH", "420000"}, {"QXPREVIEW_FIT_HEIGHT", "594000"},
          {"QXPREVIEW_FIT_OPTION", "1"}},
         {{kMorvikScalingMode, 3}},
         {420000, 594000, 1, 150}},
        {"percentage only", {{"QXPREVIEW_SCALING_PERCENTAGE", "75"}}, {}, {610000, 914000, 2, 75}},
        {"nothing scripted: the tray and a quarter turn", {}, {{kMorvikInputBin, 2}, {kMorvikRotation, 1}},
         {610000, 914000, 2, 150}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Environment variables = c.variables;
        variables.emplace("QXPREVIEW_MODE", "change");
        const AppRun run = RunWithFilter(variables);
        EXPECT_EQ(run.ExitCode(), 0) << run.err;
        const Bytes result = Result();
        const PrintPreviewResult block = ResultOf(result);
        EXPECT_EQ((std::array<std::uint32_t, 4>{block.fitToPaperWidth, block.fitToPaperHeight, block.fitToPaperOption,
                                                block.scalingPercentage}),
                  c.scaling);
        ExpectResultSettings(result, c.settings);
        // The filter tells a change from the text alone.
        EXPECT_EQ(std::string(block.encodedSettings) != m_encoded, !c.settings.empty());
    }
}

// Scaling values that the scaling mode leaves unread by the filter are named as ignored.
TEST_F(PreviewAppTest, ScalingValuesTheModeLeavesUnreadAreNamed)
{
    for (const auto& [mode, ignored] : {std::pair{"0", true}, std::pair{"2", false}}) {
        const AppRun run = RunWithFilter(
            {{"QXPREVIEW_MODE", "change"}, {"QXPREVIEW_SCALING_MODE", mode}, {"QXPREVIEW_FIT_WIDTH", "420000"}});
        EXPECT_EQ(run.ExitCode(), 0) << run.err;
        EXPECT_EQ(run.err.find("QXPREVIEW_FIT_WIDTH is ignored") != std::string::npos, ignored) << mode << run.err;
        EXPECT_EQ(run.err.find("QXPREVIEW_FIT_HEIGHT"), std::string::npos) << "only what was set";
    }
}

// ---- Misbehaving applications ------------------------------------------------------------------

TEST_F(PreviewAppTest, GarbageIsAFullResultOfRandomBytes)
{
    const AppRun run = RunWithFilter({{"QXPREVIEW_MODE", "garbage"}});

    EXPECT_EQ(run.ExitCode(), 0) << run.err;
    const Bytes result = Result();
    EXPECT_NE(result, AcceptedResult());
    const json sent = Report()["result"];
    EXPECT_EQ(sent["size"], 528);
    std::ostringstream hex;
    for (const std::uint8_t byte : result) {
        hex << std::hex << (byte >> 4) << (byte & 0x0F);
    }
    EXPECT_EQ(sent["hex"], hex.str());
}

TEST_F(PreviewAppTest, ShortResultIsTheFirstHundredBytesOfTheUnchangedOne)
{
    const AppRun run = RunWithFilter({{"QXPREVIEW_MODE", "short"}});

    EXPECT_EQ(run.ExitCode(), 0) << run.err;
    Bytes expected = AcceptedResult();
    std::fill(expected.begin() + 100, expected.end(), 0);
    EXPECT_EQ(Result(), expected);
    EXPECT_EQ(Report()["result"]["size"], 100);
}

TEST_F(PreviewAppTest, CrashAbortsAfterTheJobArrived)
{
    const AppRun run = RunWithFilter({{"QXPREVIEW_MODE", "crash"}});
    // A crashed application's endpoint goes with it: a later send finds nobody at once.
    const char nothing = 0;
    EXPECT_EQ(Channel::Get().send(m_outgoing.c_str(), PP_MSG_DATA, &nothing, 1), 1);

    ASSERT_TRUE(WIFSIGNALED(run.waitStatus)) << run.waitStatus;
    EXPECT_EQ(WTERMSIG(run.waitStatus), SIGABRT);
    ExpectNoResult();
    const json report = Report();
    EXPECT_EQ(report["signal"], "SIGABRT");
    EXPECT_EQ(report["messages"].get<std::vector<std::int32_t>>(), kWholeConversation);
    EXPECT_EQ(report["data"]["documentName"], kDocumentName8);
    EXPECT_TRUE(report["exitCode"].is_null());
}

// ---- A filter that does not answer -------------------------------------------------------------

TEST_F(PreviewAppTest, FilterThatKeepsAnAnswerEndsTheWaitWithCodeFour)
{
    const std::vector<std::int32_t> dataOnly(kWholeConversation.begin(), kWholeConversation.end() - 1);
    const struct {
        FilterSide::Answers answers;
        std::string message;
        std::vector<std::int32_t> messages;
    } cases[] = {
        {{false, false}, "the filter did not send the job data and the end of the paper sources within 300 ms", {}},
        {{true, false}, "the filter did not send the software URL within 300 ms", dataOnly},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        OpenFilter(c.answers);
        const AppRun run = Run(FilterArguments(), {{"QXPREVIEW_TIMEOUT_MS", kShortTimeoutMs}});
        EXPECT_EQ(run.ExitCode(), 4);
        EXPECT_GE(run.elapsed, 300ms);
        EXPECT_LT(run.elapsed, 5s);
        EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
        ExpectNoResult();
        const json report = Report();
        EXPECT_EQ(report["error"], c.message);
        EXPECT_EQ(report["messages"].get<std::vector<std::int32_t>>(), c.messages);
        EXPECT_EQ(report["exitCode"], 4);
    }
}

TEST_F(PreviewAppTest, FilterPipeThatDoesNotExistEndsAtOnceWithCodeFour)
{
    const AppRun run = Run(FilterArguments(), {});

    EXPECT_EQ(run.ExitCode(), 4);
    EXPECT_LT(run.elapsed, 5s);
    EXPECT_NE(run.err.find("cannot send message 101 to pipe " + m_incoming + " (status "), std::string::npos)
        << run.err;
}

// ---- The command line and the libraries ----------------------------------------------------------

TEST_F(PreviewAppTest, ABadCommandLineIsRefusedWithCodeThreeAndNoReport)
{
    const struct {
        std::vector<std::string> arguments;
        const char* message;
    } cases[] = {
        {{}, "missing argument --Version=<value>"},
        {{"--Version=61.2405.0.0"}, "missing argument --Input=<value>"},
        {{"--Version=61.2405.0.0", "--Input=abc_IN"}, "missing argument --Output=<value>"},
        {{"--Version=61.2405.0.0", "--Input=", "--Output=abc_OUT"}, "missing argument --Input=<value>"},
        {{"--Version=1", "--Input=a", "--Output=b", "--Verbose"}, "unknown argument: --Verbose"},
        {{"--Version=1", "--input=a", "--Output=b"}, "unknown argument: --input=a"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const AppRun run = Run(c.arguments, {{"QXPREVIEW_MODE", "accept"}});
        EXPECT_EQ(run.ExitCode(), 3);
        EXPECT_EQ(run.err.rfind(std::string("qxpreviewapp: ") + c.message + "\nusage: ", 0), 0u) << run.err;
        EXPECT_FALSE(std::filesystem::exists(ReportPath()));
    }
}

TEST_F(PreviewAppTest, ALibraryThatCannotBeUsedEndsWithCodeFive)
{
    const std::pair<std::string, std::string> cases[] = {
        {"--library=/nonexistent/libqxicl.so", "cannot load /nonexistent/libqxicl.so"},
        {std::string("--encoding-library=") + QXICL_PATH,
         std::string(QXICL_PATH) + " has no export EncodeFibonacciUnmanaged"},
    };
    for (const auto& [argument, message] : cases) {
        std::vector<std::string> arguments = FilterArguments();
        arguments.push_back(argument);
        const AppRun run = Run(arguments, {});
        EXPECT_EQ(run.ExitCode(), 5) << argument;
        EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
    }
}

// ---- Scripting -------------------------------------------------------------------------------

TEST_F(PreviewAppTest, TheScriptDecidesTheExitCode)
{
    const struct {
        const char* name;
        const char* scriptFile;  // null: no file
        Environment variables;
        int exitCode;
    } cases[] = {
        {"mode from file", "QXPREVIEW_MODE=cancel\n", {}, 1},
        {"environment wins over file", "QXPREVIEW_MODE=cancel\n", {{"QXPREVIEW_MODE", "silent"}}, 0},
        {"comments, blanks and spaces", "# scripted exit\n\n  QXPREVIEW_MODE = exit\nQXPREVIEW_EXIT_CODE=6\n", {}, 6},
        {"unknown key in file", "MODE=cancel\n", {}, 3},
        {"line without value", "QXPREVIEW_MODE\n", {}, 3},
        {"exit code out of range", nullptr, {{"QXPREVIEW_MODE", "exit"}, {"QXPREVIEW_EXIT_CODE", "256"}}, 3},
        {"setting not a number", nullptr, {{"QXPREVIEW_MODE", "change"}, {"QXPREVIEW_ROTATION", "1x"}}, 3},
        {"zero timeout", nullptr, {{"QXPREVIEW_TIMEOUT_MS", "0"}}, 3},
    };
    const std::filesystem::path script = m_folder / "script";
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Environment variables = c.variables;
        if (c.scriptFile != nullptr) {
            WriteFile(script, c.scriptFile);
            variables.emplace("QXPREVIEW_SCRIPT", script.string());
        }
        EXPECT_EQ(RunWithFilter(variables).ExitCode(), c.exitCode);
    }
}

TEST_F(PreviewAppTest, ScriptErrorNamesTheKeyAndValue)
{
    const AppRun run = RunWithFilter({{"QXPREVIEW_MODE", "print"}});

    EXPECT_EQ(run.ExitCode(), 3);
    EXPECT_EQ(run.err.rfind("qxpreviewapp: QXPREVIEW_MODE: unknown mode 'print'\n", 0), 0u) << run.err;
}

// ---- A person at the terminal ----------------------------------------------------------------

TEST_F(PreviewAppTest, InteractiveShowsTheJobAndPrintWithoutChangesAccepts)
{
    const AppRun run = RunWithFilter({{"QXPREVIEW_MODE", "interactive"}}, "p\n");

    EXPECT_EQ(run.ExitCode(), 0) << run.err;
    for (const std::string& line :
         {std::string("Document:    ") + kDocumentName8 + "\n", std::string("Printer:     QX LF-900 (Hall 2)\n"),
          std::string("Pages:       12, copies 3\n"), std::string("Media size:  841000 x 1189000\n"),
          std::string("Software:    ") + kSoftwareUrl + "\n",
          std::string("  1. Roll 1: 914400 x -34 um, media type 12, source type 11, installed\n"),
          std::string("  3. Sheet tray \u00e9: 254000 x -34 um, media type 0, source type 13, not installed\n"),
          std::string("  Input bin: 3\n"), std::string("  Scaling mode: 2\n")}) {
        EXPECT_NE(run.out.find(line), std::string::npos) << line << "\nin:\n" << run.out;
    }
    // Unset settings are not shown.
    EXPECT_EQ(run.out.find("Collate"), std::string::npos);
    EXPECT_EQ(Result(), AcceptedResult());
    EXPECT_EQ(Report()["decision"], "accept");
}

TEST_F(PreviewAppTest, InteractiveChangesGoIntoTheResultAndASecondChangeShowsTheFirst)
{
    const AppRun run = RunWithFilter({{"QXPREVIEW_MODE", "interactive"}}, "i\n7\nr\n1\no\nabc\ns\n3\ni\n8\np\n");

    EXPECT_EQ(run.ExitCode(), 0) << run.err;
    EXPECT_NE(run.out.find("Input bin (now 3): "), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("Not a number; Output color stays as it was.\n"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("Input bin (now 7): "), std::string::npos) << run.out;
    ExpectResultSettings(Result(), {{kMorvikInputBin, 8}, {kMorvikRotation, 1}, {kMorvikScalingMode, 3}});
    EXPECT_EQ(Report()["decision"], "change");
}

TEST_F(PreviewAppTest, InteractiveCancelOrEndOfInputSendsNothingAndExitsWithOne)
{
    for (const char* input : {"c\n", "i\n7\nc\n", "", "i\n"}) {
        SCOPED_TRACE(testing::PrintToString(input));
        const AppRun run = RunWithFilter({{"QXPREVIEW_MODE", "interactive"}}, input);
        EXPECT_EQ(run.ExitCode(), 1) << run.err;
        ExpectNoResult();
        EXPECT_EQ(Report()["decision"], "cancel");
    }
}

}  // namespace
