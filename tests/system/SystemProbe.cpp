//===- system/SystemProbe.cpp - Helper of the system lane's guest ---------===//
//
// Runs inside the ARM guest of scripts/system-lane.sh; always built with
// 64-bit time, so it is the reference the library's clock is checked against.
//   ipcmk -S 1, ipcrm -s ID    (called by those names) create and remove one
//                              semaphore set, as util-linux's do (busybox has
//                              neither)
//   settime SECONDS            sets the real-time clock
//   ctime COUNT                COUNT snapshots of CTime, one a second, each
//                              checked against the clock read with gmtime_r
//   check DIR ROWS             prints what a power cut left in DIR (ROWS: the
//                              last row reported committed)
//   powercut DIR ROWS          checks as above, then updates the
//                              configuration, a plain-text property file and a
//                              SQLite table in a loop, reporting each commit,
//                              until the guest is killed
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Vemlo.h>

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>

#include <sys/sem.h>
#include <unistd.h>

using Vemlo::Config::ConfigurationManager;
using Vemlo::Data::Properties::FileProperty;
using Vemlo::Data::Properties::PlaneTextProperty;

namespace {

// Ten entries of filler in each file, so that a torn file shows.
const int kFillers = 10;
const std::string kFiller(200, 'x');

template <class Set> bool fillersIntact(Set& set, const char* prefix) {
    for (int i = 0; i < kFillers; ++i)
        if (set.getValue((prefix + std::to_string(i)).c_str()) != kFiller)
            return false;
    return true;
}

int ctimeCheck(int count) {
    int bad = 0;
    for (int i = 0; i < count; ++i) {
        timespec now;
        clock_gettime(CLOCK_REALTIME, &now);
        Vemlo::Util::System::CTime* t = Vemlo::Util::System::CTime::getCurrentTime();
        tm utc;
        gmtime_r(&now.tv_sec, &utc);
        char expected[40];
        strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", &utc);
        std::string got = "(null)";
        if (t)
            got = std::string(t->getYear()) + "-" + t->getMonth() + "-" + t->getDay() + " " +
                  t->getHour() + ":" + t->getMinute() + ":" + t->getSecond();
        const bool ok = got == expected; // a second boundary between the reads is retried below
        std::printf("CTIME %s clock=%lld %s %s\n", got.c_str(), static_cast<long long>(now.tv_sec),
                    expected, ok ? "same" : "DIFFERENT");
        delete t;
        if (!ok && now.tv_nsec < 999000000)
            ++bad;
        if (i + 1 < count)
            sleep(1);
    }
    return bad == 0 ? 0 : 1;
}

// The first value of `sql`'s first row as text, or `none` when there is none
// (the database could not be opened or read).
std::string query(sqlite3* db, const std::string& sql, const char* none) {
    sqlite3_stmt* statement = nullptr;
    std::string value = none;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        value = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    sqlite3_finalize(statement);
    return value;
}

// Prints "STATE cfg=<n> txt=<n> rows=<rows up to ROWS> max=<n> integrity=<ok>",
// with -1 for what cannot be read; returns the next counter to write.
long long check(const std::string& dir, long long reportedRows, long long& nextRow) {
    long long cfg = -1, txt = -1;
    try {
        auto* config = ConfigurationManager::GetManager()->getInstance(); // an IProperty*
        if (config && std::strcmp(config->getValue("Base.Log.Level"), "ERROR") == 0 &&
            fillersIntact(*config, "PowerCut.Filler") && *config->getValue("PowerCut.Counter"))
            cfg = std::atoll(config->getValue("PowerCut.Counter"));
    } catch (Vemlo::Common::Exception* e) {
        std::printf("configuration: %s\n", e->GetMessage());
        delete e;
    }
    ConfigurationManager::DestroyManager();
    PlaneTextProperty text;
    try {
        if (text.Load((dir + "/state.txt").c_str()) == 0 && fillersIntact(text, "filler") &&
            *text.getValue("counter"))
            txt = std::atoll(text.getValue("counter"));
    } catch (Vemlo::Data::Properties::PropertyException*) {
    }
    sqlite3* db = nullptr;
    sqlite3_open_v2((dir + "/rows.db").c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
    const long long rows = std::atoll(
        query(db, "SELECT count(*) FROM t WHERE id <= " + std::to_string(reportedRows), "-1")
            .c_str());
    const long long max = std::atoll(query(db, "SELECT coalesce(max(id), 0) FROM t", "-1").c_str());
    const std::string integrity = query(db, "PRAGMA integrity_check", "unreadable");
    sqlite3_close(db);
    std::printf("STATE cfg=%lld txt=%lld rows=%lld max=%lld integrity=%s\n", cfg, txt, rows, max,
                integrity.c_str());
    nextRow = max + 1;
    return (cfg > txt ? cfg : txt) + 1;
}

int powercut(const std::string& dir, long long reportedRows, bool write) {
    const std::string conf = dir + "/Vemlo/Conf/", file = conf + "default.config";
    setenv("VEMLO_WORKING_DIRECTORY", dir.c_str(), 1);
    if (access(file.c_str(), F_OK) != 0) { // the first boot on a fresh disk
        std::system(("mkdir -p " + conf).c_str());
        std::ofstream config(file), text(dir + "/state.txt");
        config << "<FileProperty><Base><Log><Level>ERROR</Level></Log></Base>"
                  "<PowerCut><Counter>0</Counter>";
        text << "counter=0;\n";
        for (int i = 0; i < kFillers; ++i) {
            config << "<Filler" << i << ">" << kFiller << "</Filler" << i << ">";
            text << "filler" << i << "=" << kFiller << ";\n";
        }
        config << "</PowerCut></FileProperty>\n";
        config.close();
        text.close();
        sqlite3* db = nullptr;
        sqlite3_open((dir + "/rows.db").c_str(), &db);
        sqlite3_exec(db, "CREATE TABLE t (id INTEGER PRIMARY KEY, payload TEXT)", nullptr, nullptr,
                     nullptr);
        sqlite3_close(db);
        std::system("sync"); // the fresh files and their folders, before the first cut
    }
    long long row = 0;
    long long counter = check(dir, reportedRows, row);
    if (!write)
        return 0;
    std::printf("WRITING\n");
    FileProperty config(file.c_str());
    PlaneTextProperty text;
    const std::string textPath = dir + "/state.txt";
    text.Load(textPath.c_str());
    Vemlo::DB::Sqlite db;
    db.Open((dir + "/rows.db").c_str(), Vemlo::DB::Sqlite::kReadWrite);
    for (;; ++counter, ++row) {
        const std::string value = std::to_string(counter);
        config.setValue("PowerCut.Counter", value.c_str());
        if (config.Update() == 1)
            std::printf("CFG %lld\n", counter);
        text.setValue("counter", value.c_str());
        if (text.Update(textPath.c_str()) == 0)
            std::printf("TXT %lld\n", counter);
        if (db.TransactionStart() == 1 &&
            db.Execute(
                ("INSERT INTO t VALUES (" + std::to_string(row) + ", '" + kFiller + "')").c_str(),
                0) == 1 &&
            db.Commit() == 1)
            std::printf("ROW %lld\n", row);
    }
}

} // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // each report line goes out whole, at once
    const char* name = std::strrchr(argv[0], '/');
    if (std::strcmp(name ? name + 1 : argv[0], "ipcrm") == 0 && argc == 3 &&
        std::strcmp(argv[1], "-s") == 0)
        return semctl(std::atoi(argv[2]), 0, IPC_RMID) == 0 ? 0 : 1;
    if (std::strcmp(name ? name + 1 : argv[0], "ipcmk") == 0) {
        const int id = semget(IPC_PRIVATE, 1, 0600 | IPC_CREAT);
        std::printf("Semaphore id: %d\n", id);
        return id < 0;
    }
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "settime" && argc == 3) {
        const timespec when = {static_cast<time_t>(std::atoll(argv[2])), 0};
        return clock_settime(CLOCK_REALTIME, &when) == 0 ? 0 : 1;
    }
    if (command == "ctime" && argc == 3)
        return ctimeCheck(std::atoi(argv[2]));
    if ((command == "powercut" || command == "check") && argc == 4)
        return powercut(argv[2], std::atoll(argv[3]), command == "powercut");
    std::fprintf(
        stderr,
        "usage: vemlo-system-probe settime SECONDS | ctime COUNT | check|powercut DIR ROWS\n");
    return 2;
}
