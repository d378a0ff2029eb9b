//===- Common/Xml/NodeList.cpp - A list of nodes found by a search --------===//
#include <Vemlo/Common/Xml/NodeList.h>

#include <cstddef>

namespace Vemlo {
namespace Common {
namespace Xml {

NodeList::NodeList() = default;

NodeList::~NodeList() = default;

int NodeList::addNode(Node* node) {
    m_nodes.push_back(node);
    return 1;
}

int NodeList::getNodeCount() const {
    return static_cast<int>(m_nodes.size());
}

Node* NodeList::getNode(int index) const {
    if (index < 0 || index >= getNodeCount())
        return nullptr;
    return m_nodes[static_cast<size_t>(index)];
}

} // namespace Xml
} // namespace Common
} // namespace Vemlo
