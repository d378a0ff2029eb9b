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
/// StateMachine is a threaded event host (EventHostThread) that drives a graph
/// of StateUnits: each message it receives fires the first transition of the
/// current state with the message's event id, which runs the transition's
/// action, moves to its post state (writing "[StateMachine::Run] move from [a]
/// state to [b] state" to the "[Vemlo]" channel when the state changes), runs
/// the new state's entry callback and records the step in the history. Any
/// thread drives a machine by sending it messages through the dispatcher.
///
/// \code{.cpp}
/// StateMachine door("door");
/// door.setCurrentState(&closed);        // before it is registered
/// EventHandler::getInstance()->Register(&door);
/// ...                                   // send it events
/// EventHandler::getInstance()->UnRegister(&door);
/// // door goes: its thread is stopped and joined
/// \endcode
///
/// Callbacks run on the machine's own thread, one message at a time, and
/// should be quick: the dispatcher waits up to about a second for the machine
/// to take each message. They must not throw. If one does, the machine prints
/// "[StateMachine::Run] Exception: [<message>]", unregisters itself from the
/// dispatcher (so that nothing is delivered to a machine whose thread is gone,
/// which would stall the dispatcher) and then broadcasts the error event 1001
/// with that text to every registered host; its thread ends, promptly even
/// while the dispatcher is busy elsewhere. The exception is read, never
/// deleted: it stays the callback's.
///
/// History: the last 99 records (LogElement), oldest first; older records are
/// deleted as new ones come, and the rest when the machine goes. The current
/// state is safe to read from any thread; the history is written by the
/// machine's thread, so read it from another thread only after the machine has
/// handled what you sent (e.g. after an entry callback told you so) or after
/// its thread ended.
///
/// The states list is for the application's own use; the framework never
/// reads it and deletes nothing in it.
///
/// Destruction stops the thread and waits for it: unregister the machine
/// first.
///
/// Departures: docs/Compatibility.md.
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
