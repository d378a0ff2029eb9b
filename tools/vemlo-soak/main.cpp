// vemlo-soak: runs the framework's services all at once, the way the device
// demo uses them, and reports whether the process grows.
//
//   vemlo-soak [--seconds N] [--warmup N] [--max-rss-kib N]
//
// Load, each on a framework Thread of its own: HTTP posts to a local Python
// server (python3 started by the soak; every tenth reply is large enough to
// be spooled to a file), SQLite inserts and table reads, events to a generic
// host, a threaded host and a state machine, log lines at every level,
// short-lived worker threads doing Base64 and AES work that are handed to the
// thread reaper, and hosts registered and unregistered. The main thread reads
// and updates configuration and attaches a shared-memory segment.
//
// Once a second the load is paused at a quiet point (every load thread
// between two steps, the hosts' queues empty, the workers ended) and the
// process is sampled: resident memory, open descriptors, threads, and the
// System V semaphore sets and segments it holds. Resident memory is the
// process's own pages (RssAnon + RssShmem; the libraries' file-backed pages,
// which the kernel drops and reloads as it likes, are left out), compared as
// the least of five samples. It runs in an IPC namespace of its own when it
// may (as root), otherwise it counts the sets whose semaphore it last used
// and the segments it created: other programs' are left out either way, so
// other tests may run beside it. After the warm-up (default 10 s) it runs
// for --seconds (default 60), then prints one line
//
//   soak: <seconds> s, rss +<KiB> KiB, fds +<n>, threads +<n>, semaphore sets +<n>, segments +<n>
//
// measured from the end of the warm-up to the end. Exit status 0 when none of
// descriptors, threads, sets and segments grew, resident memory grew by at
// most --max-rss-kib (default 1024) and no operation failed; 1 otherwise; 2
// when it could not start. SIGINT or SIGTERM end the run early (with the
// line). A progress line goes to standard error every minute, with the heap
// in use beside resident memory.
#include <Vemlo/Vemlo.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include <dirent.h>
#include <malloc.h>
#include <fcntl.h>
#include <ftw.h>
#include <poll.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

using Vemlo::Config::ConfigurationManager;
using Vemlo::Event::EventHandler;
using Vemlo::Event::EventMessage;
using Vemlo::Service::Thread;
using Vemlo::Service::ThreadMemoryRemover;
using Clock = std::chrono::steady_clock;

namespace {

// The HTTP peer: answers every POST with "ok", or with 150000 bytes for the
// path /large; ends when its standard input closes (the soak went away).
const char kPeer[] = R"(
import http.server, os, sys, threading
class Handler(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        self.rfile.read(int(self.headers.get("Content-Length") or 0))
        body = b"0123456789" * 15000 if self.path == "/large" else b"ok"
        self.send_response(200)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)
    def log_message(self, *args):
        pass
server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
server.daemon_threads = True
threading.Thread(target=lambda: (sys.stdin.read(), os._exit(0)), daemon=True).start()
print("PORT %d" % server.server_address[1], flush=True)
server.serve_forever()
)";

std::atomic<bool> g_interrupted{false};
bool g_ownIpc = false;           // runs in an IPC namespace of its own
std::atomic<long> g_failures{0}; // operations that gave a wrong result
Vemlo::Log::FileLog* g_log = nullptr;

void failed(const char* what) {
    if (g_failures.fetch_add(1) < 10)
        std::fprintf(stderr, "soak: failed: %s\n", what);
}

// ---- sampling --------------------------------------------------------------

struct Sample {
    // Resident memory of the process's own (anonymous and shared) pages, in
    // KiB. The libraries' file-backed pages are left out: the kernel pages
    // them in and out as it likes (they go under memory pressure and come
    // back when a rare path runs), and they cannot grow past the files' size.
    long rss = 0;
    long vmRss = 0; // all resident memory, file-backed pages included
    long fds = 0, threads = 0, sets = 0, segments = 0;
};

long statusField(const std::string& status, const char* name) {
    const size_t at = status.find(name);
    return at == std::string::npos ? -1 : std::atol(status.c_str() + at + std::strlen(name));
}

// Rows of a /proc/sysvipc table (heading dropped), split into fields.
std::vector<std::vector<std::string>> sysvipcRows(const char* table) {
    std::ifstream in(std::string("/proc/sysvipc/") + table);
    std::vector<std::vector<std::string>> rows;
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        rows.emplace_back();
        for (std::string field; fields >> field;)
            rows.back().push_back(field);
    }
    return rows;
}

// Bytes the allocator has handed out and not got back, in KiB (-1 where
// the C library cannot tell): apart from resident memory, which also holds
// what the allocator keeps for later.
long heapInUse() {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 33))
    const struct mallinfo2 info = mallinfo2();
    return static_cast<long>((info.uordblks + info.hblkhd) / 1024);
#else
    return -1;
#endif
}

Sample sample() {
    Sample s;
    std::ifstream in("/proc/self/status");
    const std::string status((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
    s.rss = statusField(status, "RssAnon:") + statusField(status, "RssShmem:");
    s.vmRss = statusField(status, "VmRSS:");
    s.threads = statusField(status, "Threads:");
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (readdir(dir) != nullptr)
            ++s.fds;
        closedir(dir);
        s.fds -= 3; // ".", ".." and the listing's own descriptor
    }
    // In an IPC namespace of its own every set and segment is the soak's.
    // Otherwise: the sets table has no creator column, but a semaphore's
    // last process is its creator until another process operates on it (no
    // other has reason to: the sets are private).
    const pid_t self = getpid();
    for (const auto& row : sysvipcRows("sem"))
        if (row.size() > 1 && (g_ownIpc || semctl(std::atoi(row[1].c_str()), 0, GETPID) == self))
            ++s.sets;
    for (const auto& row : sysvipcRows("shm")) // key shmid perms size cpid ...
        if (row.size() > 4 && (g_ownIpc || std::atol(row[4].c_str()) == self))
            ++s.segments;
    return s;
}

// ---- quiet points ----------------------------------------------------------

// Lets the sampler stop every load thread between two of its steps.
class Gate {
public:
    // Waits while paused; false when `stopping` says the thread should end.
    bool enter(const std::function<bool()>& stopping) {
        std::unique_lock<std::mutex> guard(m_mutex);
        while (m_paused && !stopping())
            m_changed.wait_for(guard, std::chrono::milliseconds(50));
        if (stopping())
            return false;
        ++m_busy;
        return true;
    }
    void leave() {
        std::lock_guard<std::mutex> guard(m_mutex);
        --m_busy;
        m_changed.notify_all();
    }
    // Pauses the load; false when a step did not end within `limit`.
    bool pause(std::chrono::seconds limit) {
        std::unique_lock<std::mutex> guard(m_mutex);
        m_paused = true;
        return m_changed.wait_for(guard, limit, [this] { return m_busy == 0; });
    }
    void resume() {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_paused = false;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_paused = false;
    int m_busy = 0;
};

Gate g_gate;

// A load: step() every `periodMs`, between quiet points.
class Load : public Thread {
public:
    explicit Load(int periodMs) : m_periodMs(periodMs) {}
    void Run() override {
        for (long round = 0; g_gate.enter([this] { return isStopRequested(); }); ++round) {
            step(round);
            g_gate.leave();
            for (int slept = 0; slept < m_periodMs && !isStopRequested(); slept += 10)
                usleep(10000);
        }
    }

protected:
    virtual void step(long round) = 0;

private:
    const int m_periodMs;
};

// ---- the load --------------------------------------------------------------

// Base64 and AES-CBC round trips over `size` bytes.
void codecWork(unsigned seed, int size) {
    using namespace Vemlo::Common::Convertor;
    std::vector<unsigned char> plain(size), sealed(size), opened(size + 16);
    for (int i = 0; i < size; ++i)
        plain[i] = static_cast<unsigned char>(seed * 31 + i * 7);
    int length = 0;
    char* text = Base64::_base64_encode(plain.data(), size, &length);
    std::vector<unsigned char> decoded(size + 4);
    if (text == nullptr ||
        Base64::_base64_decode(reinterpret_cast<unsigned char*>(text), length, decoded.data()) !=
            size ||
        std::memcmp(decoded.data(), plain.data(), size) != 0)
        failed("Base64 round trip");
    std::free(text);

    unsigned char key[32], iv[16], iv2[16];
    for (int i = 0; i < 32; ++i)
        key[i] = static_cast<unsigned char>(seed + i);
    std::memset(iv, static_cast<int>(seed), sizeof iv);
    std::memcpy(iv2, iv, sizeof iv);
    AES_KEY enc, dec;
    Aes::AESSetEncryptKey(key, 256, &enc);
    Aes::AESSetDecryptKey(key, 256, &dec);
    Aes::AESCbcEncrypt(plain.data(), sealed.data(), size, &enc, iv, AES_ENCRYPT_);
    Aes::AESCbcEncrypt(sealed.data(), opened.data(), size, &dec, iv2, AES_DECRYPT_);
    if (std::memcmp(opened.data(), plain.data(), size) != 0)
        failed("AES round trip");
}

class Poster : public Load {
public:
    explicit Poster(const std::string& base) : Load(100), m_base(base) {}

protected:
    void step(long round) override {
        const bool large = round % 10 == 9; // spooled to a file and read back
        String body, reply;
        body.Format("state=Running&round=%ld", round);
        const std::string url = m_base + (large ? "/large" : "/status");
        const int result =
            Vemlo::Net::WebPostMessage::SimpleHTTPMethod(url.c_str(), body.c_str(), "POST", &reply);
        if (result != 1 || reply.size() != (large ? 150000u : 2u))
            failed("HTTP post");
    }

private:
    const std::string m_base;
};

class Database : public Load {
public:
    explicit Database(const std::string& file) : Load(50) {
        m_db.setOption(1); // keep the connection after a failed statement
        if (m_db.Open(file.c_str(), Vemlo::DB::Sqlite::kReadWrite) != 1 ||
            m_db.Execute("CREATE TABLE IF NOT EXISTS readings (id INTEGER PRIMARY KEY, at TEXT, "
                         "flow REAL, note TEXT);",
                         1000) != 1)
            failed("SQLite open");
    }
    ~Database() override {
        Stop(true);
        m_db.Close();
    }

protected:
    void step(long round) override {
        String sql;
        sql.Format("INSERT INTO readings (at, flow, note) VALUES (strftime('%%Y-%%m-%%d "
                   "%%H:%%M:%%f', 'now'), %ld.5, 'round %ld');",
                   round % 100, round);
        if (m_db.Execute(sql.c_str(), 1000) != 1)
            failed("SQLite insert");
        if (round % 10 == 0) {
            std::unique_ptr<Vemlo::Data::Collection::Table> table(m_db.getTable(
                "SELECT id, at, flow, note FROM readings ORDER BY id DESC LIMIT 50;", 1000));
            int rows = 0;
            while (table && table->MoveNext())
                rows += table->getCurrent()->getInt("id") > 0;
            if (rows == 0)
                failed("SQLite table read");
        }
        if (round % 200 == 199 &&
            m_db.Execute("DELETE FROM readings WHERE id < (SELECT MAX(id) - 500 FROM readings);",
                         1000) != 1)
            failed("SQLite delete");
    }

private:
    Vemlo::DB::Sqlite m_db;
};

class Logging : public Load {
public:
    Logging() : Load(100) {}

protected:
    void step(long round) override {
        g_log->WriteDebug("[Logging::step] debug %ld", round);
        g_log->WriteInfo("[Logging::step] info %ld", round);
        g_log->WriteWarning("[Logging::step] warning %ld", round);
        g_log->WriteError("[Logging::step] error %ld", round);
        g_log->WriteCrit("[Logging::step] crit %ld", round);
        g_log->WriteEmerg("[Logging::step] emerg %ld (a soak test, not an emergency)", round);
    }
};

std::atomic<long> g_workersEnded{0};
std::atomic<long> g_workersStarted{0};
std::atomic<long> g_workersDeleted{0};

// A short-lived thread, handed to the reaper once started.
class Worker : public Thread {
public:
    explicit Worker(unsigned seed) : m_seed(seed) {}
    ~Worker() override { ++g_workersDeleted; }
    void Run() override {
        for (int i = 0; i < 4; ++i)
            codecWork(m_seed + i, 4096 + 16 * i);
        g_workersEnded.fetch_add(1); // the last thing Run() does
    }

private:
    const unsigned m_seed;
};

class Workers : public Load {
public:
    Workers() : Load(100) {}

protected:
    void step(long round) override {
        Worker* worker = new Worker(static_cast<unsigned>(round));
        if (!worker->Start()) {
            failed("Thread::Start");
            delete worker;
            return;
        }
        ThreadMemoryRemover::GetInstance()->addThread(worker); // the reaper's now
        const long started = ++g_workersStarted;
        // Ended before the next quiet point.
        for (int waited = 0; g_workersEnded.load() < started && waited < 5000; ++waited)
            usleep(1000);
    }
};

enum { EV_DATA = 1, EV_START, EV_STOP };

class Counter : public Vemlo::Event::EventHostGeneric {
public:
    explicit Counter(const char* name) : EventHostGeneric(name) {}
    int OnRecvMessage(EventMessage* message) override {
        if (message->getEventId() == 9999)
            initialized = true;
        else
            ++received;
        return 0;
    }
    std::atomic<bool> initialized{false};
    std::atomic<long> received{0};
};

class Queue : public Vemlo::Event::EventHostThread {
public:
    Queue() : EventHostThread("soak-queue") {}
    ~Queue() override { Stop(true); }
    void Run() override {
        EventMessage message;
        while (WaitMessage(&message))
            ++received;
    }
    std::atomic<long> received{0};
};

// Sends to the generic host every step, to the threaded host and the state
// machine less often (each delivery to them costs the dispatcher a
// handshake).
class Events : public Load {
public:
    Events(int counter, int queue, int machine)
        : Load(20), m_counter(counter), m_queue(queue), m_machine(machine) {}

protected:
    void step(long round) override {
        send(m_counter, EV_DATA, "data");
        if (round % 5 == 0)
            send(m_queue, EV_DATA, "queued");
        if (round % 10 == 0)
            send(m_machine, round % 20 == 0 ? EV_START : EV_STOP, "switch");
    }

private:
    static void send(int target, int event, const char* text) {
        String payload("payload");
        EventMessage message(target, event, text, &payload, nullptr, nullptr);
        try {
            EventHandler::getInstance()->SendEventMsg(&message);
        } catch (Vemlo::Event::EventException* e) {
            failed(e->GetMessage());
            delete e;
        }
    }
    const int m_counter, m_queue, m_machine;
};

// Registers a host, waits until the dispatcher has made it active and greeted
// it, and unregisters and deletes it again. It is looked up by its name: after
// 1000 hosts the ids start again, and the long-lived hosts, registered first,
// keep theirs. The wait for the greeting is what a careful program does:
// UnRegister does not wait for a delivery the dispatcher has already picked,
// and a handler called on a host whose destructor has begun is a pure virtual
// call.
class HostChurn : public Load {
public:
    HostChurn() : Load(1000) {}

protected:
    void step(long) override {
        Counter* host = new Counter("soak-transient");
        EventHandler* events = EventHandler::getInstance();
        events->Register(host);
        for (int waited = 0;
             (events->FindHostID("soak-transient") < 0 || !host->initialized) && waited < 30000;
             ++waited)
            usleep(1000);
        if (events->UnRegister(host) == 0)
            delete host;
        else
            failed("host registration"); // still pending: the dispatcher may yet use it
    }
};

std::atomic<long> g_transitions{0};

// The action of every transition of the state machine (on its thread).
void recordTransition(EventMessage* message, void*, Vemlo::State::Transition* transition) {
    g_log->WriteInfo("[recordTransition] %s -> %s on %s", transition->getSourceState()->name,
                     transition->getPostState()->name, message->getText());
    ++g_transitions;
}

// ---- set-up ----------------------------------------------------------------

struct Peer {
    pid_t pid = -1;
    int in = -1;  // the peer's standard input: closing it ends the peer
    int out = -1; // its standard output
    int port = 0;

    bool start() {
        int toPeer[2], fromPeer[2];
        if (pipe2(toPeer, O_CLOEXEC) != 0 || pipe2(fromPeer, O_CLOEXEC) != 0)
            return false;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, toPeer[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, fromPeer[1], STDOUT_FILENO);
        char* argv[] = {const_cast<char*>("python3"), const_cast<char*>("-c"),
                        const_cast<char*>(kPeer), nullptr};
        if (posix_spawnp(&pid, "python3", &actions, nullptr, argv, environ) != 0)
            pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        close(toPeer[0]);
        close(fromPeer[1]);
        in = toPeer[1];
        out = fromPeer[0];
        std::string line;
        pollfd ready = {out, POLLIN, 0};
        char c;
        while (pid > 0 && line.find('\n') == std::string::npos && poll(&ready, 1, 20000) == 1 &&
               read(out, &c, 1) == 1)
            line += c;
        if (line.compare(0, 5, "PORT ") == 0)
            port = std::atoi(line.c_str() + 5);
        return port > 0;
    }
    void stop() {
        if (pid > 0) {
            kill(pid, SIGTERM);
            waitpid(pid, nullptr, 0);
        }
        if (in >= 0)
            close(in);
        if (out >= 0)
            close(out);
        pid = in = out = -1;
    }
};

int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    return ::remove(path);
}

bool writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    return static_cast<bool>(out << text << std::flush);
}

void onSignal(int) {
    g_interrupted = true;
}

} // namespace

int main(int argc, char** argv) {
    long seconds = 60, warmup = 10, maxRss = 1024;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        long* target = option == "--seconds"       ? &seconds
                       : option == "--warmup"      ? &warmup
                       : option == "--max-rss-kib" ? &maxRss
                                                   : nullptr;
        if (target == nullptr) {
            std::fprintf(stderr,
                         "usage: vemlo-soak [--seconds N] [--warmup N] [--max-rss-kib N]\n");
            return 2;
        }
        *target = std::atol(argv[i + 1]);
    }
    // An IPC namespace of its own, where it may (root): other programs can
    // neither see nor touch its semaphore sets and segments, nor use up the
    // sets it needs, and what a crash leaves goes with the process. Its first
    // set would get id 0, which a critical section never removes: used up here.
    if (unshare(CLONE_NEWIPC) == 0) {
        g_ownIpc = true;
        semctl(semget(IPC_PRIVATE, 1, IPC_CREAT | 0600), 0, IPC_RMID);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);

    // A working directory of its own, removed at the end.
    const char* tmp = std::getenv("TMPDIR");
    std::string home = std::string(tmp && *tmp ? tmp : "/tmp") + "/vemlo-soak-XXXXXX";
    if (!mkdtemp(&home[0]))
        return 2;
    const std::string conf = home + "/Vemlo/Conf";
    mkdir((home + "/Vemlo").c_str(), 0755);
    mkdir(conf.c_str(), 0755);
    mkdir((home + "/spool").c_str(), 0755);
    writeFile(conf + "/default.config",
              "<FileProperty><Base><Log><Level>DEBUG</Level><BackupRange>5</BackupRange></Log>"
              "<Http><TempPath>" +
                  home +
                  "/spool/reply</TempPath></Http></Base>"
                  "<Soak><Name>soak</Name><Period>100</Period></Soak></FileProperty>");
    writeFile(conf + "/soak.config", "<FileProperty><Soak><Round>0</Round></Soak></FileProperty>");
    setenv("VEMLO_WORKING_DIRECTORY", home.c_str(), 1);

    int status = 2;
    String report; // the last line, printed once everything has gone
    Peer peer;
    const key_t shmKey = static_cast<key_t>(0x53000000 | (getpid() & 0xffffff));
    try {
        Vemlo::Data::Properties::IProperty* config =
            ConfigurationManager::GetManager()->getInstance();
        Vemlo::Data::Properties::IProperty* soakConfig =
            ConfigurationManager::GetManager()->getInstance("soak");
        g_log = Vemlo::Log::Logger::getLogger()->getLog("[Soak]");
        if (g_log == nullptr || soakConfig == nullptr || !peer.start()) {
            std::fprintf(stderr, "soak: cannot start (configuration, log channel or python3)\n");
            throw 0;
        }
        Vemlo::IPC::SharedMemory shm;

        // The hosts and the state machine, as the device demo has them.
        using Vemlo::State::StateUnit;
        using Vemlo::State::Transition;
        StateUnit idle, running;
        idle.name = "Idle";
        running.name = "Running";
        void* action = reinterpret_cast<void*>(&recordTransition);
        new Transition(&idle, &running, EV_START, action);
        new Transition(&running, &idle, EV_STOP, action);
        std::unique_ptr<Vemlo::State::StateMachine> machine(
            new Vemlo::State::StateMachine("soak-machine"));
        machine->setCurrentState(&idle);
        Counter counter("soak-counter");
        Queue queue;
        ThreadMemoryRemover::GetInstance(); // the reaper starts here, on the main thread
        EventHandler* events = EventHandler::getInstance();
        events->Register(&counter);
        events->Register(&queue);
        events->Register(machine.get());
        while (events->FindHost(machine->getId()) != machine.get() ||
               events->FindHost(queue.getId()) != &queue || !counter.initialized)
            usleep(1000);

        std::vector<std::unique_ptr<Load>> loads;
        loads.emplace_back(new Poster("http://127.0.0.1:" + std::to_string(peer.port)));
        loads.emplace_back(new Database(home + "/soak.db"));
        loads.emplace_back(new Logging());
        loads.emplace_back(new Workers());
        loads.emplace_back(new Events(counter.getId(), queue.getId(), machine->getId()));
        loads.emplace_back(new HostChurn());
        for (auto& load : loads)
            load->Start();

        // The main thread: configuration and shared memory, and the samples.
        Sample first, last;
        const auto start = Clock::now();
        auto nextSample = start + std::chrono::seconds(1);
        long measured = 0, firstAt = 0;
        bool measuring = false;
        // Resident memory is compared as the least of the last five samples:
        // what the allocator and the threads' stack cache hold for a moment
        // (the reaper joins ended threads once a second) is not growth.
        std::deque<long> recentRss;
        for (long round = 0; !g_interrupted; ++round) {
            if (std::strcmp(config->getValue("Soak.Name"), "soak") != 0 ||
                config->getIntValue("Soak.Period") != 100 ||
                std::strcmp(config->getValue("Base.Log.Level"), "DEBUG") != 0)
                failed("configuration read");
            soakConfig->setValue("Soak.Round", std::to_string(round).c_str());
            if (soakConfig->getIntValue("Soak.Round") != round)
                failed("configuration update");
            if (round % 10 == 0) {
                Vemlo::Data::Properties::FileProperty file((conf + "/soak.config").c_str());
                file.setValue("Soak.Round", std::to_string(round).c_str());
                file.setValue("Soak.Time", std::to_string(std::time(nullptr)).c_str());
                if (file.Update() != 1)
                    failed("configuration write");
                void* space = shm.GetSharedMemorySpace(shmKey, 4096);
                if (space == nullptr)
                    failed("shared memory");
                else {
                    std::snprintf(static_cast<char*>(space), 4096, "round %ld", round);
                    shm.ReleaseSharedMemory(0, space);
                }
            }
            usleep(100000);
            if (Clock::now() < nextSample)
                continue;
            nextSample += std::chrono::seconds(1);

            // A quiet point: every load between two steps, the hosts idle.
            if (!g_gate.pause(std::chrono::seconds(60)))
                failed("a load step took over a minute");
            for (int waited = 0;
                 waited < 2000 && (events->getQueuedCount() > 0 || queue.getQueuedCount() > 0 ||
                                   machine->getQueuedCount() > 0);
                 ++waited)
                usleep(1000);
            usleep(200000); // ended threads leave the kernel's list
            const Sample now = sample();
            g_gate.resume();
            recentRss.push_back(now.rss);
            if (recentRss.size() > 5)
                recentRss.pop_front();

            const long elapsed = static_cast<long>(
                std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start).count());
            if (elapsed < warmup)
                continue;
            if (!measuring) { // the end of the warm-up
                measuring = true;
                first = now;
                first.rss = *std::min_element(recentRss.begin(), recentRss.end());
                firstAt = elapsed;
                if (now.sets == 0)
                    std::fprintf(stderr, "soak: the process holds no semaphore set: the system's "
                                         "limit is reached, its locks do nothing\n");
            }
            last = now;
            last.rss = *std::min_element(recentRss.begin(), recentRss.end());
            const long minutes = measured / 60;
            measured = elapsed - firstAt;
            if (measured / 60 > minutes)
                std::fprintf(
                    stderr,
                    "soak: at %ld s: rss %ld KiB (all %ld KiB, heap in use %ld KiB), fds %ld, "
                    "threads %ld, semaphore sets %ld, segments %ld\n",
                    measured, now.rss, now.vmRss, heapInUse(), now.fds, now.threads, now.sets,
                    now.segments);
            if (measured >= seconds)
                break;
        }

        for (auto& load : loads)
            load->Stop(true);
        loads.clear();
        events->UnRegister(machine.get());
        events->UnRegister(&queue);
        events->UnRegister(&counter);
        machine.reset();
        shmctl(shmget(shmKey, 0, 0), IPC_RMID, nullptr);
        if (counter.received == 0 || queue.received == 0 || g_transitions == 0)
            failed("events delivered");

        const long rss = last.rss - first.rss, fds = last.fds - first.fds,
                   threads = last.threads - first.threads, sets = last.sets - first.sets,
                   segments = last.segments - first.segments;
        std::fprintf(stderr,
                     "soak: %ld events to the generic host, %ld to the threaded host, %ld "
                     "transitions, %ld workers, %ld failures; %ld semaphore sets held\n",
                     counter.received.load(), queue.received.load(), g_transitions.load(),
                     g_workersEnded.load(), g_failures.load(), last.sets);
        report.Format("soak: %ld s, rss %+ld KiB, fds %+ld, threads %+ld, semaphore sets %+ld, "
                      "segments %+ld",
                      measured, rss, fds, threads, sets, segments);
        status = fds > 0 || threads > 0 || sets > 0 || segments > 0 || rss > maxRss ||
                         g_failures > 0 || measured <= 0
                     ? 1
                     : 0;
    } catch (Vemlo::Common::Exception* e) {
        std::fprintf(stderr, "soak: %s\n", e->GetMessage());
        delete e;
    } catch (int) {
    }

    // Threads still queued when the reaper goes would not be deleted.
    for (int waited = 0; g_workersDeleted.load() < g_workersStarted.load() && waited < 5000;
         ++waited)
        usleep(1000);
    ThreadMemoryRemover::DestroyInstance();
    EventHandler::DestroyInstance();
    Vemlo::Log::Logger::DestroyLogger();
    ConfigurationManager::DestroyManager();
    peer.stop();
    nftw(home.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
    if (!report.empty()) {
        std::fflush(stdout);
        std::printf("%s\n", report.c_str());
    }
    return status;
}
