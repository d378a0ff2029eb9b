//===- Data/BoxCollect/Box.cpp - Key/value bag for payloads ---------------===//
#include <Vemlo/Data/BoxCollect/Box.h>

#include <Vemlo/String.h>

#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace Vemlo {
namespace Data {
namespace BoxCollect {

using Collection::HashElement;
using Collection::HashTable;

namespace {

// Tables shared by copied boxes, with the number of boxes beyond the first
// that refer to each. A table absent here has a single owner. Boxes are rarely
// copied, so the layout of Box stays as it is and the count lives here.
struct SharedTables {
    std::mutex lock;
    std::unordered_map<HashTable*, int> extraOwners;
};

SharedTables& sharedTables() {
    // Never destroyed, so boxes with static storage may still go after it.
    static SharedTables* tables = new SharedTables;
    return *tables;
}

} // namespace

Box::Box() : m_pTable(new HashTable()), m_nCursor(0) {}

Box::Box(const Box& other) : m_pTable(other.m_pTable), m_nCursor(other.m_nCursor) {
    SharedTables& shared = sharedTables();
    std::lock_guard<std::mutex> guard(shared.lock);
    ++shared.extraOwners[m_pTable];
}

Box::~Box() {
    {
        SharedTables& shared = sharedTables();
        std::lock_guard<std::mutex> guard(shared.lock);
        auto entry = shared.extraOwners.find(m_pTable);
        if (entry != shared.extraOwners.end()) {
            if (--entry->second == 0)
                shared.extraOwners.erase(entry);
            return;
        }
    }
    delete m_pTable;
}

// Deliberately empty: a box is never overwritten by assignment, so its
// entries are never silently shared or lost that way.
Box& Box::operator=(const Box&) {
    return *this;
}

int Box::Add(const char* key, const char* value) {
    m_pTable->AddObj(key, value);
    return 1;
}

int Box::Add(const char* key, int value) {
    String text;
    text.Format("%d", value);
    m_pTable->AddObj(key, text.c_str());
    return 1;
}

int Box::Add(const char* key, unsigned long value) {
    // The value goes as one 32-bit int; "%I64d" then reads as the flag I, a
    // width of 64 and the conversion d. Readers of these payloads expect this
    // exact text, so it is kept.
    String text;
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat"
#endif
    text.Format("%I64d", static_cast<int>(static_cast<std::uint32_t>(value)));
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
    m_pTable->AddObj(key, text.c_str());
    return 1;
}

int Box::Add(const char* key, float value) {
    String text;
    text.Format("%f", static_cast<double>(value));
    m_pTable->AddObj(key, text.c_str());
    return 1;
}

int Box::Add(const char* key, Object* value) {
    m_pTable->AddObj(key, value);
    return 1;
}

int Box::AddAuto(const char* value) {
    // Numbered by the count, not a running counter (see the header).
    String key;
    key.Format("KEY_%d", m_pTable->getCount());
    m_pTable->AddObj(key.c_str(), value);
    return 1;
}

int Box::Add(const char* value) {
    return AddAuto(value);
}

int Box::Add(int value) {
    String text;
    text.Format("%d", value);
    return AddAuto(text.c_str());
}

int Box::Add(float value) {
    String text;
    text.Format("%f", static_cast<double>(value));
    return AddAuto(text.c_str());
}

const char* Box::getValue(const char* key) {
    return m_pTable->getStringValue(key);
}

Object* Box::getObjValue(const char* key) {
    return m_pTable->getValue(key);
}

void Box::Reset() {
    m_nCursor = 0;
}

bool Box::MoveNext() {
    if (m_nCursor >= m_pTable->getCount())
        return false;
    ++m_nCursor;
    return true;
}

HashElement* Box::getCurrent() {
    if (m_pTable->getCount() < m_nCursor)
        return nullptr;
    return dynamic_cast<HashElement*>(m_pTable->At(m_nCursor - 1));
}

void Box::Clear() {
    // The key map is emptied with the entries, so no key is left pointing at
    // a deleted entry.
    m_pTable->ClearAll();
}

} // namespace BoxCollect
} // namespace Data
} // namespace Vemlo
