//===- Data/Properties/PropertyManager.cpp - Property files by name -------===//
#include <Vemlo/Data/Properties/PropertyManager.h>

#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/Data/Properties/IProperty.h>
#include <Vemlo/Data/Properties/PropertyBuilder.h>

#include "Support/Text.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace Vemlo {
namespace Data {
namespace Properties {

using Vemlo::Data::Collection::HashTable;

namespace {

using Vemlo::detail::orEmpty;

// At most 199 bytes of the working directory are used.
constexpr size_t kWorkingDirectoryBufferSize = 200;

} // namespace

String PropertyManager::m_sFolderPath;

PropertyManager::PropertyManager() : m_pInstances(new HashTable) {}

PropertyManager::PropertyManager(const PropertyManager& other)
    : m_pInstances(new HashTable), m_sConfigText(other.m_sConfigText),
      m_sDefaultName(other.m_sDefaultName), m_sFolderName(other.m_sFolderName),
      m_sExtension(other.m_sExtension) {}

PropertyManager::~PropertyManager() {
    delete m_pInstances;
    m_pInstances = nullptr;
}

String PropertyManager::getFolderPath() {
    // Computed once per process: later managers and later changes of the
    // environment do not move the folder.
    if (!m_sFolderPath.empty())
        return m_sFolderPath;
    char directory[kWorkingDirectoryBufferSize];
    std::memset(directory, 0, sizeof directory);
    if (const char* value = std::getenv("VEMLO_WORKING_DIRECTORY"))
        std::strncpy(directory, value, sizeof directory - 1);
    m_sFolderPath.Format("%s%sVemlo%s%s%s", directory, "/", "/", m_sFolderName.c_str(), "/");
    return m_sFolderPath;
}

IProperty* PropertyManager::getInstance(const char* name) {
    if (IProperty* cached = getInstanceFromQ(name))
        return cached;
    // Joined without a length limit: a cut path would name another file.
    std::string path = getFolderPath().str();
    path.append(orEmpty(name)).append(m_sExtension.str());
    return getInstance(name, path.c_str());
}

IProperty* PropertyManager::getInstance() {
    return getInstance(m_sDefaultName.c_str());
}

IProperty* PropertyManager::getInstance(const char* name, const char* path) {
    if (IProperty* cached = getInstanceFromQ(name))
        return cached;
    IProperty* property = BuildProperty(path, PROPERTY_TYPE_XML);
    if (property)
        m_pInstances->AddObj(name, static_cast<Vemlo::Data::Object*>(property));
    return property;
}

IProperty* PropertyManager::getInstanceFromQ(const char* name) {
    // Only IProperty objects are ever stored.
    return static_cast<IProperty*>(m_pInstances->getValue(name));
}

} // namespace Properties
} // namespace Data
} // namespace Vemlo
