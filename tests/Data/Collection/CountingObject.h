//===- Data/Collection/CountingObject.h - Items that count their deaths ---===//
//
// Test helpers for the collection tests: an Object whose destructor counts,
// so ownership is observed rather than assumed, and list subclasses that
// expose the id of the list's semaphore set.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_TESTS_DATA_COLLECTION_COUNTINGOBJECT_H
#define VEMLO_TESTS_DATA_COLLECTION_COUNTINGOBJECT_H

#include <Vemlo/Vemlo.h>

#include <atomic>

#include <sys/sem.h>

namespace VemloTest {

// Adds one to `deaths` when destroyed.
class CountingObject : public Vemlo::Data::Object {
public:
    explicit CountingObject(std::atomic<int>& deaths, int id = 0) : m_deaths(deaths), m_id(id) {}
    ~CountingObject() override { ++m_deaths; }
    int id() const { return m_id; }

private:
    std::atomic<int>& m_deaths;
    int m_id;
};

// Gives access to the semaphore set of a list.
template <class List> class Probe : public List {
public:
    using List::List;
    int semId() const { return this->m_lock.getSemId(); }
};

} // namespace VemloTest

#endif // VEMLO_TESTS_DATA_COLLECTION_COUNTINGOBJECT_H
