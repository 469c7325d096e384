// The communication library stand-in, loaded by its file as the filter and the preview application
// load it: delivery of every payload size, order, endpoints that meet by name alone and refuse
// strangers, senders that find nobody or lose their peer, and stopping a pipe while it works.
#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

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
        const auto bind = [handle](const char* name, auto& function) {
            function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(::dlsym(handle, name));
            if (function == nullptr) {
                throw std::runtime_error(std::string("missing export ") + name);
            }
        };
        bind("StartPipe", start);
        bind("RegisterForMessage", registerFor);
        bind("SendPipeMessage", send);
        bind("StopPipe", stop);
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
    bool Connect(const std::string& pipe)
    {
        const sockaddr* address = Address(pipe);  // sets length_
        return ::connect(fd_, address, length_) == 0;
    }
    bool Bind(const std::string& pipe)
    {
        const sockaddr* address = Address(pipe);
        return ::bind(fd_, address, length_) == 0;
    }
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
    // The pipe's endpoint in the abstract namespace, named as the library names it: in lower case.
    const sockaddr* Address(const std::string& pipe)
    {
        std::string name = std::string(1, '\0') + "qxicl\\" + pipe;
        std::transform(name.begin(), name.end(), name.begin(), [](char c) { return std::tolower(c); });
        address_.sun_family = AF_UNIX;
        std::memcpy(address_.sun_path, name.data(), name.size());
        length_ = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        return reinterpret_cast<const sockaddr*>(&address_);
    }
    int fd_;
    sockaddr_un address_{};
    socklen_t length_ = 0;
};

// A frame as the library writes one, its header able to claim another size than the payload's.
std::vector<unsigned char> Frame(std::uint32_t magic, std::int32_t message, std::uint32_t size,
                                 const std::vector<unsigned char>& payload)
{
    std::vector<unsigned char> bytes;
    for (const std::uint32_t value : {magic, static_cast<std::uint32_t>(message), size}) {
        for (int i = 0; i < 4; ++i) {
            bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
        }
    }
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

// Runs body in a process that this one did not start (a grandchild), as another user when
// stranger is set; body's result is the process's exit status. ready, written by body, says it
// got as far as it should before the caller goes on; the process is killed when the caller is done
// with it.
class OtherProcess {
public:
    OtherProcess(bool stranger, std::function<int(int ready)> body)
    {
        int ready[2];
        if (::pipe(ready) != 0) {
            return;
        }
        middle_ = ::fork();
        if (middle_ == 0) {
            ::close(ready[0]);
            ::setpgid(0, 0);
            // The middle outlives the body's SIGTERM, so that its end says the body is gone.
            ::signal(SIGTERM, SIG_IGN);
            const pid_t inner = ::fork();
            if (inner == 0) {
                ::signal(SIGTERM, SIG_DFL);
                const bool dropped = !stranger || (::setgid(65534) == 0 && ::setuid(65534) == 0);
                ::_exit(dropped ? body(ready[1]) : 99);
            }
            int status = 0;
            ::waitpid(inner, &status, 0);
            ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : 98);
        }
        ::close(ready[1]);
        char byte = 0;
        readied_ = ::read(ready[0], &byte, 1) == 1;
        ::close(ready[0]);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;
    ~OtherProcess() { Kill(); }

    bool Readied() const { return readied_; }
    // The body's exit status, once it returned.
    int Wait() { return Reap(); }
    // Ends the body; once this returns, the body and whatever it held are gone.
    void Kill()
    {
        if (middle_ > 0) {
            ::kill(-middle_, SIGTERM);
            Reap();
        }
    }

private:
    int Reap()
    {
        if (middle_ <= 0) {
            return -1;
        }
        int status = 0;
        ::waitpid(middle_, &status, 0);
        middle_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    pid_t middle_ = -1;
    bool readied_ = false;
};

void SayReady(int ready) { [[maybe_unused]] const ssize_t written = ::write(ready, "r", 1); }

// Endpoints are machine-wide, so every name holds this process's id: test programs that run side
// by side never meet.
class ComLibraryTest : public testing::Test {
protected:
    void SetUp() override { Inbox::Get().Reset(kDeliveryMinimum); }

    void TearDown() override
    {
        for (const std::string& name : started_) {
            Lib().stop(name.c_str());
        }
    }

    std::string NewName(const std::string& suffix = "_IN")
    {
        static int counter = 0;
        return "Pipe" + std::to_string(::getpid()) + "x" + std::to_string(++counter) + suffix;
    }

    std::string Started(PipeMessageHandler handler, std::int32_t message)
    {
        const std::string name = NewName();
        StartNamed(name);
        Lib().registerFor(name.c_str(), message, handler);
        return name;
    }

    void StartNamed(const std::string& name)
    {
        Lib().start(name.c_str());
        started_.push_back(name);
    }

    std::vector<std::string> started_;
};

// ---- delivery

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

// A bad frame costs its connection only: the endpoint goes on taking frames from other peers, several
// on one connection arriving in order.
TEST_F(ComLibraryTest, FrameWithWrongMagicOrOverOneMiBIsDroppedWithItsConnection)
{
    const std::string name = Started(Record<0, 102>, 102);
    for (const auto& [magic, size] : {std::pair{kMagic, std::uint32_t{kOneMiB + 1}}, std::pair{0x43495851u, 4u}}) {
        RawSocket peer;
        ASSERT_TRUE(peer.Connect(name));
        ASSERT_TRUE(peer.WriteAll(Frame(magic, 102, size, std::vector<unsigned char>(4, 0x11))));
        EXPECT_TRUE(peer.ClosedByPeer());
    }
    EXPECT_TRUE(Inbox::Get().Settled().empty());
    RawSocket peer;
    ASSERT_TRUE(peer.Connect(name));
    std::vector<unsigned char> frames;
    for (std::int32_t i = 0; i < 3; ++i) {
        const auto frame = Frame(kMagic, 102, 8, Int32Payload(i, 7));
        frames.insert(frames.end(), frame.begin(), frame.end());
    }
    ASSERT_TRUE(peer.WriteAll(frames));
    const auto received = Inbox::Get().WaitFor(3);
    ASSERT_EQ(3u, received.size());
    for (std::int32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(i, Int32At(received[i], 0));
        EXPECT_EQ(7, Int32At(received[i], 4));
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
    ASSERT_EQ(2u, received.size());
    EXPECT_EQ(101, received[0].message);
    EXPECT_EQ(107, received[1].message);
    EXPECT_EQ(2, received[1].tag);
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

// ---- senders

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
        {"a\\b", 4, true, "backslash"},
        {"caf\xc3\xa9", 4, true, "non-ASCII"},
        {good.c_str(), -1, true, "negative size"},
        {good.c_str(), 4, false, "no payload"},
        {good.c_str(), kOneMiB + 1, true, "over 1 MiB"},
    };
    const std::vector<char> payload(kOneMiB + 1, 1);
    for (const auto& bad : cases) {
        EXPECT_EQ(kBadArguments, Lib().send(bad.name, 102, bad.payload ? payload.data() : nullptr, bad.size)) << bad.why;
    }
    Lib().start(nullptr);
    Lib().registerFor(nullptr, 102, Record<0, 102>);
    Lib().stop(nullptr);
    EXPECT_TRUE(Inbox::Get().Settled().empty());
}

TEST_F(ComLibraryTest, SendToNobodyFailsAtOnce)
{
    const std::string name = NewName("_OUT");
    auto before = Clock::now();
    EXPECT_EQ(kNoPeer, Send(name, 102, Pattern(2048)));
    EXPECT_LT(Clock::now() - before, 500ms);

    RawSocket bound;  // an endpoint nobody listens on
    ASSERT_TRUE(bound.Bind(name));
    before = Clock::now();
    EXPECT_EQ(kNoPeer, Send(name, 102, Pattern(8)));
    EXPECT_LT(Clock::now() - before, 500ms);
}

// A peer that hangs up while a long frame is still being written: the sender gets a status, and the
// process no SIGPIPE (which would end this test program).
TEST_F(ComLibraryTest, PeerThatHangsUpDuringTheWriteGivesWriteFailed)
{
    const std::string name = NewName("_OUT");
    RawSocket listener;
    ASSERT_TRUE(listener.Bind(name));
    ASSERT_EQ(0, ::listen(listener.Get(), 4));
    std::thread hangUp([&] {
        const int connection = ::accept(listener.Get(), nullptr, nullptr);
        std::this_thread::sleep_for(50ms);
        ::close(connection);
    });

    EXPECT_EQ(kWriteFailed, Send(name, 102, Pattern(kOneMiB)));
    hangUp.join();
}

// ---- endpoints

// Sender and receiver agree on the name only: another process with its own environment, working
// folder and umask, naming the pipe in another case, reaches it.
TEST_F(ComLibraryTest, PipesMeetByNameAloneInAnyCase)
{
    const std::string name = Started(Record<0, 102>, 102);
    std::string upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) { return std::toupper(c); });
    OtherProcess sender(false, [&upper](int ready) {
        ::setenv("XDG_RUNTIME_DIR", "/nonexistent", 1);
        ::setenv("TMPDIR", "/nonexistent", 1);
        ::unsetenv("HOME");
        ::umask(0777);
        const int moved = ::chdir("/");
        const int status = Send(upper, 102, Pattern(8));
        SayReady(ready);
        return moved == 0 ? status : 97;
    });
    ASSERT_TRUE(sender.Readied());
    EXPECT_EQ(kSent, sender.Wait());
    EXPECT_EQ(1u, Inbox::Get().WaitFor(1).size());
}

// Another local user can neither send to a pipe nor take its name first to listen in: the endpoint
// it planted makes the start fail, and senders refuse to write to it.
TEST_F(ComLibraryTest, StrangersCanNeitherConnectNorPlantAnEndpoint)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can run a process as another user";
    }
    const std::string name = Started(Record<0, 102>, 102);
    OtherProcess intruder(true, [&name](int ready) {
        RawSocket peer;
        const std::vector<unsigned char> frame = Frame(kMagic, 102, 4, std::vector<unsigned char>(4, 0x11));
        // The endpoint may close the connection before the frame is written, or after.
        const bool refused = peer.Connect(name) && (!peer.WriteAll(frame) || peer.ClosedByPeer());
        SayReady(ready);
        return refused ? 0 : 1;
    });
    ASSERT_TRUE(intruder.Readied());
    EXPECT_EQ(0, intruder.Wait());
    EXPECT_TRUE(Inbox::Get().Settled().empty());

    const std::string planted = NewName("_OUT");
    OtherProcess squatter(true, [&planted](int ready) {
        RawSocket listener;
        if (!listener.Bind(planted) || ::listen(listener.Get(), 4) != 0) {
            return 1;
        }
        SayReady(ready);
        for (;;) {
            ::close(::accept(listener.Get(), nullptr, nullptr));
        }
    });
    ASSERT_TRUE(squatter.Readied());
    StartNamed(planted);
    Lib().registerFor(planted.c_str(), 102, Record<1, 102>);
    EXPECT_EQ(kNoPeer, Send(planted, 102, Pattern(8)));
    EXPECT_TRUE(Inbox::Get().Settled().empty());
}

// The endpoint of a process that crashed goes with it: the name, here the longest one allowed, is
// free for the next job at once.
TEST_F(ComLibraryTest, CrashedHolderLeavesNothingBehind)
{
    const std::string prefix = NewName("_");
    const std::string name = prefix + std::string(100 - prefix.size(), 'z');
    OtherProcess crashed(false, [&name](int ready) {
        RawSocket listener;
        if (!listener.Bind(name) || ::listen(listener.Get(), 4) != 0) {
            return 1;
        }
        SayReady(ready);
        ::pause();
        return 0;
    });
    ASSERT_TRUE(crashed.Readied());
    crashed.Kill();
    StartNamed(name);
    Lib().registerFor(name.c_str(), 102, Record<0, 102>);
    ASSERT_EQ(kSent, Send(name, 102, Pattern(8)));
    EXPECT_EQ(1u, Inbox::Get().WaitFor(1).size());
}

std::atomic<bool> g_slowHandlerDone{false};

void SlowHandler(void*)
{
    std::this_thread::sleep_for(300ms);
    g_slowHandlerDone = true;
}

// A pipe started again under the same name begins with no registrations.
TEST_F(ComLibraryTest, StopWaitsForTheRunningHandlerRemovesTheEndpointAndForgetsRegistrations)
{
    g_slowHandlerDone = false;
    const std::string name = Started(SlowHandler, 101);
    Lib().registerFor(name.c_str(), 102, Record<0, 102>);
    ASSERT_EQ(kSent, Send(name, 101, Pattern(8)));
    std::this_thread::sleep_for(50ms);

    Lib().stop(name.c_str());
    EXPECT_TRUE(g_slowHandlerDone) << "StopPipe returned before the receive thread ended";
    const auto before = Clock::now();
    EXPECT_EQ(kNoPeer, Send(name, 101, Pattern(8))) << "a sender to a stopped peer fails at once";
    EXPECT_LT(Clock::now() - before, 500ms);
    Lib().stop(name.c_str());

    Lib().start(name.c_str());
    ASSERT_EQ(kSent, Send(name, 102, Pattern(8)));
    EXPECT_TRUE(Inbox::Get().Settled().empty());
}

TEST_F(ComLibraryTest, StopIsPromptWhileAPeerHoldsAHalfWrittenFrame)
{
    const std::string name = Started(Record<0, 102>, 102);
    RawSocket peer;
    ASSERT_TRUE(peer.Connect(name));
    ASSERT_TRUE(peer.WriteAll(std::vector<unsigned char>(6, 0x43)));
    std::this_thread::sleep_for(50ms);

    const auto before = Clock::now();
    Lib().stop(name.c_str());
    EXPECT_LT(Clock::now() - before, 1s);
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
    EXPECT_EQ(kNoPeer, Send(g_selfStoppingPipe, 101, Pattern(8)));
}

}  // namespace
