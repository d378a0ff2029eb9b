//===- DB/DBException.cpp ---------------------------------------------===//
#include <Vemlo/DB/DBException.h>

namespace Vemlo {
namespace DB {

DBException::~DBException() = default;

} // namespace DB
} // namespace Vemlo
