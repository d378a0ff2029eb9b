//===- Data/Properties/IProperty.cpp - Key/value interface ----------------===//
#include <Vemlo/Data/Properties/IProperty.h>

namespace Vemlo {
namespace Data {
namespace Properties {

IProperty::~IProperty() = default;

} // namespace Properties
} // namespace Data
} // namespace Vemlo
