//===- Vemlo/Common/Xml/Attribute.h - One XML attribute ---------*- C++ -*-===//
#ifndef VEMLO_COMMON_XML_ATTRIBUTE_H
#define VEMLO_COMMON_XML_ATTRIBUTE_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

namespace Vemlo {
namespace Common {
namespace Xml {

/// \brief One name="value" attribute of an XML element.
///
/// Attribute is one `name="value"` pair of an XML element. A Node owns the
/// attributes added to it. Names and values are stored as given: nothing is
/// escaped or decoded. A null text is read as the empty text.
/// Details: docs/Xml.md.
class VEMLO_API Attribute {
public:
    /// Name and value empty.
    Attribute();
    /// Sets the name; the value is empty.
    explicit Attribute(const char* name);
    /// Sets the name and the value as given (nothing is decoded).
    Attribute(const char* name, const char* value);

    virtual ~Attribute();

    ///@{
    /// The characters of the attribute's own strings: valid until it changes.
    const char* getName() const;
    const char* getValue() const;
    ///@}
    ///@{
    /// Replace the name / value; always 1.
    int setName(const char* name);
    int setValue(const char* value);
    ///@}

    /// `name="value"`, written into a buffer of the attribute's own and valid
    /// until the next call on it.
    const char* getOuterXml();

    /// Fills name and value from one `name="value"` piece: the name is the
    /// text before '=' (all of it without '='), trimmed; the value is the text
    /// between the first two double quotes, or everything after the first
    /// quote when there is no second one, or the whole text without quotes.
    /// Nothing is decoded or trimmed in the value. Always 1.
    int LoadXML(const char* text);

private:
    // Field order is the object's binary layout.
    String m_sValue;
    String m_sName;
    String m_sOuterXml;
};

} // namespace Xml
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_XML_ATTRIBUTE_H
