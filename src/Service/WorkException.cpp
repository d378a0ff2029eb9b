//===- Service/WorkException.cpp ------------------------------------------===//
#include <Vemlo/Service/WorkException.h>

namespace Vemlo {
namespace Service {

WorkException::~WorkException() = default;

} // namespace Service
} // namespace Vemlo
