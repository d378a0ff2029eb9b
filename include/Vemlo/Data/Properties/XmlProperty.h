//===- Vemlo/Data/Properties/XmlProperty.h - XML properties -----*- C++ -*-===//
#ifndef VEMLO_DATA_PROPERTIES_XMLPROPERTY_H
#define VEMLO_DATA_PROPERTIES_XMLPROPERTY_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>
#include <Vemlo/Data/Properties/Property.h>

namespace Vemlo {
namespace Common {
namespace Xml {
class Node;
class XmlDocument;
} // namespace Xml
} // namespace Common

namespace Data {
namespace Properties {

/// \brief A property set stored in an XML file with the root element FileProperty.
///
/// XmlProperty is the property set stored in an XML file whose root element is
/// FileProperty. Every leaf element below the root is an entry: its key is the
/// names on the path from the root's child down to it, joined by '.', and its
/// value is its text:
/// \code{.cpp}
/// <FileProperty><Base><Log><Level>3</Level></Log></Base></FileProperty>
/// \endcode
/// holds the entry Base.Log.Level = 3. An element with children is a branch,
/// never an entry, even if it has text; attributes are ignored; of two
/// elements with the same path the later wins. Keys are cut at 2047 bytes.
/// This is the format of the configuration (format code 6301).
///
/// The file is read once per object: the first IsValidate (or Load) reads it
/// into a document that the set keeps; later calls reuse that document. A
/// missing file is created holding "<FileProperty></FileProperty>" and
/// accepted at once, so a new set starts empty. Update writes the set into the
/// kept document (creating the elements of new keys) and the document into
/// the file. The file is replaced whole: the text goes to a temporary file
/// next to it ("<file>.tmp.<pid>.<n>"), which is synced and renamed over it,
/// and the folder is synced, so that a power cut leaves the old file or the
/// new one. A path that is a symbolic link stays a link (the file it points at
/// is replaced); owner and permission bits are kept. A file that cannot be
/// replaced that way (its folder not writable, an owner the process cannot
/// give, other hard links) is written in place. A missing file is created the
/// same way. Departures: docs/Compatibility.md. An entry whose element would not load back as
/// itself (markup characters such as '<' in its value, a key part that is no element name, such as
/// an empty part or one with a blank, or one naming an element above it) is left out, reported with
/// the line "[XmlProperty::Update] update fail <i> element [<key>] would not load back", and every
/// other entry is written: the file always loads. Blanks around values are not kept by the format.
///
/// Malformed XML makes IsValidate and Load throw XmlException* (the catcher
/// deletes it); the set then keeps no document and the next call reads the
/// file again. Messages print to standard output: "xml property file [<path>]
/// exists " or "... does not exist " when the file is read or created.
///
/// Ownership: the set owns its document and its table. Thread safety: none.
class VEMLO_API XmlProperty : public Property {
public:
    /// An empty set without a document; nothing is read until IsValidate or
    /// Load.
    XmlProperty();

    /// Not copyable: the set owns its document.
    XmlProperty(const XmlProperty&) = delete;
    XmlProperty& operator=(const XmlProperty&) = delete;

    /// Deletes the document, then (as every Property) the table.
    ~XmlProperty() override;

    /// IsValidate, then copies every entry of the document into the set. The
    /// number of elements below the root (0 for a new file); 0 when
    /// IsValidate gave 0. Throws XmlException* for malformed XML.
    int Load(const char* path) override;

    /// 1 when a document is held or could be read or created from `path`
    /// (a missing file is created empty); 0 when the file can be neither read
    /// nor created, holds no element, or `path` is null. A file that exists
    /// but cannot be read is not overwritten. Throws XmlException* for
    /// malformed XML (no document is kept then).
    int IsValidate(const char* path) override;

    /// Writes every entry into the document, then the document to `path`.
    /// 1 when the file was written with every entry; 0 when an entry was left
    /// out (the file is written with the others, see the class comment) or
    /// the file was not written: no document could be had (it is read from
    /// `path` first when none is held), an entry is null ("[XmlProperty::Update]
    /// update fail <i> element is NULL" is printed), or the file cannot be
    /// opened or written.
    int Update(const char* path) override;

    /// Adds the entries of the subtree at `node` (a Common::Xml::Node*) to the
    /// set, the node's own key being `prefix` + "." + its name (its name alone
    /// when `prefix` is empty). The number of entries stored; 0 for a null
    /// node. Trees of any depth are walked without recursion.
    int ParseNodes(void* node, String prefix);

    /// The element for the dotted `key` below the root, created with any
    /// missing elements on the way. Null when no document (or no root) is
    /// held.
    Vemlo::Common::Xml::Node* getNode(String key);

private:
    // Field order is the object's binary layout.
    Vemlo::Common::Xml::XmlDocument* m_pDocument;
};

} // namespace Properties
} // namespace Data
} // namespace Vemlo

#endif // VEMLO_DATA_PROPERTIES_XMLPROPERTY_H
