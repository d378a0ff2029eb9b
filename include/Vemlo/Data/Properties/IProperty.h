//===- Vemlo/Data/Properties/IProperty.h - Key/value interface --*- C++ -*-===//
#ifndef VEMLO_DATA_PROPERTIES_IPROPERTY_H
#define VEMLO_DATA_PROPERTIES_IPROPERTY_H

#include <Vemlo/Export.h>
#include <Vemlo/Data/Object.h>

namespace Vemlo {
namespace Data {
namespace Properties {

/// \brief The interface of every key/value store: property files and the configuration.
///
/// IProperty is the interface of every key/value store of the framework: the
/// plain-text and XML property files, the file properties built from them and
/// the process-wide configuration. Values are texts (or, with setObjValue,
/// objects) stored under exact, case-sensitive keys.
///
/// Readers of the configuration use it as
/// \code{.cpp}
/// ConfigurationManager::GetManager()->getInstance()->getValue("Base.Log.Level");
/// \endcode
///
/// Ownership and thread safety are the implementing class's; no implementation
/// of the framework locks its accesses.
/// Details: docs/Configuration.md.
class VEMLO_API IProperty : public Vemlo::Data::Object {
public:
    IProperty() = default;

    ~IProperty() override;

    /// Adds `value` under `key`, or replaces the value of an existing key.
    virtual void setObjValue(const char* key, Vemlo::Data::Object* value) = 0;

    /// Adds a copy of the text `value` under `key`, or replaces it.
    virtual void setValue(const char* key, const char* value) = 0;

    /// The text under `key`.
    virtual const char* getValue(const char* key) = 0;

    /// The object under `key`.
    virtual Vemlo::Data::Object* getObjValue(const char* key) = 0;

    /// The text under `key` read as a decimal integer (0 when it is none).
    virtual int getIntValue(const char* key) = 0;

    /// The text under `key` read as a floating-point number (0 when it is none).
    virtual double getDoubleValue(const char* key) = 0;
};

} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_PROPERTIES_IPROPERTY_H
