//===- Net/Socket/ClientBaseTest.cpp - Sending, receiving, closing --------===//
#include "Net/NetTest.h"

#include <cerrno>
#include <regex>
#include <vector>

using NetTest::isOpen;

namespace {

// A client that takes over one end of a socket pair made by the test.
struct Client : NetTest::Open<Vemlo::Net::Socket::ClientBase> {
    explicit Client(int type = SOCK_STREAM) {
        socketpair(AF_UNIX, type, 0, pair);
        m_nSocket = pair[0];
    }
    ~Client() override { close(pair[1]); }
    int Connect(char*, int, int) override { return 0; }
    int pair[2] = {-1, -1};
};

} // namespace

TEST(ClientBaseTest, SendCutsTheBufferInto8196ByteUnits) {
    // A sequenced-packet pair keeps the boundary of every unit UnitSend sent.
    Client client(SOCK_SEQPACKET);
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
    EXPECT_EQ(client.Send(nullptr, 10), 0);
    EXPECT_EQ(client.Send(data.data(), -5), -1);
}

TEST(ClientBaseTest, SendingToAVanishedPeerThrowsTheBaseExceptionFromUnitSendOnly) {
    Client client;
    close(client.pair[1]);
    client.pair[1] = -1;
    char data[100] = {0};
    // The number is the untouched byte (0) natively; user-mode emulators
    // copy one byte of the error into it.
    try {
        client.UnitSend(data, sizeof data);
        ADD_FAILURE() << "nothing thrown";
    } catch (Vemlo::Common::Exception* e) {
        EXPECT_EQ(typeid(*e), typeid(Vemlo::Common::Exception));
        EXPECT_EQ(e->GetCode(), -1);
        EXPECT_TRUE(std::regex_match(
            e->GetMessage(), std::regex(R"(client socket is closed : error number \[\d+\] )")))
            << e->GetMessage();
        delete e;
    }
    EXPECT_EQ(client.Send(data, sizeof data), -1); // caught inside, nothing escapes
    EXPECT_TRUE(isOpen(client.pair[0]));           // the socket stays open
}

TEST(ClientBaseTest, ReceiveIsOneRecvAndCloseClosesOnlyDescriptorsAboveZero) {
    Client client;
    ASSERT_EQ(write(client.pair[1], "hello world", 11), 11);
    char buffer[64] = {0};
    EXPECT_EQ(client.Receive(buffer, 5), 5); // one call, no loop
    EXPECT_EQ(std::string(buffer, 5), "hello");
    EXPECT_EQ(client.Close(), 0);
    EXPECT_EQ(client.fd(), 0);
    EXPECT_FALSE(isOpen(client.pair[0]));
    EXPECT_EQ(client.UnitSend(buffer, 5), 0); // descriptor 0 is never written to
    client.fd() = -1; // a failed socket(): returned as is, close() not called
    errno = 0;
    EXPECT_EQ(client.Close(), -1);
    EXPECT_EQ(errno, 0);
}
