//===- Data/Properties/XmlProperty.cpp - Properties in an XML file --------===//
#include <Vemlo/Data/Properties/XmlProperty.h>

#include <Vemlo/Common/Exception.h>
#include <Vemlo/Common/Xml/Node.h>
#include <Vemlo/Common/Xml/XmlDocument.h>
#include <Vemlo/Data/Collection/HashElement.h>
#include <Vemlo/Data/Collection/HashTable.h>

#include "Data/Properties/FileReplace.h"
#include "Support/Io.h"
#include "Support/Text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Vemlo {
namespace Data {
namespace Properties {

using Vemlo::Common::Xml::Node;
using Vemlo::Common::Xml::XmlDocument;

namespace {

using Vemlo::detail::isBlank;

// What a new file holds (29 bytes, no newline).
const char kEmptyDocument[] = "<FileProperty></FileProperty>";
// Read buffer: chunks of up to 2000 bytes, zero-terminated.
constexpr size_t kChunkSize = 2000;
// Keys below the top level are formatted, and so cut, at this length.
constexpr size_t kMaxKeyLength = 2047;

// `value` without the blanks the reader trims.
std::string trimmed(const char* value) {
    const char* first = value;
    const char* last = value + std::strlen(value);
    while (first < last && isBlank(*first))
        ++first;
    while (last > first && isBlank(last[-1]))
        --last;
    return std::string(first, last);
}

// True when `copy` has the elements of `original`: the same names in the same
// shape, and the same leaf texts up to the blanks around them (the only
// difference writing and reading back may make). Walks without recursion.
bool sameEntries(const Node& original, const Node& copy) {
    std::vector<std::pair<const Node*, const Node*>> pending{{&original, &copy}};
    while (!pending.empty()) {
        const Node* a = pending.back().first;
        const Node* b = pending.back().second;
        pending.pop_back();
        if (std::strcmp(a->getName(), b->getName()) != 0)
            return false;
        const int count = a->getChildNodeSize();
        if (count != b->getChildNodeSize())
            return false;
        if (count == 0) {
            if (trimmed(a->getValue()) != trimmed(b->getValue()))
                return false;
            continue;
        }
        for (int i = 0; i < count; ++i) {
            const Node* childA = a->getChildNode(i);
            const Node* childB = b->getChildNode(i);
            if (!childA || !childB) {
                if (childA != childB)
                    return false;
                continue;
            }
            pending.emplace_back(childA, childB);
        }
    }
    return true;
}

// True when `text`, the written form of `document`, loads back into the same
// entries.
bool loadsBack(const XmlDocument& document, const char* text) {
    XmlDocument copy;
    try {
        if (copy.LoadXML(String(text)) == 0)
            return false;
    } catch (Vemlo::Common::Exception* e) {
        delete e;
        return false;
    }
    const Node* original = document.getFirstChild();
    const Node* reread = copy.getFirstChild();
    if (!original || !reread)
        return original == reread;
    // Only the first top-level element is ever read back.
    return document.getChildNodeSize() == 1 && sameEntries(*original, *reread);
}

// Finds or creates the element of a dotted key below `root`: each part is
// the first child of that name (the search stops at a null child), or a new
// child appended when there is none. The children of every element searched
// are indexed on first use, so that writing many keys below one element does
// not scan its children again for each key.
class NodeFinder {
public:
    explicit NodeFinder(Node* root) : m_root(root) {}

    Node* find(const std::string& key) {
        Node* current = m_root;
        size_t begin = 0;
        // Every '.' separates two parts; empty parts are kept.
        for (;;) {
            const size_t dot = key.find('.', begin);
            const std::string part =
                key.substr(begin, dot == std::string::npos ? std::string::npos : dot - begin);
            Index& index = indexOf(current);
            auto found = index.first.find(part);
            if (found != index.first.end()) {
                current = found->second;
            } else {
                Node* child = new Node;
                child->setName(part.c_str());
                current->addChild(child);
                // Past a null child the search would not see it.
                if (!index.blocked)
                    index.first.emplace(part, child);
                current = child;
            }
            if (dot == std::string::npos)
                return current;
            begin = dot + 1;
        }
    }

private:
    struct Index {
        std::unordered_map<std::string, Node*> first;
        bool blocked = false; // a null child ends the search
    };

    Index& indexOf(Node* parent) {
        auto existing = m_indexes.find(parent);
        if (existing != m_indexes.end())
            return existing->second;
        Index& index = m_indexes[parent];
        const int count = parent->getChildNodeSize();
        for (int i = 0; i < count; ++i) {
            Node* child = parent->getChildNode(i);
            if (!child) {
                index.blocked = true;
                break;
            }
            index.first.emplace(child->getName(), child); // keeps the first of a name
        }
        return index;
    }

    Node* m_root;
    std::unordered_map<const Node*, Index> m_indexes;
};

// True for a name the reader takes back as it is written: letters, digits,
// '_' and '-' only.
bool isPlainName(const std::string& name) {
    if (name.empty())
        return false;
    for (char c : name) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                           (c >= '0' && c <= '9') || c == '_' || c == '-';
        if (!plain)
            return false;
    }
    return true;
}

// A quick test that needs no writing: every part of the key a plain name, no
// name twice on the path from the root (the reader would end the outer
// element at the inner one's end tag), no markup in the value.
bool isPlainEntry(const char* rootName, const std::string& key, const char* value) {
    if (std::strpbrk(value, "<>"))
        return false;
    std::vector<std::string> path{rootName};
    size_t begin = 0;
    for (;;) {
        const size_t dot = key.find('.', begin);
        std::string part =
            key.substr(begin, dot == std::string::npos ? std::string::npos : dot - begin);
        if (!isPlainName(part))
            return false;
        for (const std::string& above : path)
            if (above == part)
                return false;
        if (dot == std::string::npos)
            return true;
        path.push_back(std::move(part));
        begin = dot + 1;
    }
}

// True when the element of `key` holding `value`, written alone below a root
// named `rootName`, loads back as the same entry.
bool entryLoadsBack(const char* rootName, const std::string& key, const char* value) {
    if (isPlainEntry(rootName, key, value))
        return true;
    XmlDocument alone;
    Node* root = new Node;
    root->setName(rootName);
    alone.addChild(root);
    NodeFinder(root).find(key)->setValue(value);
    return loadsBack(alone, alone.getInnerXml());
}

// Reports an entry that Update leaves out, on one line whatever its key holds.
void reportLeftOut(int index, const char* key) {
    std::string shown(key);
    for (char& c : shown)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = '?';
    std::printf("[XmlProperty::Update] update fail %d element [%s] would not load back\n", index,
                shown.c_str());
    std::fflush(stdout);
}

} // namespace

XmlProperty::XmlProperty() : m_pDocument(nullptr) {}

XmlProperty::~XmlProperty() {
    delete m_pDocument;
    m_pDocument = nullptr;
}

int XmlProperty::Load(const char* path) {
    if (IsValidate(path) == 0)
        return 0;
    const Node* root = m_pDocument->getFirstChild();
    if (!root)
        return 0;
    const int count = root->getChildNodeSize();
    for (int i = 0; i < count; ++i)
        ParseNodes(root->getChildNode(i), String());
    return count;
}

int XmlProperty::IsValidate(const char* path) {
    // The file is read once per object.
    if (m_pDocument)
        return 1;
    if (!path)
        return 0;
    m_pDocument = new XmlDocument;
    FILE* file = std::fopen(path, "rb");
    if (!file) {
        const int error = errno;
        std::printf("xml property file [%s] does not exist \n", path);
        // Only a missing file is created: one that exists but cannot be read
        // must not be truncated by opening it for writing.
        // Created whole or not at all, even when the power fails meanwhile.
        if (error == ENOENT &&
            FileReplace::Replace(path, kEmptyDocument, sizeof kEmptyDocument - 1)) {
            m_pDocument->LoadXML(String(kEmptyDocument));
            return 1;
        }
    } else {
        std::printf("xml property file [%s] exists \n", path);
        Vemlo::detail::FileCloser closer(file);
        std::string text;
        char chunk[kChunkSize + 1];
        for (;;) {
            std::memset(chunk, 0, sizeof chunk);
            const size_t count = std::fread(chunk, 1, kChunkSize, file);
            if (count < 1)
                break;
            // A zero byte ends the chunk's text.
            text.append(chunk, strnlen(chunk, count));
        }
        closer.close();
        try {
            if (m_pDocument->LoadXML(String(text)) != 0)
                return 1;
        } catch (...) {
            // No half-read document is kept: the next call reads the file again.
            delete m_pDocument;
            m_pDocument = nullptr;
            throw;
        }
    }
    delete m_pDocument;
    m_pDocument = nullptr;
    return 0;
}

int XmlProperty::Update(const char* path) {
    if (!path)
        return 0;
    // Entries set before any Load go into the file's own elements.
    if (!m_pDocument && IsValidate(path) == 0)
        return 0;
    Node* root = m_pDocument->getFirstChild();
    if (!root)
        return 0;
    // Each key's element as getNode finds or creates it. An entry the format
    // cannot hold (markup in its value, a key part that is no element name)
    // would leave a file that no longer loads, or loads other entries: it is
    // left out and reported, and every other entry is written.
    NodeFinder finder(root);
    const char* rootName = root->getName();
    bool complete = true;
    Vemlo::Data::Collection::HashTable* table = getTable();
    const int count = table->getCount();
    for (int i = 0; i < count; ++i) {
        auto* element = dynamic_cast<Vemlo::Data::Collection::HashElement*>(table->At(i));
        if (!element) {
            std::printf("[XmlProperty::Update] update fail %d element is NULL", i);
            std::fflush(stdout);
            return 0;
        }
        const char* key = element->getKey();
        const char* value = element->getStringValue();
        if (!value)
            value = ""; // a value that is no text is written empty
        if (!entryLoadsBack(rootName, key, value)) {
            reportLeftOut(i, key);
            complete = false;
            continue;
        }
        finder.find(key)->setValue(value);
    }

    const char* text = m_pDocument->getInnerXml();
    // What the document held before (a file with elements this writer cannot
    // reproduce) may still not load back: the old file is kept then.
    if (!loadsBack(*m_pDocument, text)) {
        std::printf("[XmlProperty::Update] update fail [%s] would not load back\n", path);
        std::fflush(stdout);
        return 0;
    }
    // Replaced through a temporary file, so that a power cut leaves the old
    // file or the new one, each loadable.
    if (!FileReplace::Replace(path, text, std::strlen(text)))
        return 0;
    return complete ? 1 : 0;
}

int XmlProperty::ParseNodes(void* node, String prefix) {
    Node* start = static_cast<Node*>(node);
    if (!start)
        return 0;

    // The key of the element being visited, grown and cut back as the walk
    // goes down and up; an element's key is its name alone under an empty
    // prefix, else "<prefix>.<name>" cut at 2047 bytes.
    std::string key = prefix.str();
    struct Frame {
        const Node* node;
        int next;
        size_t parentLength;
        std::string parentKey; // only when the parent's key was longer than the cut
    };
    std::vector<Frame> stack;
    auto enter = [&](const Node* element) {
        Frame frame{element, 0, key.size(), std::string()};
        const char* name = element->getName();
        if (key.empty()) {
            key = name;
        } else if (key.size() > kMaxKeyLength) {
            frame.parentKey = key;
            key.append(".").append(name);
            key.resize(kMaxKeyLength);
        } else {
            key.append(".").append(name);
            if (key.size() > kMaxKeyLength)
                key.resize(kMaxKeyLength);
        }
        stack.push_back(std::move(frame));
    };

    int stored = 0;
    enter(start);
    while (!stack.empty()) {
        Frame& top = stack.back();
        const Node* current = top.node;
        if (top.next < current->getChildNodeSize()) {
            const Node* child = current->getChildNode(top.next++);
            if (child)
                enter(child);
            continue;
        }
        // An element with children is a branch, not an entry, even with text.
        if (current->getChildNodeSize() == 0) {
            setValue(key.c_str(), current->getValue());
            ++stored;
        }
        if (!top.parentKey.empty())
            key.swap(top.parentKey);
        else
            key.resize(top.parentLength);
        stack.pop_back();
    }
    return stored;
}

Node* XmlProperty::getNode(String key) {
    if (!m_pDocument)
        return nullptr;
    Node* root = m_pDocument->getFirstChild();
    if (!root)
        return nullptr;
    return NodeFinder(root).find(key.str());
}

} // namespace Properties
} // namespace Data
} // namespace Vemlo
