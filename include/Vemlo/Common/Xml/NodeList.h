//===- Vemlo/Common/Xml/NodeList.h - Nodes found by a search ----*- C++ -*-===//
#ifndef VEMLO_COMMON_XML_NODELIST_H
#define VEMLO_COMMON_XML_NODELIST_H

#include <Vemlo/Export.h>

#include <vector>

namespace Vemlo {
namespace Common {
namespace Xml {

class Node;

/// \brief The nodes an XML search found, in order; owns none of them.
///
/// NodeList holds the nodes a search found, in the order found. It owns only
/// its own storage: deleting it never deletes a node. A list returned by a
/// search belongs to the caller, who deletes it.
/// Details: docs/Xml.md.
class VEMLO_API NodeList {
public:
    NodeList();
    virtual ~NodeList();

    /// Appends `node` (not owned); always 1.
    int addNode(Node* node);
    /// Number of entries, null ones included.
    int getNodeCount() const;
    /// The entry at `index`; null when the index is negative or not below the
    /// count.
    Node* getNode(int index) const;

private:
    // Field order is the object's binary layout.
    std::vector<Node*> m_nodes;
};

} // namespace Xml
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_COMMON_XML_NODELIST_H
