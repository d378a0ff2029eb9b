//===- State/LogElement.cpp - One step in a machine's history -------------===//
#include <Vemlo/State/LogElement.h>

#include <mutex>

namespace Vemlo {
namespace State {

namespace {

// Machines stamp their records on their own threads. Reading the clock
// reloads the C library's time-zone settings (tzset), whose own lock a race
// checker such as ThreadSanitizer cannot see; the stamps are taken one at a
// time, which costs nothing worth noting at one stamp per transition.
std::mutex g_stampLock;

} // namespace

LogElement::LogElement(Transition* transition, StateUnit* state, int eventId)
    : m_pTransition(transition), m_pState(state), m_nEventId(eventId) {
    std::lock_guard<std::mutex> guard(g_stampLock);
    m_time.CheckNow();
}

LogElement::LogElement(const LogElement& other)
    : Object(other), m_pTransition(other.m_pTransition), m_pState(other.m_pState),
      m_time(other.m_time), m_nEventId(other.m_nEventId) {}

LogElement& LogElement::operator=(const LogElement& other) {
    if (this != &other) {
        m_pTransition = other.m_pTransition;
        m_pState = other.m_pState;
        m_time = other.m_time;
        m_nEventId = other.m_nEventId;
    }
    return *this;
}

LogElement::~LogElement() = default;

} // namespace State
} // namespace Vemlo
