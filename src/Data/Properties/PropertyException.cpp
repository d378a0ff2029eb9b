//===- Data/Properties/PropertyException.cpp ------------------------------===//
#include <Vemlo/Data/Properties/PropertyException.h>

namespace Vemlo {
namespace Data {
namespace Properties {

PropertyException::~PropertyException() = default;

} // namespace Properties
} // namespace Data
} // namespace Vemlo
