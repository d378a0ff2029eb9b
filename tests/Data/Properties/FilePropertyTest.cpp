//===- Data/Properties/FilePropertyTest.cpp - Building and wrapping sets --===//
#include "support/TestConfig.h"

using namespace Vemlo::Data::Properties;
using VemloTest::ExpectPropertyThrown;
using VemloTest::TempDir;
using VemloTest::WriteFile;

// The interface stays hidden behind the private bases; the configuration is
// still a FileProperty.
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

    // Any other code is plain text; its first build of a new file gives null
    // (the file has been created meanwhile), the next one the loaded set.
    const std::string text = dir.file("new.txt");
    EXPECT_EQ(PropertyBuilder::BuildProperty(text.c_str(), 0), nullptr);
    std::unique_ptr<Property> plain(PropertyBuilder::BuildProperty(text.c_str(), 6300));
    ASSERT_NE(dynamic_cast<PlaneTextProperty*>(plain.get()), nullptr);
    EXPECT_STREQ(plain->getValue("Comment"), "Trimlo Configuration File");
}

TEST_F(FilePropertyTest, PrefixAppliesToReadsOnly) {
    const std::string path = dir.file("p.xml");
    WriteFile(path, "<FileProperty><Base><Log><Level>3</Level></Log></Base></FileProperty>");
    FileProperty p(path.c_str());
    p.setPrefix("Base");
    EXPECT_EQ(p.getIntValue("Log.Level"), 3);
    EXPECT_STREQ(p.getValue("Base.Log.Level"), ""); // Base.Base.Log.Level

    // Writes take the key as given: existing callers depend on it.
    p.setValue("b", "1");
    EXPECT_STREQ(p.getValue("b"), ""); // Base.b
    EXPECT_EQ(p.Update(), 1); // to the file name
    EXPECT_STREQ(FileProperty(path.c_str()).getValue("b"), "1");
}

TEST_F(FilePropertyTest, FailedLoadThrows201AndLeavesAnEmptyShell) {
    const std::string text = dir.file("p.txt");
    FileProperty p(dir.file("p.xml").c_str());
    p.setValue("lost", "x");

    // The first use of a missing plain-text file fails, having created it.
    ExpectPropertyThrown([&] { p.setFileName(text.c_str(), 0); }, 201, "Cannot Load Property File");
    EXPECT_EQ(p.getObjValue("lost"), nullptr);
    EXPECT_EQ(p.Update(), 0);

    // The next attempt succeeds; the path may come from the object itself.
    EXPECT_EQ(p.setFileName(p.getFileName(), 0), 1);
    EXPECT_STREQ(p.getValue("Comment"), "Trimlo Configuration File");
}
