// vemlo-device-demo: a small pump controller built from libVemlo's services.
// Its settings come from the configuration (keys under "Demo."), it logs
// through the channel "[Demo]", and a StateMachine (Idle, Priming, Running,
// Fault) is driven by a timer thread (a tick every Demo.Tick.Milliseconds) and
// by commands on a Unix-domain socket (Demo.Socket.Path). Every transition is
// recorded in an SQLite table (Demo.Database.File); after a change the next
// tick posts the status ("state=Running&transitions=2") to Demo.Status.Url.
//
// The socket takes one command a line, "start", "stop", "fault", "reset" or
// "quit", and answers "ok\n" (anything else: "unknown\n"). "quit", SIGINT or
// SIGTERM end the program: its threads stop, the machine leaves the
// dispatcher and the process-wide services go in the framework's stop order.
#include <Vemlo/Vemlo.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

using Vemlo::Config::ConfigurationManager;
using Vemlo::DB::Sqlite;
using Vemlo::Event::EventHandler;
using Vemlo::Event::EventMessage;
using Vemlo::Service::Thread;
using Vemlo::State::StateMachine;
using Vemlo::State::StateUnit;
using Vemlo::State::Transition;

namespace {

enum { EV_TICK = 1, EV_START, EV_STOP, EV_FAULT, EV_RESET };

// The socket's commands and the events they send; "quit" sends none.
const struct {
    const char* word;
    int event;
} kCommands[] = {
    {"start", EV_START}, {"stop", EV_STOP}, {"fault", EV_FAULT}, {"reset", EV_RESET}, {"quit", 0}};

std::atomic<bool> g_quit{false};      // set by "quit", SIGINT and SIGTERM
Vemlo::Log::FileLog* g_log = nullptr; // the "[Demo]" channel

void onSignal(int) {
    g_quit = true;
}

// Sends `event` to the host `target` through the dispatcher (any thread).
void sendEvent(int target, int event, const char* text) {
    EventMessage message(target, event, text, nullptr, nullptr, nullptr);
    try {
        EventHandler::getInstance()->SendEventMsg(&message);
    } catch (Vemlo::Event::EventException* e) {
        g_log->WriteError("[sendEvent] %s", e->GetMessage());
        delete e;
    }
}

// The value of `key` in default.config, or `fallback` when it is missing.
String setting(const char* key, const String& fallback) {
    const char* value = ConfigurationManager::GetManager()->getInstance()->getValue(key);
    if (value != nullptr && *value != '\0')
        return value;
    g_log->WriteWarning("[setting] %s is not set, using \"%s\"", key, fallback.c_str());
    return fallback;
}

// The pump: a state machine that records its transitions in its database
// and keeps a status snapshot for the reports.
class Pump : public StateMachine {
public:
    // Opens (or creates) the database; throws DBException* when it cannot.
    Pump(const char* databaseFile, StateUnit* start) : StateMachine("pump"), m_state(start->name) {
        m_db.Open(databaseFile, Sqlite::kReadWrite);
        m_db.setOption(1); // keep the connection after a statement that failed
        m_db.Execute("CREATE TABLE IF NOT EXISTS transitions (id INTEGER PRIMARY KEY, at TEXT, "
                     "from_state TEXT, to_state TEXT, event TEXT);",
                     1000);
        setCurrentState(start);
    }
    ~Pump() override {
        Stop(true); // the machine's thread uses the members: it goes first
        try {
            m_db.Close();
        } catch (Vemlo::DB::DBException* e) {
            g_log->WriteError("[Pump] %s", e->GetMessage());
            delete e;
        }
    }

    // The status as a form body.
    String status() {
        std::lock_guard<std::mutex> guard(m_mutex);
        String body;
        body.Format("state=%s&transitions=%d", m_state, m_count);
        return body;
    }

    // The action of every transition (on the machine's thread, before the
    // move): one row in the database, then the new status.
    static void record(EventMessage* message, void* machine, Transition* transition) {
        Pump* pump = static_cast<Pump*>(static_cast<StateMachine*>(machine));
        const char* from = transition->getSourceState()->name;
        const char* to = transition->getPostState()->name;
        // Only this file's own texts (state and command names) go into the
        // SQL, never text read from the socket.
        String sql;
        sql.Format("INSERT INTO transitions (at, from_state, to_state, event) VALUES "
                   "(strftime('%%Y-%%m-%%d %%H:%%M:%%f', 'now', 'localtime'), '%s', '%s', '%s');",
                   from, to, message->getText());
        const bool stored = pump->m_db.Execute(sql.c_str(), 1000) == 1;
        g_log->WriteInfo("[Pump::record] %s -> %s on %s%s", from, to, message->getText(),
                         stored ? "" : " (not stored)");
        std::lock_guard<std::mutex> guard(pump->m_mutex);
        pump->m_state = to;
        ++pump->m_count;
    }

private:
    Sqlite m_db;
    std::mutex m_mutex; // guards the status
    const char* m_state;
    int m_count = 0;
};

// The timer thread: a tick to the pump every period, then a status report
// when the status changed since the last one that got an answer, and a last
// one when it stops. The post has no timeout: ticks wait while it runs.
class Ticker : public Thread {
public:
    Ticker(Pump& pump, int periodMs, const String& url)
        : m_pump(pump), m_periodMs(periodMs), m_url(url) {}
    ~Ticker() override { Stop(true); }

    void Run() override {
        String reported; // the last report that got an answer
        do {
            for (int slept = 0; slept < m_periodMs && !m_bStop; slept += 10)
                usleep(10000);
            if (!m_bStop)
                sendEvent(m_pump.getId(), EV_TICK, "tick");
            const String body = m_pump.status();
            if (body == reported || m_url.empty())
                continue;
            String reply; // 1: the server answered with a body
            if (Vemlo::Net::WebPostMessage::SimpleHTTPMethod(m_url.c_str(), body.c_str(), "POST",
                                                             &reply) == 1)
                reported = body;
            else
                g_log->WriteWarning("[Ticker::Run] no answer to %s", body.c_str());
        } while (!m_bStop);
    }

private:
    Pump& m_pump;
    const int m_periodMs;
    const String m_url;
};

// The command socket: a UDSServer that serves one client at a time. The loop
// polls the listening descriptor so that it sees the stop flag within 0.1 s.
class CommandServer : public Thread, public Vemlo::Net::Socket::UDSServer {
public:
    CommandServer(const String& path, int pumpId) : m_path(path), m_pumpId(pumpId) {}
    ~CommandServer() override {
        Stop(true);
        if (m_nSocket > 0) // bound: the server leaves its socket file behind
            unlink(m_path.c_str());
        Close();
    }

    void Run() override {
        while (!m_bStop) {
            pollfd listening = {m_nSocket, POLLIN, 0};
            if (poll(&listening, 1, 100) != 1)
                continue;
            const int fd = Accept(nullptr);
            if (fd < 0)
                continue;
            const timeval silence = {2, 0};
            setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &silence, sizeof silence);
            serve(fd);
            close(fd);
        }
    }

private:
    // Answers each line the client sends until it closes, is silent for 2 s
    // or sends 64 bytes without a newline.
    void serve(int fd) {
        String pending;
        char buffer[128];
        ssize_t n = 0;
        while (!m_bStop && pending.size() < 64 && (n = recv(fd, buffer, sizeof buffer, 0)) > 0) {
            pending.append(buffer, n);
            for (size_t end; (end = pending.find('\n')) != String::npos;) {
                const String line = pending.substr(0, end).TrimRight();
                pending = pending.substr(end + 1);
                const char* reply = "unknown\n";
                for (const auto& command : kCommands) {
                    if (line != command.word)
                        continue;
                    g_log->WriteInfo("[CommandServer::serve] %s", command.word);
                    if (command.event != 0)
                        sendEvent(m_pumpId, command.event, command.word);
                    else
                        g_quit = true;
                    reply = "ok\n";
                }
                send(fd, reply, std::strlen(reply), MSG_NOSIGNAL);
            }
        }
    }

    const String m_path;
    const int m_pumpId;
};

// Runs the pump until "quit" or a signal: 0 after a clean run, 1 when it
// cannot listen. Throws DBException* (no database) or NetException* (no socket).
int run() {
    const String home = String(std::getenv("VEMLO_WORKING_DIRECTORY")) + "/";
    const String socketPath = setting("Demo.Socket.Path", home + "device-demo.sock");
    const String databaseFile = setting("Demo.Database.File", home + "device-demo.db");
    String statusUrl = setting("Demo.Status.Url", "");
    int tickMs = std::atoi(setting("Demo.Tick.Milliseconds", "1000").c_str());
    if (tickMs < 10 || tickMs > 60000) {
        g_log->WriteWarning("[run] Demo.Tick.Milliseconds out of 10..60000, using 1000");
        tickMs = 1000;
    }
    if (statusUrl.compare(0, 7, "http://") != 0) {
        g_log->WriteWarning("[run] no http:// status URL: status reports are off");
        statusUrl = "";
    }

    // The states outlive the machine; each owns the transitions leaving it.
    StateUnit idle, priming, running, fault;
    idle.name = "Idle";
    priming.name = "Priming";
    running.name = "Running";
    fault.name = "Fault";
    void* record = reinterpret_cast<void*>(&Pump::record);
    new Transition(&idle, &priming, EV_START, record);
    new Transition(&priming, &running, EV_TICK, record); // primed after one tick
    for (StateUnit* state : {&priming, &running})
        new Transition(state, &idle, EV_STOP, record);
    for (StateUnit* state : {&idle, &priming, &running})
        new Transition(state, &fault, EV_FAULT, record);
    new Transition(&fault, &idle, EV_RESET, record);

    Pump pump(databaseFile.c_str(), &idle);
    // Paths over 107 characters would be cut silently: refused.
    CommandServer server(socketPath, pump.getId());
    if (socketPath.size() > 107 || server.Bind(0, const_cast<char*>(socketPath.c_str())) != 0 ||
        server.Listen(8) != 0) {
        g_log->WriteError("[run] cannot listen on %s", socketPath.c_str());
        std::fprintf(stderr, "device-demo: cannot listen on %s\n", socketPath.c_str());
        return 1;
    }

    EventHandler* events = EventHandler::getInstance();
    events->Register(&pump);
    // Messages to a host that is still pending are dropped: wait for the
    // dispatcher's next pass (about 1 ms) to make it active.
    while (events->FindHost(pump.getId()) != &pump)
        usleep(1000);

    Ticker ticker(pump, tickMs, statusUrl);
    server.Start();
    ticker.Start();
    g_log->WriteInfo("[run] socket %s, database %s, tick %d ms, status %s", socketPath.c_str(),
                     databaseFile.c_str(), tickMs, statusUrl.c_str());

    while (!g_quit)
        usleep(50000);

    g_log->WriteInfo("[run] stopping");
    server.Stop(true); // no more commands
    ticker.Stop(true); // no more ticks; the last report is out
    events->UnRegister(&pump);
    return 0;
}

} // namespace

int main() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);

    int status = 1;
    try {
        ConfigurationManager::GetManager()->getInstance(); // reads default.config
        g_log = Vemlo::Log::Logger::getLogger()->getLog("[Demo]");
        if (g_log != nullptr)
            status = run();
        else
            std::fprintf(stderr, "device-demo: Base.Log.Level is not configured\n");
    } catch (Vemlo::Common::Exception* e) { // configuration, database
        std::fprintf(stderr, "device-demo: %s\n", e->GetMessage());
        delete e;
    }

    // The process-wide services, in the framework's stop order.
    EventHandler::DestroyInstance();
    Vemlo::Log::Logger::DestroyLogger();
    ConfigurationManager::DestroyManager();
    return status;
}
