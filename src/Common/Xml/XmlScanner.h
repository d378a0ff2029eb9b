//===- Common/Xml/XmlScanner.h - The element scanner behind LoadXML -------===//
//
// Internal to the library. XmlScanner answers "first occurrence of this
// string at or after this position, inside this span" over one text, and
// loads elements from spans of that text by the scanner rules described in
// XmlDocument.h.
//
// A plain transcription of those rules repeats searches over the rest of the
// text for every element (a missing `</name>` of a self-closing element, a
// declaration looked for in every nested element), which is quadratic on
// large documents. Large texts are therefore indexed once: the positions of
// each searched string, and of every `</name>` by name, are collected in one
// pass, and a search is a binary search. The answers are exactly those of a
// direct search. Elements are loaded from an explicit work list, not by
// recursion, so nesting depth is bounded by memory, not by the stack.
//
//===----------------------------------------------------------------------===//
#ifndef VEMLO_SRC_COMMON_XML_XMLSCANNER_H
#define VEMLO_SRC_COMMON_XML_XMLSCANNER_H

#include <Vemlo/Common/Xml/Node.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Vemlo {
namespace Common {
namespace Xml {

class XmlScanner {
public:
    XmlScanner(const char* data, size_t size);

    // A window on the text; positions are relative to its start, and a
    // failed search, or one from a negative position, gives -1.
    struct View {
        XmlScanner* scanner;
        long off;
        long len;

        long find(std::string_view pattern, long from) const;
        // The first blank at or after `from` when it comes before `to`, else
        // -1. The scanner compares a blank's position only with the '>' that
        // follows, so a later blank never changes a result.
        long blankBefore(long from, long to) const;
        char at(long i) const { return scanner->m_data[off + i]; }
        bool startsWith(long i, std::string_view prefix) const;
        // The characters [from, to).
        std::string str(long from, long to) const;
    };

    View view(long off, long len) { return View{this, off, len}; }

    // Fills `node` from the element text [off, off + len): returns what
    // Node::LoadXML returns for that text. Child elements are loaded too.
    int load(Node* node, long off, long len);

    // "</name>", as the library has always formatted it (cut at 2047
    // characters, the ceiling of String::Format).
    static std::string endTagFor(std::string_view name);

    // `len`, shortened to stop before the first zero byte from `off`.
    long cutAtNul(long off, long len) const;

private:
    struct Pending {
        Node* node;
        long off;
        long len;
    };

    // Where one searched string occurs, in order; `hint` is the index the
    // last search ended at, since searches mostly move forward.
    struct Occurrences {
        std::string pattern;
        uint32_t key = 0; // a short pattern as a number, 0 for a longer one

        std::vector<uint32_t> positions;
        size_t hint;
    };

    // First occurrence of `pattern` at or after `from` that ends by `limit`
    // (absolute positions), or -1.
    long find(std::string_view pattern, long from, long limit);
    Occurrences& occurrences(std::string_view pattern);
    static long seek(Occurrences& index, long from);
    void buildEndTagIndex();
    int loadOne(Node* node, long off, long len, std::vector<Pending>& pending);
    // What the start tag of an element tells: where it starts, its '>', the
    // first blank before that '>' (or -1), and the element's name.
    struct StartTag {
        long start;
        long gt;
        long sp;
        std::string name;
    };
    static bool readStartTag(const View& v, StartTag& tag);
    // loadChildren's answer for a content without child elements.
    static constexpr int kNoChildren = -1;
    int loadChildren(Node* node, const View& content, std::vector<Pending>& pending);

    const char* m_data;
    long m_size;
    bool m_indexed;
    // A deque keeps the references handed out valid as strings are added.
    std::deque<Occurrences> m_occurrences;
    bool m_endTagsBuilt = false;
    std::unordered_map<std::string_view, Occurrences> m_endTags;
};

} // namespace Xml
} // namespace Common
} // namespace Vemlo

#endif // VEMLO_SRC_COMMON_XML_XMLSCANNER_H
