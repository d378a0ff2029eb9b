//===- Event/Gate.h - How the dispatcher takes a host's gate ----*- C++ -*-===//
//
// The dispatcher holds the gates of every idle threaded host at once and
// takes them back one at a time after each delivery, in whatever order the
// messages come. A blocking lock taken while other gates are held reads, to
// a lock-order checker such as ThreadSanitizer's, as a possible deadlock,
// although the gates guard no data and only the host's own thread ever waits
// on one (for the moment it needs to pass). The dispatcher therefore takes a
// gate by trying until it gets it (the host's thread holds it only for an
// instant), which a lock-order checker does not count as an ordering. The
// dispatcher holds the gate afterwards.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_EVENT_GATE_H
#define VEMLO_SRC_EVENT_GATE_H

#include <Vemlo/Util/System/Mutex.h>

#include <sched.h>

namespace Vemlo {
namespace Event {
namespace Gate {

inline void take(Vemlo::Util::System::Mutex* gate) {
    while (!gate->TryLock())
        sched_yield();
}

} // namespace Gate
} // namespace Event
} // namespace Vemlo

#endif // VEMLO_SRC_EVENT_GATE_H
