//===- Vemlo/Common/Xml/XmlException.h --------------------------*- C++ -*-===//
#ifndef VEMLO_COMMON_XML_XMLEXCEPTION_H
#define VEMLO_COMMON_XML_XMLEXCEPTION_H

#include <Vemlo/Export.h>
#include <Vemlo/Common/Exception.h>

namespace Vemlo {
namespace Common {
namespace Xml {

/// \brief Thrown when an XML document cannot be loaded (code 7241).
///
/// Reports that an XML document cannot be loaded (code 7241).
/// Thrown as a pointer (`throw new XmlException(message, code)`); the handler
/// that catches it owns it and deletes it.
/// Details: docs/Xml.md.
class VEMLO_API XmlException : public Vemlo::Common::Exception {
public:
    /// The same three forms as Exception: (), (message), (message, code).
    using Vemlo::Common::Exception::Exception;

    ~XmlException() override;
};

} // namespace Xml
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_XML_XMLEXCEPTION_H
