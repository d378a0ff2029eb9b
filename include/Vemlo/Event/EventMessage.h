//===- Vemlo/Event/EventMessage.h - What the dispatcher routes --*- C++ -*-===//
#ifndef VEMLO_EVENT_EVENTMESSAGE_H
#define VEMLO_EVENT_EVENTMESSAGE_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/Data/Object.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Event {

/// \brief One event: target host id, event id, text, three untyped parameters and extra values.
///
/// SendEventMsg queues a clone, so the sender keeps its message; the host
/// reads it in OnRecvMessage.
/// Ownership: a message never deletes what it carries; extra values (added with
/// Add) are shared by clones and must outlive every copy. Entries made with the
/// keyed AddObj are freed by nobody.
/// Threads: none; the dispatcher hands each host its own clone.
/// Details: docs/Events.md.
class VEMLO_API EventMessage : public Vemlo::Data::Object {
public:
    /// Target 0, event id 0, empty text, null parameters, empty table.
    EventMessage();
    /// A null `text` is the empty text.
    EventMessage(int target, int eventId, const char* text, void* p1, void* p2, void* p3);
    EventMessage(const EventMessage&) = delete;
    EventMessage& operator=(const EventMessage&) = delete;

    /// Deletes nothing it carries.
    ~EventMessage() override;

    /// Copies target, event id, text and the three parameters into
    /// `destination`, then appends every extra value of this message to the
    /// destination's table (the same objects, not copies), after the values
    /// it has. Returns 0 (copying onto itself changes nothing); -1 for a null
    /// destination.
    int Copy(EventMessage* destination);

    /// A new message with the same six values whose table holds the same
    /// extra values, in order. The caller owns the clone.
    EventMessage* Clone();

    ///@{
    /// The id of the host the message is addressed to; 0 for every host.
    int getTargetId() const { return m_nTarget; }
    void setTargetId(int target) { m_nTarget = target; }
    ///@}
    ///@{
    /// The event id, the application's choice; the dispatcher's start-up
    /// event is 9999.
    int getEventId() const { return m_nEventId; }
    void setEventId(int eventId) { m_nEventId = eventId; }
    ///@}
    /// The text (never null).
    const char* getText() const { return m_sText.c_str(); }
    /// A null `text` is the empty text.
    void setText(const char* text) { m_sText = text; }
    ///@{
    /// The three untyped parameters, carried as they are and never deleted.
    void* getParam1() const { return m_pParam1; }
    void* getParam2() const { return m_pParam2; }
    void* getParam3() const { return m_pParam3; }
    void setParam1(void* p) { m_pParam1 = p; }
    void setParam2(void* p) { m_pParam2 = p; }
    void setParam3(void* p) { m_pParam3 = p; }
    ///@}

    /// The extra values: objects in the table's list, in the order added. The
    /// table's delete flag is off: the message never deletes them (see the
    /// class comment).
    Vemlo::Data::Collection::HashTable* getExtraValues() { return &m_extra; }

private:
    // Field order is the object's binary layout.
    int m_nEventId;
    String m_sText;
    void* m_pParam1;
    void* m_pParam2;
    void* m_pParam3;
    int m_nTarget;
    Vemlo::Data::Collection::HashTable m_extra;
};

} // namespace Event
} // namespace Vemlo

#endif // VEMLO_EVENT_EVENTMESSAGE_H
