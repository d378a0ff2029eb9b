//===- Common/Xml/NodeTest.cpp - The in-memory XML tree -------------------===//
#include "support/VemloTest.h"

#include <memory>

using namespace Vemlo::Common::Xml;

namespace {

int g_nodesAlive = 0;
int g_attributesAlive = 0;

struct CountedNode : Node {
    explicit CountedNode(const char* name) : Node(name) { ++g_nodesAlive; }
    ~CountedNode() override { --g_nodesAlive; }
};

struct CountedAttribute : Attribute {
    CountedAttribute(const char* name, const char* value) : Attribute(name, value) {
        ++g_attributesAlive;
    }
    ~CountedAttribute() override { --g_attributesAlive; }
};

// root
//   a
//     target (deep)
//   b
//     target (shallow)
//   target
Node* buildTree(Node** deep, Node** shallow, Node** last) {
    Node* root = new CountedNode("root");
    Node* a = new CountedNode("a");
    Node* b = new CountedNode("b");
    *deep = new CountedNode("target");
    *shallow = new CountedNode("target");
    *last = new CountedNode("target");
    a->addChild(*deep);
    b->addChild(*shallow);
    root->addChild(a);
    root->addChild(b);
    root->addChild(*last);
    return root;
}

} // namespace

TEST(NodeTest, SearchesArePreOrderAndIncludeTheStartingNode) {
    Node *deep, *shallow, *last;
    std::unique_ptr<Node> root(buildTree(&deep, &shallow, &last));

    Node* found = nullptr;
    EXPECT_EQ(root->getNodeByName("root", &found), 1);
    EXPECT_EQ(found, root.get());
    EXPECT_EQ(root->getNodeByName("target"), deep); // earlier subtree wins over shallower later
    EXPECT_EQ(root->getNodeByName("target", &found), 1);
    EXPECT_EQ(found, deep);
    EXPECT_EQ(root->getNodeByName("Target", &found), 0); // exact, case-sensitive
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(root->getNodeByName("targ"), nullptr); // no prefix match
    EXPECT_EQ(root->getNodeByName(nullptr), nullptr);

    NodeList list;
    list.addNode(root.get());
    EXPECT_EQ(root->getNodeListByName("target", reinterpret_cast<long*>(&list)), 1);
    ASSERT_EQ(list.getNodeCount(), 4);
    EXPECT_EQ(list.getNode(0), root.get()); // earlier entries stay
    EXPECT_EQ(list.getNode(1), deep);
    EXPECT_EQ(list.getNode(2), shallow);
    EXPECT_EQ(list.getNode(3), last);
    root->getNodeListByName("none", reinterpret_cast<long*>(&list));
    EXPECT_EQ(list.getNodeCount(), 4);
    EXPECT_EQ(list.getNode(4), nullptr);
    EXPECT_EQ(list.getNode(-1), nullptr);

    EXPECT_EQ(root->getChildNode(3), nullptr);
    EXPECT_EQ(root->getChildNode(-1), nullptr);
    EXPECT_EQ(root->getAttribute(0), nullptr);
    EXPECT_EQ(root->getAttribute(-1), nullptr);
    EXPECT_EQ(Node().getFirstChild(), nullptr);
    EXPECT_EQ(root->getFirstChild()->getNodeByName("target"), deep);
}

TEST(NodeTest, OwnershipOfChildrenAndAttributes) {
    g_nodesAlive = g_attributesAlive = 0;
    {
        Node *deep, *shallow, *last;
        Node* root = buildTree(&deep, &shallow, &last);
        EXPECT_EQ(g_nodesAlive, 6);
        {
            NodeList* found = new NodeList;
            root->getNodeListByName("target", reinterpret_cast<long*>(found));
            delete found; // a list owns no node
        }
        EXPECT_EQ(g_nodesAlive, 6);

        // dropChild hands the child (and its subtree) to the caller.
        Node* a = root->getChildNode(0);
        EXPECT_EQ(root->dropChild(0), 1);
        EXPECT_EQ(root->dropChild(5), 0);
        EXPECT_EQ(g_nodesAlive, 6);
        // removeChild deletes the child and its subtree.
        EXPECT_EQ(root->removeChild(0), 1); // "b" and its target
        EXPECT_EQ(g_nodesAlive, 4);
        EXPECT_EQ(root->removeChild(1), 0);
        root->addChild(nullptr);
        EXPECT_EQ(root->removeChild(1), 0); // a null entry stays
        EXPECT_EQ(root->getChildNodeSize(), 2);

        auto* first = new CountedAttribute("k", "1");
        auto* second = new CountedAttribute("k", "2");
        root->addAttribute(first);
        root->addAttribute(second);
        root->addAttribute(new CountedAttribute("other", "3"));
        EXPECT_EQ(root->getAttributeByName("k"), first);
        EXPECT_EQ(root->removeAttributeByName("missing"), 1);
        EXPECT_EQ(root->getAttributeSize(), 3);
        // By name: only the first is taken out, and it is not deleted.
        EXPECT_EQ(root->removeAttributeByName("k"), 1);
        EXPECT_EQ(g_attributesAlive, 3);
        EXPECT_EQ(root->getAttributeByName("k"), second);
        delete first;
        // By index: deleted.
        EXPECT_EQ(root->removeAttribute(0), 1);
        EXPECT_EQ(g_attributesAlive, 1);
        EXPECT_EQ(root->removeAttribute(1), 0);
        root->addAttribute(nullptr);
        EXPECT_EQ(root->removeAttribute(1), 1); // a null entry is erased

        delete root; // the rest of the tree, once
        EXPECT_EQ(g_nodesAlive, 2);
        EXPECT_EQ(g_attributesAlive, 0);
        delete a;
    }
    EXPECT_EQ(g_nodesAlive, 0);

    Node parent("p");
    parent.addChild(new CountedNode("x"));
    parent.addAttribute(new CountedAttribute("y", "z"));
    parent.removeAll();
    parent.removeAllAttribute();
    EXPECT_EQ(g_nodesAlive, 0);
    EXPECT_EQ(g_attributesAlive, 0);
    EXPECT_EQ(parent.getChildNodeSize(), 0);
}

TEST(NodeTest, WritesEveryElementOnANewLineWithoutEscaping) {
    Node a("a");
    a.addAttribute(new Attribute("x", "1"));
    a.addChild(new Node("b", "t"));
    String out("previous text is replaced");
    EXPECT_EQ(a.getOuterXml(&out), 1);
    EXPECT_EQ(out, "\n<a x=\"1\">\n<b>t</b>\n</a>");

    Node withValue("n", "v & <w>");
    withValue.addChild(new Node("c"));
    withValue.addAttribute(new Attribute("e", ""));
    withValue.getOuterXml(&out);
    EXPECT_EQ(out, "\n<n e=\"\">v & <w>\n<c></c>\n</n>");

    String inner("kept:");
    withValue.getInnerXml(&inner);
    EXPECT_EQ(inner, "kept:\n<c></c>");
    EXPECT_EQ(Node("n").getOuterXml(&out), 1);
    EXPECT_EQ(out, "\n<n></n>");
    EXPECT_EQ(a.getOuterXml(nullptr), 0);

    Attribute attribute("name", "va\"lue");
    EXPECT_STREQ(attribute.getOuterXml(), "name=\"va\"lue\"");
}

TEST(NodeTest, DeepTreesNeedNoRecursion) {
    // Far deeper than any call stack would take if searches, output or
    // destruction recursed.
    constexpr int kDepth = 300000;
    auto* root = new Node("level");
    Node* tip = root;
    for (int i = 1; i < kDepth; ++i) {
        Node* next = new Node("level");
        tip->addChild(next);
        tip = next;
    }
    tip->setName("bottom");
    EXPECT_EQ(root->getNodeByName("bottom"), tip);
    NodeList all;
    root->getNodeListByName("level", reinterpret_cast<long*>(&all));
    EXPECT_EQ(all.getNodeCount(), kDepth - 1);
    String out;
    root->getOuterXml(&out);
    // "\n<level>" + "\n</level>" per level, "\n<bottom></bottom>" at the tip.
    EXPECT_EQ(out.size(), size_t(kDepth - 1) * 17 + 18);
    delete root;
}
