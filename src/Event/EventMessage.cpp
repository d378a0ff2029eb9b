//===- Event/EventMessage.cpp - The unit the dispatcher routes ------------===//
#include <Vemlo/Event/EventMessage.h>

namespace Vemlo {
namespace Event {

using Vemlo::Data::Collection::HashTable;

namespace {

// Appends every value of `from` to `to`: the same objects, in order.
void shareValues(HashTable& from, HashTable& to) {
    const int count = from.Count();
    for (int i = 0; i < count; ++i)
        to.Add(from.At(i));
}

} // namespace

EventMessage::EventMessage() : EventMessage(0, 0, nullptr, nullptr, nullptr, nullptr) {}

EventMessage::EventMessage(int target, int eventId, const char* text, void* p1, void* p2, void* p3)
    : m_nEventId(eventId), m_sText(text), m_pParam1(p1), m_pParam2(p2), m_pParam3(p3),
      m_nTarget(target) {
    // The message carries its values; it never deletes them.
    m_extra.setDeleteFlag(false);
}

// The table's delete flag is off: the carried objects stay alive.
EventMessage::~EventMessage() = default;

int EventMessage::Copy(EventMessage* destination) {
    if (destination == nullptr)
        return -1;
    if (destination == this)
        return 0; // already holds all of it
    destination->m_nTarget = m_nTarget;
    destination->m_nEventId = m_nEventId;
    destination->m_sText = m_sText;
    destination->m_pParam1 = m_pParam1;
    destination->m_pParam2 = m_pParam2;
    destination->m_pParam3 = m_pParam3;
    shareValues(m_extra, destination->m_extra);
    return 0;
}

EventMessage* EventMessage::Clone() {
    EventMessage* clone =
        new EventMessage(m_nTarget, m_nEventId, m_sText.c_str(), m_pParam1, m_pParam2, m_pParam3);
    try {
        shareValues(m_extra, clone->m_extra);
    } catch (...) {
        delete clone;
        throw;
    }
    return clone;
}

} // namespace Event
} // namespace Vemlo
