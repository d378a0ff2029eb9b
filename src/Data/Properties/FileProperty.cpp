//===- Data/Properties/FileProperty.cpp - A loaded property file ----------===//
#include <Vemlo/Data/Properties/FileProperty.h>

#include <Vemlo/Data/Properties/Property.h>
#include <Vemlo/Data/Properties/PropertyBuilder.h>
#include <Vemlo/Data/Properties/PropertyException.h>
#include <Vemlo/Data/Properties/XmlProperty.h>

namespace Vemlo {
namespace Data {
namespace Properties {

FileProperty::FileProperty() : m_pProperty(nullptr) {}

FileProperty::FileProperty(const char* path) : m_pProperty(nullptr) {
    setFileName(path, PROPERTY_TYPE_XML);
}

FileProperty::FileProperty(const FileProperty& other)
    : IProperty(), m_sPrefix(other.m_sPrefix), m_pProperty(nullptr),
      m_sFileName(other.m_sFileName) {
    // Sharing the set would delete it twice: the copy loads its own.
    if (other.m_pProperty) {
        const int type = dynamic_cast<XmlProperty*>(other.m_pProperty) ? PROPERTY_TYPE_XML : 0;
        setFileName(other.m_sFileName.c_str(), type);
    }
}

FileProperty::~FileProperty() {
    delete m_pProperty;
    m_pProperty = nullptr;
}

FileProperty& FileProperty::operator=(const FileProperty&) {
    return *this;
}

// Writes take the key as given: the prefix is for reads only, and callers
// that store full keys through a prefixed set depend on that.
void FileProperty::setObjValue(const char* key, Vemlo::Data::Object* value) {
    if (m_pProperty)
        m_pProperty->setObjValue(key, value);
}

void FileProperty::setValue(const char* key, const char* value) {
    if (m_pProperty)
        m_pProperty->setValue(key, value);
}

const char* FileProperty::getValue(const char* key) {
    return m_pProperty ? m_pProperty->getValue(prefixed(key).c_str()) : "";
}

Vemlo::Data::Object* FileProperty::getObjValue(const char* key) {
    return m_pProperty ? m_pProperty->getObjValue(prefixed(key).c_str()) : nullptr;
}

int FileProperty::getIntValue(const char* key) {
    return m_pProperty ? m_pProperty->getIntValue(prefixed(key).c_str()) : 0;
}

double FileProperty::getDoubleValue(const char* key) {
    return m_pProperty ? m_pProperty->getDoubleValue(prefixed(key).c_str()) : 0.0;
}

int FileProperty::setFileName(const char* path, int type) {
    // `path` may point into the current file name.
    const String newPath(path);
    m_sFileName = newPath;
    delete m_pProperty;
    m_pProperty = nullptr;
    m_pProperty = PropertyBuilder::BuildProperty(path ? newPath.c_str() : nullptr, type);
    if (!m_pProperty)
        throw new PropertyException("Cannot Load Property File", 201);
    return 1;
}

const char* FileProperty::getFileName() {
    return m_sFileName.c_str();
}

void FileProperty::setPrefix(const char* prefix) {
    const String text(prefix);
    m_sPrefix = text;
    if (!m_sPrefix.empty())
        m_sPrefix.append(".");
}

int FileProperty::Update() {
    return m_pProperty ? m_pProperty->Update(m_sFileName.c_str()) : 0;
}

String FileProperty::prefixed(const char* key) const {
    if (m_sPrefix.empty())
        return String(key);
    return m_sPrefix + key;
}

} // namespace Properties
} // namespace Data
} // namespace Vemlo
