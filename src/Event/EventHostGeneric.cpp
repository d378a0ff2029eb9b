//===- Event/EventHostGeneric.cpp - Host served on the dispatcher thread --===//
#include <Vemlo/Event/EventHostGeneric.h>

#include <Vemlo/Log/Logger.h>

namespace Vemlo {
namespace Event {

EventHostGeneric::EventHostGeneric(const char* name)
    : EventHost(name), m_pLog(Vemlo::Log::Logger::getLogger()->getLog("[Vemlo]")) {}

EventHostGeneric::~EventHostGeneric() = default;

} // namespace Event
} // namespace Vemlo
