//===- State/StateUnit.cpp - One state of a state machine -----------------===//
#include <Vemlo/State/StateUnit.h>

#include <Vemlo/Event/EventMessage.h>
#include <Vemlo/State/LogElement.h>
#include <Vemlo/State/StateMachine.h>
#include <Vemlo/State/Transition.h>

#include <cstdio>

namespace Vemlo {
namespace State {

namespace {

// The history keeps this many records.
constexpr int kHistoryBound = 99;

} // namespace

StateUnit* StateUnit::OnTransition(Vemlo::Event::EventMessage* message, void* machine) {
    if (message == nullptr)
        return this;
    Transition* chosen = nullptr;
    const int count = transitions.Count();
    for (int i = 0; i < count; ++i) {
        Transition* transition = dynamic_cast<Transition*>(transitions.At(i));
        if (transition == nullptr) {
            printf("[StateUnit::OnTransition] %d Transition is NULL\n", i);
            fflush(stdout);
            return this;
        }
        // The first one made wins over later ones with the same event id.
        if (transition->getEventId() == message->getEventId()) {
            chosen = transition;
            break;
        }
    }
    // A transition without a post state does not fire: moving to "no state"
    // would leave the machine without one.
    if (chosen == nullptr || chosen->getPostState() == nullptr)
        return this;

    if (TransitionAction action = chosen->getAction())
        action(message, machine, chosen);
    StateUnit* post = chosen->getPostState();
    if (post == nullptr)
        return this; // the action took the post state away

    if (machine != nullptr) {
        Vemlo::Data::Collection::ArrayList* history =
            static_cast<StateMachine*>(machine)->getHistory();
        // The event id is read after the action, which may have changed it.
        history->Add(new LogElement(chosen, post, message->getEventId()));
        if (history->Count() > kHistoryBound) {
            // The history's delete flag is off; the dropped record is freed
            // here.
            Vemlo::Data::Object* oldest = history->At(0);
            history->RemoveAt(0);
            delete oldest;
        }
    }
    return post;
}

} // namespace State
} // namespace Vemlo
