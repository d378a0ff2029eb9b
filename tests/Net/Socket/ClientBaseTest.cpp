//===- Net/Socket/ClientBaseTest.cpp - Sending, receiving, closing --------===//
#include "support/TestConfig.h"
#include "support/VemloTest.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

using Vemlo::Log::Logger;
using Vemlo::Net::Socket::ClientBase;

namespace {

// The configuration the client's log channel is read from; the registry and
// the configuration go (with their semaphore sets) at the end.
class NetEnvironment : public testing::Environment {
public:
    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN); // sends to a vanished peer must return, not kill
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

// A client that takes over a descriptor made by the test.
class AdoptingClient : public ClientBase {
public:
    int Connect(char*, int, int) override { return 0; }
    void adopt(int fd) { m_nSocket = fd; }
    int fd() const { return m_nSocket; }
    Vemlo::Log::FileLog* log() const { return m_pLog; }
};

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

std::vector<char> pattern(size_t n) {
    std::vector<char> bytes(n);
    for (size_t i = 0; i < n; ++i)
        bytes[i] = static_cast<char>('a' + i % 26);
    return bytes;
}

} // namespace

TEST(ClientBaseTest, SendCutsTheBufferInto8196ByteUnits) {
    // A sequenced-packet pair keeps the boundary of every send(), so the
    // receiver sees each unit that Send handed to UnitSend.
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, pair), 0);
    AdoptingClient client;
    client.adopt(pair[0]);
    std::vector<char> data = pattern(20000);
    EXPECT_EQ(client.Send(data.data(), 20000), 20000);

    std::vector<char> received;
    std::vector<ssize_t> units;
    char unit[16384];
    for (int i = 0; i < 3; ++i) {
        const ssize_t got = recv(pair[1], unit, sizeof unit, MSG_DONTWAIT);
        ASSERT_GT(got, 0);
        units.push_back(got);
        received.insert(received.end(), unit, unit + got);
    }
    EXPECT_EQ(units, (std::vector<ssize_t>{8196, 8196, 3608}));
    EXPECT_EQ(received, data);
    EXPECT_EQ(recv(pair[1], unit, sizeof unit, MSG_DONTWAIT), -1); // nothing more

    // Nothing to send: no call at all.
    EXPECT_EQ(client.Send(nullptr, 10), 0);
    EXPECT_EQ(client.Send(data.data(), 0), 0);
    EXPECT_EQ(client.UnitSend(data.data(), 0), 0);
    EXPECT_EQ(client.UnitSend(data.data(), -5), 0);
    EXPECT_EQ(client.Send(data.data(), -5), -1); // the first unit sends nothing
    EXPECT_EQ(recv(pair[1], unit, sizeof unit, MSG_DONTWAIT), -1);

    AdoptingClient none; // descriptor 0: UnitSend does not touch standard input
    EXPECT_EQ(none.UnitSend(data.data(), 10), 0);
    EXPECT_EQ(none.Send(data.data(), 10), -1);
    close(pair[1]);
}

TEST(ClientBaseTest, SendingToAVanishedPeerThrowsTheBaseExceptionFromUnitSendOnly) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    close(pair[1]);
    AdoptingClient client;
    client.adopt(pair[0]);
    char data[100] = {0};

    bool thrown = false;
    try {
        client.UnitSend(data, sizeof data);
    } catch (Vemlo::Common::Exception* e) {
        thrown = true;
        EXPECT_EQ(typeid(*e), typeid(Vemlo::Common::Exception)); // not a NetException
        EXPECT_EQ(e->GetCode(), -1);
        // The number is the untouched byte (0) natively; user-mode emulators
        // copy one byte of the error into it.
        EXPECT_TRUE(
            std::regex_match(std::string(e->GetMessage()),
                             std::regex(R"(client socket is closed : error number \[\d+\] )")))
            << e->GetMessage();
        delete e;
    }
    EXPECT_TRUE(thrown);
    EXPECT_EQ(client.Send(data, sizeof data), -1); // caught inside, nothing escapes
    EXPECT_TRUE(isOpen(pair[0]));                  // the socket stays open
}

TEST(ClientBaseTest, CloseAndTheDestructorCloseOnlyDescriptorsAboveZero) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    {
        AdoptingClient client;
        client.adopt(pair[0]);
        EXPECT_EQ(client.Close(), 0);
        EXPECT_EQ(client.fd(), 0);
        EXPECT_FALSE(isOpen(pair[0]));
        EXPECT_EQ(client.Close(), 0); // nothing left: the value 0 comes back

        client.adopt(-1); // a failed socket(): returned as is, close() not called
        errno = 0;
        EXPECT_EQ(client.Close(), -1);
        EXPECT_EQ(errno, 0);
        EXPECT_EQ(client.fd(), 0);
    }
    {
        AdoptingClient client;
        client.adopt(pair[1]);
    }
    EXPECT_FALSE(isOpen(pair[1])); // the destructor closed it
    {
        AdoptingClient client;
        client.adopt(-7); // never handed to close()
    }
}

TEST(ClientBaseTest, ReceiveIsOneRecvWithItsResultAsIs) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    AdoptingClient client;
    client.adopt(pair[0]);
    ASSERT_EQ(write(pair[1], "hello world", 11), 11);
    char buffer[64] = {0};
    EXPECT_EQ(client.Receive(buffer, 5), 5); // one call, no loop
    EXPECT_EQ(std::string(buffer, 5), "hello");
    EXPECT_EQ(client.Receive(buffer, sizeof buffer), 6);
    errno = 0;
    EXPECT_EQ(client.Receive(buffer, -1), -1);
    EXPECT_EQ(errno, EINVAL);
    close(pair[1]);
    EXPECT_EQ(client.Receive(buffer, sizeof buffer), 0); // the peer closed

    // The channel was taken from the registry at construction.
    EXPECT_EQ(client.log(), Logger::getLogger()->getLog("[Vemlo]"));
    EXPECT_NE(client.log(), nullptr);
}
