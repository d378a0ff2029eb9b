//===- bench/NetBenchmark.cpp - The HTTP POST client beside libcurl -------===//
//
// Requests per second posting 1 KiB and getting a 2-byte reply, and MB/s
// receiving a 10 MiB reply (which WebPostMessage spools to disk and reads
// back), with WebPostMessage::SimpleHTTPMethod and with libcurl's easy
// interface doing the same in the same process against the same server: a
// minimal HTTP/1.1 server on a thread of this program, one connection at a
// time, closing after each reply (both clients ask for "Connection: close";
// curl is told not to reuse connections, so each request makes one as
// WebPostMessage does). Rates are per wall-clock second (the server's work
// on its thread is part of every request).
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using Vemlo::Net::WebPostMessage;

namespace {

constexpr size_t kBigReply = 10 * 1024 * 1024;

// The server: reads one request (head, then Content-Length bytes of body),
// answers "/big" with kBigReply bytes and anything else with "ok", closes.
class Server {
public:
    Server() : m_big(kBigReply, 'x') {
        m_listener = socket(AF_INET, SOCK_STREAM, 0);
        const int one = 1;
        setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        bind(m_listener, reinterpret_cast<sockaddr*>(&address), size);
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
        m_port = ntohs(address.sin_port);
        listen(m_listener, 64);
        m_thread = std::thread([this] { run(); });
    }
    ~Server() {
        m_stop = true;
        shutdown(m_listener, SHUT_RDWR); // wakes accept()
        m_thread.join();
        close(m_listener);
    }
    std::string url(const char* path) const {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }

private:
    void run() {
        while (!m_stop) {
            const int fd = accept(m_listener, nullptr, nullptr);
            if (fd < 0)
                continue;
            serve(fd);
            close(fd);
        }
    }
    void serve(int fd) {
        std::string request;
        char buffer[16384];
        size_t headEnd = std::string::npos;
        size_t separator = 0;
        while (headEnd == std::string::npos) {
            const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
            if (got <= 0)
                return;
            request.append(buffer, static_cast<size_t>(got));
            if ((headEnd = request.find("\r\n\r\n")) != std::string::npos)
                separator = 4;
            else if ((headEnd = request.find("\n\n")) != std::string::npos)
                separator = 2;
        }
        size_t length = 0;
        for (const char* name : {"Content-Length:", "content-length:"}) {
            const size_t at = request.find(name);
            if (at != std::string::npos && at < headEnd)
                length = std::strtoul(request.c_str() + at + std::strlen(name), nullptr, 10);
        }
        while (request.size() < headEnd + separator + length) {
            const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
            if (got <= 0)
                return;
            request.append(buffer, static_cast<size_t>(got));
        }
        const bool big = request.compare(request.find(' ') + 1, 5, "/big ") == 0;
        const std::string& body = big ? m_big : m_small;
        const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " +
                                 std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n";
        sendAll(fd, head);
        sendAll(fd, body);
    }
    static void sendAll(int fd, const std::string& data) {
        size_t done = 0;
        while (done < data.size()) {
            const ssize_t sent = send(fd, data.data() + done, data.size() - done, MSG_NOSIGNAL);
            if (sent <= 0)
                return;
            done += static_cast<size_t>(sent);
        }
    }

    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_stop{false};
    const std::string m_big;
    const std::string m_small = "ok";
    std::thread m_thread;
};

// The working folder with the configuration (the spool path), the server and
// libcurl's global state; removed at exit.
struct Fixture {
    std::string dir;
    Server server;
    Fixture() {
        std::signal(SIGPIPE, SIG_IGN);
        char pattern[] = "/tmp/vemlo-bench-XXXXXX";
        dir = mkdtemp(pattern);
        const std::string conf = dir + "/Vemlo/Conf";
        std::system(("mkdir -p " + conf).c_str());
        std::ofstream(conf + "/default.config")
            << "<FileProperty><Base><Log><Level>ERROR</Level></Log><Http><TempPath>" << dir
            << "/http</TempPath></Http></Base></FileProperty>";
        setenv("VEMLO_WORKING_DIRECTORY", dir.c_str(), 1);
        curl_global_init(CURL_GLOBAL_DEFAULT);
    }
    ~Fixture() {
        curl_global_cleanup();
        Vemlo::Config::ConfigurationManager::DestroyManager();
        std::system(("rm -rf " + dir).c_str());
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

const std::string& kiB() {
    static const std::string body(1024, 'p');
    return body;
}

size_t collect(char* data, size_t size, size_t count, void* out) {
    static_cast<std::string*>(out)->append(data, size * count);
    return size * count;
}

// A curl handle set up like WebPostMessage's request: POST of a form body,
// "Connection: close", no "Expect: 100-continue", a new connection each time.
struct CurlPost {
    CURL* curl;
    curl_slist* headers = nullptr;
    std::string reply;
    CurlPost(const std::string& url, const std::string& body) : curl(curl_easy_init()) {
        headers = curl_slist_append(headers, "Connection: close");
        headers = curl_slist_append(headers, "Expect:");
        curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
        curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, collect);
        curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply);
    }
    ~CurlPost() {
        curl_slist_free_all(headers);
        curl_easy_cleanup(curl);
    }
    bool perform() {
        reply.clear();
        return curl_easy_perform(curl) == CURLE_OK;
    }
};

void BM_Post1KiB_Vemlo(benchmark::State& state) {
    const std::string url = fixture().server.url("/small");
    String out;
    for (auto _ : state) {
        if (WebPostMessage::SimpleHTTPMethod(url.c_str(), kiB().c_str(), "POST", &out) != 1) {
            state.SkipWithError("request failed");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Post1KiB_Vemlo)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_Post1KiB_Curl(benchmark::State& state) {
    CurlPost post(fixture().server.url("/small"), kiB());
    for (auto _ : state) {
        if (!post.perform() || post.reply != "ok") {
            state.SkipWithError("request failed");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_Post1KiB_Curl)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_Receive10MiB_Vemlo(benchmark::State& state) {
    const std::string url = fixture().server.url("/big");
    String out;
    for (auto _ : state) {
        if (WebPostMessage::SimpleHTTPMethod(url.c_str(), "q=1", "POST", &out) != 1 ||
            out.length() != kBigReply) {
            state.SkipWithError("request failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBigReply));
}
BENCHMARK(BM_Receive10MiB_Vemlo)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Receive10MiB_Curl(benchmark::State& state) {
    CurlPost post(fixture().server.url("/big"), "q=1");
    for (auto _ : state) {
        if (!post.perform() || post.reply.size() != kBigReply) {
            state.SkipWithError("request failed");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBigReply));
}
BENCHMARK(BM_Receive10MiB_Curl)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
