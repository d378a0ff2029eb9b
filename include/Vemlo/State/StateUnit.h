//===- Vemlo/State/StateUnit.h - One state of a state machine ---*- C++ -*-===//
#ifndef VEMLO_STATE_STATEUNIT_H
#define VEMLO_STATE_STATEUNIT_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/ArrayList.h>

namespace Vemlo {
namespace Event {
class EventMessage;
} // namespace Event

namespace State {

struct StateUnit;
class Transition;

/// Called when a state is entered: (message, machine, the new state). The
/// machine is the StateMachine*, passed as void*.
typedef void (*StateEntryCallback)(Vemlo::Event::EventMessage* message, void* machine,
                                   StateUnit* state);

/// \brief One state of a StateMachine: a name, an entry callback and its transitions.
///
/// Transitions add themselves to their source state when they are made.
/// Ownership: a state owns its transitions (make them with new); the name is
/// not copied. A state must outlive the machines and transitions that point
/// at it. `id` and `userData` are the application's. Not copyable.
/// Threads: read on the machine's thread; not locked.
/// Details and an example: docs/Events.md.
struct VEMLO_API StateUnit {
    /// Selects the first transition of this state whose event id equals the
    /// message's, runs its action, records the step in the machine's history
    /// and returns the transition's post state. Returns this state, doing
    /// nothing else, when no transition matches, when the matching one has no
    /// post state (it does not fire), when a null entry is met in the list
    /// (printed to standard output) or for a null message. `machine` must be
    /// the StateMachine that owns the history, or null to record nothing.
    StateUnit* OnTransition(Vemlo::Event::EventMessage* message, void* machine);

    // Field order is the object's binary layout.
    ///@{
    /// The application's; the framework never reads it.
    int id = 0;
    void* userData = nullptr;
    ///@}
    /// The state's name, not copied: point it at text that lives as long as
    /// the state.
    const char* name = nullptr;
    /// Called on the machine's thread when the state is entered; null for
    /// none.
    StateEntryCallback onEntry = nullptr;
    /// Transition* items, in the order they were made; owned.
    Vemlo::Data::Collection::ArrayList transitions;
};

} // namespace State
} // namespace Vemlo

#endif // VEMLO_STATE_STATEUNIT_H
