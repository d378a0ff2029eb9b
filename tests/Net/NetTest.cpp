//===- Net/NetTest.cpp - Sockets and the HTTP POST client ----------------===//
//
// The base client over socket pairs made by the test; the TCP and the
// Unix-domain client against their servers, on 127.0.0.1 and in a temporary
// folder. The HTTP client against Python's http.server (support/http_peer.py,
// which reports what it received). The exchange has no timeout of its own (it
// reads until the server closes), so the cases with servers that never close
// run the call on a thread and end it by killing the server, waiting a bounded
// time. Every HTTP case ends with no spool file and no descriptor left behind.
//
//===----------------------------------------------------------------------===//
#include "support/HttpPeer.h"
#include "support/TestConfig.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <future>
#include <numeric>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

// The configuration the log channels are read from; the logger registry and
// the configuration go (with their semaphore sets) at the end. SIGPIPE is
// ignored: a send to a vanished peer must return, not end the program.
// Descriptor 0 is made to exist, so that no socket of a test gets it.
struct Environment : testing::Environment {
    VemloTest::TestConfig* config = nullptr;
    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN);
        if (fcntl(0, F_GETFD) == -1)
            open("/dev/null", O_RDONLY);
        config = new VemloTest::TestConfig();
    }
    void TearDown() override {
        Vemlo::Log::Logger::DestroyLogger();
        delete config;
    }
};

// The program's environment.
Environment* const g_env =
    static_cast<Environment*>(testing::AddGlobalTestEnvironment(new Environment));

// A socket class with its descriptor in reach of the test.
template <class Socket> struct Open : Socket {
    int& fd() { return this->m_nSocket; }
};

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}
char* text(const std::string& s) {
    return const_cast<char*>(s.c_str());
}

// The port an IPv4 socket is bound to.
int portOf(int fd) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

using namespace Vemlo::Net;
using VemloTest::HttpRequest;
namespace fs = std::filesystem;
using namespace std::chrono_literals;

// When set, connect() finishes the real handshake (to a listening server)
// before it returns, so that a non-blocking connect completes at once, as it
// may on other systems (Linux always answers EINPROGRESS for TCP). Off, it is
// the plain call.
static std::atomic<bool> g_connectAtOnce{false};

extern "C" int connect(int fd, const struct sockaddr* address, socklen_t length) {
    static const auto next = reinterpret_cast<decltype(&connect)>(dlsym(RTLD_NEXT, "connect"));
    const int result = next(fd, address, length);
    pollfd p{fd, POLLOUT, 0};
    if (result != 0 && errno == EINPROGRESS && g_connectAtOnce && poll(&p, 1, 5000) == 1)
        return 0;
    return result;
}

namespace {

// The results of calls made in order, or of a call and what it leaves behind
// (braces evaluate left to right).
using Results = std::vector<int>;
using Got = std::pair<int, std::string>;

// A client that takes over one end of a socket pair made by the test.
struct PairClient : Open<Vemlo::Net::Socket::ClientBase> {
    explicit PairClient(int type = SOCK_STREAM) {
        socketpair(AF_UNIX, type, 0, pair);
        m_nSocket = pair[0];
    }
    ~PairClient() override { close(pair[1]); }
    int Connect(char*, int, int) override { return 0; }
    int pair[2] = {-1, -1};
};

struct Server : Open<Vemlo::Net::Socket::TCPServer> {
    int port() { return portOf(fd()); }
};
using Client = Open<Vemlo::Net::Socket::TCPClient>;
using UDSClient = Open<Vemlo::Net::Socket::UDSClient>;

// The client sends more than the socket buffers hold at once (so sends return
// short) to the peer at `accepted` (a descriptor the server's Accept gave),
// which answers "down" and closes; then the client closes.
template <class C> void talkBothWays(C& client, int accepted) {
    ASSERT_GT(accepted, 0);
    std::vector<char> up(3 * 1024 * 1024 + 17, 'u'), received;
    std::thread peerThread([&] {
        char buffer[65536];
        for (ssize_t got;
             received.size() < up.size() && (got = recv(accepted, buffer, sizeof buffer, 0)) > 0;)
            received.insert(received.end(), buffer, buffer + got);
        send(accepted, "down", 4, 0);
        close(accepted);
    });
    EXPECT_EQ(client.Send(up.data(), static_cast<int>(up.size())), static_cast<int>(up.size()));
    char buffer[16] = {0};
    EXPECT_EQ((Got{client.Receive(buffer, sizeof buffer), buffer}), Got(4, "down"));
    peerThread.join();
    EXPECT_TRUE(received == up);
    EXPECT_EQ((Results{client.Close(), client.fd()}), (Results{0, 0}));
}

} // namespace

TEST(ClientBaseTest, SendsIn8196ByteUnitsReceivesOnceClosesAboveZeroThrowsOnAVanishedPeer) {
    // A sequenced-packet pair keeps the boundary of every unit UnitSend sent.
    PairClient client(SOCK_SEQPACKET);
    std::vector<char> data(20000, 'd'), received;
    EXPECT_EQ(client.Send(data.data(), 20000), 20000);
    std::vector<ssize_t> units;
    char unit[16384];
    for (ssize_t got; (got = recv(client.pair[1], unit, sizeof unit, MSG_DONTWAIT)) > 0;) {
        units.push_back(got);
        received.insert(received.end(), unit, unit + got);
    }
    EXPECT_EQ(units, (std::vector<ssize_t>{8196, 8196, 3608}));
    EXPECT_EQ(received, data);

    // Nothing to send: no call at all; a negative length sends nothing.
    EXPECT_EQ((Results{client.Send(nullptr, 10), client.Send(data.data(), -5)}), (Results{0, -1}));

    // Receive is one recv, no loop; Close closes only descriptors above 0.
    ASSERT_EQ(write(client.pair[1], "hello world", 11), 11);
    char buffer[64] = {0};
    EXPECT_EQ((Got{client.Receive(buffer, 5), std::string(buffer, 5)}), Got(5, "hello"));
    // A negative size never reaches recv() as a huge one; once closed,
    // descriptor 0 is never written to.
    EXPECT_EQ((Results{client.Receive(buffer, -1), client.Close(), isOpen(client.pair[0]),
                       client.UnitSend(buffer, 5)}),
              (Results{-1, 0, false, 0}));
    client.fd() = -1; // a failed socket(): returned as is, close() not called
    errno = 0;
    EXPECT_EQ((Results{client.Close(), errno}), (Results{-1, 0}));

    // Sending to a vanished peer: the base exception from UnitSend only. Its
    // number is the untouched byte (0) natively; user-mode emulators copy one
    // byte of the error into it.
    PairClient lonely;
    close(lonely.pair[1]);
    lonely.pair[1] = -1;
    try {
        lonely.UnitSend(data.data(), 100);
        ADD_FAILURE() << "nothing thrown";
    } catch (Vemlo::Common::Exception* e) {
        EXPECT_TRUE(
            typeid(*e) == typeid(Vemlo::Common::Exception) && e->GetCode() == -1 &&
            std::regex_match(e->GetMessage(),
                             std::regex(R"(client socket is closed : error number \[\d+\] )")))
            << typeid(*e).name() << " " << e->GetCode() << " " << e->GetMessage();
        delete e;
    }
    // Caught inside, nothing escapes; the socket stays open.
    EXPECT_EQ((Results{lonely.Send(data.data(), 100), isOpen(lonely.pair[0])}),
              (Results{-1, true}));
}

TEST(TCPClientTest, ConnectsRefusedTimedOutOrDoneAtOnceThrowOthersTalkEvenOnSocket0OrPastSelect) {
    // A bound server (the address text is ignored: it listens on every interface).
    Server server;
    Client client;
    ASSERT_EQ(server.Bind(0, text("203.0.113.9")), 0);
    // Bound, not listening yet: the connection is refused.
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 0, server.port()); }, 1004,
        "cannot connect to server: socket error");
    EXPECT_EQ(client.fd(), -1); // closed; the number is not kept to be closed again

    // A listener whose accept queue is full drops new connection requests,
    // so the connect below never completes: it gives up after 5 seconds.
    ASSERT_EQ(server.Listen(0), 0);
    sockaddr_in address{
        AF_INET, htons(static_cast<uint16_t>(server.port())), {inet_addr("127.0.0.1")}, {}};
    std::vector<int> queueFillers;
    for (int i = 0; i < 8; ++i) {
        queueFillers.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        connect(queueFillers.back(), reinterpret_cast<sockaddr*>(&address), sizeof address);
        pollfd p{queueFillers.back(), POLLOUT, 0};
        if (poll(&p, 1, 300) == 0)
            break; // this one hangs: the queue is full
    }
    const auto start = std::chrono::steady_clock::now();
    // 100 would be a short wait in milliseconds; it is not used.
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 100, server.port()); }, 1004,
        "cannot connect to server: timeout");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4900));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    for (int fd : queueFillers)
        close(fd);

    const int first = server.fd(); // a second Bind closes the first socket
    ASSERT_EQ((Results{server.Bind(0, text("127.0.0.1")), server.fd(), server.Listen(4)}),
              (Results{0, first, 0}));
    // The integer is ignored; a name resolves as well as a dotted address.
    ASSERT_EQ(client.Connect(text("localhost"), 12345, server.port()), 0);
    EXPECT_EQ(fcntl(client.fd(), F_GETFL) & O_NONBLOCK, 0); // blocking again
    talkBothWays(client, server.Accept(nullptr)); // (a peer that goes mid-send: the base client's)

    g_connectAtOnce = true;
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text("127.0.0.1"), 0, server.port()); }, 1004,
        "cannot connect to server: fail-");
    g_connectAtOnce = false;
    // The connected socket stays in the object and works.
    ASSERT_GT(client.fd(), 0);
    EXPECT_EQ(client.Send(text("ping"), 4), 4);

    // Unlike the client, the server closes negative descriptors too.
    Server closing;
    closing.fd() = -1; // a failed socket()
    errno = 0;
    EXPECT_EQ((Results{closing.Close(), errno, closing.fd()}), (Results{-1, EBADF, 0}));
    // Its destructor leaves descriptor 0 alone, as a client's does (that it
    // closes a bound socket, the HTTP client's cases see: they count descriptors).
    { Server unused; }
    { Client unused; }
    EXPECT_TRUE(isOpen(0));

    // A daemon may run with descriptor 0 closed, so its first socket is 0. And
    // select() cannot watch a descriptor from FD_SETSIZE on: such a socket still
    // connects (and nothing is written past an fd_set, which ASan would see).
    const int input = dup(0);
    close(0);
    Server zero; // a server's socket may be 0 as well
    EXPECT_EQ((Results{zero.Bind(0, text("127.0.0.1")), zero.fd()}), (Results{0, 0}));
    close(0);
    EXPECT_EQ((Results{client.Connect(text("127.0.0.1"), 0, server.port()), client.fd()}),
              (Results{0, 0}));
    dup2(input, 0); // the socket goes with it: Close leaves descriptor 0 alone
    close(input);
    close(server.Accept(nullptr));
    rlimit limit;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = limit.rlim_max;
    if (limit.rlim_max <= FD_SETSIZE || setrlimit(RLIMIT_NOFILE, &limit) != 0)
        GTEST_SKIP() << "no descriptor past " << FD_SETSIZE << " allowed";
    std::vector<int> fillers; // every lower descriptor taken
    for (int fd = 0; fd < FD_SETSIZE; ++fd)
        if (!isOpen(fd))
            fillers.push_back(dup2(0, fd));
    const int connected = client.Connect(text("127.0.0.1"), 0, server.port());
    for (int fd : fillers)
        close(fd);
    EXPECT_EQ((Results{connected, client.fd()}), (Results{0, FD_SETSIZE}));
    close(server.Accept(nullptr));
}

#ifdef VEMLO_TEST_WITHOUT_SANITIZER
TEST(SocketTest, WithoutAFreeDescriptorEverySocketThrowsAtCreation) {
    VemloTest::WithoutFreeDescriptors none;
    for (const auto& [call, message] : std::vector<std::pair<std::function<void()>, const char*>>{
             {[] { Vemlo::Net::Socket::TCPServer().Bind(0, text("127.0.0.1")); },
              "cannot create server socket"},
             {[] { Vemlo::Net::Socket::UDSServer().Bind(0, text("/nowhere")); },
              "cannot create server socket"},
             {[] { Client().Connect(text("127.0.0.1"), 0, 9); }, "cannot create socket"},
             {[] { UDSClient().Connect(text("/nowhere"), 0, 0); }, "cannot create socket"}})
        VemloTest::ExpectThrown<NetException>(call, 0, message);
}
#endif

TEST(UDSClientTest, TalksOverAReplacedFileCutAt107CharactersAndWithoutAServerCannotConnect) {
    VemloTest::TempDir dir;
    std::string cut = dir.path() + "/";
    cut.append(107 - cut.size(), 's');
    const std::string full = cut + "-never-seen";
    std::fclose(std::fopen(full.c_str(), "w")); // a file left at the path is removed by Bind
    Vemlo::Net::Socket::UDSServer server;
    ASSERT_EQ((Results{server.Bind(7, text(full)), std::filesystem::is_socket(cut),
                       access(full.c_str(), F_OK) == 0, server.Listen(2)}),
              (Results{0, true, false, 0}));
    UDSClient client;
    ASSERT_EQ(client.Connect(text(full), 1, 2), 0);
    const int first = client.fd(); // a second Connect closes the first socket
    ASSERT_EQ((Results{client.Connect(text(cut), 0, 0), client.fd()}), (Results{0, first}));
    close(server.Accept(nullptr));
    talkBothWays(client, server.Accept(nullptr));
    // The socket file is left for the application to remove.
    EXPECT_EQ((Results{server.Close(), std::filesystem::is_socket(cut)}), (Results{0, true}));

    UDSClient lonely;
    const std::string nobody = dir.file("nobody.sock");
    VemloTest::ExpectThrown<NetException>([&] { lonely.Connect(text(nobody), 0, 0); }, 0,
                                          "cannot connect to UDS server");
    EXPECT_EQ(lonely.fd(), -1); // closed and not kept
}

const size_t kHead = 94; // the size of every head the Python peer sends

// 'a' + i % 26, the body the Python peer sends.
std::string pattern(size_t n) {
    std::string s;
    while (s.size() < n)
        s += "abcdefghijklmnopqrstuvwxyz";
    return s.substr(0, n);
}

size_t entries(const std::string& folder, const std::string& prefix = "") {
    return std::count_if(fs::directory_iterator(folder), fs::directory_iterator(), [&](auto& e) {
        return e.path().filename().string().rfind(prefix, 0) == 0;
    });
}

class WebPostMessageTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(peer.ready()) << peer.why();
        m_descriptors = entries("/proc/self/fd");
    }
    void TearDown() override {
        EXPECT_EQ(entries(folder(), "http_"), 0u) << "spool files left behind";
        EXPECT_EQ(entries("/proc/self/fd"), m_descriptors) << "descriptors left open";
    }
    int post(const std::string& path, String* out, const char* body = "",
             const char* method = "POST") {
        return WebPostMessage::SimpleHTTPMethod(peer.url(path).c_str(), body, method, out);
    }
    static std::string folder() { return g_env->config->workingDirectory(); }
    // Takes a spool number and returns it: the next exchange that spools uses the one after.
    static int takeSpoolNumber() {
        const std::string path = WebPostMessage::GetTempFilePath();
        return std::atoi(path.c_str() + path.rfind('_') + 1);
    }
    // Rewrites the configuration and makes the manager read it again.
    static void configure(const std::string& tempPath) {
        VemloTest::ConfigEntries entries{{"Base.Log.Level", "DEBUG"}};
        if (!tempPath.empty())
            entries.emplace_back("Base.Http.TempPath", tempPath);
        ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(g_env->config->file(), entries));
        Vemlo::Config::ConfigurationManager::DestroyManager();
    }

    VemloTest::HttpPeer peer;
    size_t m_descriptors = 0;
};

// Then URLs are split, failed exchanges give 0 and spool paths come from the
// configuration.
TEST_F(WebPostMessageTest, RepliesGiveTheTextAfterTheBlankLineUrlsAreSplitSpoolPathsConfigured) {
    std::string upToNul(255, '\0'); // binary replies end at their first NUL
    std::iota(upToNul.begin(), upToNul.end(), '\1');
    const struct {
        std::string path, body, out;
        int result, spoolNumbers; // 2: one taken by the exchange, which spooled
    } cases[] = {
        {"/body/11", "a=1&b=two", "abcdefghijk", 1, 1},
        // "\n\n" is looked for first, even inside headers that end in CR LF.
        {"/split", "", "X-Second: 2\r\n\r\nbody", 1, 1},
        // Nothing after the blank line: 0, and `out` keeps what it had.
        {"/body/0", "", "kept", 0, 1},
        {"/body/" + std::to_string(99999 - kHead), "k=v", pattern(99999 - kHead), 1, 1},
        {"/body/" + std::to_string(100000 - kHead), "", pattern(100000 - kHead), 1, 2}, // full
        {"/body/3000000", "", pattern(3000000), 1, 2},
        {"/binary/300000", "", upToNul, 1, 2},
        // The server reads the head only and closes: the body cannot be sent.
        {"/close", std::string(8 * 1024 * 1024, 'q'), "kept", 0, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        const int before = takeSpoolNumber();
        String out("kept");
        // The first with PUT, the others with the method left to the client;
        // the first with descriptor 0 closed, as a daemon may run: its socket is 0.
        const int input = &c == cases ? dup(0) : -1;
        close(input >= 0 ? 0 : -1);
        EXPECT_EQ(post(c.path, &out, c.body.c_str(), &c == cases ? "PUT" : nullptr), c.result);
        if (input >= 0) {
            EXPECT_FALSE(isOpen(0)); // the socket is closed
            dup2(input, 0);
            close(input);
        }
        EXPECT_TRUE(out.str() == c.out) << out.length();
        EXPECT_EQ(takeSpoolNumber() - before, c.spoolNumbers);
    }
    HttpRequest request; // the first one, with bare line ends
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(request.head + request.body,
              "PUT /body/11 HTTP/1.1\nHost: 127.0.0.1:" + std::to_string(peer.port()) +
                  "\nContent-Type: application/x-www-form-urlencoded\n"
                  "Connection: close\nContent-Length: 9\n\na=1&b=two");
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(request.head.rfind("POST /split HTTP/1.1\n", 0), 0u) << request.head;

    // "bad host" is refused by the resolver, so the exchange stops after
    // splitting the URL (and reports 1: no connection). Without a "/" after
    // the host, the whole URL is the path.
    for (const char* url : {"http://bad host:8080/form", "http://bad host:8080"}) {
        PostObject post;
        post.m_sUrl = url;
        EXPECT_EQ(WebPostMessage::HTTPPostMethod(&post), 1);
        EXPECT_EQ(std::make_tuple(post.m_sHost.str(), post.m_nPort, post.m_sPath.str()),
                  std::make_tuple("bad host", 8080, url[20] ? "/form" : url));
    }
    PostObject fresh; // no receive buffer yet: nothing is read
    EXPECT_EQ(WebPostMessage::MessageReceive(&fresh), 0);
    String out("kept");
    Open<Socket::TCPServer> bound; // not listening: connections are refused
    bound.Bind(0, text("127.0.0.1"));
    const std::string refused = "http://127.0.0.1:" + std::to_string(portOf(bound.fd()));
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod((refused + "/x").c_str(), "a=1", "POST", &out), 0);
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nullptr, "", "POST", &out), 0);
    // Kept behaviour: an unresolvable host closes the object's socket, still
    // 0, which is standard input; it is put back afterwards.
    const int saved = dup(0);
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod("http://bad host/form", "a=1", "POST", &out), 0);
    EXPECT_FALSE(isOpen(0));
    ASSERT_EQ(dup2(saved, 0), 0);
    close(saved);
    EXPECT_EQ(out, "kept");

    // Spool paths come from the configuration. No value: "_<n>", in the working directory.
    configure("");
    const int first = takeSpoolNumber();
    EXPECT_EQ(WebPostMessage::GetTempFilePath(), "_" + std::to_string(first + 1));
    // Only a configuration that cannot be read gives the built-in folder.
    VemloTest::WriteFile(g_env->config->file(), "");
    Vemlo::Config::ConfigurationManager::DestroyManager();
    testing::internal::CaptureStdout();
    EXPECT_EQ(WebPostMessage::GetTempFilePath(),
              "/home/temp/.webpost_" + std::to_string(first + 2));
    EXPECT_NE(testing::internal::GetCapturedStdout().find("error to get temp path \n"),
              std::string::npos);
    // A folder that does not exist: the reply cannot be spooled, so 0.
    configure(folder() + "/missing/http");
    EXPECT_TRUE(post("/body/200000", &out) == 0 && out == "kept") << out.str();
    // A path the shell would split is removed without the shell: "my" survives.
    const std::string decoy = folder() + "/my", kept = decoy + "/keep";
    ASSERT_EQ(mkdir(decoy.c_str(), 0755), 0);
    std::fclose(std::fopen(kept.c_str(), "w"));
    configure(folder() + "/my spool");
    EXPECT_EQ(post("/body/150000", &out), 1);
    EXPECT_TRUE(fs::exists(kept) && entries(folder(), "my spool") == 0u);
    fs::remove_all(decoy);
    configure(folder() + "/http");
}

TEST_F(WebPostMessageTest, AServerThatNeverEndsKeepsTheCallUntilItGoes) {
    String endlessOut;
    const std::string spool = folder() + "/http_" + std::to_string(takeSpoolNumber() + 1);
    auto endless = std::async(std::launch::async, [&] { return post("/endless", &endlessOut); });
    HttpRequest request;
    const bool arrived = peer.nextRequest(request);
    // While the endless reply flows, it grows on disk, not in the caller's memory.
    const bool spooled = VemloTest::waitFor(
        [&] { return fs::exists(spool) && fs::file_size(spool) >= 2 * 1024 * 1024; }, 30s);
    const bool waiting = endless.wait_for(0s) == std::future_status::timeout;
    peer.stop(); // the connection closes with the server
    ASSERT_EQ(endless.wait_for(30s), std::future_status::ready);
    EXPECT_TRUE(arrived && waiting) << "returned before the server went";
    EXPECT_EQ(std::make_pair(endless.get(), spooled), std::make_pair(1, true));
    EXPECT_TRUE(endlessOut.str() == pattern(endlessOut.length()));
}

// The steps on a socket pair: the header with bare line ends (port 80 is not
// named), the reply read until the peer closes, every byte sent however few,
// a vanished peer reported; without an object each step gives its own code.
TEST(WebPostMessageStepsTest, StepsExchangeOverASocketAndReportAVanishedPeer) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    char data[] = "xyz", buffer[64], got[256] = {0};
    EXPECT_EQ(WebPostMessage::SendBytes(pair[0], data, 1), 1);
    EXPECT_EQ(WebPostMessage::SendBytes(pair[0], data, 0), 0);
    ASSERT_EQ(write(pair[1], "HTTP/1.1 200 OK\n\nfine", 21), 21);
    shutdown(pair[1], SHUT_WR);
    PostObject post;
    post.m_sHost = "10.1.2.3";
    post.m_sPath = "/form";
    post.m_pBody = data;
    post.m_nBodyLength = 3;
    post.m_nSocket = pair[0];
    post.m_pRecvBuffer = buffer;
    post.m_nBufferSize = sizeof buffer;
    EXPECT_EQ(WebPostMessage::MessageExchange(&post), 0);
    EXPECT_EQ(post.m_nReceived, 21);
    EXPECT_STREQ(buffer, "HTTP/1.1 200 OK\n\nfine");
    EXPECT_GT(recv(pair[1], got, sizeof got - 1, MSG_DONTWAIT), 0);
    EXPECT_STREQ(got, "xPOST /form HTTP/1.1\nHost: 10.1.2.3\nContent-Type: "
                      "application/x-www-form-urlencoded\nConnection: close\nContent-Length: "
                      "3\n\nxyz");
    close(pair[1]);
    EXPECT_EQ(WebPostMessage::SendBytes(pair[0], data, 3), -1);
    EXPECT_EQ(WebPostMessage::MessageExchange(&post), 2002);
    EXPECT_EQ(WebPostMessage::ConnectionClose(&post), 0);
    EXPECT_TRUE(post.m_nSocket == -1 && !isOpen(pair[0])) << post.m_nSocket;
    EXPECT_EQ(WebPostMessage::HTTPPostMethod(nullptr), 0);
    EXPECT_EQ(WebPostMessage::ServerConnect(nullptr), 1001);
    EXPECT_EQ(WebPostMessage::MessageSend(nullptr), 2002);
    EXPECT_EQ(WebPostMessage::MessageReceive(nullptr), 3001);
    EXPECT_EQ(WebPostMessage::MessageExchange(nullptr), 2002);
    EXPECT_EQ(WebPostMessage::ConnectionClose(nullptr), -1);
}
