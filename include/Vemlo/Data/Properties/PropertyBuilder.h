//===- Vemlo/Data/Properties/PropertyBuilder.h - By format ------*- C++ -*-===//
#ifndef VEMLO_DATA_PROPERTIES_PROPERTYBUILDER_H
#define VEMLO_DATA_PROPERTIES_PROPERTYBUILDER_H

#include <Vemlo/Export.h>

namespace Vemlo {
namespace Data {
namespace Properties {

class Property;

/// The format code of XML property files; any other code means plain text.
constexpr int PROPERTY_TYPE_XML = 6301;

/// \brief Creates and loads the property set for a file and a format code.
///
/// PropertyBuilder creates the property set for a file and format code and
/// loads it: PROPERTY_TYPE_XML (6301) gives an XmlProperty, every other code a
/// PlaneTextProperty. The caller owns the set it returns.
/// Details: docs/Configuration.md.
class VEMLO_API PropertyBuilder {
public:
    /// Creates the set for `type`, checks the file with IsValidate and, when
    /// that succeeds, loads it and returns the new set (the caller owns it).
    /// Null when IsValidate gives 0: for plain text this includes the first
    /// use of a missing or empty file, which IsValidate has just created. The
    /// format's exceptions pass through (the set is deleted first).
    static Property* BuildProperty(const char* path, int type);
};

} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_PROPERTIES_PROPERTYBUILDER_H
