//===- Event/EventHandlerLoadTest.cpp - Nothing is lost under load --------===//
//
// Four producer threads send 100,000 messages to six generic hosts and 2,000
// to four threaded hosts, with broadcasts among them,
// while another thread registers and unregisters hosts. Every message to a
// host that is active must arrive exactly once, in the order each producer
// sent it. Each delivery to a threaded host costs the dispatcher its 10 ms
// handshake, so the threaded traffic alone takes about 20 s. (A state
// machine is a threaded host: its transitions are checked on their own.)
//
//===----------------------------------------------------------------------===//
#include "support/Hosts.h"
#include "support/TestConfig.h"

#include <cstdint>

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using namespace Vemlo::Event;
using namespace VemloTest;

namespace {

constexpr int kProducers = 4, kGenericHosts = 6, kThreadedHosts = 4;
constexpr int kDirect = 100, kBroadcast = 101; // event ids: to one host, to every host

void* word(int value) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(value));
}

// Per producer (parameter 1; the churn thread is producer kProducers) the
// sequence numbers (parameter 2) of the load a host received, in arrival order.
std::vector<int> from(Inbox& inbox, int producer) {
    std::vector<int> seqs;
    for (const auto& [target, id, text, p1, p2] : inbox.received())
        if ((id == kDirect || id == kBroadcast) && p1 == word(producer))
            seqs.push_back(static_cast<int>(reinterpret_cast<intptr_t>(p2)));
    return seqs;
}

// Owns and registers `host`; null unless its start-up event came first.
template <class Host> Inbox* adopt(std::unique_ptr<EventHost>& owner, Host* host) {
    owner.reset(host);
    EventHandler::getInstance()->Register(host);
    const bool started = waitFor([&] { return host->count() >= 1; }, milliseconds(20000));
    return started && host->events()[0] == 9999 ? host : nullptr;
}

using EventHandlerLoadTest = ConfiguredTest;

} // namespace

TEST_F(EventHandlerLoadTest, EveryMessageToAnActiveHostArrivesOnceAndInOrder) {
    Watchdog watchdog(110); // more than the fixture's
    // kQueueBound: clones in flight, each with a semaphore set.
    constexpr int kPerProducer = 25510, kQueueBound = 1500;
    // No log level configured: the dispatcher runs without a log channel.
    ASSERT_TRUE(WriteXmlPropertyFile(m_config.file(), {{"Base.Log.BackupRange", "5"}}));
    EventHandler* events = EventHandler::getInstance();
    std::vector<std::unique_ptr<EventHost>> stable(kGenericHosts + kThreadedHosts);
    std::vector<Inbox*> inboxes;
    for (size_t i = 0; i < stable.size(); ++i) { // generic, then threaded
        inboxes.push_back(i < kGenericHosts ? adopt(stable[i], new Recorder("generic"))
                                            : adopt(stable[i], new ThreadRecorder("threaded")));
        ASSERT_NE(inboxes.back(), nullptr);
    }

    std::vector<std::vector<int>> sent[kProducers]; // per producer, per stable host
    const auto deadline = Clock::now() + milliseconds(80000);
    auto produce = [&](int producer) {
        sent[producer].assign(stable.size(), {});
        EventMessage m(0, kDirect, "load", word(producer), nullptr, nullptr);
        for (int seq = 0; seq < kPerProducer && Clock::now() < deadline; ++seq) {
            // One in 51 to a threaded host, ten broadcasts, the rest to
            // the generic hosts: about 100,000, 2,000 and 40 in all.
            const int target = seq % 2551 == 1275 ? -1
                               : seq % 51 == 0
                                   ? kGenericHosts + (seq / 51 + producer) % kThreadedHosts
                                   : (seq + producer) % kGenericHosts;
            m.setTargetId(target < 0 ? 0 : stable[target]->getId());
            m.setEventId(target < 0 ? kBroadcast : kDirect);
            m.setParam2(word(seq));
            for (size_t h = 0; h < stable.size(); ++h)
                if (target < 0 || static_cast<size_t>(target) == h)
                    sent[producer][h].push_back(seq);
            events->SendEventMsg(&m);
            while (seq % 32 == 0 && events->getQueuedCount() > kQueueBound &&
                   Clock::now() < deadline)
                std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    };
    // Hosts come and go while the traffic flows; every third has a thread.
    std::atomic<int> churnFailures{0};
    auto churn = [&] {
        for (int round = 0; round < 34; ++round) {
            std::unique_ptr<EventHost> host;
            Inbox* inbox = round % 3 == 0 ? adopt(host, new ThreadRecorder("churn-threaded"))
                                          : adopt(host, new Recorder("churn"));
            EventMessage m(host->getId(), kDirect, "churn", word(kProducers), nullptr, nullptr);
            std::vector<int> seqs;
            for (int seq = 0; inbox && seq < (round % 3 == 0 ? 5 : 50); seqs.push_back(seq++)) {
                m.setParam2(word(seq));
                events->SendEventMsg(&m);
            }
            // All of it arrives. A host not yet caught up is not found; it must
            // not be deleted while the dispatcher still holds it.
            const auto gone = [&] {
                return from(*inbox, kProducers) == seqs && events->UnRegister(host.get()) == 0;
            };
            if (!inbox || !waitFor(gone, milliseconds(20000))) {
                churnFailures.fetch_add(1);
                host.release(); // left alive: failing is better than crashing
            }
        }
    };
    std::vector<std::thread> threads;
    for (int p = 0; p < kProducers; ++p)
        threads.emplace_back(produce, p);
    threads.emplace_back(churn);
    for (std::thread& t : threads)
        t.join();
    ASSERT_LT(Clock::now(), deadline) << "the producers ran out of time";
    EXPECT_EQ(churnFailures, 0);

    // Everything sent to a stable host arrives: exactly once, in send order.
    for (size_t h = 0; h < stable.size(); ++h)
        for (int p = 0; p < kProducers; ++p)
            EXPECT_TRUE(
                waitFor([&] { return from(*inboxes[h], p) == sent[p][h]; }, milliseconds(25000)));
    std::this_thread::sleep_for(milliseconds(50)); // nothing more may come
    for (size_t h = 0; h < stable.size(); ++h)
        for (int p = 0; p < kProducers; ++p)
            EXPECT_TRUE(from(*inboxes[h], p) == sent[p][h]) << "host " << h << " producer " << p;
    for (auto& host : stable)
        EXPECT_EQ(events->UnRegister(host.get()), 0);
}
