//===- bench/SemCount.h - Counts the System V semaphore calls -------------===//
//
// A counting wrapper around semget, semctl and semop, linked into a benchmark
// program: the program's own definitions of the three functions come first in
// the dynamic lookup, so the library's calls (and the inline ones of
// CCriticalSection) reach them; they count and forward to the C library's.
// Each thread counts under the role it gives itself (the sending thread, the
// dispatcher's thread, a threaded host's thread), so a benchmark can tell
// which side of a delivery made which calls.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_BENCH_SEMCOUNT_H
#define VEMLO_BENCH_SEMCOUNT_H

#include <string>

namespace semcount {

enum Role { kOther, kSender, kDispatcher, kReceiver, kRoles };

struct Counts {
    long semget = 0;
    long semctl = 0;
    long semop = 0;
    long total() const { return semget + semctl + semop; }
    Counts operator-(const Counts& o) const {
        Counts d;
        d.semget = semget - o.semget;
        d.semctl = semctl - o.semctl;
        d.semop = semop - o.semop;
        return d;
    }
};

// From now on the calling thread's calls count under `role`.
void setRole(Role role);
// The calls counted so far under `role`.
Counts read(Role role);
// "semget a + semctl b + semop c = n" per unit, for `units` units.
std::string perUnit(const Counts& counts, double units);

} // namespace semcount

#endif // VEMLO_BENCH_SEMCOUNT_H
