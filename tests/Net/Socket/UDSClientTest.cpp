//===- Net/Socket/UDSClientTest.cpp - Unix-domain client and server -------===//
#include "Net/NetTest.h"

#include <cstdio>

#include <sys/stat.h>

using NetTest::text;
using Vemlo::Net::NetException;

namespace {

using Client = NetTest::Open<Vemlo::Net::Socket::UDSClient>;

bool isSocketFile(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

} // namespace

TEST(UDSClientTest, ClientAndServerTalkBothWaysOverAReplacedFile) {
    VemloTest::TempDir dir;
    const std::string path = dir.file("service.sock");
    std::fclose(std::fopen(path.c_str(), "w")); // a file left at the path is removed by Bind
    Vemlo::Net::Socket::UDSServer server;
    ASSERT_EQ(server.Bind(7, text(path)), 0);
    EXPECT_TRUE(isSocketFile(path));
    ASSERT_EQ(server.Listen(2), 0);
    Client client;
    ASSERT_EQ(client.Connect(text(path), 1, 2), 0);
    const int accepted = server.Accept(nullptr);
    ASSERT_GT(accepted, 0);

    // Sending is ClientBase's (tested there and over TCP): one small exchange
    // each way shows the Unix-domain pair is connected.
    EXPECT_EQ(client.Send(text("up"), 2), 2);
    char buffer[16] = {0};
    EXPECT_EQ(recv(accepted, buffer, sizeof buffer, 0), 2);
    ASSERT_EQ(send(accepted, "down", 4, 0), 4);
    EXPECT_EQ(client.Receive(buffer, sizeof buffer), 4);
    close(accepted);
    EXPECT_EQ(client.Close(), 0);
    EXPECT_EQ(server.Close(), 0);
    EXPECT_TRUE(isSocketFile(path)); // left for the application to remove
}

TEST(UDSClientTest, PathsAreCutAt107CharactersAndNoServerMeansCannotConnect) {
    VemloTest::TempDir dir;
    std::string cut = dir.path() + "/";
    cut.append(107 - cut.size(), 's');
    Vemlo::Net::Socket::UDSServer server;
    ASSERT_EQ(server.Bind(0, text(cut + "-never-seen")), 0);
    ASSERT_EQ(server.Listen(1), 0);
    EXPECT_TRUE(isSocketFile(cut));
    Client client;
    EXPECT_EQ(client.Connect(text(cut + "-never-seen"), 0, 0), 0);
    const int first = client.fd(); // a second Connect closes the first socket
    EXPECT_EQ(client.Connect(text(cut), 0, 0), 0);
    EXPECT_EQ(client.fd(), first);
    close(server.Accept(nullptr));
    close(server.Accept(nullptr));

    Client lonely;
    const std::string nobody = dir.file("nobody.sock");
    VemloTest::ExpectThrown<NetException>([&] { lonely.Connect(text(nobody), 0, 0); }, 0,
                                          "cannot connect to UDS server");
    EXPECT_EQ(lonely.fd(), -1); // closed and not kept
}
