//===- Testor.cpp - The on-device self-test -------------------------------===//
#include <Vemlo/Testor.h>

#include <Vemlo/Common/Convertor/Aes.h>
#include <Vemlo/Common/Convertor/Base64.h>
#include <Vemlo/Common/Convertor/CRC16.h>
#include <Vemlo/Common/Convertor/CRC32.h>
#include <Vemlo/Common/Exception.h>
#include <Vemlo/Common/Xml/Attribute.h>
#include <Vemlo/Common/Xml/XmlDocument.h>
#include <Vemlo/Common/Xml/XmlException.h>
#include <Vemlo/Config/ConfigurationManager.h>
#include <Vemlo/Data/Collection/HashTable.h>
#include <Vemlo/Data/Collection/Iterator.h>
#include <Vemlo/Data/Properties/FileProperty.h>
#include <Vemlo/Data/Properties/IProperty.h>
#include <Vemlo/Data/Properties/PropertyBuilder.h>
#include <Vemlo/Data/Properties/PropertyException.h>
#include <Vemlo/Log/FileLog.h>
#include <Vemlo/Log/Logger.h>
#include <Vemlo/StringUtil.h>
#include <Vemlo/Version.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* orNull(const char* s) {
    return s ? s : "(null)";
}

bool isFolder(const char* path) {
    struct stat info;
    return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

Testor::Testor() : m_nPassed(0), m_nFailed(0) {}

Testor::~Testor() = default;

bool Testor::Check(const char* name, bool ok, const char* expected, const char* actual) {
    if (ok) {
        ++m_nPassed;
        std::printf("[PASS] %s\n", name);
    } else {
        ++m_nFailed;
        std::printf("[FAIL] %s: expected %s, got %s\n", name, expected, actual);
    }
    std::fflush(stdout);
    return ok;
}

bool Testor::CheckText(const char* name, const char* expected, const char* actual) {
    const bool ok = actual && std::strcmp(expected, actual) == 0;
    String e, a;
    e.Format("\"%s\"", expected);
    a.Format(actual ? "\"%s\"" : "%s", orNull(actual));
    return Check(name, ok, e.c_str(), a.c_str());
}

bool Testor::CheckInt(const char* name, long expected, long actual) {
    String e, a;
    e.Format("%ld", expected);
    a.Format("%ld", actual);
    return Check(name, expected == actual, e.c_str(), a.c_str());
}

String Testor::ScratchFolder() {
    const char* base = std::getenv("VEMLO_WORKING_DIRECTORY");
    String folder;
    folder.Format("%s/Vemlo/Testor", base ? base : ".");
    mkdir(folder.c_str(), 0755);
    return folder;
}

int Testor::StringTest() {
    const int before = m_nFailed;
    String s;
    s.Format("%s-%03d", "unit", 7);
    CheckText("String::Format", "unit-007", s.c_str());
    String r("a,b,c");
    CheckText("String::Replace replaces the first occurrence", "a;b,c",
              r.Replace(",", ";").c_str());
    CheckText("String::Replace with a count", "a;b;c",
              String("a,b,c").Replace(",", ";", 5).c_str());
    CheckText("String::TrimLeft and TrimRight", "x",
              String(" \tx\r\n").TrimLeft().TrimRight().c_str());
    CheckText("String::ToUpper leaves the last character", "ABc", String("abc").ToUpper().c_str());
    String self("kept?");
    String& alias = self;
    self = alias;
    CheckText("String assigned to itself is empty", "", self.c_str());
    return m_nFailed - before;
}

int Testor::CollectionTest() {
    using namespace Vemlo::Data::Collection;
    const int before = m_nFailed;
    ArrayList list;
    list.Add("first");
    list.Add("second");
    CheckInt("ArrayList::Count", 2, list.Count());
    CheckText("ArrayList::AtString", "second", list.AtString(1));
    Check("ArrayList::At out of range is null", list.At(2) == nullptr, "null", "an item");
    list.RemoveAt(0);
    CheckText("ArrayList::RemoveAt closes the gap", "second", list.AtString(0));

    HashTable table;
    table.AddObj("port", "8080");
    table.AddObj("host", "device");
    table.AddObj("port", "9090");
    CheckInt("HashTable keeps one entry per key", 2, table.getCount());
    CheckText("HashTable::getStringValue", "9090", table.getStringValue("port"));

    Iterator parts;
    const int found = StringUtil::SplitString(&parts, "a::b::", "::");
    CheckInt("StringUtil::SplitString finds the separator", 1, found);
    String joined;
    parts.Reset();
    while (parts.MoveNext())
        joined.append("[").append(parts.getCurrentString()).append("]");
    CheckText("StringUtil::SplitString keeps empty pieces", "[a][b][]", joined.c_str());

    Version older("1.9.0"), newer("1.10.0");
    Check("Version compares numerically", newer > older, "1.10.0 > 1.9.0", "not greater");
    return m_nFailed - before;
}

int Testor::XmlTest() {
    using namespace Vemlo::Common::Xml;
    const int before = m_nFailed;
    String path = ScratchFolder();
    path.append("/xmltest.xml");
    XmlDocument doc;
    Node* root = new Node("Device");
    root->addAttribute(new Attribute("id", "7"));
    root->addChild(new Node("Name", "pump"));
    doc.addChild(root);
    CheckInt("XmlDocument::WriteXMLFile", 1, doc.WriteXMLFile(path.c_str()));
    XmlDocument loaded;
    try {
        CheckInt("XmlDocument::LoadXMLFile", 1, loaded.LoadXMLFile(path.c_str()));
        Node* name = loaded.getNodeByName("Name");
        CheckText("XML value read back", "pump", name ? name->getValue() : nullptr);
        Attribute* id =
            loaded.getFirstChild() ? loaded.getFirstChild()->getAttributeByName("id") : nullptr;
        CheckText("XML attribute read back", "7", id ? id->getValue() : nullptr);
    } catch (XmlException* e) {
        Check("XmlDocument::LoadXMLFile", false, "no exception", e->GetMessage());
        delete e;
    }
    XmlDocument quoted;
    quoted.LoadXML(String("<a x='1'>t</a>"));
    Attribute* x =
        quoted.getFirstChild() ? quoted.getFirstChild()->getAttributeByName("x") : nullptr;
    CheckText("XML single-quoted attribute", "1", x ? x->getValue() : nullptr);
    std::remove(path.c_str());
    return m_nFailed - before;
}

int Testor::ConfigTest() {
    using namespace Vemlo::Data::Properties;
    const int before = m_nFailed;
    try {
        IProperty* config = Vemlo::Config::ConfigurationManager::GetManager()->getInstance();
        const char* level = config ? config->getValue("Base.Log.Level") : nullptr;
        Check("configuration has Base.Log.Level", level && *level, "a level", orNull(level));
        const char* spool = config ? config->getValue("Base.Http.TempPath") : nullptr;
        Check("configuration has Base.Http.TempPath", spool && *spool, "a path", orNull(spool));
    } catch (Vemlo::Common::Exception* e) {
        Check("configuration loads", false, "no exception", e->GetMessage());
        delete e;
    }

    String path = ScratchFolder();
    path.append("/testor.properties");
    std::remove(path.c_str());
    try {
        FileProperty written(path.c_str());
        written.setValue("Device.Port", "8080");
        CheckInt("FileProperty::Update", 1, written.Update());
        FileProperty reread(path.c_str());
        CheckText("property read back from the file", "8080", reread.getValue("Device.Port"));
        reread.setPrefix("Device");
        CheckText("prefix applies to reads", "8080", reread.getValue("Port"));
    } catch (Vemlo::Data::Properties::PropertyException* e) {
        // Thrown by the library and caught only here: ours to delete.
        Check("property file", false, "no exception", "an exception");
        delete e;
    } catch (...) {
        Check("property file", false, "no exception", "an exception");
    }
    std::remove(path.c_str());
    return m_nFailed - before;
}

int Testor::PathTest() {
    const int before = m_nFailed;
    const char* base = std::getenv("VEMLO_WORKING_DIRECTORY");
    Check("VEMLO_WORKING_DIRECTORY is set", base && *base, "a folder", orNull(base));
    if (!base)
        return m_nFailed - before;
    Check("working directory is a folder", isFolder(base), "a folder", base);
    String conf;
    conf.Format("%s/Vemlo/Conf/default.config", base);
    Check("configuration file exists", access(conf.c_str(), R_OK) == 0, "readable", conf.c_str());
    String scratch = ScratchFolder();
    Check("working directory is writable", access(scratch.c_str(), W_OK) == 0, "writable",
          scratch.c_str());
    rmdir(scratch.c_str());
    return m_nFailed - before;
}

int Testor::LogTest() {
    const int before = m_nFailed;
    Vemlo::Log::FileLog* log = Vemlo::Log::Logger::getLogger()->getLog("[Vemlo]");
    if (!Check("Logger hands out the \"[Vemlo]\" channel", log != nullptr, "a channel", "null"))
        return m_nFailed - before;
    Check("Logger returns the same channel again",
          Vemlo::Log::Logger::getLogger()->getLog("[Vemlo]") == log, "the same channel", "another");
    const char* base = std::getenv("VEMLO_WORKING_DIRECTORY");
    String folder;
    folder.Format("%s/Vemlo/Log/", base ? base : "");
    CheckText("channel folder", folder.c_str(), log->getDirectory());
    Check("channel identity names the process", std::strncmp(log->getName(), "[Vemlo](", 8) == 0,
          "\"[Vemlo](<process>)\"", log->getName());
    // Reaches the system log when a logger listens; never fails the check.
    log->WriteInfo("[Testor::LogTest] self-test line, pid %d", static_cast<int>(getpid()));
    return m_nFailed - before;
}

int Testor::ConvertTest() {
    using namespace Vemlo::Common::Convertor;
    const int before = m_nFailed;
    const unsigned char check[] = "123456789";
    // CRC catalogue check values for "123456789".
    CheckInt("CRC32 check value", 0xCBF43926L, static_cast<long>(CRC32::crc32(0, check, 9)));
    CheckInt("CRC16 (KERMIT) check value", 0x2189, static_cast<long>(CRC16::crc16(check, 9)));

    // RFC 4648 section 10.
    unsigned char text[] = "foobar";
    int length = 0;
    char* encoded = Base64::_base64_encode(text, 6, &length);
    CheckText("Base64 encode", "Zm9vYmFy", encoded);
    unsigned char decoded[16] = {0};
    const int n = encoded ? Base64::_base64_decode(reinterpret_cast<unsigned char*>(encoded),
                                                   static_cast<int>(std::strlen(encoded)), decoded)
                          : -1;
    CheckText("Base64 decode", "foobar", n == 6 ? reinterpret_cast<char*>(decoded) : "");
    std::free(encoded);

    // FIPS-197 appendix C.1.
    unsigned char key[16], plain[16], out[16];
    for (int i = 0; i < 16; ++i) {
        key[i] = static_cast<unsigned char>(i);
        plain[i] = static_cast<unsigned char>(i * 0x11);
    }
    static const unsigned char expected[16] = {0x69, 0xc4, 0xe0, 0xd8, 0x6a, 0x7b, 0x04, 0x30,
                                               0xd8, 0xcd, 0xb7, 0x80, 0x70, 0xb4, 0xc5, 0x5a};
    AES_KEY schedule;
    Aes::AESSetEncryptKey(key, 128, &schedule);
    Aes::AESEncrypt(plain, out, &schedule);
    Check("AES-128 FIPS-197 C.1", std::memcmp(out, expected, 16) == 0, "69c4e0d8...c55a",
          "another block");
    return m_nFailed - before;
}

int Testor::Run() {
    XmlTest();
    ConfigTest();
    PathTest();
    LogTest();
    CollectionTest();
    ConvertTest();
    StringTest();
    rmdir(ScratchFolder().c_str()); // the routines removed what they wrote in it
    std::printf("%d passed, %d failed\n", m_nPassed, m_nFailed);
    std::fflush(stdout);
    return m_nFailed;
}
