//===- Net/Socket/UDSClientTest.cpp - Unix-domain client and server -------===//

#include "support/TestConfig.h"
#include "support/VemloTest.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using Vemlo::Log::Logger;
using Vemlo::Net::NetException;
using Vemlo::Net::Socket::UDSClient;
using Vemlo::Net::Socket::UDSServer;

namespace {

class NetEnvironment : public testing::Environment {
public:
    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN);
        m_config = new VemloTest::TestConfig();
    }
    void TearDown() override {
        Logger::DestroyLogger();
        delete m_config;
    }

private:
    VemloTest::TestConfig* m_config = nullptr;
};

testing::Environment* const kEnvironment = testing::AddGlobalTestEnvironment(new NetEnvironment);

class Server : public UDSServer {
public:
    int fd() const { return m_nSocket; }
};

class Client : public UDSClient {
public:
    int fd() const { return m_nSocket; }
};

char* text(const std::string& s) {
    return const_cast<char*>(s.c_str());
}

bool isSocketFile(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

} // namespace

TEST(UDSClientTest, ClientAndServerTalkBothWaysOverAReplacedFile) {
    VemloTest::TempDir dir;
    const std::string path = dir.file("service.sock");
    // A file left at the path is removed by Bind.
    FILE* stale = std::fopen(path.c_str(), "w");
    ASSERT_NE(stale, nullptr);
    std::fclose(stale);

    Server server;
    ASSERT_EQ(server.Bind(7, text(path)), 0);
    EXPECT_TRUE(isSocketFile(path));
    ASSERT_EQ(server.Listen(2), 0);

    Client client;
    ASSERT_EQ(client.Connect(text(path), 1, 2), 0);
    sockaddr_un peer;
    const int accepted = server.Accept(reinterpret_cast<sockaddr*>(&peer));
    ASSERT_GT(accepted, 0);

    std::string up(1000000, 'u');
    std::string received;
    std::thread reader([&] {
        char buffer[65536];
        ssize_t got;
        while (received.size() < up.size() && (got = recv(accepted, buffer, sizeof buffer, 0)) > 0)
            received.append(buffer, static_cast<size_t>(got));
    });
    EXPECT_EQ(client.Send(text(up), static_cast<int>(up.size())), static_cast<int>(up.size()));
    reader.join();
    EXPECT_EQ(received, up);

    ASSERT_EQ(send(accepted, "down", 4, 0), 4);
    char buffer[16] = {0};
    EXPECT_EQ(client.Receive(buffer, sizeof buffer), 4);
    EXPECT_STREQ(buffer, "down");

    // The server goes mid-send: Send gives -1.
    close(accepted);
    std::string more(4 * 1024 * 1024, 'm');
    EXPECT_EQ(client.Send(text(more), static_cast<int>(more.size())), -1);
    EXPECT_EQ(client.Close(), 0);
    EXPECT_EQ(server.Close(), 0);
    EXPECT_TRUE(isSocketFile(path)); // left for the application to remove
}

TEST(UDSClientTest, PathsAreCutAt107Characters) {
    VemloTest::TempDir dir;
    std::string cut = dir.path() + "/";
    cut.append(107 - cut.size(), 's');
    ASSERT_EQ(cut.size(), 107u);
    const std::string longer = cut + "-never-seen";

    Server server;
    ASSERT_EQ(server.Bind(0, text(longer)), 0);
    ASSERT_EQ(server.Listen(1), 0);
    EXPECT_TRUE(isSocketFile(cut));
    Client client;
    EXPECT_EQ(client.Connect(text(longer), 0, 0), 0);
    const int accepted = server.Accept(nullptr);
    EXPECT_GT(accepted, 0);
    close(accepted);
    unlink(cut.c_str());
}

TEST(UDSClientTest, NoServerMeansCannotConnect) {
    VemloTest::TempDir dir;
    Client client;
    VemloTest::ExpectThrown<NetException>(
        [&] { client.Connect(text(dir.file("nobody.sock")), 0, 0); }, 0,
        "cannot connect to UDS server");
    EXPECT_EQ(client.fd(), -1); // closed and not kept
    EXPECT_EQ(client.Close(), -1);

    Client none;
    VemloTest::ExpectThrown<NetException>([&] { none.Connect(nullptr, 0, 0); }, 0,
                                          "cannot connect to UDS server");
}
