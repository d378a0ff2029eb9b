//===- Common/Xml/XmlException.cpp ----------------------------------------===//
#include <Vemlo/Common/Xml/XmlException.h>

namespace Vemlo {
namespace Common {
namespace Xml {

XmlException::~XmlException() = default;

} // namespace Xml
} // namespace Common
} // namespace Vemlo
