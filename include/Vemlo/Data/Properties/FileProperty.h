//===- Vemlo/Data/Properties/FileProperty.h - A property file ---*- C++ -*-===//
#ifndef VEMLO_DATA_PROPERTIES_FILEPROPERTY_H
#define VEMLO_DATA_PROPERTIES_FILEPROPERTY_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>
#include <Vemlo/Data/Properties/IProperty.h>

namespace Vemlo {
namespace Data {
namespace Properties {

class Property;

/// \brief A property set loaded from a named file, with an optional key prefix for reads.
///
/// XML format (6301) unless told otherwise. The key prefix applies to reads
/// only; existing callers depend on this asymmetry.
/// Ownership: the object owns its loaded set; a copy loads its own set from the
/// same file; assignment does nothing. The IProperty base is private.
/// Threads: none.
/// Failures: after a failed setFileName the object holds no set: reads give "",
/// 0 or null, writes are ignored and Update returns 0.
/// Details: docs/Configuration.md.
class VEMLO_API FileProperty : private IProperty {
public:
    /// No prefix; loads `path` as an XML property file (setFileName(path,
    /// 6301)). Throws PropertyException* "Cannot Load Property File" (201) when
    /// the file cannot be used; the format's exceptions pass through.
    explicit FileProperty(const char* path);

    /// Same prefix and file name; the set is loaded again from the file in the
    /// format of `other`'s set (nothing is loaded when `other` holds none).
    /// Throws as setFileName.
    FileProperty(const FileProperty& other);

    /// Deletes the loaded set.
    ~FileProperty() override;

    /// Deliberately does nothing and returns *this.
    FileProperty& operator=(const FileProperty& other);

    ///@{
    /// Forwarded to the set with the key as given (no prefix).
    void setObjValue(const char* key, Vemlo::Data::Object* value) override;
    void setValue(const char* key, const char* value) override;
    ///@}

    ///@{
    /// Forwarded to the set with the prefix put before the key.
    const char* getValue(const char* key) override;
    Vemlo::Data::Object* getObjValue(const char* key) override;
    int getIntValue(const char* key) override;
    double getDoubleValue(const char* key) override;
    ///@}

    /// Stores `path` as the file name, deletes the current set and loads a new
    /// one with PropertyBuilder::BuildProperty(path, type). 1 on success.
    /// Throws PropertyException* "Cannot Load Property File" (201) when the
    /// builder gives null (the object then holds no set); the format's
    /// exceptions pass through.
    int setFileName(const char* path, int type);

    /// The file name (never null).
    const char* getFileName();

    /// Stores `prefix` followed by "." (nothing at all for an empty or null
    /// prefix). Reads prepend it, writes do not: existing callers depend on
    /// this asymmetry.
    void setPrefix(const char* prefix);

    /// Writes the set back to its file: the set's Update(file name). 0 when
    /// no set is held.
    int Update();

protected:
    /// No prefix, no file name and no set: for subclasses that call
    /// setFileName themselves.
    FileProperty();

private:
    // The key a read passes on: the prefix followed by `key`.
    String prefixed(const char* key) const;

    // Field order is the object's binary layout.
    String m_sPrefix;
    Property* m_pProperty;
    String m_sFileName;
};

} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_PROPERTIES_FILEPROPERTY_H
