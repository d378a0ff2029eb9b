//===- Event/EventHostTest.cpp - Host ids ---------------------------------===//
#include "support/VemloTest.h"

#include <memory>
#include <vector>

using Vemlo::Event::EventHost;

namespace {

// The smallest host: no log, no thread.
struct Bare : EventHost {
    explicit Bare(const char* name) : EventHost(name) {}
    int OnRecvMessage(Vemlo::Event::EventMessage*) override { return 0; }
};

} // namespace

TEST(EventHostTest, IdsRunFromOneToOneThousandAndThenWrap) {
    EventHost::ID_ORDER = 0; // as at program start
    std::vector<std::unique_ptr<Bare>> hosts;
    for (int i = 0; i < 1001; ++i)
        hosts.emplace_back(new Bare("host"));
    EXPECT_EQ(hosts[0]->getId(), 1);
    EXPECT_EQ(hosts[999]->getId(), 1000);
    // The 1001st host shares id 1 with the first, which still lives.
    EXPECT_EQ(hosts[1000]->getId(), 1);
    EXPECT_EQ(EventHost::ID_ORDER.load(), 1);
    EXPECT_EQ(hosts[0]->getMutex(), nullptr); // no thread, no gate
    EXPECT_STREQ(Bare(nullptr).getName(), "");
}

