//===- Event/EventMessage.cpp - The unit the dispatcher routes ------------===//
#include <Vemlo/Event/EventMessage.h>

#include <deque>

namespace Vemlo {
namespace Event {

using Vemlo::Data::Collection::HashTable;

namespace {

// The values a message carries, read in place. Reading them is no list
// call of the table's: the destination receives each value with Add, and a
// message without extra values (nearly every one) costs no semaphore
// operation here. The member pointer is taken through a class derived from
// the table, the one way the language allows it for a protected member.
struct Values : HashTable {
    static constexpr std::deque<Vemlo::Data::Object*> Vemlo::Data::Collection::ArrayList::*items =
        &Values::m_elements;
};

// Appends every value of `from` to `to`: the same objects, in order.
void shareValues(HashTable& from, HashTable& to) {
    for (Vemlo::Data::Object* value : from.*Values::items)
        to.Add(value);
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
