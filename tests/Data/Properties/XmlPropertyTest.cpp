//===- Data/Properties/XmlPropertyTest.cpp - Properties in an XML file ----===//
#include "support/TestConfig.h"

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

    WriteFile(path, "<FileProperty><Base><Log><Level>3</Level></Log></Base>"
                    "<A>x<B>y</B></A><Dup>1</Dup><Dup>2</Dup></FileProperty>");
    XmlProperty p;
    EXPECT_EQ(quietLoad(p, path), 4); // elements below the root
    EXPECT_STREQ(p.getValue("Base.Log.Level"), "3");
    EXPECT_EQ(p.getObjValue("A"), nullptr); // a branch is no entry, even with text
    EXPECT_STREQ(p.getValue("Dup"), "2");   // the later one wins

    // A second Load copies the held document again without rereading the file.
    WriteFile(path, "<FileProperty><Other>1</Other></FileProperty>");
    p.setValue("Dup", "changed");
    EXPECT_EQ(quietLoad(p, path), 4);
    EXPECT_STREQ(p.getValue("Dup"), "2");
}

TEST(XmlPropertyTest, UpdateWritesNestedElements) {
    TempDir dir;
    const std::string path = dir.file("p.xml");
    WriteFile(path, "<FileProperty><Base><Log><Level>3</Level></Log></Base></FileProperty>");
    XmlProperty p;
    quietLoad(p, path);
    p.setValue("Base.Log.Level", "5");
    p.setValue("Base.Http.TempPath", "/tmp/x");
    EXPECT_EQ(p.Update(path.c_str()), 1);
    // Every element on a line of its own: the file starts with a newline.
    EXPECT_EQ(ReadFile(path),
              "\n<FileProperty>\n<Base>\n<Log>\n<Level>5</Level>\n</Log>"
              "\n<Http>\n<TempPath>/tmp/x</TempPath>\n</Http>\n</Base>\n</FileProperty>");
}

TEST(XmlPropertyTest, UpdateWritesWhatLoadsBackAndReportsTheRest) {
    TempDir dir;
    const std::string path = dir.file("p.xml");
    WriteFile(path, "<FileProperty><A>1</A></FileProperty>");
    XmlProperty p;
    quietLoad(p, path);
    // Markup in a value, an element holding one of its own name (the reader
    // ends it at the inner end tag), a key part that is no element name.
    p.setValue("A", "<b>");
    p.setValue("Same.Same", "1");
    p.setValue("Good", "2");
    p.setValue("a b", "3");
    testing::internal::CaptureStdout();
    EXPECT_EQ(p.Update(path.c_str()), 0);
    const std::string printed = testing::internal::GetCapturedStdout();
    for (const char* key : {"[A]", "[Same.Same]", "[a b]"})
        EXPECT_NE(printed.find(key), std::string::npos) << printed;
    XmlProperty reread;
    quietLoad(reread, path);
    EXPECT_STREQ(reread.getValue("A"), "1");
    EXPECT_STREQ(reread.getValue("Good"), "2");
    EXPECT_EQ(reread.getObjValue("Same.Same"), nullptr);
}
