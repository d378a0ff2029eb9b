//===- Data/Properties/PlaneTextPropertyTest.cpp - key=value; files -------===//
#include "support/TestConfig.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using Vemlo::Data::Properties::PlaneTextProperty;
using VemloTest::ExpectPropertyThrown;
using VemloTest::TempDir;
using VemloTest::ReadFile;
using VemloTest::WriteFile;

namespace {

bool exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

// Parses `line` through a copy, as Load hands it over.
int parse(PlaneTextProperty& p, const std::string& line) {
    std::string copy = line;
    return p.ParseLine(&copy[0]);
}

} // namespace

TEST(PlaneTextPropertyTest, MissingOrEmptyFileIsCreatedWithTheCommentLineAndNotRead) {
    TempDir dir;
    const std::string path = dir.file("net.properties");
    PlaneTextProperty p;
    p.setValue("kept", "1");
    testing::internal::CaptureStdout();
    EXPECT_EQ(p.Load(path.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "PlanText Property :: IsValidate Start \n");
    // 34 bytes, no newline.
    EXPECT_EQ(ReadFile(path), "Comment=Trimlo Configuration File;");
    EXPECT_STREQ(p.getValue("Comment"), ""); // a file just created is not parsed
    EXPECT_STREQ(p.getValue("kept"), "1");

    // The second load reads it.
    EXPECT_EQ(p.Load(path.c_str()), 0);
    EXPECT_STREQ(p.getValue("Comment"), "Trimlo Configuration File");

    // An empty file is recreated silently.
    WriteFile(path, "");
    testing::internal::CaptureStdout();
    EXPECT_EQ(p.IsValidate(path.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(ReadFile(path), "Comment=Trimlo Configuration File;");
}

TEST(PlaneTextPropertyTest, FirstLineDecidesWhetherTheFileIsRead) {
    TempDir dir;
    const std::string path = dir.file("p");
    PlaneTextProperty p;
    WriteFile(path, "no marker here\nkey=value;\n");
    EXPECT_EQ(p.IsValidate(path.c_str()), 0);
    EXPECT_EQ(p.Load(path.c_str()), 0);
    EXPECT_STREQ(p.getValue("key"), ""); // valid lines further down are not read

    WriteFile(path, "# header\nkey=value;\n");
    EXPECT_EQ(p.IsValidate(path.c_str()), 1);
    EXPECT_EQ(p.Load(path.c_str()), 0); // fclose's result
    EXPECT_STREQ(p.getValue("key"), "value");

    // A folder is not a property file, and is left alone.
    EXPECT_EQ(p.Load(dir.path().c_str()), 0);

    ExpectPropertyThrown([&] { p.Load(nullptr); }, 0, "FIlename is NULL");
    const std::string nowhere = dir.file("no/such/folder");
    ExpectPropertyThrown([&] { p.IsValidate(nowhere.c_str()); }, 0,
                         ("cannot open file [" + nowhere + "]").c_str());
}

TEST(PlaneTextPropertyTest, LineRules) {
    PlaneTextProperty p;
    EXPECT_EQ(parse(p, "key=value;\n"), 1);
    EXPECT_STREQ(p.getValue("key"), "value");
    EXPECT_EQ(parse(p, "nosemi=value\n"), 0);
    EXPECT_EQ(parse(p, "noequals;\n"), 0);
    EXPECT_EQ(parse(p, "multi=a;b;\n"), 1);
    EXPECT_STREQ(p.getValue("multi"), "a");
    // '#' anywhere disables the whole line.
    EXPECT_EQ(parse(p, "#hidden=value;\n"), 0);
    EXPECT_EQ(parse(p, "noted=value; # note\n"), 0);
    EXPECT_EQ(p.getObjValue("noted"), nullptr);
    // Nothing is trimmed.
    EXPECT_EQ(parse(p, "a = b;\r\n"), 1);
    EXPECT_STREQ(p.getValue("a "), " b");
    // The value runs to the first ';' after the '='; a ';' in the key is kept.
    EXPECT_EQ(parse(p, "x;y=z;\n"), 1);
    EXPECT_STREQ(p.getValue("x;y"), "z");
    EXPECT_EQ(parse(p, "empty=;"), 1);
    EXPECT_STREQ(p.getValue("empty"), "");
    EXPECT_NE(p.getObjValue("empty"), nullptr);
    // The newline cuts the line before the ';' is searched.
    EXPECT_EQ(parse(p, "split=a\nb;"), 0);
    EXPECT_EQ(p.ParseLine(nullptr), 0);

    // Keys and values of up to 255 bytes.
    const std::string k255(255, 'k'), v255(255, 'v');
    EXPECT_EQ(parse(p, k255 + "=" + v255 + ";"), 1);
    EXPECT_STREQ(p.getValue(k255.c_str()), v255.c_str());
    EXPECT_EQ(parse(p, k255 + "k=v;"), 0);
    EXPECT_EQ(parse(p, "long=" + v255 + "v;"), 0);
    EXPECT_STREQ(p.getValue("long"), "");

    // Bytes are bytes; a zero byte ends the line.
    EXPECT_EQ(parse(p, std::string("bin=\x01\xff\x7f;")), 1);
    EXPECT_STREQ(p.getValue("bin"), "\x01\xff\x7f");
    EXPECT_EQ(parse(p, std::string("cut\0=v;", 7)), 0);
}

TEST(PlaneTextPropertyTest, LoadKeepsEntriesAndReadsLongLinesInPieces) {
    TempDir dir;
    const std::string path = dir.file("p");
    // A line longer than the 2000-byte buffer is read as pieces of 1999
    // bytes, each parsed as a line: here the first piece (up to the last 'v')
    // has no ';' and the second holds an entry of its own.
    const std::string longLine = "big=" + std::string(1995, 'v') + "tail=x;\n";
    WriteFile(path, "a=1;\nb=2;\n" + longLine + "a=3;\n");
    PlaneTextProperty p;
    p.setValue("old", "o");
    p.setValue("a", "0");
    ASSERT_EQ(p.Load(path.c_str()), 0);
    EXPECT_STREQ(p.getValue("old"), "o");
    EXPECT_STREQ(p.getValue("a"), "3"); // later lines replace
    EXPECT_STREQ(p.getValue("b"), "2");
    EXPECT_STREQ(p.getValue("big"), "");
    EXPECT_STREQ(p.getValue("tail"), "x");
}

TEST(PlaneTextPropertyTest, NumbersFollowStrtolAndStrtod) {
    PlaneTextProperty p;
    p.setValue("n", "12abc");
    p.setValue("word", "abc");
    p.setValue("d", "2.5e1x");
    p.setValue("huge", "99999999999");
    EXPECT_EQ(p.getIntValue("n"), 12);
    EXPECT_EQ(p.getIntValue("word"), 0);
    EXPECT_EQ(p.getIntValue("missing"), 0);
    EXPECT_EQ(p.getIntValue("huge"), 2147483647); // the same on 32 and 64 bits
    EXPECT_DOUBLE_EQ(p.getDoubleValue("d"), 25.0);
    EXPECT_DOUBLE_EQ(p.getDoubleValue("word"), 0.0);
}

TEST(PlaneTextPropertyTest, UpdateRewritesTheFileInTableOrder) {
    TempDir dir;
    const std::string path = dir.file("with space's.txt");
    WriteFile(path, "Comment=Trimlo Configuration File;b=2;");
    PlaneTextProperty p;
    ASSERT_EQ(p.Load(path.c_str()), 0);
    p.setValue("z", "26");
    p.setValue("Comment", "changed");
    p.setValue("a", "");
    EXPECT_EQ(p.Update(path.c_str()), 0);
    EXPECT_EQ(ReadFile(path), "Comment=changed;\nz=26;\na=;\n");
    EXPECT_FALSE(exists(path + ".tmp"));

    // Entries that would not load back as themselves are left out, so they
    // cannot break or forge other lines.
    p.setValue("inject", "x\nevil=1");
    p.setValue("hash", "#");
    p.setValue(std::string(256, 'k').c_str(), "v");
    p.setValue("eq=key", "v");
    EXPECT_EQ(p.Update(path.c_str()), 0);
    EXPECT_EQ(ReadFile(path), "Comment=changed;\nz=26;\na=;\n");
    PlaneTextProperty reread;
    reread.Load(path.c_str());
    EXPECT_STREQ(reread.getValue("z"), "26");
    EXPECT_STREQ(reread.getValue("evil"), "");

    // A file name beginning with '-' is not taken for an option of mv.
    char* previous = getcwd(nullptr, 0);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    EXPECT_EQ(p.Update("-dash"), 0);
    EXPECT_EQ(chdir(previous), 0);
    std::free(previous);
    EXPECT_EQ(ReadFile(dir.file("-dash")), "Comment=changed;\nz=26;\na=;\n");
}

TEST(PlaneTextPropertyTest, FailedUpdateLeavesTheFileIntact) {
    TempDir dir;
    const std::string path = dir.file("p");
    const std::string original = "keep=this;\n";
    WriteFile(path, original);

    // No folder for the temporary file.
    PlaneTextProperty p;
    p.setValue("k", "v");
    const std::string nowhere = dir.file("none/p");
    ExpectPropertyThrown([&] { p.Update(nowhere.c_str()); }, 0, ("cannot open file [" + nowhere + "]").c_str());
    // A folder in the file's place: mv would move the file into it.
    ExpectPropertyThrown([&] { p.Update(dir.path().c_str()); }, 0,
                         ("cannot open file [" + dir.path() + "]").c_str());
    EXPECT_FALSE(exists(dir.path() + ".tmp"));
    // A name that the temporary name's buffer cannot hold.
    const std::string tooLong = dir.file(std::string(1020 - dir.path().size(), 'n'));
    ExpectPropertyThrown([&] { p.Update(tooLong.c_str()); }, 0, ("cannot open file [" + tooLong + "]").c_str());

    // A full disk, made by a file size limit in a child process: the new
    // contents do not fit, the temporary file goes, the old file stays.
    const int result = VemloTest::RunInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = {4096, 4096};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 2;
        int code = 1;
        {
            PlaneTextProperty big;
            for (int i = 0; i < 1000; ++i)
                big.setValue(("key" + std::to_string(i)).c_str(), "some value");
            try {
                big.Update(path.c_str());
            } catch (Vemlo::Data::Properties::PropertyException* e) {
                code = std::string(VemloTest::MessageOf(e)) == "cannot write file [" + path + "]" ? 0 : 3;
                delete e;
            }
        }
        return code;
    });
    if (result == 2)
        GTEST_SKIP() << "setrlimit(RLIMIT_FSIZE) is not allowed here";
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ReadFile(path), original);
    EXPECT_FALSE(exists(path + ".tmp"));
}

TEST(PlaneTextPropertyTest, UnreadableFileIsNotOverwritten) {
    TempDir dir;
    const std::string path = dir.file("secret");
    WriteFile(path, "keep=this;\n");
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    // Permission bits do not stop root: drop to an ordinary user in a child.
    const int result = VemloTest::RunInChild([&] {
        if (geteuid() == 0 && setuid(65534) != 0)
            return 2;
        if (access(path.c_str(), R_OK) == 0 || errno != EACCES)
            return 2;
        int code = 1;
        {
            PlaneTextProperty p;
            std::fclose(stdout); // the start line is not wanted here
            try {
                p.Load(path.c_str());
            } catch (Vemlo::Data::Properties::PropertyException* e) {
                code = std::string(VemloTest::MessageOf(e)) == "cannot open file [" + path + "]" ? 0 : 3;
                delete e;
            }
        }
        return code;
    });
    chmod(path.c_str(), 0600);
    if (result == 2)
        GTEST_SKIP() << "cannot make the file unreadable for this process";
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ReadFile(path), "keep=this;\n");
}
