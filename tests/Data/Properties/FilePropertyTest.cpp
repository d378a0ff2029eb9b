//===- Data/Properties/FilePropertyTest.cpp - Building and wrapping sets --===//
#include "support/TestConfig.h"

#include <memory>
#include <string>
#include <type_traits>

using namespace Vemlo::Data::Properties;
using VemloTest::ExpectPropertyThrown;
using VemloTest::ReadFile;
using VemloTest::TempDir;
using VemloTest::WriteFile;

// The interface stays hidden behind the private bases; the configuration is
// still a FileProperty.
static_assert(!std::is_convertible<Property*, IProperty*>::value, "Property's base is private");
static_assert(!std::is_convertible<FileProperty*, IProperty*>::value, "FileProperty's base is private");
static_assert(std::is_convertible<Vemlo::Config::Configuration*, FileProperty*>::value, "");

// Standard output (the formats' messages) is captured and dropped in every case.
class FilePropertyTest : public testing::Test {
protected:
    void SetUp() override { testing::internal::CaptureStdout(); }
    void TearDown() override { testing::internal::GetCapturedStdout(); }
    TempDir dir;
};

TEST_F(FilePropertyTest, BuilderPicksTheFormatByCode) {
    std::unique_ptr<Property> xml(PropertyBuilder::BuildProperty(dir.file("new.xml").c_str(), 6301));
    EXPECT_NE(dynamic_cast<XmlProperty*>(xml.get()), nullptr); // a new XML file is accepted at once
    EXPECT_EQ(ReadFile(dir.file("new.xml")), "<FileProperty></FileProperty>");

    // Any other code is plain text; its first build of a new file gives null
    // (the file has been created meanwhile), the next one the loaded set.
    const std::string text = dir.file("new.txt");
    EXPECT_EQ(PropertyBuilder::BuildProperty(text.c_str(), 0), nullptr);
    std::unique_ptr<Property> plain(PropertyBuilder::BuildProperty(text.c_str(), 6300));
    ASSERT_NE(dynamic_cast<PlaneTextProperty*>(plain.get()), nullptr);
    EXPECT_STREQ(plain->getValue("Comment"), "Trimlo Configuration File");
    ExpectPropertyThrown([] { PropertyBuilder::BuildProperty(nullptr, 1); }, 0, "FIlename is NULL");
}

TEST_F(FilePropertyTest, PrefixAppliesToReadsOnly) {
    const std::string path = dir.file("p.xml");
    WriteFile(path, "<FileProperty><Base><Log><Level>3</Level><Ratio>0.5</Ratio></Log></Base></FileProperty>");
    FileProperty p(path.c_str());
    p.setPrefix("Base");
    EXPECT_EQ(p.getIntValue("Log.Level"), 3);
    EXPECT_DOUBLE_EQ(p.getDoubleValue("Log.Ratio"), 0.5);
    EXPECT_STREQ(p.getValue("Base.Log.Level"), ""); // Base.Base.Log.Level

    // Writes take the key as given: existing callers depend on it.
    p.setValue("b", "1");
    EXPECT_STREQ(p.getValue("b"), "");
    p.setPrefix("");
    EXPECT_STREQ(p.getValue("b"), "1");

    EXPECT_EQ(p.Update(), 1); // to the file name
    FileProperty reread(path.c_str());
    EXPECT_STREQ(reread.getValue("b"), "1");
    EXPECT_STREQ(reread.getValue("Base.Log.Level"), "3");
}

TEST_F(FilePropertyTest, FailedLoadThrows201AndLeavesAnEmptyShell) {
    const std::string text = dir.file("p.txt");
    FileProperty p(dir.file("p.xml").c_str());
    p.setValue("lost", "x");

    // The first use of a missing plain-text file fails, having created it.
    ExpectPropertyThrown([&] { p.setFileName(text.c_str(), 0); }, 201, "Cannot Load Property File");
    EXPECT_STREQ(p.getFileName(), text.c_str());
    EXPECT_STREQ(p.getValue("lost"), "");
    EXPECT_EQ(p.getObjValue("lost"), nullptr);
    p.setValue("ignored", "1");
    String kept("mine");
    p.setObjValue("ignored", &kept); // stays the caller's
    EXPECT_EQ(p.Update(), 0);

    // The next attempt succeeds; the path may come from the object itself.
    EXPECT_EQ(p.setFileName(p.getFileName(), 0), 1);
    EXPECT_STREQ(p.getValue("Comment"), "Trimlo Configuration File");

    const std::string nowhere = dir.file("no/such.xml"); // neither readable nor creatable
    ExpectPropertyThrown([&] { FileProperty f(nowhere.c_str()); }, 201, "Cannot Load Property File");
}

TEST_F(FilePropertyTest, CopyLoadsASetOfItsOwnAndAssignmentDoesNothing) {
    const std::string path = dir.file("p.txt");
    WriteFile(path, "a=1;\n");
    std::unique_ptr<FileProperty> original(new FileProperty(dir.file("unused.xml").c_str()));
    original->setFileName(path.c_str(), 0);
    original->setPrefix("x");
    original->setValue("x.b", "unsaved");
    FileProperty copy(*original);
    EXPECT_STREQ(copy.getValue("b"), ""); // only what the file holds
    copy.setValue("x.a", "changed");
    EXPECT_STREQ(copy.getValue("a"), "changed");
    EXPECT_STREQ(original->getValue("a"), "");

    copy.setPrefix("");
    copy = *original; // neither the prefix nor the set is taken
    EXPECT_STREQ(copy.getValue("x.a"), "changed");
    original.reset(); // each deletes its own set (the sanitizers check)
    EXPECT_STREQ(copy.getValue("a"), "1");
}
