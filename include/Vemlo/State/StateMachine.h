//===- Vemlo/State/StateMachine.h - Event-driven state machine --*- C++ -*-===//
#ifndef VEMLO_STATE_STATEMACHINE_H
#define VEMLO_STATE_STATEMACHINE_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/ArrayList.h>
#include <Vemlo/Event/EventHostThread.h>

#include <atomic>

namespace Vemlo {
namespace State {

struct StateUnit;

/// \brief An event-driven state machine running on its own thread, with a history.
///
/// Each message fires the current state's first transition with its event id:
/// the action runs, the state moves (logged on "[Vemlo]"), the entry callback
/// runs and the step is recorded in the history (the last 99 records).
/// Ownership: states and transitions are the application's; the machine owns
/// its history. Unregister the machine before it goes: the destructor stops
/// and joins its thread.
/// Threads: callbacks run on the machine's thread and must be quick. The
/// current state may be read from any thread, the history only once the
/// machine has handled what was sent.
/// Failures: a callback that throws ends the machine: it unregisters itself
/// and broadcasts event 1001 with the message.
/// Details: docs/Events.md; departures: docs/Compatibility.md.
class VEMLO_API StateMachine : public Vemlo::Event::EventHostThread {
public:
    /// A threaded host named `name`, no current state, empty lists.
    explicit StateMachine(const char* name);

    /// Stops the thread and waits for it, then deletes the history records.
    ~StateMachine() override;

    /// The machine's thread body (see the class comment).
    void Run() override;

    /// The current state (null before setCurrentState); safe to read from any
    /// thread.
    StateUnit* getCurrentState() const { return m_pCurrentState.load(); }
    /// Sets the current state; the start state is set before the machine is
    /// registered. No entry callback runs.
    void setCurrentState(StateUnit* state) { m_pCurrentState.store(state); }

    /// The application's states (the framework does not read it).
    Vemlo::Data::Collection::ArrayList* getStates() { return &m_states; }
    /// The history, LogElement* items, oldest first (see the class comment).
    Vemlo::Data::Collection::ArrayList* getHistory() { return &m_history; }

protected:
    // Field order is the object's binary layout. The current state is read
    // across threads: an atomic of the size of the plain pointer.
    ///@{
    /// Read through getCurrentState(), getStates() and getHistory().
    std::atomic<StateUnit*> m_pCurrentState;
    Vemlo::Data::Collection::ArrayList m_states;
    Vemlo::Data::Collection::ArrayList m_history;
    ///@}
};

} // namespace State
} // namespace Vemlo

#endif // VEMLO_STATE_STATEMACHINE_H
