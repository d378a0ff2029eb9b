//===- Common/Xml/Node.cpp - One element of an XML tree -------------------===//
#include <Vemlo/Common/Xml/Node.h>

#include <Vemlo/Common/Xml/Attribute.h>
#include <Vemlo/Common/Xml/NodeList.h>

#include "Common/Xml/XmlScanner.h"

#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace Vemlo {
namespace Common {
namespace Xml {

namespace {

bool nameIs(const char* nodeName, const char* name) {
    return name && std::strcmp(nodeName, name) == 0;
}

template <class T> bool validIndex(const std::vector<T*>& items, int index) {
    return index >= 0 && static_cast<size_t>(index) < items.size();
}

} // namespace

Node::Node() = default;

Node::Node(const char* name) : m_sName(name) {}

Node::Node(const char* name, const char* value) : m_sValue(value), m_sName(name) {}

Node::~Node() {
    removeAllAttribute();
    removeAll();
    m_sName.clear();
    m_sValue.clear();
}

const char* Node::getName() const {
    return m_sName.c_str();
}

const char* Node::getValue() const {
    return m_sValue.c_str();
}

int Node::setName(const char* name) {
    m_sName = name;
    return 1;
}

int Node::setValue(const char* value) {
    m_sValue = value;
    return 1;
}

int Node::addChild(Node* child) {
    m_children.push_back(child);
    return 1;
}

int Node::addAttribute(Attribute* attribute) {
    m_attributes.push_back(attribute);
    return 1;
}

int Node::getChildNodeSize() const {
    return static_cast<int>(m_children.size());
}

int Node::getAttributeSize() const {
    return static_cast<int>(m_attributes.size());
}

Node* Node::getChildNode(int index) const {
    return validIndex(m_children, index) ? m_children[static_cast<size_t>(index)] : nullptr;
}

Attribute* Node::getAttribute(int index) const {
    return validIndex(m_attributes, index) ? m_attributes[static_cast<size_t>(index)] : nullptr;
}

Node* Node::getFirstChild() const {
    return m_children.empty() ? nullptr : m_children.front();
}

Attribute* Node::getAttributeByName(const char* name) const {
    for (Attribute* attribute : m_attributes)
        if (attribute && nameIs(attribute->getName(), name))
            return attribute;
    return nullptr;
}

int Node::getNodeByName(const char* name, Node** result) {
    // Pre-order walk with an explicit stack: children are pushed last first.
    std::vector<Node*> stack{this};
    while (!stack.empty()) {
        Node* node = stack.back();
        stack.pop_back();
        if (nameIs(node->getName(), name)) {
            if (result)
                *result = node;
            return 1;
        }
        for (auto it = node->m_children.rbegin(); it != node->m_children.rend(); ++it)
            if (*it)
                stack.push_back(*it);
    }
    if (result)
        *result = nullptr;
    return 0;
}

Node* Node::getNodeByName(const char* name) {
    NodeList found;
    getNodeListByName(name, reinterpret_cast<long*>(&found));
    return found.getNodeCount() > 0 ? found.getNode(0) : nullptr;
}

int Node::getNodeListByName(const char* name, long* list) {
    NodeList* out = reinterpret_cast<NodeList*>(list);
    if (!out)
        return 1;
    std::vector<Node*> stack{this};
    while (!stack.empty()) {
        Node* node = stack.back();
        stack.pop_back();
        if (nameIs(node->getName(), name))
            out->addNode(node);
        for (auto it = node->m_children.rbegin(); it != node->m_children.rend(); ++it)
            if (*it)
                stack.push_back(*it);
    }
    return 1;
}

int Node::removeAttributeByName(const char* name) {
    for (auto it = m_attributes.begin(); it != m_attributes.end(); ++it) {
        if (*it && nameIs((*it)->getName(), name)) {
            // Not deleted: the holder of the pointer owns it from now on.
            m_attributes.erase(it);
            break;
        }
    }
    return 1;
}

int Node::removeAttribute(int index) {
    if (!validIndex(m_attributes, index))
        return 0;
    Attribute* attribute = m_attributes[static_cast<size_t>(index)];
    m_attributes.erase(m_attributes.begin() + index);
    delete attribute;
    return 1;
}

int Node::removeChild(int index) {
    if (!validIndex(m_children, index))
        return 0;
    Node* child = m_children[static_cast<size_t>(index)];
    if (!child)
        return 0;
    m_children.erase(m_children.begin() + index);
    delete child;
    return 1;
}

int Node::dropChild(int index) {
    if (!validIndex(m_children, index))
        return 0;
    m_children.erase(m_children.begin() + index);
    return 1;
}

int Node::removeAll() {
    // Descendants are taken over before each node is deleted, so deleting a
    // tree of any depth never recurses (but when memory runs out, below).
    std::vector<Node*> doomed;
    doomed.swap(m_children);
    while (!doomed.empty()) {
        Node* node = doomed.back();
        doomed.pop_back();
        if (!node)
            continue;
        try {
            doomed.insert(doomed.end(), node->m_children.begin(), node->m_children.end());
            node->m_children.clear();
        } catch (const std::bad_alloc&) {
            // Out of memory (this runs in destructors, where a throw would
            // abort the program): the node's own destructor frees its
            // children instead, at the price of one level of recursion.
        }
        delete node;
    }
    return 1;
}

int Node::removeAllAttribute() {
    for (Attribute* attribute : m_attributes)
        delete attribute;
    m_attributes.clear();
    return 1;
}

namespace {

void appendOpening(const Node& node, std::string& out) {
    out.append("\n<").append(node.getName());
    for (int i = 0; i < node.getAttributeSize(); ++i)
        if (Attribute* attribute = node.getAttribute(i))
            out.append(" ").append(attribute->getOuterXml());
    out.append(">").append(node.getValue());
}

void appendClosing(const Node& node, std::string& out) {
    out.append(node.getChildNodeSize() > 0 ? "\n</" : "</").append(node.getName()).append(">");
}

// Appends the outer XML of `root` without recursion.
void appendOuterXml(const Node& root, std::string& out) {
    std::vector<std::pair<const Node*, int>> stack{{&root, 0}};
    appendOpening(root, out);
    while (!stack.empty()) {
        auto& [node, next] = stack.back();
        if (next < node->getChildNodeSize()) {
            const Node* child = node->getChildNode(next++);
            if (child) {
                appendOpening(*child, out);
                stack.emplace_back(child, 0);
            }
        } else {
            appendClosing(*node, out);
            stack.pop_back();
        }
    }
}

} // namespace

int Node::getOuterXml(String* out) const {
    if (!out)
        return 0;
    std::string text;
    appendOuterXml(*this, text);
    *out = text.c_str();
    return 1;
}

int Node::getInnerXml(String* out) const {
    if (!out)
        return 0;
    std::string text;
    for (const Node* child : m_children)
        if (child)
            appendOuterXml(*child, text);
    out->append(text.c_str(), text.size());
    return 1;
}

int Node::LoadXML(const char* text) {
    if (!text)
        return 0;
    XmlScanner scanner(text, std::strlen(text));
    return scanner.load(this, 0, static_cast<long>(std::strlen(text)));
}

} // namespace Xml
} // namespace Common
} // namespace Vemlo
