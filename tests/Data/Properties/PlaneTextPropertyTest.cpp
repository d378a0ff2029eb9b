//===- Data/Properties/PlaneTextPropertyTest.cpp - key=value; files -------===//
#include "support/TestConfig.h"

#include <unistd.h>

using Vemlo::Data::Properties::PlaneTextProperty;
using Vemlo::Data::Properties::PropertyException;
using VemloTest::ExpectThrown;
using VemloTest::ReadFile;
using VemloTest::TempDir;
using VemloTest::WriteFile;

namespace {
const char kNewFile[] = "Comment=Trimlo Configuration File;"; // 34 bytes, no newline
bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}
} // namespace

TEST(PlaneTextPropertyTest, NewEmptyAndUnmarkedFiles) {
    TempDir dir;
    const std::string path = dir.file("net.properties");
    PlaneTextProperty p;
    testing::internal::CaptureStdout();
    EXPECT_EQ(p.Load(path.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "PlanText Property :: IsValidate Start \n");
    EXPECT_EQ(ReadFile(path), kNewFile);

    // An empty file is recreated silently; the first line decides whether
    // the rest is read.
    WriteFile(path, "");
    EXPECT_EQ(p.IsValidate(path.c_str()), 0);
    EXPECT_EQ(ReadFile(path), kNewFile);
    WriteFile(path, "no marker here\nkey=value;\n");
    p.Load(path.c_str());
    EXPECT_STREQ(p.getValue("key"), ""); // a first line with '#' is needed
    const std::string nowhere = dir.file("no/such/folder");
    ExpectThrown<PropertyException>([&] { p.IsValidate(nowhere.c_str()); }, 0,
                                    ("cannot open file [" + nowhere + "]").c_str());
}

TEST(PlaneTextPropertyTest, LineRulesLongLinesAndNumbers) {
    TempDir dir;
    const std::string path = dir.file("p");
    // A line longer than the 2000-byte buffer is read as pieces of 1999 bytes,
    // each parsed as a line: the first has no ';', the second is an entry.
    const std::string longLine = "big=" + std::string(1995, 'v') + "tail=x;\n";
    WriteFile(
        path,
        "# header\nmulti=a;b;\na = b;\r\n" + std::string(256, 'k') +
            "=v;\nnoted=v; # note\nn=12abc;\nhuge=99999999999;\ntiny=-99999999999;\nd=2.5x;\n" +
            longLine);
    PlaneTextProperty p;
    ASSERT_EQ(p.Load(path.c_str()), 0);
    EXPECT_STREQ(p.getValue("multi"), "a");
    EXPECT_STREQ(p.getValue("a "), " b");                             // nothing is trimmed
    EXPECT_EQ(p.getObjValue(std::string(256, 'k').c_str()), nullptr); // keys of up to 255 bytes
    EXPECT_EQ(p.getObjValue("noted"), nullptr); // '#' anywhere disables the line
    EXPECT_STREQ(p.getValue("big"), "");
    EXPECT_STREQ(p.getValue("tail"), "x");
    EXPECT_EQ(p.getIntValue("n"), 12);
    EXPECT_EQ(p.getIntValue("huge"), 2147483647); // the same on 32 and 64 bits
    EXPECT_EQ(p.getIntValue("tiny"), -2147483647 - 1);
    EXPECT_EQ(p.getDoubleValue("d"), 2.5);
    // Assignment keeps the entries of each set (sharing the table would free it twice).
    PlaneTextProperty other;
    other.setObjValue("o", new Vemlo::Data::Object);
    other = p;
    EXPECT_NE(other.getObjValue("o"), nullptr);
    EXPECT_EQ(other.getObjValue("n"), nullptr);
}

TEST(PlaneTextPropertyTest, UpdateRewritesEveryEntryInTableOrder) {
    TempDir dir;
    const std::string path = dir.file("with space's.txt");
    const std::string expected = "Comment=changed;\nz=26;\na=;\nmulti=a;b;\nlines=x\ny=1;\n";
    WriteFile(path, std::string(kNewFile) + "b=2;");
    PlaneTextProperty p;
    ASSERT_EQ(p.Load(path.c_str()), 0);
    p.setValue("z", "26");
    p.setValue("Comment", "changed");
    p.setValue("a", "");
    // Written as they are, even where they will not load back the same.
    p.setValue("multi", "a;b");
    p.setValue("lines", "x\ny=1");
    EXPECT_EQ(p.Update(path.c_str()), 0);
    EXPECT_EQ(ReadFile(path), expected);
    EXPECT_FALSE(exists(path + ".tmp"));
    EXPECT_NE(p.Update(nullptr), 0); // a status, not an exception

    // A file name beginning with '-' is not taken for an option of mv.
    char* previous = getcwd(nullptr, 0);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    EXPECT_EQ(p.Update("-dash"), 0);
    EXPECT_EQ(chdir(previous), 0);
    std::free(previous);
    EXPECT_EQ(ReadFile(dir.file("-dash")), expected);
}
