//===- Log/LogException.cpp ---------------------------------------------===//
#include <Vemlo/Log/LogException.h>

namespace Vemlo {
namespace Log {

LogException::~LogException() = default;

} // namespace Log
} // namespace Vemlo
