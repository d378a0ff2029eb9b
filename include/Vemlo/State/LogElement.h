//===- Vemlo/State/LogElement.h - A step in a history -----------*- C++ -*-===//
#ifndef VEMLO_STATE_LOGELEMENT_H
#define VEMLO_STATE_LOGELEMENT_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Object.h>
#include <Vemlo/Util/System/CTime.h>

namespace Vemlo {
namespace State {

struct StateUnit;
class Transition;

/// \brief One record of a state machine's history: a fired transition and when it fired.
///
/// LogElement records one fired transition: the transition, the state it
/// entered, the local time when the record was made and the event id of the
/// message (read after the transition's action ran, so an action that changes
/// the message's event id changes what is recorded). A StateMachine keeps the
/// last 99 in its history and deletes the older ones. The record points at
/// the transition and the state; it does not own them.
/// Details: docs/Events.md.
class VEMLO_API LogElement : public Vemlo::Data::Object {
public:
    /// Stamps the record with the current local time.
    LogElement(Transition* transition, StateUnit* state, int eventId);
    ///@{
    /// Member-wise copy: the same transition, state, time and event id.
    LogElement(const LogElement& other);
    LogElement& operator=(const LogElement& other);
    ///@}

    ~LogElement() override;

    /// The transition that fired (not owned).
    Transition* getTransition() const { return m_pTransition; }
    /// The state it entered (not owned).
    StateUnit* getState() const { return m_pState; }
    /// The local time when the record was made.
    const Vemlo::Util::System::CTime& getTime() const { return m_time; }
    /// The message's event id, read after the transition's action ran.
    int getEventId() const { return m_nEventId; }

private:
    // Field order is the object's binary layout.
    Transition* m_pTransition;
    StateUnit* m_pState;
    Vemlo::Util::System::CTime m_time;
    int m_nEventId;
};

} // namespace State
} // namespace Vemlo

#endif // VEMLO_STATE_LOGELEMENT_H
