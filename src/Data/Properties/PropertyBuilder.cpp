//===- Data/Properties/PropertyBuilder.cpp - Property sets by format ------===//
#include <Vemlo/Data/Properties/PropertyBuilder.h>

#include <Vemlo/Data/Properties/PlaneTextProperty.h>
#include <Vemlo/Data/Properties/XmlProperty.h>

#include <memory>

namespace Vemlo {
namespace Data {
namespace Properties {

Property* PropertyBuilder::BuildProperty(const char* path, int type) {
    std::unique_ptr<Property> property;
    if (type == PROPERTY_TYPE_XML)
        property.reset(new XmlProperty);
    else
        property.reset(new PlaneTextProperty);
    // A format exception leaves through here with the set deleted.
    if (property->IsValidate(path) == 0)
        return nullptr;
    property->Load(path);
    return property.release();
}

} // namespace Properties
} // namespace Data
} // namespace Vemlo
