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
/// Every leaf element below the root is an entry keyed by its path joined with
/// '.': `<FileProperty><Base><Log><Level>3</Level></Log></Base></FileProperty>`
/// holds Base.Log.Level = 3. The file is read once per object; a missing file
/// is created empty. Update replaces the file whole (temporary file, sync,
/// rename) and leaves out entries that would not load back.
/// Ownership: the set owns its document and its table.
/// Threads: none.
/// Failures: malformed XML throws XmlException* (the catcher deletes it).
/// Details: docs/Configuration.md; departures: docs/Compatibility.md.
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
    /// out (the file is written with the others, see docs/Configuration.md) or
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
