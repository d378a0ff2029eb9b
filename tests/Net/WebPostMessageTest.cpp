//===- Net/WebPostMessageTest.cpp - POST against a real server ------------===//
//
// The peer is Python's http.server (support/http_peer.py, which reports what
// it received). The exchange has no timeout of its own (it reads until the
// server closes), so the cases with servers that never close run the call on
// a thread and end it by killing the server, waiting a bounded time. Every
// case ends with no spool file and no descriptor left behind.
//
//===----------------------------------------------------------------------===//
#include "Net/NetTest.h"
#include "support/HttpPeer.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <numeric>

using namespace Vemlo::Net;
using VemloTest::HttpRequest;
namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

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
    static std::string folder() { return NetTest::g_env->config->workingDirectory(); }
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
        ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(NetTest::g_env->config->file(), entries));
        Vemlo::Config::ConfigurationManager::DestroyManager();
    }

    VemloTest::HttpPeer peer;
    size_t m_descriptors = 0;
};

} // namespace

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
            EXPECT_FALSE(NetTest::isOpen(0)); // the socket is closed
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
    NetTest::Open<Socket::TCPServer> bound; // not listening: connections are refused
    bound.Bind(0, NetTest::text("127.0.0.1"));
    const std::string refused = "http://127.0.0.1:" + std::to_string(NetTest::portOf(bound.fd()));
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod((refused + "/x").c_str(), "a=1", "POST", &out), 0);
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nullptr, "", "POST", &out), 0);
    // Kept behaviour: an unresolvable host closes the object's socket, still
    // 0, which is standard input; it is put back afterwards.
    const int saved = dup(0);
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod("http://bad host/form", "a=1", "POST", &out), 0);
    EXPECT_FALSE(NetTest::isOpen(0));
    ASSERT_EQ(dup2(saved, 0), 0);
    close(saved);
    EXPECT_EQ(out, "kept");

    // Spool paths come from the configuration. No value: "_<n>", in the working directory.
    configure("");
    const int first = takeSpoolNumber();
    EXPECT_EQ(WebPostMessage::GetTempFilePath(), "_" + std::to_string(first + 1));
    // Only a configuration that cannot be read gives the built-in folder.
    VemloTest::WriteFile(NetTest::g_env->config->file(), "");
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
    EXPECT_TRUE(post.m_nSocket == -1 && !NetTest::isOpen(pair[0])) << post.m_nSocket;
    EXPECT_EQ(WebPostMessage::HTTPPostMethod(nullptr), 0);
    EXPECT_EQ(WebPostMessage::ServerConnect(nullptr), 1001);
    EXPECT_EQ(WebPostMessage::MessageSend(nullptr), 2002);
    EXPECT_EQ(WebPostMessage::MessageReceive(nullptr), 3001);
    EXPECT_EQ(WebPostMessage::MessageExchange(nullptr), 2002);
    EXPECT_EQ(WebPostMessage::ConnectionClose(nullptr), -1);
}
