//===- Event/EventException.cpp -------------------------------------------===//
#include <Vemlo/Event/EventException.h>

namespace Vemlo {
namespace Event {

EventException::~EventException() = default;

} // namespace Event
} // namespace Vemlo
