//===- Vemlo/Data/Object.h - Base of every collection item ------*- C++ -*-===//
//
// Object is the empty polymorphic base of everything kept in a libVemlo
// collection. Collections delete their items through an Object*, so every
// storable class derives from it publicly.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_DATA_OBJECT_H
#define VEMLO_DATA_OBJECT_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Data {

class VEMLO_API Object {
public:
    Object() = default;
    Object(const Object&) = default;
    Object& operator=(const Object&) = default;

    virtual ~Object();
};

} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_OBJECT_H
