//===- Data/Object.cpp - Base of every collection item --------------------===//
//
// Defines the destructor out of line so that Object's virtual table and type
// information live once, in the library.
//
//===----------------------------------------------------------------------===//
#include <Vemlo/Data/Object.h>

namespace Vemlo {
namespace Data {

Object::~Object() = default;

} // namespace Data
} // namespace Vemlo
