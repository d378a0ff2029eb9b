//===- Common/Xml/XmlScanner.cpp - The element scanner behind LoadXML -----===//
#include "Common/Xml/XmlScanner.h"
#include "Support/Text.h"

#include <Vemlo/Common/Xml/Attribute.h>

#include <algorithm>
#include <cstring>

namespace Vemlo {
namespace Common {
namespace Xml {

namespace {

using Vemlo::detail::isBlank;

// Texts below this size are searched directly; an index does not pay.
constexpr long kIndexFrom = 8192;
// Spans this short are searched directly even in an indexed text.
constexpr long kDirectSpan = 256;
// `</name>` tags with longer names are searched directly.
constexpr size_t kMaxIndexedName = 256;
// String::Format's ceiling, which end tags have always been cut at.
constexpr size_t kFormatLimit = 2047;

long directFind(const char* data, std::string_view pattern, long from, long limit) {
    const size_t m = pattern.size();
    if (m == 0)
        return from;
    if (limit - from < static_cast<long>(m))
        return -1;
    if (m > 16) {
        const void* hit = memmem(data + from, static_cast<size_t>(limit - from), pattern.data(), m);
        return hit ? static_cast<const char*>(hit) - data : -1;
    }
    // The strings searched are short: find the first character, compare the
    // rest. Cheaper than memmem's set-up on the short spans of one element.
    const char* at = data + from;
    const char* const last = data + limit - m; // the last place a match can start
    while (at <= last) {
        at = static_cast<const char*>(
            std::memchr(at, pattern[0], static_cast<size_t>(last - at) + 1));
        if (!at)
            return -1;
        if (std::memcmp(at + 1, pattern.data() + 1, m - 1) == 0)
            return at - data;
        ++at;
    }
    return -1;
}

// The length and the first three characters of a pattern of up to three
// characters, as one number (never 0); 0 for a longer one.
inline uint32_t shortKey(std::string_view p) {
    if (p.empty() || p.size() > 3)
        return 0;
    uint32_t key = static_cast<uint32_t>(p.size());
    for (size_t i = 0; i < p.size(); ++i)
        key |= static_cast<uint32_t>(static_cast<unsigned char>(p[i])) << (8 * (i + 1));
    return key;
}

bool isIndexableEndTag(std::string_view p) {
    return p.size() >= 3 && p.size() - 3 <= kMaxIndexedName && p[0] == '<' && p[1] == '/' &&
           p.back() == '>' && p.substr(2, p.size() - 3).find('>') == std::string_view::npos;
}

// Reads the attributes of a start tag from the text between the blank after
// the name and the end of the tag.
void loadAttributes(Node* node, std::string s) {
    // Up to ten single quotes become double quotes; later ones stay. (The
    // same text as String::Replace("'", "\"", 10) gives, without its ten
    // passes over copies.)
    size_t quote = 0;
    for (int replaced = 0; replaced < 10; ++replaced) {
        quote = s.find('\'', quote);
        if (quote == std::string::npos)
            break;
        s[quote] = '"';
    }
    size_t pieceStart = 0, pos = 0;
    bool open = false;
    for (;;) {
        const size_t q = s.find('"', pos);
        if (q == std::string::npos)
            break;
        if (!open) {
            open = true;
            pos = q + 1;
            continue;
        }
        // The piece runs through the closing quote, blanks on its left
        // trimmed; it is handed over in place, ended by a zero byte for the
        // moment.
        size_t first = pieceStart;
        while (first <= q && isBlank(s[first]))
            ++first;
        const char saved = s[q + 1];
        s[q + 1] = '\0';
        Attribute* attribute = new Attribute;
        attribute->LoadXML(s.c_str() + first);
        node->addAttribute(attribute);
        s[q + 1] = saved;
        // The character after a closing quote is taken to be the blank that
        // separates attributes, and skipped.
        open = false;
        pos = pieceStart = q + 2;
    }
}

} // namespace

XmlScanner::XmlScanner(const char* data, size_t size)
    : m_data(data), m_size(static_cast<long>(size)), m_indexed(m_size >= kIndexFrom) {}

long XmlScanner::View::find(std::string_view pattern, long from) const {
    if (from < 0 || from > len)
        return -1;
    const long hit = scanner->find(pattern, off + from, off + len);
    return hit < 0 ? -1 : hit - off;
}

long XmlScanner::View::blankBefore(long from, long to) const {
    if (from < 0 || to <= from)
        return -1;
    const char* base = scanner->m_data + off;
    const void* hit = std::memchr(base + from, ' ', static_cast<size_t>(to - from));
    return hit ? static_cast<const char*>(hit) - base : -1;
}

bool XmlScanner::View::startsWith(long i, std::string_view prefix) const {
    return i >= 0 && len - i >= static_cast<long>(prefix.size()) &&
           std::memcmp(scanner->m_data + off + i, prefix.data(), prefix.size()) == 0;
}

std::string XmlScanner::View::str(long from, long to) const {
    return std::string(scanner->m_data + off + from, static_cast<size_t>(to - from));
}

std::string XmlScanner::endTagFor(std::string_view name) {
    // Built in one piece: this runs twice for every element.
    std::string tag(name.size() + 3, '>');
    tag[0] = '<';
    tag[1] = '/';
    std::memcpy(&tag[2], name.data(), name.size());
    if (tag.size() > kFormatLimit)
        tag.resize(kFormatLimit);
    return tag;
}

long XmlScanner::cutAtNul(long off, long len) const {
    const void* nul = std::memchr(m_data + off, '\0', static_cast<size_t>(len));
    return nul ? static_cast<const char*>(nul) - (m_data + off) : len;
}

long XmlScanner::find(std::string_view pattern, long from, long limit) {
    const long m = static_cast<long>(pattern.size());
    if (from + m > limit)
        return -1;
    if (!m_indexed || limit - from <= kDirectSpan || pattern.empty())
        return directFind(m_data, pattern, from, limit);

    Occurrences* index;
    if (pattern.size() >= 2 && pattern[0] == '<' && pattern[1] == '/') {
        if (!isIndexableEndTag(pattern))
            return directFind(m_data, pattern, from, limit);
        buildEndTagIndex();
        auto it = m_endTags.find(pattern.substr(2, pattern.size() - 3));
        if (it == m_endTags.end())
            return -1;
        index = &it->second;
    } else {
        index = &occurrences(pattern);
    }
    const long hit = seek(*index, from);
    return hit >= 0 && hit + m <= limit ? hit : -1;
}

// The first position at or after `from`, or -1: gallops forward from where
// the last search ended, or searches the part before it.
long XmlScanner::seek(Occurrences& index, long from) {
    const std::vector<uint32_t>& v = index.positions;
    const uint32_t target = static_cast<uint32_t>(from);
    const size_t n = v.size();
    size_t first = std::min(index.hint, n);
    if (first > 0 && v[first - 1] >= target) {
        first = std::lower_bound(v.begin(), v.begin() + first, target) - v.begin();
    } else if (first < n && v[first] < target) {
        size_t prev = first, step = 1, probe = first + 1;
        while (probe < n && v[probe] < target) {
            prev = probe;
            step <<= 1;
            probe = prev + step;
        }
        first = std::lower_bound(v.begin() + prev + 1, v.begin() + std::min(probe, n), target) -
                v.begin();
    }
    index.hint = first;
    return first < n ? static_cast<long>(v[first]) : -1;
}

XmlScanner::Occurrences& XmlScanner::occurrences(std::string_view pattern) {
    // A handful of fixed strings are searched, several times for every
    // element: a short list beats hashing, and the short strings (all of
    // them but the end tags, which have their own index) are told apart by
    // one number instead of a string comparison.
    const uint32_t key = shortKey(pattern);
    for (auto& known : m_occurrences)
        if (key != 0 ? known.key == key : known.pattern == pattern)
            return known;
    std::vector<uint32_t> positions;
    for (long at = directFind(m_data, pattern, 0, m_size); at >= 0;
         at = at + 1 + static_cast<long>(pattern.size()) <= m_size
                  ? directFind(m_data, pattern, at + 1, m_size)
                  : -1)
        positions.push_back(static_cast<uint32_t>(at));
    m_occurrences.push_back(Occurrences{std::string(pattern), key, std::move(positions), 0});
    return m_occurrences.back();
}

// Every `</name>` in the text, by name: each "</" pairs with the first '>'
// after it, which is the only way a name without '>' can end.
void XmlScanner::buildEndTagIndex() {
    if (m_endTagsBuilt)
        return;
    m_endTagsBuilt = true;
    const std::vector<uint32_t>& closers = occurrences(">").positions;
    for (uint32_t open : occurrences("</").positions) {
        auto gt = std::lower_bound(closers.begin(), closers.end(), open + 2);
        if (gt == closers.end())
            break;
        const size_t nameLength = *gt - (open + 2);
        if (nameLength <= kMaxIndexedName)
            m_endTags[std::string_view(m_data + open + 2, nameLength)].positions.push_back(open);
    }
}

int XmlScanner::load(Node* node, long off, long len) {
    std::vector<Pending> pending;
    pending.reserve(64);
    const int result = loadOne(node, off, len, pending);
    while (!pending.empty()) {
        const Pending next = pending.back();
        pending.pop_back();
        loadOne(next.node, next.off, next.len, pending); // a child's result is ignored
    }
    return result;
}

// The start tag of the element in `v`: a declaration is skipped, then the
// name is delimited by a blank or '>'. False when the tag has no end.
bool XmlScanner::readStartTag(const View& v, StartTag& tag) {
    const long decl = v.find("?>", 0);
    tag.start = v.find("<", decl < 0 ? 0 : decl);
    tag.gt = v.find(">", tag.start);
    tag.sp = v.blankBefore(tag.start, tag.gt);
    long nameEnd;
    if (tag.sp > 0 && tag.sp < tag.gt) {
        nameEnd = tag.sp;
    } else {
        if (tag.gt < 1)
            return false;
        nameEnd = tag.gt;
    }
    // `<br/>` is named "br": the first '/' becomes a blank, then blanks are
    // trimmed on the right as String::TrimRight does it (never the first
    // character).
    tag.name = v.str(tag.start + 1, nameEnd);
    const size_t slash = tag.name.find('/');
    if (slash != std::string::npos)
        tag.name[slash] = ' ';
    size_t nameLength = tag.name.size();
    while (nameLength > 1 && isBlank(tag.name[nameLength - 1]))
        --nameLength;
    tag.name.resize(nameLength);
    return true;
}

// Queues the spans of the child elements in `content` and adds their nodes
// to `node`: 1 when there were some, 0 when one has no end (the children
// added so far stay), kNoChildren when there are none.
int XmlScanner::loadChildren(Node* node, const View& content, std::vector<Pending>& pending) {
    for (long p = 0;;) {
        const long lt = content.find("<", p);
        const long cgt = content.find(">", lt);
        const long csp = content.blankBefore(lt, cgt);
        p = cgt;
        // A comment ends at its first '>'.
        if (cgt >= 1 && content.startsWith(lt, "<!--"))
            continue;
        long childNameEnd;
        if (csp > 0 && csp < cgt) {
            childNameEnd = csp;
        } else {
            if (cgt < 0)
                return kNoChildren;
            childNameEnd = cgt;
        }
        const std::string childTag = endTagFor(std::string_view(
            m_data + content.off + lt + 1, static_cast<size_t>(childNameEnd - (lt + 1))));
        long childEnd = content.find(childTag, lt);
        if (childEnd >= 0) {
            childEnd += static_cast<long>(childTag.size());
        } else {
            const long selfClose = content.find("/>", lt);
            if (selfClose < 0)
                return 0;
            childEnd = selfClose + 2;
        }
        Node* child = new Node;
        node->addChild(child);
        pending.push_back(Pending{child, content.off + lt, childEnd - lt});
        p = content.find("<", childEnd);
        if (p < 0)
            return 1; // the value stays as it was
    }
}

// One element: name, attributes, then either the spans of its child elements
// (queued in `pending`) or its value.
int XmlScanner::loadOne(Node* node, long off, long len, std::vector<Pending>& pending) {
    const View v = view(off, len);
    StartTag tag;
    if (!readStartTag(v, tag))
        return 0;
    node->setName(tag.name.c_str());

    const long tagEnd = v.at(tag.gt - 1) == '/' ? tag.gt - 1 : tag.gt;
    if (tag.sp >= 1 && tag.sp < tagEnd)
        loadAttributes(node, v.str(tag.sp, tagEnd));

    // The element ends at the first `</name>` after its start, or else at
    // the first "/>".
    long contentEnd = v.find(endTagFor(tag.name), tag.start);
    if (contentEnd < 0) {
        const long selfClose = v.find("/>", tag.start);
        if (selfClose < 0)
            return 0;
        contentEnd = selfClose + 2;
    }
    // The content starts after the text's first '>'. Should the end tag come
    // before it, the content runs to the end of the text, as a substring with
    // a negative length always has.
    const long contentStart = v.find(">", 0) + 1;
    const long contentLen =
        contentEnd >= contentStart ? contentEnd - contentStart : len - contentStart;
    const View content = view(off + contentStart, contentLen);

    const int children = loadChildren(node, content, pending);
    if (children != kNoChildren)
        return children;

    // No child element: the whole content, trimmed at both ends, is the value.
    long first = 0, last = content.len;
    while (first < last && isBlank(content.at(first)))
        ++first;
    while (last > first && isBlank(content.at(last - 1)))
        --last;
    node->setValue(content.str(first, last).c_str());
    return 1;
}

} // namespace Xml
} // namespace Common
} // namespace Vemlo
