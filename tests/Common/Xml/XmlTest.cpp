//===- Common/Xml/XmlTest.cpp - The XML tree, its reader and its writer ---===//
//
// Also builds the library's internal scanner from src/, to compare its
// indexed search with a plain one.
//
//===----------------------------------------------------------------------===//
#include "support/VemloTest.h"
#include "Common/Xml/XmlScanner.h"

#include <cstdlib>
#include <functional>
#include <random>

using namespace Vemlo::Common::Xml;
using VemloTest::TempDir;

namespace {

// The tree as one line: name{k=v,...}[value](children), for comparisons.
std::string describe(const Node* node) {
    std::string out = node->getName();
    out += "{";
    for (int i = 0; i < node->getAttributeSize(); ++i)
        out += std::string(node->getAttribute(i)->getName()) + "=" +
               node->getAttribute(i)->getValue() + ",";
    out += "}[" + std::string(node->getValue()) + "](";
    for (int i = 0; i < node->getChildNodeSize(); ++i)
        out += describe(node->getChildNode(i)) + ";";
    return out + ")";
}

// LoadXML's result and the top-level elements of a fresh document, each
// described and followed by ';'.
std::string loaded(const char* xml) {
    XmlDocument doc;
    std::string out = std::to_string(doc.LoadXML(String(xml))) + ":";
    for (int i = 0; i < doc.getChildNodeSize(); ++i)
        out += describe(doc.getChildNode(i)) + ";";
    return out;
}

// A random tree that the writer and the scanner agree on: values only on
// leaves, no markup in text, no blank at either end of a value, and names
// that never repeat along a path (an element is cut at the first end tag of
// its name).
void grow(Node* node, std::mt19937& rng, int depth, int& budget) {
    static const char kText[] = "abcdefghijklmnopqrstuvwxyz0123456789 .,:;=_-+/()[]{}!?*#";
    auto word = [&](int maxLength, bool blanks) {
        std::string s(1, 'w'); // no blank at either end
        for (int i = int(rng() % maxLength); i > 0; --i)
            s += kText[rng() % (blanks ? sizeof(kText) - 1 : 36)];
        return s + "w";
    };
    for (int i = int(rng() % 4) - 1; i >= 0; --i)
        node->addAttribute(
            new Attribute(("k" + std::to_string(i)).c_str(), word(12, true).c_str()));
    const int children = depth < 6 && budget > 0 ? int(rng() % 5) : 0;
    if (children == 0) {
        node->setValue(word(20, true).c_str());
        return;
    }
    for (int i = 0; i < children && budget-- > 0; ++i) {
        Node* child = new Node(("d" + std::to_string(depth + 1) + "_" + word(6, false)).c_str());
        node->addChild(child);
        grow(child, rng, depth + 1, budget);
    }
}

} // namespace

// Searches are pre-order and include the starting node. Ownership mistakes
// show as leaks or double frees under the sanitizers. A node reads its own
// element; an attribute's text needs neither quotes nor '='.
TEST(NodeTest, SearchesArePreOrderOwnershipMovesAndLoadXmlReadsOneElement) {
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
    Node *hit = nullptr, *miss = root.get(); // the form that reports through a pointer
    EXPECT_EQ(root->getNodeByName("target", &hit) + root->getNodeByName("targ", &miss), 1);
    // Earlier entries of the list stay.
    EXPECT_EQ((std::vector<Node*>{list.getNode(0), list.getNode(1), list.getNode(3),
                                  list.getNode(4), hit, miss}),
              (std::vector<Node*>{root.get(), deep, last, nullptr, deep, nullptr}));

    EXPECT_EQ(root->dropChild(0), 1);
    delete a; // the caller's now, subtree and all
    EXPECT_EQ(root->removeChild(0), 1);
    EXPECT_EQ(root->getChildNode(0), last);
    root->addChild(nullptr);
    EXPECT_EQ(root->removeChild(1), 0); // a null entry stays
    auto* first = new Attribute("k", "1");
    root->addAttribute(first);
    root->addAttribute(new Attribute("k", "2"));
    EXPECT_EQ(root->removeAttributeByName("k"), 1); // the first only, not deleted
    EXPECT_STREQ(root->getAttributeByName("k")->getValue(), "2");
    EXPECT_EQ(first->setName("n") + first->setValue("v"), 2);
    EXPECT_STREQ(first->getOuterXml(), "n=\"v\"");
    delete first;
    // Bad indexes and null arguments give 0 (a search without a list, 1).
    EXPECT_EQ((std::vector<int>{root->removeAttribute(1), root->removeAttribute(0),
                                root->dropChild(2), root->removeChild(-1),
                                root->getOuterXml(nullptr), root->getInnerXml(nullptr),
                                root->LoadXML(nullptr), root->getNodeListByName("a", nullptr)}),
              (std::vector<int>{0, 1, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(root->getAttributeByName("k"), nullptr);

    Node node;
    EXPECT_EQ(node.LoadXML("<a k='v'> <b>1</b> </a>"), 1);
    EXPECT_EQ(describe(&node), "a{k=v,}[](b{}[1]();)");
    Attribute open, bare("replaced"), blank;
    open.LoadXML(" k = \"v");
    bare.LoadXML("plain");
    blank.LoadXML("  =\"1\""); // a name of blanks is empty
    EXPECT_EQ(std::string(open.getOuterXml()) + bare.getOuterXml() + blank.getOuterXml(),
              "k=\"v\"plain=\"plain\"=\"1\"");
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

// The text is read with the scanner rules files rely on; written files load
// back into the same tree; failures throw with their code.
TEST(XmlDocumentTest, ReadsTheScannerRulesWrittenFilesLoadBackAndFailuresThrowWithTheirCode) {
    const char* const rows[][2] = {
        // A second top-level element is ignored.
        {"<?xml version=\"1.0\"?>\n<a x='1' y=\"2\">  t  </a><second/>", "1:a{x=1,y=2,}[t]();"},
        // An element is cut at the first end tag of its name.
        {"<a><a>x</a></a>", "1:a{}[]();"},
        // A comment ends at its first '>', so a commented-out element whose
        // comment holds a '>' comes back.
        {"<r><!-- old > <k>0</k> --><k>1</k></r>", "1:r{}[](k{}[0]();k{}[1](););"},
        // `<root/>` alone loads as one unnamed, empty element; with attributes,
        // as nothing.
        {"<root/>", "1:{}[]();"},
        {"<root a=\"1\"/>", "0:"},
        // No element, or a root without its end, is nothing.
        {"plain text", "0:"},
        {"<a/ >", "0:"},
        // Inside, an element without its end is dropped; "/>" closes one with
        // attributes; a '/' in a name reads as a blank.
        {"<r><k>1</r>", "1:r{}[]();"},
        {"<r><k a='1'/><j>2</j></r>", "1:r{}[](k{a=1,}[]();j{}[2](););"},
        {"<r><a/b>1</a/b></r>", "1:r{}[](a b{}[](););"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(loaded(row[0]), row[1]) << row[0];
    // The end tag searched is formatted text, cut at 2047 characters: a name
    // of 2046 ends at the first end tag that starts like its own.
    const std::string n(2046, 'a');
    EXPECT_EQ(loaded(("<r><" + n + ">1</" + n + "b>2</" + n + "></r>").c_str()),
              "1:r{}[](" + n + "{}[1]();" + ");");

    TempDir dir;
    const bool haveXmllint = std::system("command -v xmllint > /dev/null 2>&1") == 0;
    std::mt19937 rng(20261121);
    for (int round = 0; round < 20; ++round) {
        XmlDocument original;
        Node* root = new Node("root");
        original.addChild(root);
        int budget = round < 16 ? 40 : 3000;
        if (round < 16)
            grow(root, rng, 0, budget);
        // The last rounds are wide and far over 8 KiB, which the scanner
        // indexes; one name is too long for the index.
        for (int i = 0; round >= 16 && budget > 0; ++i) {
            const std::string name = "big" + std::string(i ? 0 : 300, 'n') + std::to_string(i);
            root->addChild(new Node(name.c_str()));
            grow(root->getChildNode(i), rng, 1, budget);
        }

        const std::string path = dir.file("round" + std::to_string(round) + ".xml");
        ASSERT_EQ(original.WriteXMLFile(path.c_str()), 1);
        XmlDocument loaded;
        ASSERT_EQ(loaded.LoadXMLFile(path.c_str()), 1);
        ASSERT_EQ(describe(&loaded), describe(&original)) << "round " << round;
        EXPECT_STREQ(loaded.getInnerXml(), original.getInnerXml());
        // Found by name, changed and written back to the file it came from.
        std::unique_ptr<NodeList> roots(loaded.getNodeListByName("root"));
        ASSERT_TRUE(roots && roots->getNodeCount() == 1);
        roots->getNode(0)->setName("top");
        ASSERT_EQ(loaded.WriteXMLFile(""), 1);
        EXPECT_EQ(VemloTest::ReadFile(path), loaded.getInnerXml());
        EXPECT_EQ(loaded.getNodeListByName("root"), nullptr);

        if (haveXmllint && round % 5 == 0) {
            EXPECT_EQ(std::system(("xmllint --noout '" + path + "' 2>&1").c_str()), 0) << path;
        }
    }

    // An empty file is an empty document; each failure throws an XmlException
    // with the code and the start of the message.
    XmlDocument doc;
    VemloTest::WriteFile(dir.file("empty"), "");
    EXPECT_EQ(doc.LoadXMLFile(dir.file("empty").c_str()), 0);
    const std::pair<std::function<void()>, std::string> cases[] = {
        // An empty root name without an end tag: the range error is reported
        // with the standard library's own text.
        {[] { loaded("< a>"); }, "7241:Error to load xml document : basic_string::at"},
        {[&] { doc.LoadXMLFile(dir.file("m").c_str()); }, "0:fopen error : " + dir.file("m")},
        {[&] { doc.LoadXMLFile(dir.path().c_str()); }, "0:Read Error: nRead=0, lLength=0"}};
    for (const auto& [body, start] : cases) {
        try {
            body();
            ADD_FAILURE() << "nothing thrown: " << start;
        } catch (XmlException* e) {
            const std::string text = std::to_string(e->GetCode()) + ":" + e->GetMessage();
            EXPECT_EQ(text.substr(0, start.size()), start);
            delete e;
        }
    }
}

// Texts of 8 KiB and more are searched through an index: in any order of
// searches, over any span, it finds what a plain search finds. Half of the
// searches start at the occurrence before the last one found.
TEST(XmlScannerTest, IndexedSearchesFindWhatAPlainSearchFinds) {
    std::mt19937 rng(8192);
    std::string text;
    while (text.size() < 40000)
        text += "<a>" + std::string(rng() % 400, 'y') + "</a><b k='1'/></bb>";
    const long size = long(text.size());
    XmlScanner scanner(text.data(), text.size());
    const char* const patterns[] = {"<", ">", "/>", "?>", "</a>", "</bb>", "</b>", "</c>"};
    long previous[8] = {};
    for (int i = 0; i < 50000; ++i) {
        const int k = int(rng() % 8);
        const std::string p = patterns[k];
        const long off = rng() % 2 ? 0 : long(rng() % size);
        const long len = rng() % 4 ? size - off : long(rng() % (size - off + 1));
        long from =
            rng() % 2 ? long(text.rfind(p, previous[k] - 1)) - off : long(rng() % (len + 1));
        from = from < 0 || from > len ? 0 : from;
        const size_t hit = text.find(p, size_t(off + from));
        const long expected =
            hit != std::string::npos && long(hit + p.size()) <= off + len ? long(hit) - off : -1;
        ASSERT_EQ(scanner.view(off, len).find(p, from), expected) << p << " " << off << "+" << from;
        previous[k] = expected >= 0 ? off + expected : previous[k];
    }
}
