//===- Vemlo/Common/Xml/XmlDocument.h - Load, search, save ------*- C++ -*-===//
#ifndef VEMLO_COMMON_XML_XMLDOCUMENT_H
#define VEMLO_COMMON_XML_XMLDOCUMENT_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>
#include <Vemlo/Common/Xml/Node.h>
#include <Vemlo/Common/Xml/NodeList.h>

namespace Vemlo {
namespace Common {
namespace Xml {

/// \brief The XML document applications load, search and save.
///
/// An unnamed Node whose first child is the root element of the file. The
/// reader is a substring scanner for the small, regular files libVemlo writes
/// itself, not a conforming XML parser; the writer escapes nothing.
/// Ownership: the document owns its tree, as Node does.
/// Threads: not locked; one thread at a time.
/// Failures: thrown as XmlException* (the catcher deletes it); elements
/// appended before a failure stay in the tree.
/// Details and the dialect's rules: docs/Xml.md.
class VEMLO_API XmlDocument : public Node {
public:
    /// An empty document with no file name.
    XmlDocument();

    /// Deletes every element of the document.
    ~XmlDocument() override;

    /// Parses the first top-level element of `xml` into one new child of the
    /// document (an XML declaration before it is skipped). 1 on success, 0
    /// when no element can be delimited (1 if the document already had
    /// children and `xml` holds no tag at all). Throws XmlException* with code
    /// 7241 and "Error to load xml document : ..." when the scan fails.
    int LoadXML(String xml);

    /// Reads the whole file `path` (up to its first zero byte) and loads it
    /// with LoadXML; the path becomes the document's file name. Throws
    /// XmlException* "fopen error : <path>" when it cannot be opened and
    /// "Read Error: nRead=..., lLength=..." when it cannot be read whole (also
    /// for a folder).
    int LoadXMLFile(const char* path);

    /// The outer XML of every element of the document, in order, in a buffer
    /// the document owns (valid until the next call). Empty for an empty
    /// document.
    const char* getInnerXml();
    using Node::getInnerXml;

    /// Writes getInnerXml() to `path`, or to the file name of the last
    /// LoadXMLFile when `path` is empty or null. 1; 0 when the file cannot be
    /// opened (a short write is not detected).
    int WriteXMLFile(const char* path);

    /// Every element named `name`, in pre-order, searched in each element of
    /// the document (not the document node itself). Null when nothing
    /// matched; otherwise the caller owns and deletes the list.
    NodeList* getNodeListByName(const char* name);
    using Node::getNodeListByName;

private:
    // Field order is the object's binary layout.
    String m_sFileName;
    String m_sOutput;
};

} // namespace Xml
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_XML_XMLDOCUMENT_H
