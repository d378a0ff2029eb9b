//===- Net/WebPostMessageTest.cpp - The HTTP POST client against real servers -===//
//
// The peers are servers we did not write: Python's http.server (through
// support/http_peer.py, which reports what it received) and, when it is
// installed, nginx. The exchange has no timeout of its own (it reads until
// the server closes), so the cases that talk to servers that never close run
// the call on a thread and end it by killing the server, waiting a bounded
// time for the call to return. Every case ends with no spool file and no
// descriptor left behind.
//
//===----------------------------------------------------------------------===//
#include "Net/NetTest.h"
#include "support/HttpPeer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

using Vemlo::Net::PostObject;
using Vemlo::Net::WebPostMessage;
using VemloTest::HttpPeer;
using VemloTest::HttpRequest;
namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

const size_t kHead = 94; // the size of every head the Python peer sends

// 'a' + i % 26, the body the Python peer sends.
std::string pattern(size_t n) {
    std::string s(n, 'a');
    for (size_t i = 0; i < n; ++i)
        s[i] = static_cast<char>('a' + i % 26);
    return s;
}

std::string firstLine(const std::string& head) {
    return head.substr(0, head.find('\n'));
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
        EXPECT_EQ(spoolFiles(), 0u) << "spool files left behind";
        EXPECT_EQ(entries("/proc/self/fd"), m_descriptors) << "descriptors left open";
    }
    int post(const std::string& path, String* out, const char* body = "",
             const char* method = "POST") {
        return WebPostMessage::SimpleHTTPMethod(peer.url(path).c_str(), body, method, out);
    }
    static std::string folder() { return NetTest::g_env->config->workingDirectory(); }
    static size_t spoolFiles() { return entries(folder(), "http_"); }
    // Takes a spool number and returns it: the next exchange that spools uses the one after.
    static int takeSpoolNumber() {
        const std::string path = WebPostMessage::GetTempFilePath();
        EXPECT_EQ(path.compare(0, folder().size() + 6, folder() + "/http_"), 0) << path;
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

    HttpPeer peer;
    size_t m_descriptors = 0;
};

} // namespace

TEST_F(WebPostMessageTest, PostsTheRequestWithBareLineEndsAndReturnsTheBody) {
    const std::string port = std::to_string(peer.port());
    String out;
    HttpRequest request;
    EXPECT_EQ(post("/body/11", &out, "a=1&b=two"), 1);
    EXPECT_EQ(out, "abcdefghijk");
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(request.head, "POST /body/11 HTTP/1.1\nHost: 127.0.0.1:" + port +
                                "\nContent-Type: application/x-www-form-urlencoded\n"
                                "Connection: close\nContent-Length: 9\n\n");
    EXPECT_EQ(request.body, "a=1&b=two");

    // Another method, no body; a null method is POST.
    EXPECT_EQ(post("/body/3", &out, nullptr, "PUT"), 1);
    EXPECT_EQ(out, "abc");
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(firstLine(request.head), "PUT /body/3 HTTP/1.1");
    EXPECT_NE(request.head.find("\nContent-Length: 0\n\n"), std::string::npos);
    EXPECT_EQ(request.body, "");
    EXPECT_EQ(post("/body/2", &out, "", nullptr), 1);
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_EQ(firstLine(request.head), "POST /body/2 HTTP/1.1");

    // "\n\n" is looked for first, even inside headers that end in CR LF.
    EXPECT_EQ(post("/split", &out), 1);
    EXPECT_EQ(out, "X-Second: 2\r\n\r\nbody");
    // Nothing after the blank line: 0, and `out` keeps what it had.
    out = "kept";
    EXPECT_EQ(post("/body/0", &out), 0);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(post("/body/1", nullptr), 0);
}

TEST_F(WebPostMessageTest, RepliesFrom100000BytesOnAreSpooledAndRemoved) {
    std::string upToNul; // binary replies end at their first NUL
    for (int i = 1; i < 256; ++i)
        upToNul.push_back(static_cast<char>(i));
    const struct {
        std::string path, body;
        bool spooled;
    } cases[] = {
        {"/body/" + std::to_string(99999 - kHead), pattern(99999 - kHead), false},
        {"/body/" + std::to_string(100000 - kHead), pattern(100000 - kHead), true}, // exactly full
        {"/body/3000000", pattern(3000000), true},
        {"/binary/1000", upToNul, false},
        {"/binary/300000", upToNul, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        const int before = takeSpoolNumber();
        String out;
        EXPECT_EQ(post(c.path, &out, "k=v"), 1);
        EXPECT_TRUE(out.str() == c.body) << out.length();
        EXPECT_EQ(takeSpoolNumber() - before, c.spooled ? 2 : 1);
        EXPECT_EQ(spoolFiles(), 0u);
    }
}

TEST_F(WebPostMessageTest, UrlsAreSplitIntoHostPortAndPath) {
    // "bad host" is refused by the resolver before any lookup, so the
    // exchange stops after splitting the URL (and reports 1: no connection).
    const struct {
        const char *url, *host;
        int port;
        const char* path;
    } cases[] = {
        {"http://bad host:8080/form", "bad host", 8080, "/form"},
        {"http://bad host/a/b?c=d", "bad host", 80, "/a/b?c=d"},
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
        EXPECT_EQ(WebPostMessage::ServerConnect(&post), 1001);
    }
    // Shorter than the prefix: the standard library's error, and no leak.
    String out("kept");
    EXPECT_THROW(WebPostMessage::SimpleHTTPMethod("http:/", "", "POST", &out), std::out_of_range);
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nullptr, "", "POST", &out), 0);
    EXPECT_EQ(WebPostMessage::HTTPPostMethod(nullptr), 0);

    // Kept behaviour: an unresolvable host closes the object's socket, still
    // 0, which is standard input; it is put back afterwards.
    const int saved = dup(0);
    ASSERT_GT(saved, 0);
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod("http://bad host/form", "a=1", "POST", &out), 0);
    EXPECT_FALSE(NetTest::isOpen(0));
    ASSERT_EQ(dup2(saved, 0), 0);
    close(saved);
    EXPECT_EQ(out, "kept");
}

TEST_F(WebPostMessageTest, ARefusedConnectionReturnsZeroAndLeavesNoDescriptor) {
    int holder = -1;
    const std::string url =
        "http://127.0.0.1:" + std::to_string(NetTest::closedPort(holder)) + "/x";
    String out("kept");
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(url.c_str(), "a=1", "POST", &out), 0);
    EXPECT_EQ(out, "kept");
    // Driven by hand, the failed connect leaves its socket to the caller.
    PostObject post;
    post.m_sUrl = url.c_str();
    EXPECT_EQ(WebPostMessage::HTTPPostMethod(&post), 1); // connection failures report 1
    EXPECT_EQ(post.m_nReceived, 0);
    ASSERT_GT(post.m_nSocket, 0);
    EXPECT_EQ(WebPostMessage::ConnectionClose(&post), 0);
    EXPECT_EQ(post.m_nSocket, -1);
    EXPECT_EQ(WebPostMessage::ServerConnect(&post), 1003);
    EXPECT_EQ(WebPostMessage::ConnectionClose(&post), 0);
    close(holder);
}

TEST_F(WebPostMessageTest, TheStepsDrivenByHandSendReceiveAndCloseOnce) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    PostObject post, broken;
    post.m_sHost = "example.org";
    post.m_sPath = "/a";
    post.m_pBody = "xyz";
    post.m_nBodyLength = 3;
    post.m_nSocket = pair[0];
    EXPECT_EQ(WebPostMessage::MessageSend(&post), 0);
    char sent[4096];
    const ssize_t got = recv(pair[1], sent, sizeof sent, MSG_DONTWAIT);
    EXPECT_EQ(std::string(sent, got > 0 ? got : 0),
              "POST /a HTTP/1.1\nHost: example.org\n" // port 80 is not named
              "Content-Type: application/x-www-form-urlencoded\nConnection: close\n"
              "Content-Length: 3\n\nxyz");

    // A reply past the buffer's capacity is all in the spool file, open at its start.
    const std::string data = "abcdefghijklmnopqrstuvwxy";
    ASSERT_EQ(write(pair[1], data.data(), data.size()), static_cast<ssize_t>(data.size()));
    shutdown(pair[1], SHUT_WR);
    char buffer[10];
    post.m_pRecvBuffer = broken.m_pRecvBuffer = buffer;
    post.m_nBufferSize = broken.m_nBufferSize = 10;
    const int number = takeSpoolNumber() + 1;
    EXPECT_EQ(WebPostMessage::MessageReceive(&post), 0);
    EXPECT_EQ(post.m_nReceived, 25);
    EXPECT_EQ(post.m_sTempPath, (folder() + "/http_" + std::to_string(number)).c_str());
    ASSERT_NE(post.m_pTempFile, nullptr);
    char back[64] = {0};
    EXPECT_EQ(std::fread(back, 1, sizeof back, post.m_pTempFile), data.size());
    EXPECT_EQ(std::string(back), data);
    std::fclose(post.m_pTempFile);
    std::remove(post.m_sTempPath.c_str());
    broken.m_nSocket = -1; // a receive that fails ends the reply quietly
    EXPECT_EQ(WebPostMessage::MessageReceive(&broken), 0);
    EXPECT_EQ(broken.m_nReceived, 0);

    // A body that does not fit while nobody reads: the first short send
    // ends it (non-blocking here, so the send says so instead of waiting).
    const std::string big(8 * 1024 * 1024, 'b');
    post.m_pBody = big.c_str();
    post.m_nBodyLength = static_cast<int>(big.size());
    fcntl(pair[0], F_SETFL, fcntl(pair[0], F_GETFL) | O_NONBLOCK);
    EXPECT_EQ(WebPostMessage::MessageSend(&post), 2008);
    EXPECT_EQ(WebPostMessage::SendBytes(pair[0], sent, 10), -1);
    EXPECT_EQ(WebPostMessage::SendBytes(pair[0], sent, 0), 0);

    // The peer has gone: the header cannot be sent.
    close(pair[1]);
    EXPECT_EQ(WebPostMessage::MessageSend(&post), 2002);
    EXPECT_EQ(WebPostMessage::MessageExchange(&post), 2002);
    EXPECT_EQ(WebPostMessage::ConnectionClose(&post), 0);
    EXPECT_EQ(post.m_nSocket, -1);
    EXPECT_EQ(WebPostMessage::ConnectionClose(&post), -1); // nothing closed twice
    EXPECT_EQ(WebPostMessage::MessageSend(nullptr), 2002);
}

TEST_F(WebPostMessageTest, SpoolPathsComeFromTheConfiguration) {
    const int first = takeSpoolNumber();
    // No value: a message (after what loading the file prints), and the built-in folder.
    configure("");
    testing::internal::CaptureStdout();
    const std::string fallback = WebPostMessage::GetTempFilePath();
    const std::string printed = testing::internal::GetCapturedStdout();
    const std::string message = "error to get temp path \n";
    ASSERT_GE(printed.size(), message.size());
    EXPECT_EQ(printed.substr(printed.size() - message.size()), message);
    EXPECT_EQ(fallback, "/home/temp/.webpost_" + std::to_string(first + 1));

    // A folder that does not exist: the reply cannot be spooled (3001), so
    // the call returns 0; smaller replies are not affected.
    configure(folder() + "/missing/http");
    String out("kept");
    EXPECT_EQ(post("/body/200000", &out), 0);
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(post("/body/20", &out), 1);

    // A path the shell would split is removed without the shell: the folder
    // "my" beside it survives.
    const std::string decoy = folder() + "/my", kept = decoy + "/keep";
    ASSERT_EQ(mkdir(decoy.c_str(), 0755), 0);
    std::fclose(std::fopen(kept.c_str(), "w"));
    configure(folder() + "/my spool");
    EXPECT_EQ(post("/body/150000", &out), 1);
    EXPECT_TRUE(out.str() == pattern(150000));
    EXPECT_TRUE(fs::exists(kept));
    EXPECT_EQ(entries(folder(), "my spool"), 0u);
    fs::remove_all(decoy);
    configure(folder() + "/http");
}

TEST_F(WebPostMessageTest, ServersThatCloseEarlyGiveZeroAndLeakNothing) {
    const std::string big(8 * 1024 * 1024, 'q');
    String out("kept");
    {
        HttpPeer atOnce(true); // closes every connection at once
        ASSERT_TRUE(atOnce.ready()) << atOnce.why();
        for (const char* body : {"a=1", big.c_str()})
            EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(atOnce.url("/").c_str(), body, "POST", &out),
                      0);
    }
    // Reads the head, then closes with the body unread.
    EXPECT_EQ(post("/close", &out, big.c_str()), 0);
    EXPECT_EQ(out, "kept");
    HttpRequest request;
    ASSERT_TRUE(peer.nextRequest(request));
    EXPECT_NE(request.head.find("\nContent-Length: 8388608\n\n"), std::string::npos);
}

TEST_F(WebPostMessageTest, AServerThatNeverAnswersOrNeverEndsKeepsTheCallUntilItGoes) {
    String silentOut("kept"), endlessOut;
    auto silent =
        std::async(std::launch::async, [&] { return post("/silent", &silentOut, "q=1"); });
    auto endless = std::async(std::launch::async, [&] { return post("/endless", &endlessOut); });
    HttpRequest request;
    const bool arrived = peer.nextRequest(request) && peer.nextRequest(request);
    // While the endless reply flows, it grows on disk, not in the caller's memory.
    const uintmax_t enough = 2 * 1024 * 1024;
    uintmax_t spooled = 0;
    for (const auto end = std::chrono::steady_clock::now() + 30s;
         spooled < enough && std::chrono::steady_clock::now() < end;
         std::this_thread::sleep_for(20ms))
        for (auto& e : fs::directory_iterator(folder()))
            if (e.path().filename().string().rfind("http_", 0) == 0)
                spooled = std::max(spooled, fs::file_size(e.path()));
    const bool waiting = silent.wait_for(0s) == std::future_status::timeout &&
                         endless.wait_for(0s) == std::future_status::timeout;
    peer.stop(); // the connections close with the server
    ASSERT_EQ(silent.wait_for(30s), std::future_status::ready);
    ASSERT_EQ(endless.wait_for(30s), std::future_status::ready);
    EXPECT_TRUE(arrived);
    EXPECT_TRUE(waiting) << "returned before the server went";
    EXPECT_EQ(silent.get(), 0);
    EXPECT_EQ(silentOut, "kept");
    EXPECT_EQ(endless.get(), 1);
    EXPECT_GE(spooled, enough);
    EXPECT_GE(endlessOut.length(), static_cast<size_t>(enough) - 100);
    EXPECT_TRUE(endlessOut.str() == pattern(endlessOut.length()));
}

namespace {

// nginx from the distribution with its echo module, started without
// root-only paths: prefix, configuration, logs and temporary folders in a
// temporary folder, one process in the foreground on a free port of 127.0.0.1.
struct Nginx {
    static constexpr const char* kBinary = "/usr/sbin/nginx";
    static constexpr const char* kEcho = "/usr/lib/nginx/modules/ngx_http_echo_module.so";
    static bool installed() { return access(kBinary, X_OK) == 0 && access(kEcho, R_OK) == 0; }

    Nginx() {
        int holder = -1;
        port = NetTest::closedPort(holder);
        close(holder);
        const std::string d = dir.path();
        mkdir((d + "/www").c_str(), 0755);
        std::ofstream conf(d + "/nginx.conf");
        conf << "load_module " << kEcho << ";\ndaemon off;\nmaster_process off;\n"
             << "pid " << d << "/nginx.pid;\nerror_log " << d << "/error.log;\n"
             << "events { worker_connections 32; }\nhttp {\n  access_log off;\n";
        for (const char* temp : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
            conf << "  " << temp << "_temp_path " << d << "/" << temp << ";\n";
        // Without chunked framing the reply ends where the server closes.
        conf << "  server {\n    listen 127.0.0.1:" << port << ";\n    root " << d << "/www;\n"
             << "    location = /echo { chunked_transfer_encoding off; echo_read_request_body; "
             << "echo -n \"$request_method $request_uri|$http_host|$content_type|$content_length"
             << "|$request_body\"; }\n    location = /chunked { echo -n \"chunk\"; }\n"
             << "    location / { error_page 405 =200 $uri; }\n  }\n}\n";
        conf.close();
        pid = VemloTest::SpawnHostProgram(
            {kBinary, "-e", d + "/error.log", "-p", d, "-c", d + "/nginx.conf"});
        // Ready once it accepts connections (at most 10 seconds).
        const sockaddr_in address = NetTest::loopback(port);
        for (int i = 0; i < 200 && pid > 0 && !ready; ++i) {
            const int fd = socket(AF_INET, SOCK_STREAM, 0);
            ready = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
            close(fd);
            if (!ready)
                std::this_thread::sleep_for(50ms);
        }
    }
    ~Nginx() { VemloTest::KillAndReap(pid); }
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port) + path;
    }

    VemloTest::TempDir dir;
    int port = 0;
    pid_t pid = -1;
    bool ready = false;
};

} // namespace

TEST_F(WebPostMessageTest, NginxUnderstandsTheRequestAndItsRepliesComeBack) {
    if (!Nginx::installed())
        GTEST_SKIP() << "nginx or its echo module is not installed";
    Nginx nginx;
    ASSERT_TRUE(nginx.ready) << VemloTest::ReadFile(nginx.dir.file("error.log"));
    String out;
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nginx.url("/echo?x=1").c_str(), "name=v%20w", "POST",
                                               &out),
              1);
    EXPECT_EQ(out, ("POST /echo?x=1|127.0.0.1:" + std::to_string(nginx.port) +
                    "|application/x-www-form-urlencoded|10|name=v%20w")
                       .c_str());
    // The reply is not decoded: chunked framing comes back as it is.
    EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nginx.url("/chunked").c_str(), "", "POST", &out), 1);
    EXPECT_EQ(out, "5\r\nchunk\r\n0\r\n\r\n");

    // Static files of several sizes; from 100,000 bytes on they are spooled.
    for (size_t size : {size_t(0), size_t(100000), size_t(2500000)}) {
        SCOPED_TRACE(size);
        const std::string name = "/file" + std::to_string(size), content = pattern(size);
        std::ofstream(nginx.dir.file("www" + name), std::ios::binary) << content;
        out = "kept";
        EXPECT_EQ(WebPostMessage::SimpleHTTPMethod(nginx.url(name).c_str(), "", "POST", &out),
                  size > 0 ? 1 : 0);
        EXPECT_TRUE(out.str() == (size > 0 ? content : std::string("kept")));
    }
}
