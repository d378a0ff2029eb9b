//===- Log/Logger.cpp - The process-wide registry of log channels ---------===//
#include <Vemlo/Log/Logger.h>

#include <Vemlo/Config/ConfigurationManager.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/Data/Properties/IProperty.h>
#include <Vemlo/Log/FileLog.h>
#include <Vemlo/Log/LogException.h>
#include <Vemlo/String.h>

#include "Support/Text.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Vemlo {
namespace Log {

namespace {

using Vemlo::detail::orEmpty;

using Vemlo::Data::Collection::HashTable;

// The value of `key` in the default configuration; "" when there is none.
String configValue(Vemlo::Data::Properties::IProperty* config, const char* key) {
    return String(config ? orEmpty(config->getValue(key)) : "");
}

} // namespace

Logger* Logger::m_instance = nullptr;

Logger::Logger() : m_pLogs(new HashTable()) {}

Logger::Logger(const Logger&) : m_pLogs(new HashTable()) {}

Logger& Logger::operator=(const Logger&) {
    // Deliberately does nothing: the registry is never copied.
    return *this;
}

Logger::~Logger() {
    delete m_pLogs;
    m_pLogs = nullptr;
}

Logger* Logger::getLogger() {
    if (m_instance == nullptr)
        m_instance = new Logger();
    return m_instance;
}

void Logger::DestroyLogger() {
    if (m_instance != nullptr)
        delete m_instance;
    m_instance = nullptr;
}

FileLog* Logger::getLog(const char* name) {
    if (FileLog* log = static_cast<FileLog*>(m_pLogs->getValue(orEmpty(name))))
        return log;
    try {
        return GenerateLog(name);
    } catch (Vemlo::Common::Exception* e) {
        printf("[%s] exception msg(%s)\n", "getLog", e->GetMessage());
        delete e; // caught here, so owned here
        return nullptr;
    }
}

FileLog* Logger::GenerateLog(const char* name) {
    char buffer[200] = {0};
    std::strncpy(buffer, orEmpty(std::getenv("VEMLO_WORKING_DIRECTORY")), sizeof buffer - 1);
    String directory;
    directory.Format("%s%sVemlo%sLog%s", buffer, "/", "/", "/");

    Vemlo::Data::Properties::IProperty* config =
        Vemlo::Config::ConfigurationManager::GetManager()->getInstance();
    String level = configValue(config, "Base.Log.Level");
    // Read because the key must exist in a configuration, but not applied:
    // every channel keeps the backup range its constructor gives it.
    String backupRange = configValue(config, "Base.Log.BackupRange");
    (void)backupRange;
    if (level.empty())
        throw new LogException("Error to get configuration value (Base.Log.Level)", 7252);

    std::memset(buffer, 0, sizeof buffer);
    std::strncpy(buffer, directory.c_str(), sizeof buffer - 1);
    FileLog* log = new FileLog(buffer, name);
    log->setLevel(level.c_str());
    // Under an existing name the table replaces the value without deleting
    // the earlier channel, which stays with whoever holds it.
    m_pLogs->AddObj(orEmpty(name), log);
    return log;
}

FileLog* Logger::getDefaultLog() {
    return getLog("default");
}

FileLog* Logger::getCommunicationLog() {
    return getLog("communication");
}

} // namespace Log
} // namespace Vemlo
