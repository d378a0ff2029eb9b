//===- Config/Configuration.cpp - One configuration file ------------------===//
#include <Vemlo/Config/Configuration.h>

namespace Vemlo {
namespace Config {

Configuration::Configuration(const char* path, int type) : FileProperty() {
    setFileName(path, type);
}

Configuration::~Configuration() = default;

} // namespace Config
} // namespace Vemlo
