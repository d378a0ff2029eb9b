//===- Net/Socket/ClientBaseTest.cpp - Sending, receiving, closing --------===//
#include "Net/NetTest.h"

#include <cerrno>
#include <regex>
#include <vector>

using NetTest::isOpen;
using Vemlo::Net::Socket::ClientBase;

namespace {

testing::Environment* const kEnvironment =
    testing::AddGlobalTestEnvironment(new NetTest::Environment);

// A client that takes over one end of a socket pair made by the test.
class Client : public ClientBase {
public:
    explicit Client(int type = SOCK_STREAM) {
        socketpair(AF_UNIX, type, 0, pair);
        m_nSocket = pair[0];
    }
    ~Client() override { closePeer(); }
    void closePeer() {
        close(pair[1]);
        pair[1] = -1;
    }
    int Connect(char*, int, int) override { return 0; }
    void adopt(int fd) { m_nSocket = fd; }
    int fd() const { return m_nSocket; }
    int pair[2] = {-1, -1};
};

} // namespace

TEST(ClientBaseTest, SendCutsTheBufferInto8196ByteUnits) {
    // A sequenced-packet pair keeps the boundary of every unit UnitSend sent.
    Client client(SOCK_SEQPACKET);
    std::vector<char> data(20000);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>('a' + i % 26);
    EXPECT_EQ(client.Send(data.data(), 20000), 20000);
    std::vector<char> received;
    std::vector<ssize_t> units;
    char unit[16384];
    ssize_t got;
    while ((got = recv(client.pair[1], unit, sizeof unit, MSG_DONTWAIT)) > 0) {
        units.push_back(got);
        received.insert(received.end(), unit, unit + got);
    }
    EXPECT_EQ(units, (std::vector<ssize_t>{8196, 8196, 3608}));
    EXPECT_EQ(received, data);

    // Nothing to send: no call at all; a negative length sends nothing.
    EXPECT_EQ(client.Send(nullptr, 10), 0);
    EXPECT_EQ(client.Send(data.data(), 0), 0);
    EXPECT_EQ(client.UnitSend(data.data(), -5), 0);
    EXPECT_EQ(client.Send(data.data(), -5), -1);
    EXPECT_EQ(recv(client.pair[1], unit, sizeof unit, MSG_DONTWAIT), -1);
    client.adopt(0); // UnitSend does not touch standard input
    EXPECT_EQ(client.UnitSend(data.data(), 10), 0);
    EXPECT_EQ(client.Send(data.data(), 10), -1);
    client.adopt(client.pair[0]);
}

TEST(ClientBaseTest, SendingToAVanishedPeerThrowsTheBaseExceptionFromUnitSendOnly) {
    Client client;
    client.closePeer();
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
    EXPECT_TRUE(isOpen(client.pair[0]));           // the socket stays open
}

TEST(ClientBaseTest, CloseAndTheDestructorCloseOnlyDescriptorsAboveZero) {
    Client client;
    EXPECT_EQ(client.Close(), 0);
    EXPECT_EQ(client.fd(), 0);
    EXPECT_FALSE(isOpen(client.pair[0]));
    EXPECT_EQ(client.Close(), 0); // nothing left: the value 0 comes back
    client.adopt(-1);             // a failed socket(): returned as is, close() not called
    errno = 0;
    EXPECT_EQ(client.Close(), -1);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(client.fd(), 0);

    int other = -1;
    {
        Client owner;
        other = owner.pair[0];
    }
    EXPECT_FALSE(isOpen(other)); // the destructor closed it
    Client negative;
    negative.adopt(-7); // never handed to close()
    close(negative.pair[0]);
}

TEST(ClientBaseTest, ReceiveIsOneRecvWithItsResultAsIs) {
    Client client;
    ASSERT_EQ(write(client.pair[1], "hello world", 11), 11);
    char buffer[64] = {0};
    EXPECT_EQ(client.Receive(buffer, 5), 5); // one call, no loop
    EXPECT_EQ(std::string(buffer, 5), "hello");
    EXPECT_EQ(client.Receive(buffer, sizeof buffer), 6);
    errno = 0;
    EXPECT_EQ(client.Receive(buffer, -1), -1);
    EXPECT_EQ(errno, EINVAL);
    client.closePeer();
    EXPECT_EQ(client.Receive(buffer, sizeof buffer), 0); // the peer closed
}
