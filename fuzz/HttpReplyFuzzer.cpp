//===- fuzz/HttpReplyFuzzer.cpp - Any server reply to SimpleHTTPMethod ----===//
//
// A server thread on 127.0.0.1 answers every POST of
// WebPostMessage::SimpleHTTPMethod with the input: the first byte says how the
// reply is delivered, the rest is the reply.
//
//   mode & 3   0: written, then the connection is closed
//              1: written, then shut down for writing and drained before close
//              2: written, then reset (RST): the client may lose its tail
//              3: the connection is closed at once, the request unread
//   mode & 12  0: the reply as it is
//              4: the reply in pieces of (mode >> 4) + 1 bytes
//              8: the reply repeated up to 99996 + (mode >> 4) bytes, around
//                 the 100000 at which the client spools it to a file
//             12: the reply repeated up to 250000 + 1000 * (mode >> 4) bytes
//
// When the whole reply arrives, the result must be the documented one: the
// text up to the first NUL, split at its first "\n\n" (if after position 0)
// else at its first "\r\n\r\n" (likewise); 1 and the rest in `out` when that
// rest is not empty, otherwise 0 and `out` untouched. A reset or early close
// only has to give 0 with `out` untouched, or 1 with a body. After every
// input no spool file and no descriptor may be left. The process runs in an
// IPC namespace of its own (when it may), so that the configuration's
// semaphore sets go with it even when it crashes.
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include "FuzzFolder.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

using Vemlo::Net::WebPostMessage;

namespace {

const char kBody[] = "state=Running&transitions=2";

std::string g_url;
std::string g_spool; // the folder the spool files go to

// The reply for the next connection, handed to the server thread.
std::mutex g_mutex;
std::condition_variable g_changed;
std::string g_reply;
unsigned g_mode = 0;
unsigned long g_served = 0; // connections the server has finished

void fail(const char* what) {
    std::fprintf(stderr, "HttpReplyFuzzer: %s\n", what);
    std::abort();
}

// Entries of `folder`, "." and ".." left out.
int entries(const char* folder) {
    DIR* dir = opendir(folder);
    if (dir == nullptr)
        fail("cannot list a folder");
    int n = -2;
    while (readdir(dir) != nullptr)
        ++n;
    closedir(dir);
    return n;
}

void sendAll(int fd, const char* data, size_t size, size_t piece) {
    for (size_t done = 0; done < size;) {
        const ssize_t sent = send(fd, data + done, std::min(piece, size - done), MSG_NOSIGNAL);
        if (sent <= 0)
            return; // the client went away: its result is checked, not ours
        done += static_cast<size_t>(sent);
    }
}

// Reads the request through the blank line and its body.
void readRequest(int fd) {
    std::string request;
    char buffer[4096];
    for (;;) {
        const size_t head = request.find("\n\n");
        if (head != std::string::npos && request.size() >= head + 2 + std::strlen(kBody))
            return;
        const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
        if (got <= 0)
            return;
        request.append(buffer, static_cast<size_t>(got));
    }
}

void serve(int fd, const std::string& reply, unsigned mode) {
    const timeval limit = {10, 0}; // nothing here waits for ever
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    if ((mode & 3) == 3)
        return; // closed at once
    readRequest(fd);
    size_t piece = reply.size() + 1;
    if ((mode & 12) == 4) {
        const int on = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        piece = (mode >> 4) + 1;
    }
    sendAll(fd, reply.data(), reply.size(), piece);
    if ((mode & 3) == 1) {
        shutdown(fd, SHUT_WR);
        char buffer[256];
        while (recv(fd, buffer, sizeof buffer, 0) > 0) {
        }
    } else if ((mode & 3) == 2) {
        const linger reset = {1, 0};
        setsockopt(fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    }
}

void serverLoop(int listener) {
    for (;;) {
        const int fd = accept(listener, nullptr, nullptr);
        if (fd < 0)
            continue;
        std::string reply;
        unsigned mode;
        {
            std::lock_guard<std::mutex> guard(g_mutex);
            reply = g_reply;
            mode = g_mode;
        }
        serve(fd, reply, mode);
        close(fd);
        std::lock_guard<std::mutex> guard(g_mutex);
        ++g_served;
        g_changed.notify_all();
    }
}

// The documented outcome of a reply received whole: the body, or null for 0.
bool expectedBody(const std::string& reply, std::string& body) {
    const std::string text = reply.substr(0, std::strlen(reply.c_str()));
    size_t start = std::string::npos;
    size_t at = text.find("\n\n");
    if (at != std::string::npos && at > 0) {
        start = at + 2;
    } else {
        at = text.find("\r\n\r\n");
        if (at != std::string::npos && at > 0)
            start = at + 4;
    }
    if (start == std::string::npos || start == text.size())
        return false;
    body = text.substr(start);
    return true;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    std::signal(SIGPIPE, SIG_IGN);
    // Semaphore sets made in a namespace of our own vanish with the process.
    if (unshare(CLONE_NEWIPC) != 0)
        std::fprintf(stderr, "HttpReplyFuzzer: no IPC namespace of its own (%s)\n",
                     std::strerror(errno));
    const std::string& folder = FuzzFolder::make();
    g_spool = folder + "/spool";
    const std::string conf = folder + "/Vemlo/Conf";
    if (mkdir((folder + "/Vemlo").c_str(), 0755) != 0 || mkdir(conf.c_str(), 0755) != 0 ||
        mkdir(g_spool.c_str(), 0755) != 0)
        fail("cannot make the folders");
    const std::string config =
        "<FileProperty><Base><Log><Level>ERROR</Level></Log><Http><TempPath>" + g_spool +
        "/reply</TempPath></Http></Base></FileProperty>";
    FuzzFolder::write(conf + "/default.config", reinterpret_cast<const uint8_t*>(config.data()),
                      config.size());
    setenv("VEMLO_WORKING_DIRECTORY", folder.c_str(), 1);
    Vemlo::Config::ConfigurationManager::GetManager()->getInstance(); // read once, here
    std::atexit([] { Vemlo::Config::ConfigurationManager::DestroyManager(); });

    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        listen(listener, 8) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        fail("cannot listen on 127.0.0.1");
    g_url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/status";
    std::thread(serverLoop, listener).detach();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const unsigned mode = size > 0 ? data[0] : 0;
    std::string reply(reinterpret_cast<const char*>(data) + (size > 0), size - (size > 0));
    if ((mode & 8) != 0) {
        const size_t total = (mode & 4) ? 250000 + 1000 * (mode >> 4) : 99996 + (mode >> 4);
        const std::string unit = reply.empty() ? std::string("x") : reply;
        while (reply.size() < total)
            reply.append(unit, 0, std::min(unit.size(), total - reply.size()));
    }
    unsigned long before;
    {
        std::lock_guard<std::mutex> guard(g_mutex);
        g_reply = reply;
        g_mode = mode;
        before = g_served;
    }

    const int descriptors = entries("/proc/self/fd");
    String out("untouched");
    const int result = WebPostMessage::SimpleHTTPMethod(g_url.c_str(), kBody, "POST", &out);
    {
        std::unique_lock<std::mutex> guard(g_mutex);
        if (!g_changed.wait_for(guard, std::chrono::seconds(10), [&] { return g_served > before; }))
            fail("the server did not finish the connection");
    }

    std::string body;
    const bool whole = (mode & 3) <= 1;
    if (result != 0 && result != 1)
        fail("a result other than 0 or 1");
    if (result == 0 && out != "untouched")
        fail("0, but the out text was changed");
    if (result == 1 && out.empty())
        fail("1 with an empty body");
    if (whole && result != (expectedBody(reply, body) ? 1 : 0))
        fail("a whole reply gave the wrong result");
    if (whole && result == 1 && out.str() != body)
        fail("a whole reply gave the wrong body");
    if ((mode & 3) == 3 && result != 0)
        fail("a connection closed at once gave a body");
    if (entries(g_spool.c_str()) != 0)
        fail("a spool file was left behind");
    if (entries("/proc/self/fd") != descriptors)
        fail("a descriptor was left open");
    return 0;
}
