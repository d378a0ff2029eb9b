//===- Config/ConfigurationException.cpp ----------------------------------===//
#include <Vemlo/Config/ConfigurationException.h>

namespace Vemlo {
namespace Config {

ConfigurationException::~ConfigurationException() = default;

} // namespace Config
} // namespace Vemlo
