//===- bench/SemCount.cpp - Counts the System V semaphore calls -----------===//
#include "SemCount.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

#include <dlfcn.h>
#include <sys/ipc.h>
#include <sys/sem.h>

namespace semcount {
namespace {

std::atomic<long> g_counts[kRoles][3];
thread_local Role t_role = kOther;

enum Call { kGet, kCtl, kOp };

void count(Call call) {
    g_counts[t_role][call].fetch_add(1, std::memory_order_relaxed);
}

template <class F> F real(const char* name) {
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

} // namespace

void setRole(Role role) {
    t_role = role;
}

Counts read(Role role) {
    Counts c;
    c.semget = g_counts[role][kGet].load();
    c.semctl = g_counts[role][kCtl].load();
    c.semop = g_counts[role][kOp].load();
    return c;
}

std::string perUnit(const Counts& c, double units) {
    char text[160];
    std::snprintf(text, sizeof text, "semget %.2f + semctl %.2f + semop %.2f = %.2f",
                  c.semget / units, c.semctl / units, c.semop / units, c.total() / units);
    return text;
}

} // namespace semcount

// The fourth argument of semctl, for the commands that take one.
union SemArgument {
    int val;
    struct semid_ds* buf;
    unsigned short* array;
    void* any;
};

extern "C" {

int semget(key_t key, int count, int flags) {
    static auto next = semcount::real<int (*)(key_t, int, int)>("semget");
    semcount::count(semcount::kGet);
    return next(key, count, flags);
}

int semctl(int id, int number, int command, ...) {
    static auto next = semcount::real<int (*)(int, int, int, ...)>("semctl");
    semcount::count(semcount::kCtl);
    SemArgument argument;
    argument.any = nullptr;
    switch (command) {
    case IPC_RMID:
    case GETVAL:
    case GETPID:
    case GETNCNT:
    case GETZCNT:
        break; // no fourth argument
    default: {
        va_list list;
        va_start(list, command);
        argument = va_arg(list, SemArgument);
        va_end(list);
    }
    }
    return next(id, number, command, argument);
}

int semop(int id, struct sembuf* operations, size_t count) {
    static auto next = semcount::real<int (*)(int, struct sembuf*, size_t)>("semop");
    semcount::count(semcount::kOp);
    return next(id, operations, count);
}

} // extern "C"
