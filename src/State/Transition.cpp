//===- State/Transition.cpp - An edge between two states ------------------===//
#include <Vemlo/State/Transition.h>

#include <Vemlo/State/StateUnit.h>

namespace Vemlo {
namespace State {

using Vemlo::Data::Object;
using Vemlo::Data::Collection::HashElement;

namespace {

// The candidate table holds states, which are not Objects: the pointers are
// only stored and given back, never used as Objects.
Object* asValue(StateUnit* state) {
    return reinterpret_cast<Object*>(state);
}
StateUnit* asState(Object* value) {
    return reinterpret_cast<StateUnit*>(value);
}

} // namespace

Transition::Transition(void* source, int eventId, void* action)
    : m_nEventId(eventId), m_pSource(static_cast<StateUnit*>(source)), m_pPostState(nullptr),
      m_pAction(reinterpret_cast<TransitionAction>(action)) {
    m_postStates.setDeleteFlag(false);
    if (m_pSource != nullptr)
        m_pSource->transitions.Add(this);
}

Transition::Transition(void* source, void* postState, int eventId, void* action)
    : Transition(source, eventId, action) {
    AddPostState(postState);
}

Transition::~Transition() {
    // The table's delete flag is off, so it would drop its entries without
    // freeing them; each is freed here after it lets go of its state.
    const int count = m_postStates.getCount();
    for (int i = 0; i < count; ++i) {
        HashElement* element = dynamic_cast<HashElement*>(m_postStates.At(i));
        if (element == nullptr)
            continue;
        element->setValue(static_cast<Object*>(nullptr));
        delete element;
    }
    if (count > 0)
        m_postStates.ClearAll();
}

void Transition::AddPostState(void* state) {
    StateUnit* post = static_cast<StateUnit*>(state);
    if (post == nullptr)
        return;
    m_postStates.AddObj(post->name, asValue(post));
    m_pPostState = post;
}

void Transition::setPostState(const char* name) {
    m_pPostState = asState(m_postStates.getValue(name));
}

} // namespace State
} // namespace Vemlo
