//===- Config/ConfigurationManager.cpp - The process-wide configuration ---===//
#include <Vemlo/Config/ConfigurationManager.h>

#include <Vemlo/String.h>
#include <Vemlo/Common/Exception.h>
#include <Vemlo/Config/Configuration.h>
#include <Vemlo/Config/ConfigurationException.h>
#include <Vemlo/Data/Properties/PropertyException.h>

#include <exception>

namespace Vemlo {
namespace Config {

using Vemlo::Data::Properties::IProperty;
using Vemlo::Data::Properties::PropertyException;

namespace {

[[noreturn]] void throwCannotLoad(const char* path, const char* cause) {
    String message;
    message.Format("Cannot Load Configuration File : %s/ [%s]", path ? path : "", cause);
    throw new ConfigurationException(message.c_str(), 7201);
}

} // namespace

ConfigurationManager* ConfigurationManager::m_instance = nullptr;

ConfigurationManager::ConfigurationManager() {
    m_sDefaultName = "default";
    m_sFolderName = "Conf";
    m_sExtension = ".config";
}

IProperty* ConfigurationManager::BuildProperty(const char* path, int type) {
    try {
        Configuration* configuration = new Configuration(path, type);
        // FileProperty keeps its IProperty base private; the manager hands the
        // set out as the interface, which only an explicit cast may do.
        return (IProperty*)configuration;
    } catch (PropertyException* e) {
        // The property error's message is private to it: read it through its
        // base (the cast the language allows for an inaccessible base). The
        // error is swallowed here, so it is deleted here.
        const String cause(((Vemlo::Common::Exception*)e)->GetMessage());
        delete e;
        throwCannotLoad(path, cause.c_str());
    } catch (const std::exception& e) {
        throwCannotLoad(path, e.what());
    }
}

ConfigurationManager::~ConfigurationManager() = default;

ConfigurationManager* ConfigurationManager::GetManager() {
    // Unguarded: the first call must come before other threads use it.
    if (!m_instance)
        m_instance = new ConfigurationManager;
    return m_instance;
}

void ConfigurationManager::DestroyManager() {
    if (m_instance) {
        delete m_instance;
        m_instance = nullptr;
    }
}

} // namespace Config
} // namespace Vemlo
