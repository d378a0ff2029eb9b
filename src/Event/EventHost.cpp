//===- Event/EventHost.cpp - Receiver of events ---------------------------===//
#include <Vemlo/Event/EventHost.h>

#include <Vemlo/Event/EventHandler.h>

namespace Vemlo {
namespace Event {

static_assert(sizeof(std::atomic<int>) == sizeof(int), "the id counter keeps the size of an int");

std::atomic<int> EventHost::ID_ORDER{0};

EventHost::EventHost(const char* name) : m_nId(0), m_sName(name), m_pMutex(nullptr) {
    // The id is the counter plus one; the counter keeps it modulo 1000, so
    // ids run 1 to 1000 and then wrap.
    int last = ID_ORDER.load();
    int id;
    do {
        id = last + 1;
    } while (!ID_ORDER.compare_exchange_weak(last, id % 1000));
    m_nId = id;
}

EventHost::~EventHost() {
    // The dispatcher lets go of the host before its memory goes.
    EventHandler::hostDestroyed(this);
}

} // namespace Event
} // namespace Vemlo
