//===- Data/Properties/PlaneTextPropertyTest.cpp - key=value; files -------===//
#include "support/TestConfig.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using Vemlo::Data::Properties::PlaneTextProperty;
using Vemlo::Data::Properties::PropertyException;
using VemloTest::ExpectPropertyThrown;
using VemloTest::ReadFile;
using VemloTest::TempDir;
using VemloTest::WriteFile;

namespace {
const char kNewFile[] = "Comment=Trimlo Configuration File;"; // 34 bytes, no newline
bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }
} // namespace

TEST(PlaneTextPropertyTest, NewEmptyAndUnmarkedFiles) {
    TempDir dir;
    const std::string path = dir.file("net.properties");
    PlaneTextProperty p;
    p.setValue("kept", "1");
    testing::internal::CaptureStdout();
    EXPECT_EQ(p.Load(path.c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "PlanText Property :: IsValidate Start \n");
    EXPECT_EQ(ReadFile(path), kNewFile);
    EXPECT_STREQ(p.getValue("Comment"), ""); // a file just created is not parsed
    EXPECT_STREQ(p.getValue("kept"), "1");

    // An empty file is recreated silently; the first line decides whether
    // the rest is read.
    WriteFile(path, "");
    EXPECT_EQ(p.IsValidate(path.c_str()), 0);
    EXPECT_EQ(ReadFile(path), kNewFile);
    WriteFile(path, "no marker here\nkey=value;\n");
    EXPECT_EQ(p.Load(path.c_str()), 0);
    EXPECT_STREQ(p.getValue("key"), "");
    WriteFile(path, "# header\nkey=value;\n");
    EXPECT_EQ(p.Load(path.c_str()), 0); // fclose's result
    EXPECT_STREQ(p.getValue("key"), "value");

    EXPECT_EQ(p.Load(dir.path().c_str()), 0); // a folder is left alone
    ExpectPropertyThrown([&] { p.Load(nullptr); }, 0, "FIlename is NULL");
    const std::string nowhere = dir.file("no/such/folder");
    ExpectPropertyThrown([&] { p.IsValidate(nowhere.c_str()); }, 0, ("cannot open file [" + nowhere + "]").c_str());
}

TEST(PlaneTextPropertyTest, LineRules) {
    const std::string k255(255, 'k'), v255(255, 'v');
    // value nullptr: the line must leave no entry under `key`.
    const struct { std::string line; int parsed; std::string key; const char* value; } rules[] = {
        {"multi=a;b;\n", 1, "multi", "a"},
        {"a = b;\r\n", 1, "a ", " b"}, // nothing is trimmed
        {"x;y=z;\n", 1, "x;y", "z"},   // the value runs to the first ';' after the '='
        {"bin=\x01\xff\x7f;", 1, "bin", "\x01\xff\x7f"},
        {k255 + "=" + v255 + ";", 1, k255, v255.c_str()},
        {k255 + "k=v;", 0, k255 + "k", nullptr},
        {"long=" + v255 + "v;", 0, "long", nullptr},
        {"nosemi=value\n", 0, "nosemi", nullptr},
        {"noted=value; # note\n", 0, "noted", nullptr}, // '#' anywhere disables the line
        {"split=a\nb;", 0, "split", nullptr},           // the newline cuts before the ';'
        {std::string("cut\0=v;", 7), 0, "cut", nullptr},
    };
    PlaneTextProperty p;
    for (const auto& r : rules) {
        std::string copy = r.line;
        EXPECT_EQ(p.ParseLine(&copy[0]), r.parsed) << r.line;
        if (r.value)
            EXPECT_STREQ(p.getValue(r.key.c_str()), r.value) << r.line;
        else
            EXPECT_EQ(p.getObjValue(r.key.c_str()), nullptr) << r.line;
    }
    EXPECT_EQ(p.ParseLine(nullptr), 0);
}

TEST(PlaneTextPropertyTest, LoadReadsLongLinesInPiecesAndNumbersLikeStrtol) {
    TempDir dir;
    const std::string path = dir.file("p");
    // A line longer than the 2000-byte buffer is read as pieces of 1999 bytes,
    // each parsed as a line: the first has no ';', the second is an entry.
    const std::string longLine = "big=" + std::string(1995, 'v') + "tail=x;\n";
    WriteFile(path, "a=1;\nn=12abc;\nhuge=99999999999;\nd=2.5e1x;\n" + longLine + "a=3;\n");
    PlaneTextProperty p;
    p.setValue("old", "o");
    ASSERT_EQ(p.Load(path.c_str()), 0);
    EXPECT_STREQ(p.getValue("old"), "o");
    EXPECT_STREQ(p.getValue("a"), "3"); // later lines replace
    EXPECT_STREQ(p.getValue("big"), "");
    EXPECT_STREQ(p.getValue("tail"), "x");
    EXPECT_EQ(p.getIntValue("n"), 12);
    EXPECT_EQ(p.getIntValue("huge"), 2147483647); // the same on 32 and 64 bits
    EXPECT_DOUBLE_EQ(p.getDoubleValue("d"), 25.0);
}

TEST(PlaneTextPropertyTest, UpdateRewritesInTableOrderAndDropsUnloadableEntries) {
    TempDir dir;
    const std::string path = dir.file("with space's.txt");
    const std::string expected = "Comment=changed;\nz=26;\na=;\n";
    WriteFile(path, std::string(kNewFile) + "b=2;");
    PlaneTextProperty p;
    ASSERT_EQ(p.Load(path.c_str()), 0);
    p.setValue("z", "26");
    p.setValue("Comment", "changed");
    p.setValue("a", "");
    // Entries that would not load back as themselves cannot break or forge lines.
    p.setValue("inject", "x\nevil=1");
    p.setValue("hash", "#");
    p.setValue(std::string(256, 'k').c_str(), "v");
    EXPECT_EQ(p.Update(path.c_str()), 0);
    EXPECT_EQ(ReadFile(path), expected);
    EXPECT_FALSE(exists(path + ".tmp"));

    // A file name beginning with '-' is not taken for an option of mv.
    char* previous = getcwd(nullptr, 0);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    EXPECT_EQ(p.Update("-dash"), 0);
    EXPECT_EQ(chdir(previous), 0);
    std::free(previous);
    EXPECT_EQ(ReadFile(dir.file("-dash")), expected);
}

TEST(PlaneTextPropertyTest, FailedUpdateLeavesTheFileIntact) {
    TempDir dir;
    const std::string path = dir.file("p");
    WriteFile(path, "keep=this;\n");
    PlaneTextProperty p;
    p.setValue("k", "v");
    // No folder for the temporary file; a folder in the file's place (mv would
    // move into it); a name the temporary name's buffer cannot hold.
    for (const std::string& bad : {dir.file("none/p"), dir.path(), dir.file(std::string(1020 - dir.path().size(), 'n'))})
        ExpectPropertyThrown([&] { p.Update(bad.c_str()); }, 0, ("cannot open file [" + bad + "]").c_str());
    EXPECT_FALSE(exists(dir.path() + ".tmp"));

    // A full disk, made by a file size limit in a child process.
    const int result = VemloTest::RunInChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit = {4096, 4096};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 2;
        int code = 1;
        PlaneTextProperty big;
        for (int i = 0; i < 1000; ++i)
            big.setValue(("key" + std::to_string(i)).c_str(), "some value");
        try {
            big.Update(path.c_str());
        } catch (PropertyException* e) {
            code = VemloTest::MessageOf(e) == "cannot write file [" + path + "]" ? 0 : 3;
            delete e;
        }
        return code;
    });
    if (result == 2)
        GTEST_SKIP() << "setrlimit(RLIMIT_FSIZE) is not allowed here";
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ReadFile(path), "keep=this;\n");
    EXPECT_FALSE(exists(path + ".tmp"));
}

TEST(PlaneTextPropertyTest, UnreadableFileIsNotOverwritten) {
    TempDir dir;
    const std::string path = dir.file("secret");
    WriteFile(path, "keep=this;\n");
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    // Permission bits do not stop root: drop to an ordinary user in a child.
    const int result = VemloTest::RunInChild([&] {
        if ((geteuid() == 0 && setuid(65534) != 0) || access(path.c_str(), R_OK) == 0 || errno != EACCES)
            return 2;
        std::fclose(stdout); // the start line is not wanted here
        int code = 1;
        PlaneTextProperty p;
        try {
            p.Load(path.c_str());
        } catch (PropertyException* e) {
            code = VemloTest::MessageOf(e) == "cannot open file [" + path + "]" ? 0 : 3;
            delete e;
        }
        return code;
    });
    chmod(path.c_str(), 0600);
    if (result == 2)
        GTEST_SKIP() << "cannot make the file unreadable for this process";
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ReadFile(path), "keep=this;\n");
}
