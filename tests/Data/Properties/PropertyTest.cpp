//===- Data/Properties/PropertyTest.cpp - Property sets and their files ---===//
//
// Plain-text (key=value;) and XML property files and the FileProperty wrapper,
// on real files in a temporary folder, and the property manager's folder path.
//
//===----------------------------------------------------------------------===//
#include "support/TestConfig.h"

#include <csignal>
#include <filesystem>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace Vemlo::Data::Properties;
using Vemlo::Config::ConfigurationManager;
using VemloTest::ExpectThrown;
using VemloTest::ReadFile;
using VemloTest::TempDir;
using VemloTest::WriteFile;
namespace fs = std::filesystem;

namespace {

const char kNewFile[] = "Comment=Trimlo Configuration File;"; // 34 bytes, no newline

class OtherManager : public PropertyManager {
public:
    OtherManager() { m_sFolderName = "First"; }
    IProperty* BuildProperty(const char*, int) override { return nullptr; }
};

// Leaves bytes other than 0 on the stack below the caller, where the buffers
// of the next call will lie: a buffer used without clearing shows.
__attribute__((noinline)) void dirtyStack() {
    volatile char junk[16384];
    for (auto& c : junk)
        c = 'x';
}

// Whether, in a fresh child process, the folder path after `setup` is
// `expected`; the manager goes before the child ends, so no semaphore set is
// left.
template <class Setup> int folderPathIs(const char* expected, Setup setup) {
    return VemloTest::RunInChild([&] {
        setup();
        ConfigurationManager* manager = ConfigurationManager::GetManager();
        dirtyStack();
        const bool same = manager->getFolderPath() == expected;
        ConfigurationManager::DestroyManager();
        return same ? 0 : 1;
    });
}

} // namespace

// The interface stays hidden behind the private bases; the configuration is
// still a FileProperty.
static_assert(!std::is_convertible<FileProperty*, IProperty*>::value,
              "FileProperty's base is private");
static_assert(std::is_convertible<Vemlo::Config::Configuration*, FileProperty*>::value, "");

// A folder of its own for every case. Standard output (the formats' messages)
// is captured, and shown only when the case fails: printed() gives what came
// since the start or the last call.
class FilePropertyTest : public testing::Test {
protected:
    void SetUp() override { testing::internal::CaptureStdout(); }
    void TearDown() override {
        const std::string text = testing::internal::GetCapturedStdout();
        if (HasFailure())
            std::fputs(text.c_str(), stdout);
    }
    std::string printed() {
        std::string text = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return text;
    }
    TempDir dir;
    const std::string path = dir.file("p");
};
using PlaneTextPropertyTest = FilePropertyTest;
using XmlPropertyTest = FilePropertyTest;

// New and empty files are created with a comment line; only a file whose first
// line holds a '#' is read, line by line.
TEST_F(PlaneTextPropertyTest, NewEmptyAndUnmarkedFilesAndLineRules) {
    PlaneTextProperty p;
    EXPECT_EQ(p.Load(path.c_str()), 0);
    EXPECT_EQ(printed(), "PlanText Property :: IsValidate Start \n");
    EXPECT_EQ(ReadFile(path), kNewFile);

    // An empty file is recreated silently; the first line decides whether
    // the rest is read.
    WriteFile(path, "");
    EXPECT_EQ(p.IsValidate(path.c_str()), 0);
    EXPECT_EQ(ReadFile(path), kNewFile);
    WriteFile(path, "no marker here\nkey=value;\n");
    p.Load(path.c_str());
    EXPECT_STREQ(p.getValue("key"), "");            // a first line with '#' is needed
    EXPECT_EQ(p.IsValidate(dir.path().c_str()), 0); // a folder is no property file
    const std::string nowhere = dir.file("no/such/folder");
    ExpectThrown<PropertyException>([&] { p.IsValidate(nowhere.c_str()); }, 0,
                                    ("cannot open file [" + nowhere + "]").c_str());

    // A line longer than the 2000-byte buffer is read as pieces of 1999 bytes,
    // each parsed as a line: the first has no ';', the second is an entry.
    const std::string longLine = "big=" + std::string(1995, 'v') + "tail=x;\n";
    WriteFile(path,
              "# header\nno equals sign;\nmulti=a;b;\na = b;\r\n" + std::string(256, 'k') +
                  "=v;\n" + std::string(255, 'K') + "=" + std::string(255, 'V') +
                  ";\nlong=" + std::string(256, 'v') +
                  ";\nnoted=v; # note\nn=12abc;\nhuge=99999999999;\ntiny=-99999999999;\nd=2.5x;\n" +
                  longLine);
    ASSERT_EQ(p.Load(path.c_str()), 0);
    // Nothing is trimmed; numbers stop at the 32-bit limits on every platform.
    EXPECT_EQ(
        (std::vector<std::string>{p.getValue("multi"), p.getValue("a "), p.getValue("big"),
                                  p.getValue("tail"), p.getValue(std::string(255, 'K').c_str())}),
        (std::vector<std::string>{"a", " b", "", "x", std::string(255, 'V')}));
    EXPECT_EQ(std::make_tuple(p.getIntValue("n"), p.getIntValue("huge"), p.getIntValue("tiny"),
                              p.getDoubleValue("d")),
              std::make_tuple(12, 2147483647, -2147483647 - 1, 2.5));
    // Keys and values of up to 255 bytes; '#' anywhere disables the line.
    for (const std::string& key :
         {std::string(256, 'k'), std::string("long"), std::string("noted")})
        EXPECT_EQ(p.getObjValue(key.c_str()), nullptr) << key;
    // Assignment keeps the entries of each set (sharing the table would free it twice).
    PlaneTextProperty other;
    other.setObjValue("o", new Vemlo::Data::Object);
    other = p;
    EXPECT_NE(other.getObjValue("o"), nullptr);
    EXPECT_EQ(other.getObjValue("n"), nullptr);
}

TEST_F(PlaneTextPropertyTest, UpdateRewritesEveryEntryInTableOrder) {
    const std::string spaced = dir.file("with space's.txt");
    const std::string expected = "Comment=changed;\nz=26;\na=;\nmulti=a;b;\nlines=x\ny=1;\n";
    WriteFile(spaced, std::string(kNewFile) + "b=2;");
    PlaneTextProperty p;
    ASSERT_EQ(p.Load(spaced.c_str()), 0);
    // Written as they are, even where they will not load back the same ("multi", "lines").
    for (const auto& [key, value] : {std::pair{"z", "26"},
                                     {"Comment", "changed"},
                                     {"a", ""},
                                     {"multi", "a;b"},
                                     {"lines", "x\ny=1"}})
        p.setValue(key, value);
    EXPECT_EQ(p.Update(spaced.c_str()), 0);
    EXPECT_EQ(ReadFile(spaced), expected);
    EXPECT_NE(access((spaced + ".tmp").c_str(), F_OK), 0);
    EXPECT_NE(p.Update(nullptr), 0); // a status, not an exception

    // A file name beginning with '-' is not taken for an option of mv.
    const fs::path previous = fs::current_path();
    fs::current_path(dir.path());
    EXPECT_EQ(p.Update("-dash"), 0);
    fs::current_path(previous);
    EXPECT_EQ(ReadFile(dir.file("-dash")), expected);
}

TEST_F(XmlPropertyTest, LoadCreatesMissingFilesAndMakesLeavesDottedEntries) {
    XmlProperty created;
    EXPECT_EQ(created.Load(path.c_str()), 0);
    EXPECT_EQ(printed(), "xml property file [" + path + "] does not exist \n");
    EXPECT_EQ(ReadFile(path), "<FileProperty></FileProperty>");

    WriteFile(path, "<FileProperty><Base><Log><Level>3</Level></Log></Base>"
                    "<A>x<B>y</B></A><Dup>1</Dup><Dup>2</Dup></FileProperty>");
    XmlProperty p;
    EXPECT_EQ(p.Load(path.c_str()), 4); // elements below the root
    EXPECT_STREQ(p.getValue("Base.Log.Level"), "3");
    EXPECT_EQ(p.getObjValue("A"), nullptr); // a branch is no entry, even with text
    EXPECT_STREQ(p.getValue("Dup"), "2");   // the later one wins
    // Keys under a prefix are cut at 2047 bytes, also when the prefix is longer.
    const std::string prefix(3000, 'k');
    EXPECT_EQ(p.ParseNodes(p.getNode("Base"), prefix.c_str()) + p.ParseNodes(nullptr, ""), 1);
    EXPECT_STREQ(p.getValue(prefix.substr(0, 2047).c_str()), "3");

    // A second Load copies the held document again without rereading the file.
    WriteFile(path, "<FileProperty><Other>1</Other></FileProperty>");
    p.setValue("Dup", "changed");
    EXPECT_EQ(p.Load(path.c_str()), 4);
    EXPECT_STREQ(p.getValue("Dup"), "2");
    // Entries set before any Load go into the file's own elements.
    XmlProperty early;
    early.setValue("New", "1");
    EXPECT_EQ(early.Update(path.c_str()), 1);
    // What is no plain file is opened as it is: a full device (a node of the test's own,
    // which a faulty library could replace unharmed; the folder where none can be made),
    // a folder.
    const bool made = mknod(dir.file("full").c_str(), S_IFCHR | 0666, makedev(1, 7)) == 0;
    EXPECT_EQ(early.Update((made ? dir.file("full") : dir.path()).c_str()) +
                  early.Update(dir.path().c_str()),
              0);
    EXPECT_EQ(ReadFile(path), "\n<FileProperty>\n<Other>1</Other>\n<New>1</New>\n</FileProperty>");
    // Nothing without a path, nor where the file cannot be made.
    EXPECT_EQ(XmlProperty().Load(nullptr) + XmlProperty().Update(dir.file("no/p").c_str()), 0);
}

// Every element on a line of its own: the file starts with a newline. An entry
// that would not load back is left out and reported: markup in a value, an
// element holding one of its own name (the reader ends it at the inner end
// tag), a key part that is no element name. An object is written empty.
TEST_F(XmlPropertyTest, UpdateWritesWhatLoadsBackAndReportsTheRest) {
    WriteFile(path,
              "<FileProperty><Base><Log><Level>3</Level></Log></Base><A>1</A></FileProperty>");
    XmlProperty p;
    p.Load(path.c_str());
    p.setValue("Base.Log.Level", "5");
    p.setValue("A", "<b>");
    p.setValue("Base.Http.TempPath", "/tmp/x");
    p.setValue("Same.Same", "1");
    p.setValue("Good", " 2 "); // blanks are kept
    p.setValue("a b\t", "3");  // shown with '?' for the control character
    p.setObjValue("Object", new Vemlo::Data::Object);
    printed();
    EXPECT_EQ(p.Update(path.c_str()) + p.Update(nullptr), 0);
    EXPECT_EQ(printed(), "[XmlProperty::Update] update fail 1 element [A] would not load back\n"
                         "[XmlProperty::Update] update fail 3 element [Same.Same] would not load "
                         "back\n[XmlProperty::Update] update fail 5 element [a b?] would not load "
                         "back\n");
    EXPECT_EQ(ReadFile(path), "\n<FileProperty>\n<Base>\n<Log>\n<Level>5</Level>\n</Log>\n<Http>"
                              "\n<TempPath>/tmp/x</TempPath>\n</Http>\n</Base>\n<A>1</A>\n<Good> 2 "
                              "</Good>\n<Object></Object>\n</FileProperty>");
    // The element of a key, made where missing; none without a document.
    EXPECT_STREQ(p.getNode("Base.Log.Level")->getValue(), "5");
    EXPECT_EQ(XmlProperty().getNode("Base"), nullptr);
}

TEST_F(FilePropertyTest, PrefixAppliesToReadsOnly) {
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
    // The empty shell: reads give nothing; writes, copies and Update do nothing.
    p.setValue("lost", "x");
    Vemlo::Data::Object kept;
    p.setObjValue("lost", &kept); // not taken
    FileProperty shell(p);
    EXPECT_EQ(p.getObjValue("lost"), nullptr);
    EXPECT_EQ(std::string(p.getValue("lost")) + shell.getValue("lost"), "");
    EXPECT_EQ(p.getIntValue("lost") + p.getDoubleValue("lost") + p.Update(), 0.0);

    // The next attempt succeeds; the path may come from the object itself. A
    // copy reads a plain-text set of its own; assignment deliberately does nothing.
    EXPECT_EQ(p.setFileName(p.getFileName(), 0), 1);
    FileProperty copy(p);
    shell = copy;
    EXPECT_EQ(std::string(copy.getValue("Comment")) + shell.getValue("Comment"),
              "Trimlo Configuration File");
}

TEST_F(FilePropertyTest, UpdateReplacesTheFileBehindALinkAndKeepsItsMode) {
    for (const bool xml : {true, false}) {
        SCOPED_TRACE(xml ? "xml" : "plain text");
        TempDir folder;
        const std::string real = folder.file("real"), link = folder.file("link");
        WriteFile(real, xml ? "<FileProperty><A>1</A></FileProperty>" : "A=1;\n");
        fs::permissions(real, fs::perms(0604));
        ASSERT_EQ(symlink("real", link.c_str()), 0);
        std::unique_ptr<Property> p(xml ? static_cast<Property*>(new XmlProperty)
                                        : new PlaneTextProperty);
        p->Load(link.c_str());
        // Temporary names left by an earlier process of this number are skipped.
        for (int k = 0; xml && k < 10; ++k)
            WriteFile(real + ".tmp." + std::to_string(getpid()) + "." + std::to_string(k), "");
        p->setValue("A", "2");
        const int input = dup(0);
        close(0); // as a daemon may run: what an update opens gets 0, and is closed again
        EXPECT_EQ(p->Update(link.c_str()), xml ? 1 : 0);
        EXPECT_EQ(dup(0), -1);
        EXPECT_TRUE(fs::is_symlink(fs::symlink_status(link)));
        EXPECT_EQ(fs::status(real).permissions(), fs::perms(0604));
        const auto text = [xml](const char* value) {
            return xml ? "\n<FileProperty>\n<A>" + std::string(value) + "</A>\n</FileProperty>"
                       : "A=" + std::string(value) + ";\n";
        };
        EXPECT_EQ(ReadFile(real), text("2"));
        // No temporary file of its own is left.
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), xml ? 12 : 2);
        // An XML file with a second name is written in place, so that name sees
        // the change; mv gives a plain-text file a new one.
        ASSERT_EQ(::link(real.c_str(), folder.file("hard").c_str()), 0);
        p->setValue("A", "3");
        p->Update(link.c_str()); // the file written in place opens as 0
        dup2(input, 0);
        close(input);
        EXPECT_EQ(ReadFile(folder.file("hard")), text(xml ? "3" : "2"));
        if (!xml)
            continue; // mv -f needs the folder
        // A writer that may not add to the folder writes a file it may write
        // in place.
        fs::remove(folder.file("hard"));
        fs::permissions(real, fs::perms(0666));
        fs::permissions(folder.path(), fs::perms(0555));
        p->setValue("A", "4");
        EXPECT_EQ(
            VemloTest::RunInChild([&] { return seteuid(65534) ? 9 : p->Update(link.c_str()); }), 1);
        EXPECT_EQ(ReadFile(real), text("4"));
        fs::permissions(folder.path(), fs::perms(0700));
    }
}

#ifdef VEMLO_TEST_WITHOUT_SANITIZER
// A plain-text file that cannot be opened is an error naming it; the XML
// format reads and writes nothing, and creates no file.
TEST_F(FilePropertyTest, WithoutAFreeDescriptorFilesAreNotOpened) {
    WriteFile(path, "#\nA=1;\n");
    const std::string failed = "cannot open file [" + path + "]", xml = dir.file("x");
    PlaneTextProperty p;
    XmlProperty x;
    auto none = std::make_unique<VemloTest::WithoutFreeDescriptors>();
    ExpectThrown<PropertyException>([&] { p.Load(path.c_str()); }, 0, failed.c_str());
    ExpectThrown<PropertyException>([&] { p.Update(path.c_str()); }, 0, failed.c_str());
    EXPECT_EQ(x.Load(xml.c_str()) + x.Update(xml.c_str()), 0);
    none.reset();
    EXPECT_EQ(std::make_pair(access(xml.c_str(), F_OK), ReadFile(path)),
              std::make_pair(-1, std::string("#\nA=1;\n")));
}
#endif

TEST_F(FilePropertyTest, FailedUpdateLeavesTheOldFileAndNoTemporaryFile) {
    for (const bool xml : {true, false}) {
        SCOPED_TRACE(xml ? "xml" : "plain text");
        TempDir folder;
        const std::string file = folder.file("p");
        const std::string old =
            xml ? "<FileProperty><keep>this</keep></FileProperty>" : "keep=this;\n";
        WriteFile(file, old);
        // A full disk, made by a file size limit in a child process.
        const int result = VemloTest::RunInChild([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            struct rlimit limit;
            getrlimit(RLIMIT_FSIZE, &limit);
            limit.rlim_cur = 4096; // the hard limit stays, for the coverage counts
            if (setrlimit(RLIMIT_FSIZE, &limit) != 0)
                return 2;
            std::unique_ptr<Property> big(xml ? static_cast<Property*>(new XmlProperty)
                                              : new PlaneTextProperty);
            big->Load(file.c_str());
            for (int i = 0; i < 1000; ++i)
                big->setValue(("key" + std::to_string(i)).c_str(), "some value");
            // A thrown exception ends the child abnormally: a failure too.
            const int status = big->Update(file.c_str());
            return (xml ? status == 0 : status != 0) ? 0 : 1;
        });
        if (result == 2)
            GTEST_SKIP() << "setrlimit(RLIMIT_FSIZE) is not allowed here";
        EXPECT_EQ(result, 0);
        EXPECT_EQ(ReadFile(file), old);
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
    }
}

// The folder path is computed once per process: every case computes it in a
// child process of its own, and this program never computes it itself.
// The first manager and the environment of that moment decide for every
// later manager.
TEST(PropertyManagerFolderTest, ComputedOnceFromTheWorkingDirectory) {
    EXPECT_EQ(folderPathIs("/Vemlo/Conf/", [] { unsetenv("VEMLO_WORKING_DIRECTORY"); }), 0);
    const auto secondAfterFirstManager = [] {
        setenv("VEMLO_WORKING_DIRECTORY", "/first", 1);
        const OtherManager first;
        OtherManager(first).getFolderPath(); // a copy keeps the folder name
        setenv("VEMLO_WORKING_DIRECTORY", "/second", 1);
    };
    EXPECT_EQ(folderPathIs("/first/Vemlo/First/", secondAfterFirstManager), 0);
}
