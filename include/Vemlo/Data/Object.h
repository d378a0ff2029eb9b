//===- Vemlo/Data/Object.h - Base of every collection item ------*- C++ -*-===//
#ifndef VEMLO_DATA_OBJECT_H
#define VEMLO_DATA_OBJECT_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Data {

/// \brief The empty polymorphic base of everything kept in a collection.
///
/// Object is the empty polymorphic base of everything kept in a libVemlo
/// collection. Collections delete their items through an Object*, so every
/// storable class derives from it publicly.
/// Details: docs/Collections.md.
class VEMLO_API Object {
public:
    Object() = default;
    ///@{
    /// An Object holds no state: copying copies nothing of its own.
    Object(const Object&) = default;
    Object& operator=(const Object&) = default;
    ///@}

    virtual ~Object();
};

} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_OBJECT_H
