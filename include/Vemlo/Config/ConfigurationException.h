//===- Vemlo/Config/ConfigurationException.h --------------------*- C++ -*-===//
#ifndef VEMLO_CONFIG_CONFIGURATIONEXCEPTION_H
#define VEMLO_CONFIG_CONFIGURATIONEXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace Config {

/// \brief Thrown when the process-wide configuration cannot be loaded (code 7201).
///
/// Reports that the process-wide configuration cannot be loaded (code 7201).
/// Thrown as a pointer (`throw new ConfigurationException(message, code)`); the handler
/// that catches it owns it and deletes it.
/// Details: docs/Configuration.md.
class VEMLO_API ConfigurationException : public Vemlo::Common::Exception {
public:
    /// The same three forms as Exception: (), (message), (message, code).
    using Vemlo::Common::Exception::Exception;

    ~ConfigurationException() override;
};

} // namespace Config
} // namespace Vemlo

#endif // VEMLO_CONFIG_CONFIGURATIONEXCEPTION_H
