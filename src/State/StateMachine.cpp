//===- State/StateMachine.cpp - Event-driven state machine ----------------===//
#include <Vemlo/State/StateMachine.h>

#include <Vemlo/Common/Exception.h>
#include <Vemlo/Event/EventHandler.h>
#include <Vemlo/Event/EventMessage.h>
#include <Vemlo/Log/FileLog.h>
#include <Vemlo/State/LogElement.h>
#include <Vemlo/State/StateUnit.h>

#include <cstdio>
#include <exception>

#include <cxxabi.h>

namespace Vemlo {
namespace State {

using Vemlo::Event::EventHandler;
using Vemlo::Event::EventMessage;

namespace {

// The event every host receives when a machine's callback failed.
constexpr int kErrorEvent = 1001;

const char* nameOf(const StateUnit* state) {
    return state != nullptr && state->name != nullptr ? state->name : "";
}

// Tells every host that `machine` failed with `what`, reusing `message`.
void reportFailure(StateMachine* machine, EventHandler* handler, EventMessage& message,
                   const char* what) {
    String text;
    text.Format("[StateMachine::Run] Exception: [%s]\n", what);
    printf("%s", text.c_str());
    fflush(stdout);
    // Unregistered first: a delivery to a host whose thread has ended would
    // make the dispatcher wait for ever on Start(). UnRegister returns at
    // once, so the thread ends promptly even while the dispatcher is busy.
    handler->UnRegister(machine);
    message.setEventId(kErrorEvent);
    message.setTargetId(0);
    message.setText(text.c_str());
    try {
        handler->SendEventMsg(&message);
    } catch (Vemlo::Common::Exception* e) {
        delete e; // SendEventMsg's own: the thread ends anyway
    }
}

} // namespace

StateMachine::StateMachine(const char* name)
    : EventHostThread(name), m_pCurrentState(nullptr), m_states(false), m_history(false) {}

StateMachine::~StateMachine() {
    // A delivery under way may start the thread again: it ends first. Then
    // Run(), which reads the states and writes the history, is stopped.
    EventHandler::hostDestroyed(this);
    Stop(true);
    const int count = m_history.Count();
    for (int i = 0; i < count; ++i)
        delete m_history.At(i);
    m_history.Clear();
}

void StateMachine::Run() {
    EventMessage message;
    EventHandler* handler = EventHandler::getInstance();
    try {
        while (WaitMessage(&message)) {
            StateUnit* current = m_pCurrentState.load();
            if (current == nullptr)
                continue;
            StateUnit* next = current->OnTransition(&message, this);
            if (next == current || next == nullptr)
                continue;
            if (m_pLog != nullptr)
                m_pLog->WriteDebug("%s move from [%s] state to [%s] state", "[StateMachine::Run]",
                                   nameOf(current), nameOf(next));
            m_pCurrentState.store(next);
            if (next->onEntry != nullptr)
                next->onEntry(&message, this, next);
        }
    } catch (Vemlo::Common::Exception* e) {
        // The callback's exception: read, never deleted, since the
        // application may throw a pointer to an object it keeps.
        reportFailure(this, handler, message, e->GetMessage());
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (const std::exception& e) {
        reportFailure(this, handler, message, e.what());
    } catch (...) {
        printf("error --- ");
        fflush(stdout);
        handler->UnRegister(this); // as above, nothing may reach it any more
    }
}

} // namespace State
} // namespace Vemlo
