//===- Data/Collection/ArrayList.cpp - Ordered list of objects ------------===//
#include <Vemlo/Data/Collection/ArrayList.h>

#include <Vemlo/Common/Exception.h>
#include <Vemlo/Data/Collection/HashElement.h>
#include <Vemlo/Util/System/CSingleLock.h>

#include <exception>
#include <memory>

#include <sys/sem.h>

namespace Vemlo {
namespace Data {
namespace Collection {

namespace {

// Index test shared by every index operation; no exception for a bad index.
inline bool inRange(int index, const std::deque<Object*>& elements) {
    return index >= 0 && static_cast<size_t>(index) < elements.size();
}

} // namespace

ArrayList::ArrayList() : ArrayList(true, true) {}

ArrayList::ArrayList(bool deleteFlag) : ArrayList(deleteFlag, true) {}

ArrayList::ArrayList(bool deleteFlag, bool lockFlag)
    : m_bDeleteFlag(deleteFlag), m_bLockFlag(lockFlag) {}

ArrayList::~ArrayList() {
    Clear();
}

void ArrayList::PassLock() {
    if (!m_bLockFlag)
        return;
        // The section is entered and left at once, before the caller touches the
        // items. Code built on these lists depends on this early release (it never
        // nests list calls under the lock), so it is kept; callers that share a
        // list lock around it themselves.
#ifdef VEMLO_TSAN_ANNOTATE_SECTIONS
    // Through the annotated lock, so that the race checker sees the same
    // ordering edges as before.
    Util::System::CSingleLock guard(&m_lock);
#else
    // Entering (wait for 0, add 1) and leaving (subtract 1) with nothing in
    // between is waiting until the section is free: one semop instead of two.
    struct sembuf untilFree = {0, 0, 0};
    (void)semop(m_lock.getSemId(), &untilFree, 1);
#endif
}

void ArrayList::setDeleteFlag(bool flag) {
    m_bDeleteFlag = flag;
}

void ArrayList::Add(Object* item) {
    PassLock();
    m_elements.push_back(item);
}

void ArrayList::Add(const char* text) {
    std::unique_ptr<HashElement> element(new HashElement("", text));
    Add(static_cast<Object*>(element.get()));
    element.release();
}

int ArrayList::Count() {
    PassLock();
    return static_cast<int>(m_elements.size());
}

Object* ArrayList::At(int index) {
    PassLock();
    return inRange(index, m_elements) ? m_elements[index] : nullptr;
}

const char* ArrayList::AtString(int index) {
    try {
        HashElement* element = dynamic_cast<HashElement*>(At(index));
        return element ? element->getStringValue() : nullptr;
    } catch (const std::exception& e) {
        throw new Common::Exception(e.what(), 0);
    }
}

int ArrayList::SetValueAtString(int index, const char* text) {
    PassLock();
    if (!inRange(index, m_elements))
        return -1;
    try {
        if (HashElement* element = dynamic_cast<HashElement*>(m_elements[index]))
            element->setValue(text);
    } catch (const std::exception& e) {
        throw new Common::Exception(e.what(), 0);
    }
    return 0;
}

void ArrayList::RemoveAt(int index) {
    PassLock();
    if (!inRange(index, m_elements))
        return;
    if (m_bDeleteFlag)
        delete m_elements[index];
    m_elements.erase(m_elements.begin() + index);
}

void ArrayList::Clear() {
    PassLock();
    if (m_bDeleteFlag) {
        for (Object* item : m_elements)
            delete item;
    }
    m_elements.clear();
}

} // namespace Collection
} // namespace Data
} // namespace Vemlo
