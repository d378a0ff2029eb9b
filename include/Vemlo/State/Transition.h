//===- Vemlo/State/Transition.h - An edge between two states ----*- C++ -*-===//
#ifndef VEMLO_STATE_TRANSITION_H
#define VEMLO_STATE_TRANSITION_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/Data/Object.h>

namespace Vemlo {
namespace Event {
class EventMessage;
} // namespace Event

namespace State {

struct StateUnit;
class Transition;

/// Runs before the move: (message, machine, the transition). The machine is
/// the StateMachine*, passed as void*.
typedef void (*TransitionAction)(Vemlo::Event::EventMessage* message, void* machine,
                                 Transition* transition);

/// \brief An edge from a source state to a post state, fired by one event id.
///
/// The constructor adds the transition to its source state, which owns it from
/// then on (make it with new). AddPostState and setPostState switch between
/// named post states; with no post state it does not fire. Source, post states
/// and action are taken as void*, as existing callers pass them. Not copyable.
/// Threads: runs on the machine's thread; not locked.
/// Details and an example: docs/Events.md.
class VEMLO_API Transition : public Vemlo::Data::Object {
public:
    /// No post state yet. A null source adds the transition to no state (the
    /// caller then owns it).
    Transition(void* source, int eventId, void* action);
    /// Also enters `postState` among the candidates under its name and makes
    /// it the post state.
    Transition(void* source, void* postState, int eventId, void* action);
    Transition(const Transition&) = delete;
    Transition& operator=(const Transition&) = delete;

    /// Frees the candidate table's entries, not the states.
    ~Transition() override;

    /// Enters `state` (a StateUnit*) among the candidates under its name (a
    /// null name is the empty name; a known name gets the new state) and makes
    /// it the post state. A null state is ignored.
    void AddPostState(void* state);

    /// Makes the candidate named `name` the post state; null when no
    /// candidate has that name (the transition then does not fire).
    void setPostState(const char* name);

    /// The event id that fires the transition.
    int getEventId() const { return m_nEventId; }
    /// The state the transition leaves, which owns it; null if none was given.
    StateUnit* getSourceState() const { return m_pSource; }
    /// The state it leads to; null when none is set (it then does not fire).
    StateUnit* getPostState() const { return m_pPostState; }
    /// Run before the move; null for none.
    TransitionAction getAction() const { return m_pAction; }

private:
    // Field order is the object's binary layout.
    int m_nEventId;
    StateUnit* m_pSource;
    StateUnit* m_pPostState;
    TransitionAction m_pAction;
    // Candidate post states by name; delete flag off (the states are not
    // the table's).
    Vemlo::Data::Collection::HashTable m_postStates;
};

} // namespace State
} // namespace Vemlo

#endif // VEMLO_STATE_TRANSITION_H
