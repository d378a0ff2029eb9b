//===- Common/Xml/NodeTest.cpp - The in-memory XML tree -------------------===//
#include "support/VemloTest.h"

using namespace Vemlo::Common::Xml;

TEST(NodeTest, SearchesArePreOrderAndIncludeTheStartingNode) {
    // root( a( target=deep ), b( target=shallow ), target=last )
    std::unique_ptr<Node> root(new Node("root"));
    Node *a = new Node("a"), *b = new Node("b"), *deep = new Node("target"),
         *last = new Node("target");
    a->addChild(deep);
    b->addChild(new Node("target"));
    for (Node* child : {a, b, last})
        root->addChild(child);
    EXPECT_EQ(root->getNodeByName("root"), root.get());
    EXPECT_EQ(root->getNodeByName("target"), deep);  // earlier subtree wins over shallower later
    EXPECT_EQ(root->getNodeByName("targ"), nullptr); // no prefix match
    NodeList list;
    list.addNode(root.get());
    EXPECT_EQ(root->getNodeListByName("target", reinterpret_cast<long*>(&list)), 1);
    // Earlier entries stay.
    EXPECT_EQ(
        (std::vector<Node*>{list.getNode(0), list.getNode(1), list.getNode(3), list.getNode(4)}),
        (std::vector<Node*>{root.get(), deep, last, nullptr}));
}

// Ownership mistakes show as leaks or double frees under the sanitizers.
TEST(NodeTest, DropHandsTheChildOverAndRemoveDeletesIt) {
    Node root("root");
    Node* a = new Node("a");
    a->addChild(new Node("inner"));
    root.addChild(a);
    root.addChild(new Node("b"));
    EXPECT_EQ(root.dropChild(0), 1);
    delete a; // the caller's now, subtree and all
    EXPECT_EQ(root.removeChild(0), 1);
    root.addChild(nullptr);
    EXPECT_EQ(root.removeChild(0), 0); // a null entry stays

    auto* first = new Attribute("k", "1");
    root.addAttribute(first);
    root.addAttribute(new Attribute("k", "2"));
    EXPECT_EQ(root.removeAttributeByName("k"), 1); // the first only, not deleted
    EXPECT_STREQ(root.getAttributeByName("k")->getValue(), "2");
    delete first;
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
    String out;
    root->getOuterXml(&out);
    // "\n<level>" + "\n</level>" per level, "\n<bottom></bottom>" at the tip.
    EXPECT_EQ(out.size(), size_t(kDepth - 1) * 17 + 18);
    delete root;
}

// A node reads its own element; an attribute's text needs neither quotes nor '='.
TEST(NodeTest, LoadXmlReadsOneElementAndAttributeTextsAreLenient) {
    Node node;
    EXPECT_EQ(node.LoadXML("<a k='v'> <b>1</b> </a>"), 1);
    ASSERT_EQ(node.getChildNodeSize(), 1);
    EXPECT_EQ(std::string(node.getName()) + node.getAttributeByName("k")->getValue() +
                  node.getChildNode(0)->getName() + node.getChildNode(0)->getValue(),
              "avb1");
    Attribute open, bare;
    open.LoadXML(" k = \"v");
    bare.LoadXML("plain");
    EXPECT_EQ(std::string(open.getOuterXml()) + bare.getOuterXml(), "k=\"v\"plain=\"plain\"");
}
