//===- Vemlo/Config/ConfigurationManager.h - The configuration --*- C++ -*-===//
#ifndef VEMLO_CONFIG_CONFIGURATIONMANAGER_H
#define VEMLO_CONFIG_CONFIGURATIONMANAGER_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Properties/IProperty.h>
#include <Vemlo/Data/Properties/PropertyManager.h>

namespace Vemlo {
namespace Config {

/// \brief The process-wide manager of the configuration files in `Vemlo/Conf/`.
///
/// Reads the XML property files "<name>.config" in
/// "<$VEMLO_WORKING_DIRECTORY>/Vemlo/Conf/", each once, on its first
/// getInstance (a missing file is created empty); the framework's own settings
/// are in "default.config".
/// Ownership: the single instance, made by GetManager and destroyed with every
/// set it loaded by DestroyManager; sets must not be used after that.
/// Threads: none. Create it on the main thread before other threads use the
/// configuration; destroy it after they have stopped.
/// Failures: see PropertyManager and XmlProperty.
/// Details: docs/Configuration.md; departures: docs/Compatibility.md.
class VEMLO_API ConfigurationManager : public Vemlo::Data::Properties::PropertyManager {
public:
    /// Default name "default", folder "Conf", extension ".config".
    ConfigurationManager();

    /// A new Configuration loaded from `path` in format `type`. Throws
    /// ConfigurationException* (7201) "Cannot Load Configuration File :
    /// <path>/ [<cause>]" when it cannot be loaded, the cause being the
    /// property error's message (which is deleted) or a standard exception's
    /// what(). Other exceptions (XmlException* for a malformed file) pass
    /// through unchanged.
    Vemlo::Data::Properties::IProperty* BuildProperty(const char* path, int type) override;

    /// Deletes every configuration it loaded.
    ~ConfigurationManager() override;

    /// The single instance, created on first use.
    static ConfigurationManager* GetManager();

    /// Deletes the single instance, if any; the next GetManager creates a new
    /// one.
    static void DestroyManager();

private:
    static ConfigurationManager* m_instance;
};

} // namespace Config
} // namespace Vemlo

#endif // VEMLO_CONFIG_CONFIGURATIONMANAGER_H
