//===- Vemlo/Data/Properties/PropertyException.h ----------------*- C++ -*-===//
#ifndef VEMLO_DATA_PROPERTIES_PROPERTYEXCEPTION_H
#define VEMLO_DATA_PROPERTIES_PROPERTYEXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace Data {
namespace Properties {

/// \brief Thrown when a property file cannot be loaded (code 201); not caught as Exception*.
///
/// Reports that a property file cannot be loaded (code 201).
/// Thrown as a pointer (`throw new PropertyException(message, code)`); the handler
/// that catches it owns it and deletes it.
///
/// PropertyException derives from Exception privately, unlike its siblings:
/// a handler for Exception* does not catch it, and its message and code can be
/// read only by the class itself. Code that wants it catches
/// PropertyException* by name; the configuration manager relies on this to
/// turn it into a ConfigurationException.
/// Details: docs/Configuration.md.
class VEMLO_API PropertyException : private Vemlo::Common::Exception {
public:
    /// The same three forms as Exception: (), (message), (message, code).
    using Vemlo::Common::Exception::Exception;

    ~PropertyException() override;
};

} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_PROPERTIES_PROPERTYEXCEPTION_H
