//===- Common/Xml/NodeTest.cpp - The in-memory XML tree -------------------===//
#include "support/VemloTest.h"

#include <memory>
#include <vector>

using namespace Vemlo::Common::Xml;

namespace {

int g_nodesAlive = 0;
int g_attributesAlive = 0;

struct CountedNode : Node {
    explicit CountedNode(const char* name) : Node(name) { ++g_nodesAlive; }
    ~CountedNode() override { --g_nodesAlive; }
};
struct CountedAttribute : Attribute {
    CountedAttribute(const char* name, const char* value) : Attribute(name, value) { ++g_attributesAlive; }
    ~CountedAttribute() override { --g_attributesAlive; }
};

// root( a( target=deep ), b( target=shallow ), target=last )
Node* buildTree(Node** deep, Node** shallow, Node** last) {
    Node *root = new CountedNode("root"), *a = new CountedNode("a"), *b = new CountedNode("b");
    a->addChild(*deep = new CountedNode("target"));
    b->addChild(*shallow = new CountedNode("target"));
    for (Node* child : {a, b, *last = new CountedNode("target")})
        root->addChild(child);
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
    EXPECT_EQ(root->getNodeByName("Target", &found), 0); // exact, case-sensitive
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(root->getNodeByName("targ"), nullptr); // no prefix match
    EXPECT_EQ(root->getNodeByName(nullptr), nullptr);

    NodeList list;
    list.addNode(root.get());
    EXPECT_EQ(root->getNodeListByName("target", reinterpret_cast<long*>(&list)), 1);
    // Earlier entries stay; past either end: null.
    EXPECT_EQ((std::vector<Node*>{list.getNode(0), list.getNode(1), list.getNode(2), list.getNode(3), list.getNode(4), list.getNode(-1)}),
              (std::vector<Node*>{root.get(), deep, shallow, last, nullptr, nullptr}));
    EXPECT_EQ(root->getChildNode(3), nullptr);
    EXPECT_EQ(root->getAttribute(-1), nullptr);
}

TEST(NodeTest, OwnershipOfChildrenAndAttributes) {
    g_nodesAlive = g_attributesAlive = 0;
    Node *deep, *shallow, *last;
    Node* root = buildTree(&deep, &shallow, &last);
    delete new NodeList; // a list owns no node
    // dropChild hands the child (and its subtree) to the caller; removeChild
    // deletes it; a null entry stays.
    Node* a = root->getChildNode(0);
    EXPECT_EQ(root->dropChild(0), 1);
    EXPECT_EQ(root->dropChild(5), 0);
    EXPECT_EQ(g_nodesAlive, 6);
    EXPECT_EQ(root->removeChild(0), 1); // "b" and its target
    EXPECT_EQ(g_nodesAlive, 4);
    root->addChild(nullptr);
    EXPECT_EQ(root->removeChild(1), 0);
    EXPECT_EQ(root->getChildNodeSize(), 2);

    auto* first = new CountedAttribute("k", "1");
    auto* second = new CountedAttribute("k", "2");
    root->addAttribute(first);
    root->addAttribute(second);
    root->addAttribute(new CountedAttribute("other", "3"));
    EXPECT_EQ(root->removeAttributeByName("missing"), 1);
    // By name: only the first is taken out, and it is not deleted.
    EXPECT_EQ(root->removeAttributeByName("k"), 1);
    EXPECT_EQ(g_attributesAlive, 3);
    EXPECT_EQ(root->getAttributeByName("k"), second);
    delete first;
    // By index: deleted; a null entry is erased.
    EXPECT_EQ(root->removeAttribute(0), 1);
    EXPECT_EQ(g_attributesAlive, 1);
    root->addAttribute(nullptr);
    EXPECT_EQ(root->removeAttribute(1), 1);

    delete root; // the rest of the tree, once
    EXPECT_EQ(g_nodesAlive, 2);
    EXPECT_EQ(g_attributesAlive, 0);
    delete a;
    EXPECT_EQ(g_nodesAlive, 0);
}

TEST(NodeTest, WritesEveryElementOnANewLineWithoutEscaping) {
    Node a("n", "v & <w>");
    a.addChild(new Node("c"));
    a.addAttribute(new Attribute("e", "va\"l"));
    String out("previous text is replaced");
    EXPECT_EQ(a.getOuterXml(&out), 1);
    EXPECT_EQ(out, "\n<n e=\"va\"l\">v & <w>\n<c></c>\n</n>");
    String inner("kept:");
    a.getInnerXml(&inner);
    EXPECT_EQ(inner, "kept:\n<c></c>");
    EXPECT_EQ(a.getOuterXml(nullptr), 0);
}

TEST(NodeTest, DeepTreesNeedNoRecursion) {
    // Far deeper than any call stack would take if searches, output or
    // destruction recursed.
    constexpr int kDepth = 300000;
    Node *root = new Node("level"), *tip = root;
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
