//===- Event/EventHostTest.cpp - Host ids ---------------------------------===//
#include "support/VemloTest.h"

#include <memory>
#include <set>
#include <thread>
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

TEST(EventHostTest, HostsMadeOnSeveralThreadsGetDistinctIds) {
    EventHost::ID_ORDER = 0;
    constexpr int kThreads = 4, kEach = 200; // 800 ids: no wrap
    std::vector<std::vector<int>> ids(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([t, &ids] {
            for (int i = 0; i < kEach; ++i)
                ids[t].push_back(Bare("h").getId());
        });
    std::set<int> all;
    for (int t = 0; t < kThreads; ++t) {
        threads[t].join();
        all.insert(ids[t].begin(), ids[t].end());
    }
    EXPECT_EQ(all.size(), static_cast<size_t>(kThreads * kEach));
    EXPECT_EQ(*all.begin(), 1);
    EXPECT_EQ(*all.rbegin(), kThreads * kEach);
}
