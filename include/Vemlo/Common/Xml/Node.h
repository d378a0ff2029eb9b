//===- Vemlo/Common/Xml/Node.h - One element of an XML tree -----*- C++ -*-===//
#ifndef VEMLO_COMMON_XML_NODE_H
#define VEMLO_COMMON_XML_NODE_H

#include <Vemlo/Export.h>
#include <Vemlo/String.h>

#include <vector>

namespace Vemlo {
namespace Common {
namespace Xml {

class Attribute;

/// \brief One element of an in-memory XML tree, owning its attributes and children.
///
/// A name, a text value, ordered attributes and ordered children; no parent
/// link, no namespaces, no separate text nodes. Names compare exactly.
/// Ownership: a node owns its attributes and children (addAttribute and
/// addChild hand them over) and deletes its subtree; nodes cannot be copied.
/// Threads: not locked; one thread at a time.
/// Failures: LoadXML reads libVemlo's own scanner dialect (see XmlDocument.h)
/// and gives 0, never throws; deep trees never exhaust the stack.
/// Details: docs/Xml.md.
class VEMLO_API Node {
public:
    /// Name and value empty.
    Node();
    /// Sets the name; the value is empty.
    explicit Node(const char* name);
    /// Sets the name and the value.
    Node(const char* name, const char* value);
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    /// Deletes every attribute, then every child and so the whole subtree.
    virtual ~Node();

    ///@{
    /// The name / the value; valid until the node changes or is destroyed.
    const char* getName() const;
    const char* getValue() const;
    ///@}
    ///@{
    /// Replace the name / value; always 1.
    int setName(const char* name);
    int setValue(const char* value);
    ///@}

    ///@{
    /// Append at the end, taking ownership; always 1.
    int addChild(Node* child);
    int addAttribute(Attribute* attribute);
    ///@}

    ///@{
    /// Number of children / attributes, null entries included.
    int getChildNodeSize() const;
    int getAttributeSize() const;
    ///@}
    ///@{
    /// The entry at `index`; null when the index is negative or not below the
    /// count.
    Node* getChildNode(int index) const;
    Attribute* getAttribute(int index) const;
    ///@}
    /// The first child, or null when there is none.
    Node* getFirstChild() const;
    /// The first attribute whose name equals `name`, or null.
    Attribute* getAttributeByName(const char* name) const;

    /// Depth-first search, this node first: sets *result to the first node in
    /// pre-order whose name equals `name` and returns 1, or sets it to null
    /// and returns 0. `result` may be null when only the answer is wanted.
    int getNodeByName(const char* name, Node** result);
    /// The same first match, or null.
    Node* getNodeByName(const char* name);
    /// Appends every match, in pre-order and this node first if it matches, to
    /// the NodeList that `list` points to (callers cast their NodeList* to
    /// long*: the signature is kept for existing callers). Always 1; a null
    /// list is left alone.
    int getNodeListByName(const char* name, long* list);

    /// Removes the first attribute named `name` from the list WITHOUT deleting
    /// it: whoever holds a pointer to it (from getAttributeByName) now owns it.
    /// Unlike removeAttribute(int), which deletes; existing callers rely on the
    /// difference. Always 1, found or not.
    int removeAttributeByName(const char* name);
    /// Removes and deletes the attribute at `index` (a null entry is just
    /// erased): 1; 0 when the index is out of range.
    int removeAttribute(int index);
    /// Removes and deletes the child at `index` and its subtree: 1; 0 when the
    /// index is out of range or the entry is null (then nothing changes).
    int removeChild(int index);
    /// Removes the child at `index` without deleting it: the caller owns it
    /// now. 1; 0 when the index is out of range.
    int dropChild(int index);
    ///@{
    /// Delete every child / attribute and empty the list; always 1.
    int removeAll();
    int removeAllAttribute();
    ///@}

    /// Replaces *out with this element as XML text: a newline, the start tag
    /// with its attributes, the value, the children, the end tag (on a line of
    /// its own when there are children). Nothing is escaped or indented. 1; 0
    /// when `out` is null.
    int getOuterXml(String* out) const;
    /// Appends the outer XML of every child, in order, to *out (not cleared
    /// first). 1; 0 when `out` is null.
    int getInnerXml(String* out) const;

    /// Fills this node from the text of one element, from its '<' to the end
    /// of its end tag, appending attributes and children to what the node
    /// already holds. 1 on success; 0 when the element cannot be delimited.
    /// Never throws for malformed text. A null text gives 0.
    int LoadXML(const char* text);

private:
    // Field order is the object's binary layout.
    String m_sValue;
    String m_sName;
    std::vector<Node*> m_children;
    std::vector<Attribute*> m_attributes;
};

} // namespace Xml
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_XML_NODE_H
