//===- Data/Properties/XmlPropertyTest.cpp - Properties in an XML file ----===//
#include "support/TestConfig.h"

#include <csignal>
#include <cstdio>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

using Vemlo::Data::Properties::XmlProperty;
using VemloTest::ReadFile;
using VemloTest::TempDir;
using VemloTest::WriteFile;

namespace {

// Load with standard output captured into `output`.
int quietLoad(XmlProperty& p, const std::string& path, std::string* output = nullptr) {
    testing::internal::CaptureStdout();
    const int result = p.Load(path.c_str());
    const std::string text = testing::internal::GetCapturedStdout();
    if (output)
        *output = text;
    return result;
}

} // namespace

TEST(XmlPropertyTest, LoadCreatesMissingFilesAndMakesLeavesDottedEntries) {
    TempDir dir;
    const std::string path = dir.file("p.xml");
    XmlProperty created;
    std::string output;
    EXPECT_EQ(quietLoad(created, path, &output), 0);
    EXPECT_EQ(output, "xml property file [" + path + "] does not exist \n");
    EXPECT_EQ(ReadFile(path), "<FileProperty></FileProperty>");

    XmlProperty none; // neither readable nor creatable; a folder
    EXPECT_EQ(quietLoad(none, dir.file("no/such/file")), 0);
    EXPECT_EQ(quietLoad(none, dir.path()), 0);

    WriteFile(path, "<FileProperty><Base><Log><Level>3</Level><Range a=\"1\"> 7 </Range></Log></Base>"
                    "<A>x<B>y</B></A><Dup>1</Dup><Dup>2</Dup><Empty/></FileProperty>");
    XmlProperty p;
    EXPECT_EQ(quietLoad(p, path, &output), 5); // elements below the root
    EXPECT_EQ(output, "xml property file [" + path + "] exists \n");
    EXPECT_STREQ(p.getValue("Base.Log.Level"), "3");
    EXPECT_EQ(p.getIntValue("Base.Log.Range"), 7);
    EXPECT_STREQ(p.getValue("A.B"), "y");
    EXPECT_EQ(p.getObjValue("A"), nullptr); // a branch is no entry, even with text
    EXPECT_STREQ(p.getValue("Dup"), "2");   // the later one wins
    EXPECT_NE(p.getObjValue("Empty"), nullptr);

    // A second Load copies the held document again without rereading the file.
    WriteFile(path, "<FileProperty><Other>1</Other></FileProperty>");
    p.setValue("Dup", "changed");
    EXPECT_EQ(quietLoad(p, path, &output), 5);
    EXPECT_EQ(output, "");
    EXPECT_STREQ(p.getValue("Dup"), "2");
    EXPECT_STREQ(p.getValue("Other"), "");
    EXPECT_EQ(p.ParseNodes(nullptr, ""), 0);
}

TEST(XmlPropertyTest, UpdateWritesNestedElementsInPlace) {
    TempDir dir;
    const std::string path = dir.file("p.xml");
    WriteFile(path, "<FileProperty><Base><Log><Level>3</Level></Log></Base></FileProperty>");
    XmlProperty p;
    quietLoad(p, path);
    p.setValue("Base.Log.Level", "5");
    p.setValue("New.Key", "v");
    p.setValue("Base.Http.TempPath", "/tmp/x");
    EXPECT_EQ(p.Update(path.c_str()), 1);
    // Every element on a line of its own: the file starts with a newline.
    EXPECT_EQ(ReadFile(path), "\n<FileProperty>\n<Base>\n<Log>\n<Level>5</Level>\n</Log>"
                              "\n<Http>\n<TempPath>/tmp/x</TempPath>\n</Http>\n</Base>"
                              "\n<New>\n<Key>v</Key>\n</New>\n</FileProperty>");

    // Update of a set that was never loaded reads the file's elements first.
    XmlProperty fresh;
    fresh.setValue("Extra", "1");
    testing::internal::CaptureStdout();
    EXPECT_EQ(fresh.Update(path.c_str()), 1);
    testing::internal::GetCapturedStdout();
    XmlProperty all;
    quietLoad(all, path);
    EXPECT_STREQ(all.getValue("Base.Log.Level"), "5");
    EXPECT_STREQ(all.getValue("Extra"), "1");
}

TEST(XmlPropertyTest, UpdateKeepsTheFileWhenTheTextWouldNotLoadBackOrCannotBeWritten) {
    TempDir dir;
    const std::string path = dir.file("p.xml");
    WriteFile(path, "<FileProperty><A>1</A></FileProperty>");
    const std::string before = ReadFile(path);
    // Markup in a value, an element holding one of its own name (the reader
    // ends it at the inner end tag), a blank in a name.
    const char* bad[][2] = {{"A", "<b>"}, {"Markup", "x</FileProperty>"}, {"Same.Same", "1"}, {"sp ace", "1"}};
    for (const auto& entry : bad) {
        XmlProperty p;
        quietLoad(p, path);
        p.setValue(entry[0], entry[1]);
        EXPECT_EQ(p.Update(path.c_str()), 0) << entry[0];
        EXPECT_EQ(ReadFile(path), before) << entry[0];
    }
    // A null entry in the table stops the update before the file is touched.
    struct WithNullEntry : XmlProperty {
        void addNull() { getTable()->Add(static_cast<Vemlo::Data::Object*>(nullptr)); }
    } broken;
    quietLoad(broken, path);
    broken.setValue("A", "2");
    broken.addNull();
    testing::internal::CaptureStdout();
    EXPECT_EQ(broken.Update(path.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[XmlProperty::Update] update fail 1 element is NULL");
    EXPECT_EQ(ReadFile(path), before);

    EXPECT_EQ(XmlProperty().Update(nullptr), 0);

    // A full disk (a file size limit) stops the in-place write: reported as 0.
    const int result = VemloTest::RunInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = {64, 64};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 2;
        XmlProperty big;
        std::fclose(stdout);
        big.Load(path.c_str());
        for (int i = 0; i < 100; ++i)
            big.setValue(("key" + std::to_string(i)).c_str(), "value");
        return big.Update(path.c_str()) == 0 ? 0 : 1;
    });
    if (result == 2)
        GTEST_SKIP() << "setrlimit(RLIMIT_FSIZE) is not allowed here";
    EXPECT_EQ(result, 0);
}

TEST(XmlPropertyTest, MalformedOrHostileFilesNeverCrash) {
    TempDir dir;
    const std::string path = dir.file("p.xml");
    WriteFile(path, "<FileProperty><A>");
    XmlProperty p;
    testing::internal::CaptureStdout();
    EXPECT_EQ(p.IsValidate(path.c_str()), 0); // no element can be delimited

    // A root without a name: the scanner reports it, and nothing is kept.
    WriteFile(path, "<></FileProperty>");
    VemloTest::ExpectThrown<Vemlo::Common::Xml::XmlException>([&] { p.Load(path.c_str()); }, 7241, nullptr);
    WriteFile(path, "<FileProperty><A>1</A></FileProperty>");
    EXPECT_EQ(p.Load(path.c_str()), 1); // the file is read again
    testing::internal::GetCapturedStdout();
    EXPECT_STREQ(p.getValue("A"), "1");

    // Deep nesting is walked without recursion; keys are cut at 2047 bytes.
    const int depth = 100000;
    std::string deep = "<FileProperty>", key;
    for (int i = 0; i < depth; ++i) {
        deep += "<e" + std::to_string(i) + ">";
        if (key.size() < 2047)
            key += (i ? ".e" : "e") + std::to_string(i);
    }
    key.resize(2047);
    deep += "v";
    for (int i = depth - 1; i >= 0; --i)
        deep += "</e" + std::to_string(i) + ">";
    WriteFile(path, deep + "</FileProperty>");
    XmlProperty d;
    EXPECT_EQ(quietLoad(d, path), 1);
    EXPECT_STREQ(d.getValue(key.c_str()), "v");

    // A zero byte ends the text of its 2000-byte chunk only.
    std::string chunk = std::string("<FileProperty><A>1</A>") + '\0';
    chunk.resize(2000, 'j');
    WriteFile(path, chunk + "<B>2</B></FileProperty>");
    XmlProperty z;
    EXPECT_EQ(quietLoad(z, path), 2);
    EXPECT_STREQ(z.getValue("A"), "1");
    EXPECT_STREQ(z.getValue("B"), "2");
}
