//===- Common/Xml/XmlDocument.cpp - Load, search and save XML -------------===//
#include <Vemlo/Common/Xml/XmlDocument.h>

#include <Vemlo/Common/Xml/XmlException.h>

#include "Common/Xml/XmlScanner.h"
#include "Support/Io.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include <sys/stat.h>

namespace Vemlo {
namespace Common {
namespace Xml {

XmlDocument::XmlDocument() = default;

XmlDocument::~XmlDocument() {
    removeAll();
}

int XmlDocument::LoadXML(String xml) {
    try {
        // c_str(), not data(): with the copy-on-write strings of the older
        // string ABI, data() first unshares the text from the caller's copy,
        // an allocation that, failing, would abort the program.
        XmlScanner scanner(xml.c_str(), xml.size());
        const XmlScanner::View text = scanner.view(0, static_cast<long>(xml.size()));

        const long decl = text.find("?>", 0);
        const long lt = text.find("<", decl < 0 ? 0 : decl);
        const long gt = text.find(">", lt);
        const long sp = text.blankBefore(lt, gt);
        long nameEnd;
        if (sp >= 1 && sp < gt) {
            nameEnd = sp;
        } else {
            if (gt < 1)
                return getChildNodeSize() > 0 ? 1 : 0;
            nameEnd = gt;
        }
        const std::string rootName = text.str(lt + 1, nameEnd);
        const std::string endTag = XmlScanner::endTagFor(rootName);
        const long end = text.find(endTag, lt);
        if (end >= 0) {
            Node* root = new Node;
            addChild(root);
            const long len = end + static_cast<long>(endTag.size()) - lt;
            scanner.load(root, lt, scanner.cutAtNul(lt, len));
            return 1;
        }
        // An empty root name has no last character: the range error this
        // raises is reported below, as it always has been.
        if (rootName.at(rootName.length() - 1) != '/')
            return 0;
        const long selfClose = text.find("/>", lt);
        if (selfClose < 0)
            return 0;
        // The text handed on leaves out the '<', so `<root/>` loads as one
        // unnamed, empty element; files that rely on it load the same way.
        Node* root = new Node;
        addChild(root);
        const long len = selfClose + 2 - (lt + 1);
        scanner.load(root, lt + 1, scanner.cutAtNul(lt + 1, len));
        return 1;
    } catch (const std::exception& e) {
        String message;
        message.Format("Error to load xml document : %s", e.what());
        throw new XmlException(message.c_str(), 7241);
    } catch (...) {
        String message;
        message.Format("Error to load xml document : %.10s", xml.c_str());
        throw new XmlException(message.c_str(), 7241);
    }
}

int XmlDocument::LoadXMLFile(const char* path) {
    m_sFileName = path;
    FILE* file = std::fopen(m_sFileName.c_str(), "rb");
    if (!file) {
        String message;
        message.Format("fopen error : %s", m_sFileName.c_str());
        throw new XmlException(message.c_str());
    }
    Vemlo::detail::FileCloser closer(file);
    // A folder, or a file whose size cannot be told, reads as nothing.
    struct stat info;
    long length = -1;
    if (fstat(fileno(file), &info) == 0 && !S_ISDIR(info.st_mode) &&
        std::fseek(file, 0, SEEK_END) == 0)
        length = std::ftell(file);
    std::fseek(file, 0, SEEK_SET);
    char* buffer =
        length >= 0 ? static_cast<char*>(std::calloc(static_cast<size_t>(length) + 1, 1)) : nullptr;
    const size_t count = buffer ? std::fread(buffer, 1, static_cast<size_t>(length) + 1, file) : 0;
    if (!buffer || static_cast<long>(count) != length) {
        std::free(buffer);
        closer.close();
        String message;
        message.Format("Read Error: nRead=%d, lLength=%d", static_cast<int>(count),
                       static_cast<int>(length + 1));
        throw new XmlException(message.c_str());
    }
    closer.close();
    const String text(buffer); // the text ends at the first zero byte
    std::free(buffer);
    const int result = LoadXML(text);
    m_sFileName = path;
    return result;
}

const char* XmlDocument::getInnerXml() {
    m_sOutput.clear();
    Node::getInnerXml(&m_sOutput);
    return m_sOutput.c_str();
}

int XmlDocument::WriteXMLFile(const char* path) {
    const char* target = path && *path ? path : m_sFileName.c_str();
    FILE* file = std::fopen(target, "wb");
    if (!file)
        return 0;
    Vemlo::detail::FileCloser closer(file);
    getInnerXml();
    std::fwrite(m_sOutput.data(), 1, m_sOutput.size(), file);
    return 1;
}

NodeList* XmlDocument::getNodeListByName(const char* name) {
    NodeList* list = new NodeList;
    for (int i = 0; i < getChildNodeSize(); ++i)
        if (Node* child = getChildNode(i))
            child->getNodeListByName(name, reinterpret_cast<long*>(list));
    if (list->getNodeCount() == 0) {
        delete list;
        return nullptr;
    }
    return list;
}

} // namespace Xml
} // namespace Common
} // namespace Vemlo
