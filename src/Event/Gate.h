//===- Event/Gate.h - How the dispatcher takes a host's gate ----*- C++ -*-===//
//
// The dispatcher holds the gates of every idle threaded host at once and
// takes them back one at a time after each delivery, in whatever order the
// messages come. A blocking lock taken while other gates are held reads, to
// a lock-order checker such as ThreadSanitizer's, as a possible deadlock,
// although the gates guard no data and only the host's own thread ever waits
// on one (for the moment it needs to pass). Where Mutex offers TryLock(), the
// dispatcher therefore takes a gate by trying until it gets it (the host's
// thread holds it only for an instant), which a lock-order checker does not
// count as an ordering; otherwise it falls back to Lock(). Either way the
// dispatcher holds the gate afterwards.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_EVENT_GATE_H
#define VEMLO_SRC_EVENT_GATE_H

#include <Vemlo/Util/System/Mutex.h>

#include <type_traits>
#include <utility>

#include <sched.h>

namespace Vemlo {
namespace Event {
namespace Gate {

template <class M, class = void> struct HasTryLock : std::false_type {};
template <class M>
struct HasTryLock<M, std::void_t<decltype(std::declval<M&>().TryLock())>> : std::true_type {};

// True when the dispatcher takes gates without a blocking lock.
constexpr bool kTakenByTrying = HasTryLock<Vemlo::Util::System::Mutex>::value;

template <class M> void take(M* gate) {
    if constexpr (HasTryLock<M>::value) {
        while (!gate->TryLock())
            sched_yield();
    } else {
        gate->Lock();
    }
}

} // namespace Gate
} // namespace Event
} // namespace Vemlo

#endif // VEMLO_SRC_EVENT_GATE_H
