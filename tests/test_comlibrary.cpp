// The communication library stand-in, loaded by its file as the filter and the preview application
// load it: delivery of every payload size, order, the private folder and its socket files, senders
// that find nobody or lose their peer, and stopping a pipe while it works.
#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

using PipeMessageHandler = void (*)(void*);

constexpr std::int32_t kSent = 0;
constexpr std::int32_t kNoPeer = 1;
constexpr std::int32_t kWriteFailed = 2;
constexpr std::int32_t kBadArguments = 3;
constexpr std::size_t kOneMiB = 1u << 20;
constexpr std::size_t kDeliveryMinimum = 4096;
constexpr std::uint32_t kMagic = 0x51584943;
// Far longer than any delivery takes; only a broken library waits this long.
constexpr auto kPatience = 10s;

// The library file, loaded once for the whole program as its users keep it loaded.
struct ComLibrary {
    ComLibrary()
    {
        void* handle = ::dlopen(QXICL_PATH, RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            throw std::runtime_error(::dlerror());
        }
        Bind(handle, "StartPipe", start);
        Bind(handle, "RegisterForMessage", registerFor);
        Bind(handle, "SendPipeMessage", send);
        Bind(handle, "StopPipe", stop);
    }

    template <typename Function>
    static void Bind(void* handle, const char* name, Function& function)
    {
        function = reinterpret_cast<Function>(::dlsym(handle, name));
        if (function == nullptr) {
            throw std::runtime_error(std::string("missing export ") + name);
        }
    }

    void (*start)(const char*) = nullptr;
    void (*registerFor)(const char*, std::int32_t, PipeMessageHandler) = nullptr;
    std::int32_t (*send)(const char*, std::int32_t, const void*, std::int32_t) = nullptr;
    void (*stop)(const char*) = nullptr;
};

const ComLibrary& Lib()
{
    static const ComLibrary library;
    return library;
}

struct Received {
    int tag;
    int message;
    std::vector<unsigned char> bytes;
};

// What the handlers received, in the order they ran. A handler only gets a pointer, so the test
// says beforehand how many bytes each one copies out of the library's buffer.
class Inbox {
public:
    static Inbox& Get()
    {
        static Inbox inbox;
        return inbox;
    }

    void Reset(std::size_t captureBytes)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        received_.clear();
        captureBytes_ = captureBytes;
    }

    void Add(int tag, int message, const void* payload)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto* bytes = static_cast<const unsigned char*>(payload);
        received_.push_back({tag, message, std::vector<unsigned char>(bytes, bytes + captureBytes_)});
        arrived_.notify_all();
    }

    // The first count messages, or all there are when they do not come in time.
    std::vector<Received> WaitFor(std::size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        arrived_.wait_for(lock, kPatience, [&] { return received_.size() >= count; });
        return received_;
    }

    // Everything that arrived, after a pause long enough for a stray message to show up.
    std::vector<Received> Settled()
    {
        std::this_thread::sleep_for(200ms);
        const std::lock_guard<std::mutex> lock(mutex_);
        return received_;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Received> received_;
    std::size_t captureBytes_ = kDeliveryMinimum;
};

template <int Tag, int Message>
void Record(void* payload)
{
    Inbox::Get().Add(Tag, Message, payload);
}

std::vector<unsigned char> Pattern(std::size_t size, unsigned seed = 1)
{
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>((i * 7 + seed) % 251 + 1);
    }
    return bytes;
}

std::int32_t Send(const std::string& name, std::int32_t message, const std::vector<unsigned char>& payload)
{
    return Lib().send(name.c_str(), message, payload.data(), static_cast<std::int32_t>(payload.size()));
}

std::vector<unsigned char> Int32Payload(std::int32_t first, std::int32_t second = 0)
{
    std::vector<unsigned char> bytes(8);
    std::memcpy(bytes.data(), &first, 4);
    std::memcpy(bytes.data() + 4, &second, 4);
    return bytes;
}

std::int32_t Int32At(const Received& received, std::size_t offset)
{
    std::int32_t value = 0;
    std::memcpy(&value, received.bytes.data() + offset, 4);
    return value;
}

std::vector<int> MessagesOf(const std::vector<Received>& received)
{
    std::vector<int> messages;
    for (const Received& one : received) {
        messages.push_back(one.message);
    }
    return messages;
}

unsigned ModeOf(const fs::path& path)
{
    struct stat status {};
    EXPECT_EQ(0, ::lstat(path.c_str(), &status)) << path;
    return status.st_mode & 07777;
}

// A raw socket of the test's own, to play a peer the library never meets from its own side.
class RawSocket {
public:
    RawSocket() : fd_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;
    ~RawSocket()
    {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    int Get() const { return fd_; }
    bool Connect(const fs::path& path) { return ::connect(fd_, Address(path), sizeof address_) == 0; }
    bool Bind(const fs::path& path) { return ::bind(fd_, Address(path), sizeof address_) == 0; }
    bool WriteAll(const std::vector<unsigned char>& bytes)
    {
        return ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }
    // True when the other side closes the connection: an end of stream, or a reset when it left
    // bytes of ours unread.
    bool ClosedByPeer()
    {
        const timeval patience = {10, 0};
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        char byte = 0;
        const ssize_t received = ::recv(fd_, &byte, 1, 0);
        return received == 0 || (received < 0 && errno == ECONNRESET);
    }

private:
    const sockaddr* Address(const fs::path& path)
    {
        address_.sun_family = AF_UNIX;
        std::strncpy(address_.sun_path, path.c_str(), sizeof address_.sun_path - 1);
        return reinterpret_cast<const sockaddr*>(&address_);
    }
    int fd_;
    sockaddr_un address_{};
};

std::vector<unsigned char> FrameHeader(std::uint32_t magic, std::int32_t message, std::uint32_t size)
{
    std::vector<unsigned char> bytes;
    for (const std::uint32_t value : {magic, static_cast<std::uint32_t>(message), size}) {
        for (int i = 0; i < 4; ++i) {
            bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
        }
    }
    return bytes;
}

// Each test runs in a runtime folder of its own, so nothing it leaves meets another test or a
// user's real endpoints.
class ComLibraryTest : public testing::Test {
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/qxicltest-XXXXXX";
        ASSERT_NE(nullptr, ::mkdtemp(pattern));
        runtime_ = pattern;
        ::setenv("XDG_RUNTIME_DIR", runtime_.c_str(), 1);
        Inbox::Get().Reset(kDeliveryMinimum);
    }

    void TearDown() override
    {
        for (const std::string& name : started_) {
            Lib().stop(name.c_str());
        }
        std::error_code ignored;
        fs::remove_all(runtime_, ignored);
    }

    std::string NewName(const std::string& suffix = "_IN")
    {
        static int counter = 0;
        return "Pipe" + std::to_string(++counter) + suffix;
    }

    std::string Started(PipeMessageHandler handler = nullptr, std::int32_t message = 0,
                        const std::string& suffix = "_IN")
    {
        const std::string name = NewName(suffix);
        StartNamed(name);
        if (handler != nullptr) {
            Lib().registerFor(name.c_str(), message, handler);
        }
        return name;
    }

    void StartNamed(const std::string& name)
    {
        Lib().start(name.c_str());
        started_.push_back(name);
    }

    void ExpectStartsAndReceives(const std::string& name)
    {
        StartNamed(name);
        Lib().registerFor(name.c_str(), 102, Record<0, 102>);
        ASSERT_EQ(kSent, Send(name, 102, Pattern(8)));
        EXPECT_EQ(1u, Inbox::Get().WaitFor(1).size());
    }

    fs::path Folder() const { return runtime_ / "qxicl"; }
    fs::path SocketFile(const std::string& name) const { return Folder() / name; }

    void MakeFolder(unsigned mode) const
    {
        ASSERT_EQ(0, ::mkdir(Folder().c_str(), mode));
        ASSERT_EQ(0, ::chmod(Folder().c_str(), mode));
    }

    fs::path runtime_;
    std::vector<std::string> started_;
};

// ---------------------------------------------------------------------------------------------
// Delivery

class PayloadSizeTest : public ComLibraryTest, public testing::WithParamInterface<std::size_t> {};

// Each payload follows a longer one of 0xFF bytes, so stale bytes of the library's buffer would show.
TEST_P(PayloadSizeTest, ArrivesWholeFollowedByZeros)
{
    const std::size_t size = GetParam();
    const std::size_t captured = std::max(kDeliveryMinimum, size + 1);
    Inbox::Get().Reset(captured);
    const std::string name = Started(Record<0, 102>, 102);
    const std::vector<unsigned char> payload = Pattern(size);

    ASSERT_EQ(kSent, Send(name, 102, std::vector<unsigned char>(std::min(captured, kOneMiB), 0xFF)));
    ASSERT_EQ(kSent, Send(name, 102, payload));

    const auto received = Inbox::Get().WaitFor(2);
    ASSERT_EQ(2u, received.size());
    EXPECT_EQ(102, received[1].message);
    EXPECT_TRUE(std::equal(payload.begin(), payload.end(), received[1].bytes.begin()));
    EXPECT_TRUE(std::all_of(received[1].bytes.begin() + size, received[1].bytes.end(), [](auto b) { return b == 0; }));
}

INSTANTIATE_TEST_SUITE_P(Sizes, PayloadSizeTest,
                         testing::Values(std::size_t{0}, std::size_t{1}, std::size_t{528}, std::size_t{2048},
                                         std::size_t{4095}, std::size_t{4096}, kOneMiB));

TEST_F(ComLibraryTest, PayloadOverOneMiBIsRefusedBySender)
{
    const std::string name = Started(Record<0, 102>, 102);
    EXPECT_EQ(kBadArguments, Send(name, 102, std::vector<unsigned char>(kOneMiB + 1, 1)));
    EXPECT_TRUE(Inbox::Get().Settled().empty());
}

TEST_F(ComLibraryTest, FrameWithWrongMagicOrOverOneMiBIsDroppedWithItsConnection)
{
    const std::string name = Started(Record<0, 102>, 102);
    for (const auto& [magic, size] : {std::pair{kMagic, std::uint32_t{kOneMiB + 1}}, std::pair{0x43495851u, 4u}}) {
        RawSocket peer;
        ASSERT_TRUE(peer.Connect(SocketFile(name)));
        std::vector<unsigned char> frame = FrameHeader(magic, 102, size);
        frame.insert(frame.end(), 4, 0x11);
        ASSERT_TRUE(peer.WriteAll(frame));
        EXPECT_TRUE(peer.ClosedByPeer());
    }
    EXPECT_TRUE(Inbox::Get().Settled().empty());
    ASSERT_EQ(kSent, Send(name, 102, Pattern(4)));
    const auto received = Inbox::Get().WaitFor(1);
    ASSERT_EQ(1u, received.size());
    EXPECT_EQ(Pattern(4), std::vector<unsigned char>(received[0].bytes.begin(), received[0].bytes.begin() + 4));
}

TEST_F(ComLibraryTest, SeveralFramesOnOneConnectionArriveInOrder)
{
    const std::string name = Started(Record<0, 103>, 103);
    RawSocket peer;
    ASSERT_TRUE(peer.Connect(SocketFile(name)));
    std::vector<unsigned char> frames;
    for (std::int32_t i = 0; i < 3; ++i) {
        const auto header = FrameHeader(kMagic, 103, 4);
        frames.insert(frames.end(), header.begin(), header.end());
        frames.insert(frames.end(), reinterpret_cast<const unsigned char*>(&i),
                      reinterpret_cast<const unsigned char*>(&i) + 4);
    }
    ASSERT_TRUE(peer.WriteAll(frames));

    const auto received = Inbox::Get().WaitFor(3);
    ASSERT_EQ(3u, received.size());
    for (std::int32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(i, Int32At(received[i], 0));
    }
}

// Handlers registered before and after the start both receive; a later registration replaces one;
// messages nobody registered for are dropped.
TEST_F(ComLibraryTest, RegistrationsMadeBeforeOrAfterStartAreKeptAndReplaced)
{
    const std::string name = NewName();
    Lib().registerFor(name.c_str(), 101, Record<0, 101>);
    StartNamed(name);
    Lib().registerFor(name.c_str(), 107, Record<1, 107>);
    Lib().registerFor(name.c_str(), 107, Record<2, 107>);

    for (const std::int32_t message : {150, -1, 101, 107}) {
        ASSERT_EQ(kSent, Send(name, message, Pattern(8)));
    }
    Inbox::Get().WaitFor(2);
    const auto received = Inbox::Get().Settled();
    EXPECT_EQ((std::vector<int>{101, 107}), MessagesOf(received));
    EXPECT_EQ(2, received.back().tag);
}

// Overlapping sessions each start, use and stop their own pipe at the same time, and each pipe's
// messages reach its own handler only.
TEST_F(ComLibraryTest, OverlappingSessionsEachGetTheirOwnMessages)
{
    constexpr int kSessions = 6;
    constexpr int kMessages = 40;
    const PipeMessageHandler handlers[kSessions] = {Record<0, 400>, Record<1, 400>, Record<2, 400>,
                                                    Record<3, 400>, Record<4, 400>, Record<5, 400>};
    std::vector<std::string> names;
    for (int i = 0; i < kSessions; ++i) {
        names.push_back(NewName());
    }
    std::atomic<int> failures{0};
    std::vector<std::thread> sessions;
    for (int session = 0; session < kSessions; ++session) {
        sessions.emplace_back([&, session] {
            const char* name = names[session].c_str();
            Lib().start(name);
            Lib().registerFor(name, 400, handlers[session]);
            for (int i = 0; i < kMessages; ++i) {
                failures += Send(name, 400, Int32Payload(session, i)) != kSent;
            }
        });
    }
    for (std::thread& session : sessions) {
        session.join();
    }
    ASSERT_EQ(0, failures.load());
    const auto received = Inbox::Get().WaitFor(kSessions * kMessages);
    for (const std::string& name : names) {
        Lib().stop(name.c_str());
    }

    ASSERT_EQ(static_cast<std::size_t>(kSessions * kMessages), received.size());
    std::vector<int> next(kSessions, 0);
    for (const Received& one : received) {
        const std::int32_t session = Int32At(one, 0);
        ASSERT_EQ(one.tag, session);
        ASSERT_EQ(next.at(session)++, Int32At(one, 4));
    }
}

// ---------------------------------------------------------------------------------------------
// Senders

TEST_F(ComLibraryTest, BadArgumentsAreRefusedWithStatusThree)
{
    const std::string good = Started(Record<0, 102>, 102);
    const std::string tooLong(101, 'a');
    const struct {
        const char* name;
        std::int32_t size;
        bool payload;
        const char* why;
    } cases[] = {
        {nullptr, 4, true, "no name"},
        {"", 4, true, "empty name"},
        {tooLong.c_str(), 4, true, "101 characters"},
        {"a b", 4, true, "blank"},
        {"../x", 4, true, "path"},
        {"a/b", 4, true, "slash"},
        {"..", 4, true, "parent"},
        {"caf\xc3\xa9", 4, true, "non-ASCII"},
        {good.c_str(), -1, true, "negative size"},
        {good.c_str(), 4, false, "no payload"},
    };
    const char payload[4] = {1, 2, 3, 4};
    for (const auto& bad : cases) {
        EXPECT_EQ(kBadArguments, Lib().send(bad.name, 102, bad.payload ? payload : nullptr, bad.size)) << bad.why;
    }
    EXPECT_TRUE(Inbox::Get().Settled().empty());
}

TEST_F(ComLibraryTest, SendToNobodyFailsAtOnceAndCreatesNothing)
{
    EXPECT_EQ(kNoPeer, Send(NewName("_OUT"), 102, Pattern(8)));
    EXPECT_FALSE(fs::exists(Folder())) << "a sender creates nothing";

    Started();  // the folder exists, the named endpoint does not
    const std::string name = NewName("_OUT");
    auto before = Clock::now();
    EXPECT_EQ(kNoPeer, Send(name, 102, Pattern(2048)));
    EXPECT_LT(Clock::now() - before, 500ms);

    RawSocket leftOver;  // a socket file nobody listens on
    ASSERT_TRUE(leftOver.Bind(SocketFile(name)));
    before = Clock::now();
    EXPECT_EQ(kNoPeer, Send(name, 102, Pattern(8)));
    EXPECT_LT(Clock::now() - before, 500ms);
}

// A peer that hangs up while a long frame is still being written: the sender gets a status, and the
// process no SIGPIPE (which would end this test program).
TEST_F(ComLibraryTest, PeerThatHangsUpDuringTheWriteGivesWriteFailed)
{
    MakeFolder(0700);
    const std::string name = NewName("_OUT");
    RawSocket listener;
    ASSERT_TRUE(listener.Bind(SocketFile(name)));
    ASSERT_EQ(0, ::listen(listener.Get(), 4));
    std::thread hangUp([&] {
        const int connection = ::accept(listener.Get(), nullptr, nullptr);
        std::this_thread::sleep_for(50ms);
        ::close(connection);
    });

    EXPECT_EQ(kWriteFailed, Send(name, 102, Pattern(kOneMiB)));
    hangUp.join();
}

// ---------------------------------------------------------------------------------------------
// Endpoints

TEST_F(ComLibraryTest, FolderIsPrivateWhateverTheUmask)
{
    const mode_t previous = ::umask(0);
    const std::string name = Started();
    ::umask(previous);
    EXPECT_TRUE(fs::is_socket(SocketFile(name)));
    EXPECT_EQ(0700u, ModeOf(Folder()));
    EXPECT_EQ(0600u, ModeOf(SocketFile(name)));
}

TEST_F(ComLibraryTest, FolderUnderTmpWhenNoRuntimeFolderIsSet)
{
    ::unsetenv("XDG_RUNTIME_DIR");
    const std::string name = "qxicltest" + std::to_string(::getpid()) + "_IN";
    const fs::path socketFile = fs::path("/tmp/qxicl-" + std::to_string(::geteuid())) / name;
    Lib().start(name.c_str());
    Lib().registerFor(name.c_str(), 102, Record<0, 102>);

    EXPECT_TRUE(fs::is_socket(socketFile));
    EXPECT_EQ(0700u, ModeOf(socketFile.parent_path()));
    EXPECT_EQ(kSent, Send(name, 102, Pattern(8)));
    EXPECT_EQ(1u, Inbox::Get().WaitFor(1).size());
    Lib().stop(name.c_str());
    EXPECT_FALSE(fs::exists(socketFile));
}

// A folder someone else could enter or replace is never used, for receiving or for sending.
struct UnsafeFolder {
    const char* why;
    void (*make)(const fs::path& folder, const fs::path& runtime);
};

const UnsafeFolder kUnsafeFolders[] = {
    {"group and others may enter", [](const fs::path& folder, const fs::path&) {
         fs::create_directory(folder);
         fs::permissions(folder, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                     fs::perms::others_read | fs::perms::others_exec);
     }},
    {"group may write", [](const fs::path& folder, const fs::path&) {
         fs::create_directory(folder);
         fs::permissions(folder, fs::perms::owner_all | fs::perms::group_all);
     }},
    {"a link to a private folder", [](const fs::path& folder, const fs::path& runtime) {
         fs::create_directory(runtime / "elsewhere");
         fs::permissions(runtime / "elsewhere", fs::perms::owner_all);
         fs::create_directory_symlink(runtime / "elsewhere", folder);
     }},
    {"a plain file", [](const fs::path& folder, const fs::path&) { std::ofstream(folder) << "x"; }},
};

TEST_F(ComLibraryTest, FolderThatIsNotPrivateIsRefused)
{
    for (const UnsafeFolder& unsafe : kUnsafeFolders) {
        SCOPED_TRACE(unsafe.why);
        fs::remove_all(runtime_ / "elsewhere");
        fs::remove_all(Folder());
        unsafe.make(Folder(), runtime_);
        const std::string name = Started(Record<0, 102>, 102);

        EXPECT_FALSE(fs::exists(runtime_ / "elsewhere" / name));
        EXPECT_FALSE(fs::is_directory(Folder()) && fs::exists(SocketFile(name)));
        EXPECT_EQ(kNoPeer, Send(name, 102, Pattern(8)));
    }
}

TEST_F(ComLibraryTest, FolderOwnedBySomeoneElseIsRefused)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can give a folder away";
    }
    MakeFolder(0700);
    ASSERT_EQ(0, ::chown(Folder().c_str(), 65534, 65534));
    const std::string name = Started();
    EXPECT_FALSE(fs::exists(SocketFile(name)));
}

TEST_F(ComLibraryTest, RefusedNamesStartNothing)
{
    const std::string tooLong(101, 'a');
    for (const char* name : {"", "a b", "../x", "a/b", ".", "..", "caf\xc3\xa9", "tab\t", tooLong.c_str()}) {
        Lib().start(name);
        Lib().stop(name);
    }
    Lib().start(nullptr);
    Lib().registerFor(nullptr, 102, Record<0, 102>);
    Lib().stop(nullptr);
    EXPECT_FALSE(fs::exists(Folder()));
}

TEST_F(ComLibraryTest, LongestNameIsAcceptedAndReceives)
{
    const std::string prefix = NewName("_");
    const std::string name = prefix + std::string(100 - prefix.size(), 'z');
    ASSERT_EQ(100u, name.size());
    ExpectStartsAndReceives(name);
}

TEST_F(ComLibraryTest, LeftOverSocketFileIsReplaced)
{
    MakeFolder(0700);
    const std::string name = NewName();
    {
        RawSocket crashed;
        ASSERT_TRUE(crashed.Bind(SocketFile(name)));
    }
    ExpectStartsAndReceives(name);
}

TEST_F(ComLibraryTest, OtherFileOfThePipesNameIsLeftAlone)
{
    MakeFolder(0700);
    const std::string name = NewName();
    std::ofstream(SocketFile(name)) << "not a socket";
    StartNamed(name);
    EXPECT_TRUE(fs::is_regular_file(SocketFile(name)));
    EXPECT_EQ(kNoPeer, Send(name, 102, Pattern(8)));
}

std::atomic<bool> g_slowHandlerDone{false};

void SlowHandler(void*)
{
    std::this_thread::sleep_for(300ms);
    g_slowHandlerDone = true;
}

TEST_F(ComLibraryTest, StopWaitsForTheRunningHandlerAndRemovesTheEndpoint)
{
    g_slowHandlerDone = false;
    const std::string name = Started(SlowHandler, 101);
    ASSERT_EQ(kSent, Send(name, 101, Pattern(8)));
    std::this_thread::sleep_for(50ms);

    Lib().stop(name.c_str());
    EXPECT_TRUE(g_slowHandlerDone) << "StopPipe returned before the receive thread ended";
    EXPECT_FALSE(fs::exists(SocketFile(name)));
    const auto before = Clock::now();
    EXPECT_EQ(kNoPeer, Send(name, 101, Pattern(8))) << "a sender to a stopped peer fails at once";
    EXPECT_LT(Clock::now() - before, 500ms);
    Lib().stop(name.c_str());
}

TEST_F(ComLibraryTest, StopForgetsTheRegistrations)
{
    const std::string name = Started(Record<0, 102>, 102);
    Lib().stop(name.c_str());
    Lib().start(name.c_str());
    ASSERT_EQ(kSent, Send(name, 102, Pattern(8)));
    EXPECT_TRUE(Inbox::Get().Settled().empty());
}

TEST_F(ComLibraryTest, StopIsPromptWhileAPeerHoldsAHalfWrittenFrame)
{
    const std::string name = Started(Record<0, 102>, 102);
    RawSocket peer;
    ASSERT_TRUE(peer.Connect(SocketFile(name)));
    ASSERT_TRUE(peer.WriteAll(std::vector<unsigned char>(6, 0x43)));
    std::this_thread::sleep_for(50ms);

    const auto before = Clock::now();
    Lib().stop(name.c_str());
    EXPECT_LT(Clock::now() - before, 1s);
    EXPECT_FALSE(fs::exists(SocketFile(name)));
}

std::string g_selfStoppingPipe;
std::atomic<bool> g_selfStopReturned{false};

void StopOwnPipe(void*)
{
    Lib().stop(g_selfStoppingPipe.c_str());
    g_selfStopReturned = true;
}

TEST_F(ComLibraryTest, HandlerMayStopItsOwnPipe)
{
    g_selfStopReturned = false;
    g_selfStoppingPipe = Started(StopOwnPipe, 101);
    ASSERT_EQ(kSent, Send(g_selfStoppingPipe, 101, Pattern(8)));

    for (auto until = Clock::now() + kPatience; !g_selfStopReturned && Clock::now() < until;) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_TRUE(g_selfStopReturned);
    EXPECT_FALSE(fs::exists(SocketFile(g_selfStoppingPipe)));
    EXPECT_EQ(kNoPeer, Send(g_selfStoppingPipe, 101, Pattern(8)));
}

}  // namespace
