//===- Net/WebPostMessageTest.cpp - The HTTP POST client against real servers -===//
//
// The peers are servers we did not write: Python's http.server (through
// support/http_peer.py, which reports what it received) and, when it is
// installed, nginx. The exchange has no timeout of its own (it reads until
// the server closes), so the cases that talk to servers that never close run
// the call on a thread and end it by killing the server, waiting a bounded
// time for the call to return.
//
//===----------------------------------------------------------------------===//

#include "support/HttpPeer.h"
#include "support/TestConfig.h"
#include "support/VemloTest.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using Vemlo::Config::ConfigurationManager;
using Vemlo::Net::PostObject;
using Vemlo::Net::WebPostMessage;
using VemloTest::HttpPeer;
using VemloTest::HttpRequest;

namespace {

using namespace std::chrono_literals;

// 'a' + i % 26, the body the Python peer sends.
std::string pattern(size_t n) {
    std::string s(n, 'a');
    for (size_t i = 0; i < n; ++i)
        s[i] = static_cast<char>('a' + i % 26);
    return s;
}

// The head the Python peer sends for "/total/N" (a fixed-width length).
const std::string kTotalHead = "HTTP/1.1 200 Test\r\nContent-Type: text/plain\r\n"
                               "Connection: close\r\nContent-Length: 0000000000\r\n\r\n";

// Open descriptors of this process.
int openDescriptors() {
    int count = 0;
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (readdir(dir))
            ++count;
        closedir(dir);
    }
    return count;
}

off_t sizeOf(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? info.st_size : -1;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

// Runs `call` on a thread; the case ends the call by stopping its server.
class Background {
public:
    explicit Background(std::function<int()> call)
        : m_thread([this, call] { m_result = call(); }) {}
    ~Background() {
        if (m_thread.joinable())
            m_thread.join();
    }
    bool running() const { return m_result == kRunning; }
    // Waits at most `limit` for the call to return; its result, or kRunning.
    int wait(std::chrono::milliseconds limit) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (running() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(10ms);
        if (!running())
            m_thread.join();
        return m_result;
    }
    static constexpr int kRunning = -100;

private:
    std::atomic<int> m_result{kRunning};
    std::thread m_thread;
};

class WebPostMessageTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        std::signal(SIGPIPE, SIG_IGN); // a server that goes mid-request must not end the test
        s_config = new VemloTest::TestConfig();
    }
    static void TearDownTestSuite() {
        delete s_config;
        s_config = nullptr;
    }
    void TearDown() override {
        EXPECT_EQ(spoolFiles(), std::vector<std::string>()) << "spool files left behind";
    }

    static std::string folder() { return s_config->workingDirectory(); }

    // Files in the working directory whose name starts with `prefix`.
    static std::vector<std::string> spoolFiles(const std::string& prefix = "http_") {
        std::vector<std::string> names;
        if (DIR* dir = opendir(folder().c_str())) {
            while (dirent* entry = readdir(dir))
                if (std::strncmp(entry->d_name, prefix.c_str(), prefix.size()) == 0)
                    names.push_back(entry->d_name);
            closedir(dir);
        }
        return names;
    }

    // Takes a spool number and returns it: the next exchange that spools
    // uses the one after.
    static int takeSpoolNumber() {
        const std::string path = WebPostMessage::GetTempFilePath();
        EXPECT_EQ(path.compare(0, folder().size() + 6, folder() + "/http_"), 0) << path;
        return std::atoi(path.c_str() + path.rfind('_') + 1);
    }

    // Rewrites the configuration and makes the manager read it again.
    static void configure(const VemloTest::ConfigEntries& entries) {
        ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(s_config->file(), entries));
        ConfigurationManager::DestroyManager();
    }
    static void restoreConfiguration() {
        configure({{"Base.Log.Level", "DEBUG"}, {"Base.Http.TempPath", folder() + "/http"}});
    }

    static VemloTest::TestConfig* s_config;
};

VemloTest::TestConfig* WebPostMessageTest::s_config = nullptr;

} // namespace

TEST_F(WebPostMessageTest, PostsOneRequestWithBareLineEndsAndReturnsTheBody) {
    HttpPeer peer;
    ASSERT_TRUE(peer.ready()) << peer.why();
    const std::string port = std::to_string(peer.port());
    const int descriptors = openDescriptors();

    String out;
    EXPECT_EQ(
        WebPostMessage::SimpleHTTPMethod(peer.url("/body/11").c_str(), "a=1&b=two", "POST", &out),
        1);
    EXPECT_EQ(out, "abcdefghijk");
    HttpRequest request;
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(request.head, "POST /body/11 HTTP/1.1\n"
                            "Host: 127.0.0.1:" +
                                port +
                                "\n"
                                "Content-Type: application/x-www-form-urlencoded\n"
                                "Connection: close\n"
                                "Content-Length: 9\n\n");
    EXPECT_EQ(request.body, "a=1&b=two");

    // Another method, no body; a null method is POST.
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/body/3").c_str(), nullptr, "PUT", &out),
              1);
    EXPECT_EQ(out, "abc");
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(request.requestLine(), "PUT /body/3 HTTP/1.1");
    EXPECT_EQ(request.headerLines().back(), "Content-Length: 0");
    EXPECT_EQ(request.body, "");
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/body/2").c_str(), "", nullptr, &out), 1);
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(request.requestLine(), "POST /body/2 HTTP/1.1");

    // No "/" after the host: the whole URL is sent as the request target.
    const std::string bare = "http://127.0.0.1:" + port;
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(bare.c_str(), "x", "POST", &out), 1);
    EXPECT_EQ(out, "not found");
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(request.requestLine(), "POST " + bare + " HTTP/1.1");

    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(WebPostMessageTest, RepliesThatReachTheBufferAreSpooledAndRemoved) {
    HttpPeer peer;
    ASSERT_TRUE(peer.ready()) << peer.why();
    const int descriptors = openDescriptors();
    const struct {
        const char* path;
        size_t body;
        bool spooled;
    } cases[] = {
        {"/total/99999", 99999 - kTotalHead.size(), false},  // one byte short of the buffer
        {"/total/100000", 100000 - kTotalHead.size(), true}, // fills it exactly
        {"/total/100001", 100001 - kTotalHead.size(), true},
        {"/body/3000000", 3000000, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        const int before = takeSpoolNumber();
        String out;
        EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url(c.path).c_str(), "k=v", "POST", &out),
                  1);
        EXPECT_EQ(out.length(), c.body);
        EXPECT_TRUE(out.str() == pattern(c.body));
        EXPECT_EQ(takeSpoolNumber() - before, c.spooled ? 2 : 1);
        EXPECT_EQ(spoolFiles(), std::vector<std::string>());
        HttpRequest request;
        EXPECT_TRUE(peer.nextRequest(request));
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(WebPostMessageTest, TheBodyStartsAfterTheFirstBlankLine) {
    HttpPeer peer;
    ASSERT_TRUE(peer.ready()) << peer.why();
    String out;
    // Header lines ending in a bare "\n".
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/lf/5").c_str(), "", "POST", &out), 1);
    EXPECT_EQ(out, "abcde");
    // "\n\n" is looked for first, even inside headers that end in CR LF.
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/split").c_str(), "", "POST", &out), 1);
    EXPECT_EQ(out, "X-Second: 2\r\n\r\nbody");
    // Any status gives its body.
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/status/404/9").c_str(), "", "POST", &out),
              1);
    EXPECT_EQ(out, "abcdefghi");

    // Nothing after the blank line: 0, and `out` keeps what it had.
    out = "kept";
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/empty").c_str(), "", "POST", &out), 0);
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/body/0").c_str(), "", "POST", &out), 0);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/body/1").c_str(), "", "POST", nullptr),
              0);
}

TEST_F(WebPostMessageTest, BinaryRepliesEndAtTheirFirstNul) {
    HttpPeer peer;
    ASSERT_TRUE(peer.ready()) << peer.why();
    std::string expected;
    for (int i = 1; i < 256; ++i)
        expected.push_back(static_cast<char>(i));
    for (const char* path : {"/binary/1000", "/binary/300000"}) {
        SCOPED_TRACE(path);
        String out;
        EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url(path).c_str(), "", "POST", &out), 1);
        EXPECT_TRUE(out.str() == expected);
    }
}

TEST_F(WebPostMessageTest, UrlsAreSplitIntoHostPortAndPath) {
    // "bad host" is refused by the resolver before any lookup, so the
    // exchange stops after splitting the URL (and reports 1: no connection).
    const struct {
        const char* url;
        const char* host;
        int port;
        const char* path;
    } cases[] = {
        {"http://bad host:8080/form", "bad host", 8080, "/form"},
        {"http://bad host/a/b?c=d", "bad host", 80, "/a/b?c=d"},
        {"http://bad host:80/", "bad host", 80, "/"},
        {"http://bad host", "bad host", 80, "http://bad host"}, // no "/": the whole URL
        {"https://bad host:443/x", "/bad host", 443, "/x"},     // the prefix is 7 characters
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.url);
        PostObject post;
        post.m_sUrl = c.url;
        EXPECT_EQ(WebPostMessage::HTTPPostMethod(&post), 1);
        EXPECT_EQ(post.m_sHost, c.host);
        EXPECT_EQ(post.m_nPort, c.port);
        EXPECT_EQ(post.m_sPath, c.path);
        EXPECT_EQ(post.m_nSocket, 0);
        EXPECT_EQ(post.m_nReceived, 0);
        EXPECT_EQ(WebPostMessage::ServerConnect(&post), 1001);
    }

    // Shorter than the prefix: the standard library's error, and no leak.
    String out("kept");
    EXPECT_THROW(WebPostMessage::SimpleHTTPMethod("http:/", "", "POST", &out), std::out_of_range);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nullptr, "", "POST", &out), 0);
    EXPECT_EQ(WebPostMessage::HTTPPostMethod(nullptr), 0);
}

TEST_F(WebPostMessageTest, AnUnresolvableHostClosesDescriptorZero) {
    // Kept behaviour: the object's socket is still 0 and is closed. Standard
    // input is put back afterwards.
    if (fcntl(0, F_GETFD) == -1) {
        ASSERT_EQ(open("/dev/null", O_RDONLY), 0);
    }
    const int saved = dup(0);
    ASSERT_GT(saved, 0);
    String out("kept");
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod("http://bad host/form", "a=1", "POST", &out), 0);
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
    ASSERT_EQ(dup2(saved, 0), 0);
    close(saved);
    EXPECT_EQ(out, "kept");
}

TEST_F(WebPostMessageTest, ARefusedConnectionReturnsZeroAndLeavesNoDescriptor) {
    // A bound port without a listener refuses connections.
    const int holder = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ASSERT_EQ(bind(holder, reinterpret_cast<sockaddr*>(&address), size), 0);
    getsockname(holder, reinterpret_cast<sockaddr*>(&address), &size);
    const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/x";

    const int descriptors = openDescriptors();
    String out("kept");
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(url.c_str(), "a=1", "POST", &out), 0);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(openDescriptors(), descriptors);

    // Driven by hand, the failed connect leaves its socket to the caller.
    PostObject post;
    post.m_sUrl = url.c_str();
    EXPECT_EQ(WebPostMessage::HTTPPostMethod(&post), 1); // connection failures report 1
    EXPECT_EQ(post.m_nReceived, 0);
    ASSERT_GT(post.m_nSocket, 0);
    EXPECT_EQ(WebPostMessage::ServerConnect(&post), 1003);
    EXPECT_EQ(WebPostMessage::ConnectionClose(&post), 0);
    EXPECT_EQ(post.m_nSocket, -1);
    close(holder);
}

TEST_F(WebPostMessageTest, MessageSendWritesTheHeaderThenTheBody) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    PostObject post;
    post.m_sHost = "example.org";
    post.m_sPath = "/a";
    post.m_pBody = "xyz";
    post.m_nBodyLength = 3;
    post.m_nSocket = pair[0];
    auto sent = [&] {
        std::string all;
        char buffer[4096];
        ssize_t got;
        while ((got = recv(pair[1], buffer, sizeof buffer, MSG_DONTWAIT)) > 0)
            all.append(buffer, static_cast<size_t>(got));
        return all;
    };
    EXPECT_EQ(WebPostMessage::MessageSend(&post), 0);
    EXPECT_EQ(sent(), "POST /a HTTP/1.1\nHost: example.org\n"
                      "Content-Type: application/x-www-form-urlencoded\nConnection: close\n"
                      "Content-Length: 3\n\nxyz");
    post.m_nPort = 8080;
    post.m_sMethod = "GET";
    post.m_nBodyLength = 0;
    EXPECT_EQ(WebPostMessage::MessageSend(&post), 0);
    EXPECT_EQ(sent(), "GET /a HTTP/1.1\nHost: example.org:8080\n"
                      "Content-Type: application/x-www-form-urlencoded\nConnection: close\n"
                      "Content-Length: 0\n\n");

    // A body that does not fit while nobody reads: the first short send
    // ends it (non-blocking here, so the send says so instead of waiting).
    const std::string big(8 * 1024 * 1024, 'b');
    post.m_pBody = big.c_str();
    post.m_nBodyLength = static_cast<int>(big.size());
    fcntl(pair[0], F_SETFL, fcntl(pair[0], F_GETFL) | O_NONBLOCK);
    EXPECT_EQ(WebPostMessage::MessageSend(&post), 2008);
    char piece[10] = {0};
    EXPECT_EQ(WebPostMessage::SendBytes(pair[0], piece, 10), -1);
    sent();
    EXPECT_EQ(WebPostMessage::SendBytes(pair[0], piece, 10), 10);
    EXPECT_EQ(WebPostMessage::SendBytes(pair[0], piece, 0), 0);

    // The peer has gone: the header cannot be sent.
    close(pair[1]);
    EXPECT_EQ(WebPostMessage::MessageSend(&post), 2002);
    EXPECT_EQ(WebPostMessage::MessageExchange(&post), 2002);
    EXPECT_EQ(WebPostMessage::ConnectionClose(&post), 0);
    EXPECT_EQ(post.m_nSocket, -1);
    EXPECT_EQ(WebPostMessage::ConnectionClose(&post), -1); // nothing closed twice
    EXPECT_EQ(WebPostMessage::MessageSend(nullptr), 2002);
}

TEST_F(WebPostMessageTest, MessageReceiveSpoolsOnceTheBufferIsFull) {
    auto receive = [](const std::string& data, PostObject& post, char* buffer, int capacity) {
        int pair[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
        ASSERT_EQ(write(pair[1], data.data(), data.size()), static_cast<ssize_t>(data.size()));
        close(pair[1]);
        post.m_nSocket = pair[0];
        post.m_pRecvBuffer = buffer;
        post.m_nBufferSize = capacity;
        EXPECT_EQ(WebPostMessage::MessageReceive(&post), 0);
        close(pair[0]);
    };
    char buffer[10];

    // Below the capacity: in the buffer, NUL-terminated by the zeroing.
    PostObject small;
    std::memset(buffer, 'x', sizeof buffer);
    receive("123456789", small, buffer, 10);
    EXPECT_EQ(small.m_nReceived, 9);
    EXPECT_EQ(small.m_pTempFile, nullptr);
    EXPECT_STREQ(buffer, "123456789");

    // Reaching the capacity: the file holds everything, open for reading.
    for (const std::string data : {"0123456789", "abcdefghijklmnopqrstuvwxy"}) {
        SCOPED_TRACE(data);
        const int number = takeSpoolNumber() + 1;
        PostObject post;
        receive(data, post, buffer, 10);
        EXPECT_EQ(post.m_nReceived, static_cast<int>(data.size()));
        EXPECT_EQ(post.m_sTempPath, (folder() + "/http_" + std::to_string(number)).c_str());
        ASSERT_NE(post.m_pTempFile, nullptr);
        char back[64] = {0};
        EXPECT_EQ(std::fread(back, 1, sizeof back, post.m_pTempFile), data.size());
        EXPECT_EQ(std::string(back), data);
        EXPECT_EQ(std::string(buffer, 10), std::string(10, '\0'));
        std::fclose(post.m_pTempFile);
        std::remove(post.m_sTempPath.c_str());
    }

    // A receive that fails ends the reply quietly.
    PostObject broken;
    broken.m_nSocket = -1;
    broken.m_pRecvBuffer = buffer;
    broken.m_nBufferSize = 10;
    EXPECT_EQ(WebPostMessage::MessageReceive(&broken), 0);
    EXPECT_EQ(broken.m_nReceived, 0);
}

TEST_F(WebPostMessageTest, SpoolPathsComeFromTheConfiguration) {
    const int first = takeSpoolNumber();
    EXPECT_EQ(takeSpoolNumber(), first + 1);

    // No value: a message, and the built-in folder.
    configure({{"Base.Log.Level", "DEBUG"}});
    testing::internal::CaptureStdout();
    const std::string fallback = WebPostMessage::GetTempFilePath();
    const std::string printed = testing::internal::GetCapturedStdout();
    const std::string message = "error to get temp path \n"; // after what loading the file prints
    ASSERT_GE(printed.size(), message.size());
    EXPECT_EQ(printed.substr(printed.size() - message.size()), message);
    EXPECT_EQ(fallback, "/home/temp/.webpost_" + std::to_string(first + 2));

    // A folder that does not exist: the reply cannot be spooled (3001), so
    // the call returns 0; smaller replies are not affected.
    HttpPeer peer;
    ASSERT_TRUE(peer.ready()) << peer.why();
    configure({{"Base.Log.Level", "DEBUG"}, {"Base.Http.TempPath", folder() + "/missing/http"}});
    String out("kept");
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/body/200000").c_str(), "", "POST", &out),
              0);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/body/20").c_str(), "", "POST", &out), 1);

    // A path the shell would split is removed without the shell: the folder
    // "my" beside it survives.
    const std::string decoy = folder() + "/my";
    ASSERT_EQ(mkdir(decoy.c_str(), 0755), 0);
    const std::string kept = decoy + "/keep";
    std::fclose(std::fopen(kept.c_str(), "w"));
    configure({{"Base.Log.Level", "DEBUG"}, {"Base.Http.TempPath", folder() + "/my spool"}});
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/body/150000").c_str(), "", "POST", &out),
              1);
    EXPECT_TRUE(out.str() == pattern(150000));
    EXPECT_EQ(sizeOf(kept), 0);
    EXPECT_EQ(spoolFiles("my spool"), std::vector<std::string>());
    std::remove(kept.c_str());
    rmdir(decoy.c_str());
    restoreConfiguration();
}

TEST_F(WebPostMessageTest, ServersThatCloseEarlyGiveZeroAndLeakNothing) {
    const int descriptors = openDescriptors();
    const std::string big(8 * 1024 * 1024, 'q');
    {
        HttpPeer peer(true); // closes every connection at once
        ASSERT_TRUE(peer.ready()) << peer.why();
        String out("kept");
        EXPECT_EQ(
            WebPostMessage::SimpleHTTPMethod(peer.url("/body/10").c_str(), "a=1", "POST", &out), 0);
        EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(peer.url("/body/10").c_str(), big.c_str(),
                                                   "POST", &out),
                  0);
        EXPECT_EQ(out, "kept");
    }
    {
        HttpPeer peer; // reads the head, then closes with the body unread
        ASSERT_TRUE(peer.ready()) << peer.why();
        String out("kept");
        EXPECT_EQ(
            WebPostMessage::SimpleHTTPMethod(peer.url("/close").c_str(), big.c_str(), "POST", &out),
            0);
        EXPECT_EQ(out, "kept");
        HttpRequest request;
        ASSERT_TRUE(peer.nextRequest(request));
        EXPECT_EQ(request.headerLines().back(), "Content-Length: 8388608");
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(WebPostMessageTest, AServerThatNeverAnswersKeepsTheCallUntilItGoes) {
    HttpPeer peer;
    ASSERT_TRUE(peer.ready()) << peer.why();
    const int descriptors = openDescriptors();
    String out("kept");
    const std::string url = peer.url("/silent");
    Background call(
        [&] { return WebPostMessage::SimpleHTTPMethod(url.c_str(), "q=1", "POST", &out); });
    HttpRequest request;
    const bool arrived = peer.nextRequest(request);
    std::this_thread::sleep_for(300ms);
    const bool waiting = call.running();
    peer.stop(); // the connection closes with the server
    EXPECT_EQ(call.wait(20s), 0);
    ASSERT_TRUE(arrived);
    EXPECT_EQ(request.body, "q=1");
    EXPECT_TRUE(waiting) << "returned before the server went";
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(WebPostMessageTest, AnEndlessReplyGoesToDiskUntilTheServerGoes) {
    HttpPeer peer;
    ASSERT_TRUE(peer.ready()) << peer.why();
    const int descriptors = openDescriptors();
    String out;
    const std::string url = peer.url("/endless");
    Background call(
        [&] { return WebPostMessage::SimpleHTTPMethod(url.c_str(), "", "POST", &out); });

    // While the reply flows, it grows on disk, not in the caller's memory.
    const off_t enough = 2 * 1024 * 1024;
    off_t spooled = 0;
    const auto end = std::chrono::steady_clock::now() + 30s;
    while (spooled < enough && std::chrono::steady_clock::now() < end) {
        for (const std::string& name : spoolFiles())
            spooled = std::max(spooled, sizeOf(folder() + "/" + name));
        std::this_thread::sleep_for(20ms);
    }
    const bool waiting = call.running();
    peer.stop();
    EXPECT_EQ(call.wait(30s), 1);
    EXPECT_GE(spooled, enough);
    EXPECT_TRUE(waiting);
    EXPECT_GE(out.length(), static_cast<size_t>(enough) - 100);
    EXPECT_TRUE(out.str() == pattern(out.length()));
    EXPECT_EQ(openDescriptors(), descriptors);
}

namespace {

// nginx from the distribution, started without root-only paths: its own
// prefix, configuration, logs and temporary folders in a temporary folder,
// one process in the foreground on a free port of 127.0.0.1.
class Nginx {
public:
    Nginx() {
        const char* binaries[] = {"/usr/sbin/nginx", "/usr/bin/nginx"};
        for (const char* b : binaries)
            if (access(b, X_OK) == 0)
                m_binary = b;
        if (m_binary.empty())
            return;
        m_port = freePort();
        const std::string d = m_dir.path();
        std::string echo;
        if (access("/usr/lib/nginx/modules/ngx_http_echo_module.so", R_OK) == 0)
            echo = "load_module /usr/lib/nginx/modules/ngx_http_echo_module.so;\n";
        std::ofstream conf(d + "/nginx.conf");
        conf << echo << "daemon off;\nmaster_process off;\nworker_processes 1;\n"
             << "pid " << d << "/nginx.pid;\nerror_log " << d << "/error.log;\n"
             << "events { worker_connections 32; }\nhttp {\n  access_log off;\n"
             << "  client_body_temp_path " << d << "/body;\n  proxy_temp_path " << d << "/proxy;\n"
             << "  fastcgi_temp_path " << d << "/fcgi;\n  uwsgi_temp_path " << d << "/uwsgi;\n"
             << "  scgi_temp_path " << d << "/scgi;\n"
             << "  server {\n    listen 127.0.0.1:" << m_port << ";\n    root " << d << "/www;\n"
             << "    location = /small { return 200 \"hello from nginx\\n\"; }\n";
        if (!echo.empty()) {
            m_echo = true;
            // Without chunked framing the reply ends where the server closes.
            conf << "    location = /echo { chunked_transfer_encoding off; echo_read_request_body; "
                    "echo -n \"$request_method "
                    "$request_uri|$http_host|$content_type|$content_length|$request_body\"; }\n"
                 << "    location = /chunked { echo -n \"chunk\"; }\n";
        }
        conf << "    location / { error_page 405 =200 $uri; }\n  }\n}\n";
        conf.close();
        mkdir((d + "/www").c_str(), 0755);

        std::vector<std::string> args{m_binary, "-e", d + "/error.log", "-p",
                                      d,        "-c", d + "/nginx.conf"};
        std::vector<char*> argv;
        for (auto& a : args)
            argv.push_back(&a[0]);
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 34))
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
#endif
        char* envp[] = {nullptr};
        if (posix_spawn(&m_pid, m_binary.c_str(), &actions, nullptr, argv.data(), envp) != 0)
            m_pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        // Ready once it accepts connections (at most 10 seconds).
        for (int i = 0; i < 200 && m_pid > 0 && !m_ready; ++i) {
            m_ready = accepts();
            if (!m_ready)
                std::this_thread::sleep_for(50ms);
        }
    }
    ~Nginx() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
    }
    bool found() const {
        return !m_binary.empty();
    }
    bool ready() const {
        return m_ready;
    }
    bool echoes() const {
        return m_echo;
    }
    std::string www() const {
        return m_dir.path() + "/www";
    }
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }
    std::string errors() const {
        return readFile(m_dir.path() + "/error.log");
    }

private:
    static int freePort() {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(fd, reinterpret_cast<sockaddr*>(&address), size);
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
        close(fd);
        return ntohs(address.sin_port);
    }
    bool accepts() const {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<uint16_t>(m_port));
        const bool ok = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(fd);
        return ok;
    }

    VemloTest::TempDir m_dir;
    std::string m_binary;
    int m_port = 0;
    pid_t m_pid = -1;
    bool m_ready = false;
    bool m_echo = false;
};

} // namespace

TEST_F(WebPostMessageTest, NginxUnderstandsTheRequestAndItsRepliesComeBack) {
    Nginx nginx;
    if (!nginx.found())
        GTEST_SKIP() << "nginx is not installed";
    ASSERT_TRUE(nginx.ready()) << nginx.errors();

    String out;
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nginx.url("/small").c_str(), "a=1", "POST", &out),
              1);
    EXPECT_EQ(out, "hello from nginx\n");

    if (nginx.echoes()) {
        EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nginx.url("/echo?x=1").c_str(), "name=v%20w",
                                                   "POST", &out),
                  1);
        const std::string port = nginx.url("").substr(std::string("http://127.0.0.1:").size());
        EXPECT_EQ(out, ("POST /echo?x=1|127.0.0.1:" + port +
                        "|application/x-www-form-urlencoded|10|name=v%20w")
                           .c_str());
        // The reply is not decoded: chunked framing comes back as it is.
        EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nginx.url("/chunked").c_str(), "", "POST", &out),
                  1);
        EXPECT_EQ(out, "5\r\nchunk\r\n0\r\n\r\n");
    }

    // Static files of several sizes; from 100,000 bytes on they are spooled.
    for (size_t size : {size_t(0), size_t(99000), size_t(100000), size_t(2500000)}) {
        SCOPED_TRACE(size);
        const std::string name = "/file" + std::to_string(size);
        const std::string content = pattern(size);
        std::ofstream(nginx.www() + name, std::ios::binary) << content;
        out = "kept";
        const int expected = size > 0 ? 1 : 0;
        EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nginx.url(name).c_str(), "", "POST", &out),
                  expected);
        EXPECT_TRUE(out.str() == (size > 0 ? content : std::string("kept")));
    }
}
