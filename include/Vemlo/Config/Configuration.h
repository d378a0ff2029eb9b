//===- Vemlo/Config/Configuration.h - One configuration file ----*- C++ -*-===//
#ifndef VEMLO_CONFIG_CONFIGURATION_H
#define VEMLO_CONFIG_CONFIGURATION_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Properties/FileProperty.h>

namespace Vemlo {
namespace Config {

/// \brief The property set of one configuration file, as ConfigurationManager hands it out.
///
/// Configuration is the property set of one configuration file, built and
/// cached by ConfigurationManager; applications read it through the manager:
/// \code{.cpp}
/// ConfigurationManager::GetManager()->getInstance()->getValue("Base.Log.Level");
/// \endcode
/// It is a FileProperty (loaded on construction, prefix applied to reads only)
/// and adds nothing to it.
/// Details: docs/Configuration.md.
class VEMLO_API Configuration : public Vemlo::Data::Properties::FileProperty {
public:
    /// Loads `path` in format `type` (6301: XML, anything else: plain text).
    /// Throws PropertyException* "Cannot Load Property File" (201) when the
    /// file cannot be used; the format's exceptions pass through.
    Configuration(const char* path, int type);

    ~Configuration() override;
};

} // namespace Config
} // namespace Vemlo

#endif // VEMLO_CONFIG_CONFIGURATION_H
