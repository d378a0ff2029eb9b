//===- Data/Properties/FilePropertyTest.cpp - Building and wrapping sets --===//
#include "support/TestConfig.h"

#include <csignal>
#include <filesystem>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace Vemlo::Data::Properties;
using VemloTest::ExpectThrown;
using VemloTest::ReadFile;
using VemloTest::TempDir;
using VemloTest::WriteFile;

namespace {

// A set of the format, for both formats in turn.
Property* newSet(bool xml) {
    return xml ? static_cast<Property*>(new XmlProperty) : new PlaneTextProperty;
}

size_t entries(const std::string& folder) {
    const std::filesystem::directory_iterator all(folder);
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

} // namespace

// The interface stays hidden behind the private bases; the configuration is
// still a FileProperty.
static_assert(!std::is_convertible<FileProperty*, IProperty*>::value,
              "FileProperty's base is private");
static_assert(std::is_convertible<Vemlo::Config::Configuration*, FileProperty*>::value, "");

// Standard output (the formats' messages) is captured and dropped in every case.
class FilePropertyTest : public testing::Test {
protected:
    void SetUp() override { testing::internal::CaptureStdout(); }
    void TearDown() override { testing::internal::GetCapturedStdout(); }
    TempDir dir;
};

TEST_F(FilePropertyTest, BuilderPicksTheFormatByCode) {
    std::unique_ptr<Property> xml(
        PropertyBuilder::BuildProperty(dir.file("new.xml").c_str(), 6301));
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
    FileProperty copy(p); // the prefix, and a set of its own read from the file
    EXPECT_EQ(copy.getDoubleValue("Log.Level"), 3.0);

    // Writes take the key as given: existing callers depend on it.
    p.setValue("b", "1");
    EXPECT_STREQ(p.getValue("b"), ""); // Base.b
    EXPECT_EQ(p.Update(), 1);          // to the file name
    EXPECT_STREQ(FileProperty(path.c_str()).getValue("b"), "1");
    auto* object = new Vemlo::Data::Object;
    p.setObjValue("Base.o", object);
    EXPECT_EQ(p.getObjValue("o"), object);
}

TEST_F(FilePropertyTest, FailedLoadThrows201AndLeavesAnEmptyShell) {
    const std::string text = dir.file("p.txt");
    FileProperty p(dir.file("p.xml").c_str());
    p.setValue("lost", "x");

    // The first use of a missing plain-text file fails, having created it.
    ExpectThrown<PropertyException>([&] { p.setFileName(text.c_str(), 0); }, 201,
                                    "Cannot Load Property File");
    EXPECT_EQ(p.getObjValue("lost"), nullptr);
    EXPECT_EQ(p.Update(), 0);

    // The next attempt succeeds; the path may come from the object itself.
    EXPECT_EQ(p.setFileName(p.getFileName(), 0), 1);
    EXPECT_STREQ(p.getValue("Comment"), "Trimlo Configuration File");
}

TEST_F(FilePropertyTest, UpdateReplacesTheFileBehindALinkAndKeepsItsMode) {
    for (const bool xml : {true, false}) {
        SCOPED_TRACE(xml ? "xml" : "plain text");
        TempDir folder;
        const std::string real = folder.file("real"), link = folder.file("link");
        WriteFile(real, xml ? "<FileProperty><A>1</A></FileProperty>" : "A=1;\n");
        ASSERT_EQ(chmod(real.c_str(), 0604), 0);
        ASSERT_EQ(symlink("real", link.c_str()), 0);
        std::unique_ptr<Property> p(newSet(xml));
        p->Load(link.c_str());
        // Temporary names left by an earlier process of this number are skipped.
        for (int k = 0; xml && k < 10; ++k)
            WriteFile(real + ".tmp." + std::to_string(getpid()) + "." + std::to_string(k), "");
        p->setValue("A", "2");
        EXPECT_EQ(p->Update(link.c_str()), xml ? 1 : 0);
        struct stat info;
        ASSERT_EQ(lstat(link.c_str(), &info), 0);
        EXPECT_TRUE(S_ISLNK(info.st_mode));
        ASSERT_EQ(stat(real.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0604u);
        std::unique_ptr<Property> reread(newSet(xml));
        reread->Load(real.c_str());
        EXPECT_STREQ(reread->getValue("A"), "2");
        EXPECT_EQ(entries(folder.path()), xml ? 12u : 2u); // no temporary file of its own left
        // An XML file with a second name is written in place, so that name sees
        // the change; mv gives a plain-text file a new one.
        ASSERT_EQ(::link(real.c_str(), folder.file("hard").c_str()), 0);
        p->setValue("A", "3");
        p->Update(link.c_str());
        reread.reset(newSet(xml));
        reread->Load(folder.file("hard").c_str());
        EXPECT_STREQ(reread->getValue("A"), xml ? "3" : "2");
    }
}

TEST_F(FilePropertyTest, FailedUpdateLeavesTheOldFileAndNoTemporaryFile) {
    for (const bool xml : {true, false}) {
        SCOPED_TRACE(xml ? "xml" : "plain text");
        TempDir folder;
        const std::string path = folder.file("p");
        const std::string old =
            xml ? "<FileProperty><keep>this</keep></FileProperty>" : "keep=this;\n";
        WriteFile(path, old);
        // A full disk, made by a file size limit in a child process.
        const int result = VemloTest::RunInChild([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            struct rlimit limit = {4096, 4096};
            if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
                return 2;
            std::unique_ptr<Property> big(newSet(xml));
            big->Load(path.c_str());
            for (int i = 0; i < 1000; ++i)
                big->setValue(("key" + std::to_string(i)).c_str(), "some value");
            try {
                const int status = big->Update(path.c_str());
                return (xml ? status == 0 : status != 0) ? 0 : 1;
            } catch (PropertyException* e) {
                delete e;
                return 3;
            }
        });
        if (result == 2)
            GTEST_SKIP() << "setrlimit(RLIMIT_FSIZE) is not allowed here";
        EXPECT_EQ(result, 0);
        EXPECT_EQ(ReadFile(path), old);
        EXPECT_EQ(entries(folder.path()), 1u);
    }
}
