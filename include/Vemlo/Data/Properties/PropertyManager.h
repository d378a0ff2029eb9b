//===- Vemlo/Data/Properties/PropertyManager.h - By name --------*- C++ -*-===//
#ifndef VEMLO_DATA_PROPERTIES_PROPERTYMANAGER_H
#define VEMLO_DATA_PROPERTIES_PROPERTYMANAGER_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Data {
namespace Collection {
class HashTable;
} // namespace Collection

namespace Properties {

class IProperty;

/// \brief Loads property files by name from one folder and keeps one set per name.
///
/// getInstance(name) loads "<folder path><name><extension>" on first use and
/// returns the same set afterwards. The folder path,
/// "<$VEMLO_WORKING_DIRECTORY>/Vemlo/<folder name>/", is computed once per
/// process. Subclasses choose folder, extension, default name and format.
/// Ownership: the manager owns the sets it caches; callers must not delete
/// them. A copy starts with an empty cache.
/// Threads: none; fill the cache from one thread before others use it.
/// Details: docs/Configuration.md.
class VEMLO_API PropertyManager {
public:
    /// An empty cache; the settings are empty until a subclass sets them.
    PropertyManager();

    /// Copies the settings; the copy starts with an empty cache.
    PropertyManager(const PropertyManager& other);

    /// Builds and loads the set for the file `path` in format `type`; the
    /// manager takes ownership. Null when the file cannot be used.
    virtual IProperty* BuildProperty(const char* path, int type) = 0;

    /// Deletes every cached set.
    virtual ~PropertyManager();

    /// The folder path, computed on the first call in the process from the
    /// environment at that moment (see docs/Configuration.md).
    String getFolderPath();

    /// The cached set for `name`, else the one built from
    /// "<folder path><name><extension>" in the XML format and cached when the
    /// build gives one. Null when it gives null; BuildProperty's exceptions
    /// pass through, and nothing is cached then.
    IProperty* getInstance(const char* name);

    /// getInstance(default name).
    IProperty* getInstance();

    /// The cached set for `name`, else the one built from `path` in the XML
    /// format, cached under `name` when the build gives one.
    IProperty* getInstance(const char* name, const char* path);

    /// The cached set for `name` only; null when it was never loaded.
    IProperty* getInstanceFromQ(const char* name);

protected:
    // Field order is the object's binary layout.
    /// The loaded sets by name; owned.
    Vemlo::Data::Collection::HashTable* m_pInstances;
    String m_sConfigText;  ///< Kept for existing subclasses; not read here.
    String m_sDefaultName; ///< The name getInstance() loads.
    String m_sFolderName;  ///< The folder below "<working directory>/Vemlo/".
    String m_sExtension;   ///< The file extension, with its leading dot.

    /// The folder path shared by every manager (see getFolderPath).
    static String m_sFolderPath;
};

} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_PROPERTIES_PROPERTYMANAGER_H
