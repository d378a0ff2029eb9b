//===- Net/NetException.cpp ---------------------------------------------===//
#include <Vemlo/Net/NetException.h>

namespace Vemlo {
namespace Net {

NetException::~NetException() = default;

} // namespace Net
} // namespace Vemlo
