//===- Event/EventHandlerTest.cpp - The process-wide event dispatcher -----===//
#include "Event/EventTestKit.h"
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <functional>
#include <memory>
#include <random>

#include <syslog.h>

using EventTestKit::Recorder;
using EventTestKit::send;
using EventTestKit::waitFor;
using std::chrono::milliseconds;
using Vemlo::Event::EventException;
using Vemlo::Event::EventHandler;
using Vemlo::Event::EventHost;
using Vemlo::Event::EventHostThread;
using Vemlo::Event::EventMessage;
using VemloTest::SyslogRecord;

namespace {

constexpr milliseconds kLimit(10000);

// Reads the sink until a line with exactly `text` comes; checks its priority.
bool expectLine(VemloTest::SyslogSink& sink, const std::string& text, int priority) {
    SyslogRecord record;
    while (sink.next(record, kLimit)) {
        if (record.text == text) {
            EXPECT_EQ(record.priority, priority) << text;
            EXPECT_EQ(record.identity.rfind("[Vemlo]", 0), 0u) << record.raw;
            return true;
        }
    }
    ADD_FAILURE() << "no log line: " << text;
    return false;
}

// A threaded host that records its messages on its own thread.
class ThreadRecorder : public EventHostThread {
public:
    explicit ThreadRecorder(const char* name) : EventHostThread(name) {}
    ~ThreadRecorder() override { Stop(true); }
    void Run() override {
        EventMessage m;
        while (WaitMessage(&m)) {
            lastEvent = m.getEventId();
            received.fetch_add(1);
            if (m.getEventId() == 9999)
                started = true;
        }
    }
    std::atomic<int> received{0};
    std::atomic<int> lastEvent{0};
    std::atomic<bool> started{false};
};

class EventHandlerTest : public testing::Test {
protected:
    void TearDown() override {
        EventHandler::DestroyInstance();
        Vemlo::Log::Logger::DestroyLogger();
    }
    VemloTest::TestConfig m_config;
    VemloTest::SyslogSink m_sink;
    EventTestKit::Watchdog m_watchdog{milliseconds(100000)};
};

} // namespace

TEST_F(EventHandlerTest, RegisteredHostsAreCaughtUpAndGreetedBeforeAnythingElse) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    EventHandler* events = EventHandler::getInstance();
    ASSERT_NE(events, nullptr);
    EXPECT_EQ(EventHandler::getInstance(), events);
    expectLine(m_sink, "[DEBUG] Event Logging System Starts\n\n", LOG_DEBUG);

    Recorder alpha("alpha");
    EXPECT_EQ(events->Register(&alpha), alpha.getId());
    expectLine(m_sink,
               "[DEBUG] [EventHandler::Register] host[" + std::to_string(alpha.getId()) +
                   "][alpha] is registered",
               LOG_DEBUG);
    expectLine(m_sink, "[DEBUG] [EventHandler::CatchUpMutex] catchup mutex[alpha]", LOG_DEBUG);
    ASSERT_TRUE(waitFor([&] { return alpha.count() == 1; }, kLimit));
    std::vector<EventTestKit::Received> got = alpha.received();
    EXPECT_EQ(got[0].eventId, 9999);
    EXPECT_EQ(got[0].text, "initialize event");
    EXPECT_EQ(got[0].target, alpha.getId());

    int param = 0;
    send(alpha.getId(), 10, "ten", &param);
    ASSERT_TRUE(waitFor([&] { return alpha.count() == 2; }, kLimit));
    got = alpha.received();
    EXPECT_EQ(got[1].eventId, 10);
    EXPECT_EQ(got[1].text, "ten");
    EXPECT_EQ(got[1].p1, &param);

    // A second Register of an active host changes nothing.
    EXPECT_EQ(events->Register(&alpha), alpha.getId());
    send(alpha.getId(), 11);
    ASSERT_TRUE(waitFor([&] { return alpha.count() == 3; }, kLimit));
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(alpha.count(), 3);
    EXPECT_EQ(events->Register(nullptr), -1);

    EXPECT_EQ(events->UnRegister(&alpha), 0);
    EXPECT_EQ(events->UnRegister(&alpha), -1);
}

TEST_F(EventHandlerTest, MessagesForUnknownOrPendingHostsAreDroppedWithTheirLines) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    EventHandler* events = EventHandler::getInstance();
    Recorder other("other");
    Recorder late("late");
    std::atomic<int> pendingUnRegister{0};

    // On the dispatcher's thread, within one pass: a host registered there is
    // still pending when the messages that follow are fired.
    class Driver : public Recorder {
    public:
        using Recorder::Recorder;
        std::function<void()> onGo;
        int OnRecvMessage(EventMessage* m) override {
            Recorder::OnRecvMessage(m);
            if (m->getEventId() == 1 && onGo)
                onGo();
            return 0;
        }
    } driver("driver");
    driver.onGo = [&] {
        events->Register(&late);
        pendingUnRegister = events->UnRegister(&late); // pending: not searched
        send(777, 3);           // nobody has id 777
        send(other.getId(), 4); // delivered in the same pass
        send(late.getId(), 5);  // pending: dropped, the pass ends
        send(other.getId(), 6);
    };
    ASSERT_TRUE(EventTestKit::registerAndWait(&other, [&] { return other.count() == 1; }));
    ASSERT_TRUE(EventTestKit::registerAndWait(&driver, [&] { return driver.count() == 1; }));
    m_sink.drain();

    send(driver.getId(), 1);
    ASSERT_TRUE(waitFor([&] { return other.count() == 3 && late.count() == 1; }, kLimit));
    EXPECT_EQ(pendingUnRegister, -1);
    EXPECT_EQ(other.events(), (std::vector<int>{9999, 4, 6}));
    EXPECT_EQ(late.events(), (std::vector<int>{9999})); // never 5
    expectLine(m_sink, "[DEBUG] [EventHandler::FindHost]  can not find the host ", LOG_DEBUG);
    expectLine(m_sink, "[DEBUG] [EventHandler::FindTmpHost]  can not find the host ", LOG_DEBUG);
    expectLine(m_sink, "[DEBUG] [EventHandler::FireEvent] not find hostid(777)", LOG_DEBUG);
    expectLine(m_sink, "[DEBUG] [EventHandler::FindHost]  can not find the host ", LOG_DEBUG);
    expectLine(m_sink, "[DEBUG] [EventHandler::FireEvent] host is NULL and not find host",
               LOG_DEBUG);
    expectLine(m_sink, "[DEBUG] [EventHandler::CatchUpMutex] catchup mutex[late]", LOG_DEBUG);

    for (EventHost* host : {static_cast<EventHost*>(&other), static_cast<EventHost*>(&late),
                            static_cast<EventHost*>(&driver)})
        EXPECT_EQ(events->UnRegister(host), 0);
}

TEST_F(EventHandlerTest, ABroadcastReachesEveryActiveHostInRegistrationOrder) {
    EventHandler* events = EventHandler::getInstance();
    std::mutex lock;
    std::vector<std::string> order;
    auto note = [&](const char* name, EventMessage* m) {
        if (m->getEventId() == 50) {
            std::lock_guard<std::mutex> guard(lock);
            order.push_back(name);
        }
    };
    class Noting : public Recorder {
    public:
        Noting(const char* name, std::function<void(const char*, EventMessage*)> f)
            : Recorder(name), m_note(f) {}
        int OnRecvMessage(EventMessage* m) override {
            m_note(getName(), m);
            return Recorder::OnRecvMessage(m);
        }
        std::function<void(const char*, EventMessage*)> m_note;
    };
    class NotingThread : public ThreadRecorder {
    public:
        NotingThread(const char* name, std::function<void(const char*, EventMessage*)> f)
            : ThreadRecorder(name), m_note(f) {}
        int OnRecvMessage(EventMessage* m) override {
            m_note(getName(), m);
            return ThreadRecorder::OnRecvMessage(m);
        }
        std::function<void(const char*, EventMessage*)> m_note;
    };
    Noting a("a", note), b("b", note), c("c", note);
    NotingThread t("t", note);
    ASSERT_TRUE(EventTestKit::registerAndWait(&b, [&] { return b.count() == 1; }));
    ASSERT_TRUE(EventTestKit::registerAndWait(&a, [&] { return a.count() == 1; }));
    ASSERT_TRUE(EventTestKit::registerAndWait(&t, [&] { return t.started.load(); }));
    ASSERT_TRUE(EventTestKit::registerAndWait(&c, [&] { return c.count() == 1; }));

    send(0, 50, "to all");
    ASSERT_TRUE(waitFor([&] { return c.count() == 2 && t.lastEvent == 50; }, kLimit));
    EXPECT_EQ(order, (std::vector<std::string>{"b", "a", "t", "c"}));
    EXPECT_EQ(a.events(), (std::vector<int>{9999, 50}));

    for (EventHost* host : {static_cast<EventHost*>(&a), static_cast<EventHost*>(&b),
                            static_cast<EventHost*>(&c), static_cast<EventHost*>(&t)})
        EXPECT_EQ(events->UnRegister(host), 0);
}

TEST_F(EventHandlerTest, AHandlerThatThrowsGetsTheSameMessageAgain) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    EventHandler* events = EventHandler::getInstance();
    class Thrower : public Recorder {
    public:
        using Recorder::Recorder;
        // Each listed event fails on its first delivery.
        std::atomic<bool> failed60{false}, failed61{false}, failed62{false};
        int OnRecvMessage(EventMessage* m) override {
            Recorder::OnRecvMessage(m);
            const int id = m->getEventId();
            if ((id == 60 && !failed60.exchange(true)) || (id == 62 && !failed62.exchange(true)))
                throw new Vemlo::Common::Exception("boom", 3);
            if (id == 61 && !failed61.exchange(true))
                throw 61; // not a framework exception
            return 0;
        }
    };
    Recorder first("first");
    Thrower thrower("thrower");
    ASSERT_TRUE(EventTestKit::registerAndWait(&first, [&] { return first.count() == 1; }));
    ASSERT_TRUE(EventTestKit::registerAndWait(&thrower, [&] { return thrower.count() == 1; }));
    m_sink.drain();

    send(thrower.getId(), 60);
    send(thrower.getId(), 61);
    send(thrower.getId(), 63);
    ASSERT_TRUE(waitFor([&] { return thrower.got(63); }, kLimit));
    // Each failed delivery is repeated before anything later.
    EXPECT_EQ(thrower.events(), (std::vector<int>{9999, 60, 60, 61, 61, 63}));
    expectLine(m_sink, "[ERROR] [EventHandler::FireEvent] CATCH: boom", LOG_ERR);
    expectLine(m_sink, "[ERROR] [EventHandler::FireEvent] CATCH: ...", LOG_ERR);

    // A broadcast that fails at the second host starts again at the first.
    send(0, 62);
    ASSERT_TRUE(waitFor([&] { return thrower.events().back() == 62 && thrower.count() == 8; },
                        kLimit));
    EXPECT_EQ(first.events(), (std::vector<int>{9999, 62, 62}));

    EXPECT_EQ(events->UnRegister(&first), 0);
    EXPECT_EQ(events->UnRegister(&thrower), 0);
}

TEST_F(EventHandlerTest, AHostUnregisteredAtAnyMomentIsDeletedWithoutAHang) {
    EventHandler* events = EventHandler::getInstance();
    std::mt19937 random(12345);
    // A generic host whose handler takes a while, so that UnRegister often
    // comes while the dispatcher is inside it.
    class Slow : public Recorder {
    public:
        using Recorder::Recorder;
        int OnRecvMessage(EventMessage* m) override {
            Recorder::OnRecvMessage(m);
            std::this_thread::sleep_for(milliseconds(2));
            return 0;
        }
    };
    constexpr int kRounds = 24;
    for (int round = 0; round < kRounds; ++round) {
        const bool threaded = round % 2 == 0;
        std::unique_ptr<EventHost> host;
        std::function<bool()> started;
        if (threaded) {
            ThreadRecorder* t = new ThreadRecorder("racer");
            host.reset(t);
            started = [t] { return t->started.load(); };
        } else {
            Slow* s = new Slow("racer");
            host.reset(s);
            started = [s] { return s->count() >= 1; };
        }
        ASSERT_TRUE(EventTestKit::registerAndWait(host.get(), started));
        const int id = host->getId();
        // Traffic to the host while it goes: the dispatcher is inside its
        // OnRecvMessage most of the time.
        std::atomic<bool> stop{false};
        std::thread sender([&] {
            while (!stop) {
                send(id, 1);
                std::this_thread::sleep_for(milliseconds(1));
            }
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

TEST_F(EventHandlerTest, UnregisteringLogsWithTheRegistrationTag) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    EventHandler* events = EventHandler::getInstance();
    ThreadRecorder* host = new ThreadRecorder("leaving");
    ASSERT_TRUE(EventTestKit::registerAndWait(host, [&] { return host->started.load(); }));
    m_sink.drain();
    const int id = host->getId();
    EXPECT_EQ(events->UnRegister(host), 0);
    expectLine(m_sink,
               "[DEBUG] [EventHandler::Register] host[" + std::to_string(id) +
                   "][leaving] is un-registered",
               LOG_DEBUG);
    // Its gate is open: the thread sees the stop flag and ends.
    delete host;
}

TEST_F(EventHandlerTest, HostsSharingAnIdAfterTheWrapAreServedFirstComeOnly) {
    EventHandler* events = EventHandler::getInstance();
    EventHost::ID_ORDER = 499;
    Recorder first("first");
    EventHost::ID_ORDER = 499;
    Recorder second("second");
    ASSERT_EQ(first.getId(), 500);
    ASSERT_EQ(second.getId(), 500);
    ASSERT_TRUE(EventTestKit::registerAndWait(&first, [&] { return first.count() == 1; }));
    // The second host's start-up event is addressed to id 500 too, so it
    // reaches the first host.
    ASSERT_TRUE(EventTestKit::registerAndWait(&second, [&] { return first.count() == 2; }));
    send(500, 70);
    ASSERT_TRUE(waitFor([&] { return first.count() == 3; }, kLimit));
    EXPECT_EQ(first.events(), (std::vector<int>{9999, 9999, 70}));
    EXPECT_EQ(second.count(), 0);
    EXPECT_EQ(events->FindHost(500), &first);
    EXPECT_EQ(events->UnRegister(&first), 0);
    EXPECT_EQ(events->UnRegister(&second), 0);
}

TEST_F(EventHandlerTest, LookUpsSearchTheActiveListAndLogWhatTheyMiss) {
    SYSLOG_SINK_OR_SKIP(m_sink);
    EventHandler* events = EventHandler::getInstance();
    Recorder one("one"), two("two");
    ASSERT_TRUE(EventTestKit::registerAndWait(&one, [&] { return one.count() == 1; }));
    ASSERT_TRUE(EventTestKit::registerAndWait(&two, [&] { return two.count() == 1; }));
    m_sink.drain();

    EXPECT_EQ(events->FindHost(two.getId()), &two);
    EXPECT_EQ(events->FindHost("one"), &one);
    EXPECT_EQ(events->FindHostID("two"), two.getId());
    EXPECT_EQ(events->FindHostID("three"), -1);
    EXPECT_EQ(events->FindHost("three"), nullptr);
    EXPECT_EQ(events->FindHost(nullptr), nullptr);
    EXPECT_EQ(events->FindTmpHost(one.getId()), nullptr); // active, not pending
    expectLine(m_sink, "[DEBUG] [EventHandler::FindTmpHost]  can not find the host ", LOG_DEBUG);
    EXPECT_EQ(events->FindHost(4242), nullptr);
    expectLine(m_sink, "[DEBUG] [EventHandler::FindHost]  can not find the host ", LOG_DEBUG);

    EXPECT_EQ(events->UnRegister(&one), 0);
    EXPECT_EQ(events->FindHost(one.getId()), nullptr);
    EXPECT_EQ(events->UnRegister(&two), 0);
}

TEST_F(EventHandlerTest, SendingNothingThrowsAndTheInstanceComesAndGoes) {
    std::vector<EventHandler*> seen(4, nullptr);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&seen, i] { seen[i] = EventHandler::getInstance(); });
    for (std::thread& t : threads)
        t.join();
    for (EventHandler* h : seen)
        EXPECT_EQ(h, seen[0]);

    VemloTest::ExpectThrown<EventException>([&] { seen[0]->SendEventMsg(nullptr); }, 7301,
                                            "Cannot Send Event");

    testing::internal::CaptureStdout();
    EventHandler::DestroyInstance();
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("[EventHandler::Run] end run of event handler ------------------------- \n"),
              std::string::npos)
        << out;
    EventHandler::DestroyInstance(); // none left: nothing happens

    // A fresh one works as the first did.
    Recorder again("again");
    ASSERT_TRUE(EventTestKit::registerAndWait(&again, [&] { return again.count() == 1; }));
    EXPECT_EQ(EventHandler::getInstance()->UnRegister(&again), 0);
}
