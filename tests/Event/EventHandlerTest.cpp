//===- Event/EventHandlerTest.cpp - The process-wide event dispatcher -----===//
#include "Event/EventTestKit.h"
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <memory>
#include <random>
#include <set>

#include <syslog.h>

using EventTestKit::Recorder;
using EventTestKit::registerAndWait;
using EventTestKit::send;
using EventTestKit::waitFor;
using std::chrono::milliseconds;
using Vemlo::Event::EventHandler;
using Vemlo::Event::EventHost;
using Vemlo::Event::EventHostThread;
using Vemlo::Event::EventMessage;

namespace {

constexpr milliseconds kLimit(10000);

// Reads the sink until a line with exactly `text` comes; checks its priority.
void expectLine(VemloTest::SyslogSink& sink, const std::string& text, int priority = LOG_DEBUG) {
    VemloTest::SyslogRecord record;
    while (sink.next(record, kLimit)) {
        if (record.text == text) {
            EXPECT_EQ(record.priority, priority) << text;
            EXPECT_EQ(record.identity.rfind("[Vemlo]", 0), 0u) << record.raw;
            return;
        }
    }
    ADD_FAILURE() << "no log line: " << text;
}

class ThreadRecorder : public EventHostThread {
public:
    explicit ThreadRecorder(const char* name) : EventHostThread(name) {}
    ~ThreadRecorder() override { Stop(true); }
    void Run() override {
        EventMessage m;
        while (WaitMessage(&m))
            lastEvent = m.getEventId();
    }
    std::atomic<int> lastEvent{0}; // 9999 once started
};

class EventHandlerTest : public testing::Test {
protected:
    void TearDown() override {
        EventHandler::DestroyInstance();
        Vemlo::Log::Logger::DestroyLogger();
    }
    void unregister(std::initializer_list<EventHost*> hosts) {
        for (EventHost* host : hosts)
            EXPECT_EQ(EventHandler::getInstance()->UnRegister(host), 0) << host->getName();
    }
    VemloTest::TestConfig m_config;
    VemloTest::SyslogSink m_sink;
    EventTestKit::Watchdog m_watchdog{100};
};

} // namespace

TEST_F(EventHandlerTest, HostsAreGreetedServedFoundAndLetGoWithTheirLines) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    EventHandler* events = EventHandler::getInstance();
    EXPECT_EQ(EventHandler::getInstance(), events);
    expectLine(m_sink, "[DEBUG] Event Logging System Starts\n\n");

    Recorder alpha("alpha"), beta("beta");
    const std::string tag =
        "[DEBUG] [EventHandler::Register] host[" + std::to_string(alpha.getId()) + "][alpha] is ";
    EXPECT_EQ(events->Register(&alpha), alpha.getId());
    expectLine(m_sink, tag + "registered");
    expectLine(m_sink, "[DEBUG] [EventHandler::CatchUpMutex] catchup mutex[alpha]");
    ASSERT_TRUE(waitFor([&] { return alpha.count() == 1; }, kLimit));
    ASSERT_TRUE(registerAndWait(&beta, [&] { return beta.count() == 1; }));
    int param = 0;
    send(alpha.getId(), 10, "ten", &param);
    EXPECT_EQ(events->Register(&alpha), alpha.getId()); // active already: no second greeting
    send(alpha.getId(), 11);
    ASSERT_TRUE(waitFor([&] { return alpha.count() == 3; }, kLimit));
    std::this_thread::sleep_for(milliseconds(20));
    const int id = alpha.getId();
    EXPECT_EQ(alpha.received(),
              (std::vector<EventTestKit::Received>{{id, 9999, "initialize event", nullptr},
                                                   {id, 10, "ten", &param},
                                                   {id, 11, "", nullptr}}));

    // Look-ups search the active list and log what they miss.
    m_sink.drain();
    EXPECT_EQ(events->FindHost(beta.getId()), &beta);
    EXPECT_EQ(events->FindHost("alpha"), &alpha);
    EXPECT_EQ(events->FindHostID("beta"), beta.getId());
    EXPECT_EQ(events->FindHostID("gamma"), -1);
    EXPECT_EQ(events->FindHost("gamma"), nullptr);
    EXPECT_EQ(events->FindHost(nullptr), nullptr);
    EXPECT_EQ(events->FindTmpHost(alpha.getId()), nullptr); // active, not pending
    expectLine(m_sink, "[DEBUG] [EventHandler::FindTmpHost]  can not find the host ");
    EXPECT_EQ(events->FindHost(4242), nullptr);
    expectLine(m_sink, "[DEBUG] [EventHandler::FindHost]  can not find the host ");

    EXPECT_EQ(events->Register(nullptr), -1);
    EXPECT_EQ(events->UnRegister(&alpha), 0);
    expectLine(m_sink, tag + "un-registered");
    EXPECT_EQ(events->UnRegister(&alpha), -1);
    EXPECT_EQ(events->FindHost(alpha.getId()), nullptr);
    unregister({&beta});
}

TEST_F(EventHandlerTest, MessagesForUnknownOrPendingHostsAreDroppedWithTheirLines) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    EventHandler* events = EventHandler::getInstance();
    Recorder other("other"), late("late"), driver("driver");
    std::atomic<int> pendingUnRegister{0};
    // On the dispatcher's thread, within one pass: a host registered there is
    // still pending when the messages that follow are fired.
    driver.hook = [&](EventMessage* m) {
        if (m->getEventId() != 1)
            return;
        events->Register(&late);
        pendingUnRegister = events->UnRegister(&late); // pending: not searched
        send(777, 3);                                  // nobody has id 777
        send(other.getId(), 4);                        // delivered in the same pass
        send(late.getId(), 5);                         // pending: dropped, the pass ends
        send(other.getId(), 6);
    };
    ASSERT_TRUE(registerAndWait(&other, [&] { return other.count() == 1; }));
    ASSERT_TRUE(registerAndWait(&driver, [&] { return driver.count() == 1; }));
    m_sink.drain();

    send(driver.getId(), 1);
    ASSERT_TRUE(waitFor([&] { return other.count() == 3 && late.count() == 1; }, kLimit));
    EXPECT_EQ(pendingUnRegister, -1);
    EXPECT_EQ(other.events(), (std::vector<int>{9999, 4, 6}));
    EXPECT_EQ(late.events(), (std::vector<int>{9999})); // never 5
    expectLine(m_sink, "[DEBUG] [EventHandler::FindHost]  can not find the host ");
    expectLine(m_sink, "[DEBUG] [EventHandler::FindTmpHost]  can not find the host ");
    expectLine(m_sink, "[DEBUG] [EventHandler::FireEvent] not find hostid(777)");
    expectLine(m_sink, "[DEBUG] [EventHandler::FindHost]  can not find the host ");
    expectLine(m_sink, "[DEBUG] [EventHandler::FireEvent] host is NULL and not find host");
    expectLine(m_sink, "[DEBUG] [EventHandler::CatchUpMutex] catchup mutex[late]");
    unregister({&other, &late, &driver});
}

TEST_F(EventHandlerTest, BroadcastsGoInRegistrationOrderAndASharedIdToTheFirstHost) {
    std::mutex lock;
    std::vector<std::string> order;
    Recorder a("a"), b("b");
    // After the wrap two living hosts can share an id: `twin` gets a's.
    EventHost::ID_ORDER = a.getId() - 1;
    Recorder twin("twin");
    ASSERT_EQ(twin.getId(), a.getId());
    for (Recorder* r : {&a, &b, &twin})
        r->hook = [&, r](EventMessage* m) {
            std::lock_guard<std::mutex> guard(lock);
            order.push_back(r->getName() + std::to_string(m->getEventId()));
        };
    ASSERT_TRUE(registerAndWait(&b, [&] { return b.count() == 1; }));
    ASSERT_TRUE(registerAndWait(&a, [&] { return a.count() == 1; }));
    // The twin's start-up event is addressed to the shared id, so it reaches a.
    ASSERT_TRUE(registerAndWait(&twin, [&] { return a.count() == 2; }));
    send(a.getId(), 70);
    send(0, 50, "to all");
    auto noted = [&] {
        std::lock_guard<std::mutex> guard(lock);
        return order;
    };
    ASSERT_TRUE(waitFor([&] { return noted().size() == 7; }, kLimit));
    EXPECT_EQ(noted(),
              (std::vector<std::string>{"b9999", "a9999", "a9999", "a70", "b50", "a50", "twin50"}));
    EXPECT_EQ(EventHandler::getInstance()->FindHost(a.getId()), &a);
    unregister({&a, &b, &twin});
}

TEST_F(EventHandlerTest, AHandlerThatThrowsGetsTheSameMessageAgain) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    Recorder first("first"), thrower("thrower");
    std::set<int> failed; // each of 60, 61 and 62 fails on its first delivery
    thrower.hook = [&](EventMessage* m) {
        const int id = m->getEventId();
        if (id >= 60 && id <= 62 && failed.insert(id).second) {
            if (id == 61)
                throw 61; // not a framework exception
            throw new Vemlo::Common::Exception("boom", 3);
        }
    };
    ASSERT_TRUE(registerAndWait(&first, [&] { return first.count() == 1; }));
    ASSERT_TRUE(registerAndWait(&thrower, [&] { return thrower.count() == 1; }));
    m_sink.drain();

    send(thrower.getId(), 60);
    send(thrower.getId(), 61);
    send(thrower.getId(), 63);
    ASSERT_TRUE(waitFor([&] { return thrower.events().back() == 63; }, kLimit));
    // Each failed delivery is repeated before anything later.
    EXPECT_EQ(thrower.events(), (std::vector<int>{9999, 60, 60, 61, 61, 63}));
    expectLine(m_sink, "[ERROR] [EventHandler::FireEvent] CATCH: boom", LOG_ERR);
    expectLine(m_sink, "[ERROR] [EventHandler::FireEvent] CATCH: ...", LOG_ERR);

    // A broadcast that fails at the second host starts again at the first.
    send(0, 62);
    ASSERT_TRUE(waitFor([&] { return thrower.count() == 8; }, kLimit));
    EXPECT_EQ(thrower.events().back(), 62);
    EXPECT_EQ(first.events(), (std::vector<int>{9999, 62, 62}));
    unregister({&first, &thrower});
}

TEST_F(EventHandlerTest, AHostUnregisteredAtAnyMomentIsDeletedWithoutAHang) {
    EventHandler* events = EventHandler::getInstance();
    std::mt19937 random(12345);
    for (int round = 0; round < 24; ++round) {
        // Threaded and generic in turn; the generic one takes its time, so
        // that UnRegister often comes while the dispatcher is inside it.
        std::unique_ptr<EventHost> host;
        std::function<bool()> started;
        if (round % 2 == 0) {
            ThreadRecorder* t = new ThreadRecorder("racer");
            host.reset(t);
            started = [t] { return t->lastEvent != 0; };
        } else {
            Recorder* slow = new Recorder("racer");
            slow->hook = [](EventMessage*) { std::this_thread::sleep_for(milliseconds(2)); };
            host.reset(slow);
            started = [slow] { return slow->count() >= 1; };
        }
        ASSERT_TRUE(registerAndWait(host.get(), started));
        const int id = host->getId();
        std::atomic<bool> stop{false};
        std::thread sender([&] {
            for (; !stop; std::this_thread::sleep_for(milliseconds(1)))
                send(id, 1);
        });
        std::this_thread::sleep_for(milliseconds(random() % 30));
        const auto start = EventTestKit::Clock::now();
        EXPECT_EQ(events->UnRegister(host.get()), 0);
        host.reset(); // stops and joins a threaded host's thread
        EXPECT_LT(EventTestKit::Clock::now() - start, milliseconds(3000)) << "round " << round;
        stop = true;
        sender.join();
    }
    // The queue drains: messages to the gone ids are dropped.
    EXPECT_TRUE(waitFor([&] { return events->getQueuedCount() == 0; }, kLimit));
}

TEST_F(EventHandlerTest, SendingNothingThrowsAndTheInstanceComesAndGoes) {
    std::vector<EventHandler*> seen(4, nullptr);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&seen, i] { seen[i] = EventHandler::getInstance(); });
    for (int i = 0; i < 4; ++i) {
        threads[i].join();
        EXPECT_EQ(seen[i], seen[0]);
    }
    VemloTest::ExpectThrown<Vemlo::Event::EventException>([&] { seen[0]->SendEventMsg(nullptr); },
                                                          7301, "Cannot Send Event");

    testing::internal::CaptureStdout();
    EventHandler::DestroyInstance();
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("[EventHandler::Run] end run of event handler ------------------------- \n"),
              std::string::npos)
        << out;
    EventHandler::DestroyInstance(); // none left: nothing happens
    // A fresh one works as the first did.
    Recorder again("again");
    ASSERT_TRUE(registerAndWait(&again, [&] { return again.count() == 1; }));
    unregister({&again});
}
