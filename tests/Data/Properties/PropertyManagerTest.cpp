//===- Data/Properties/PropertyManagerTest.cpp - Property files by name ---===//
#include "support/TestConfig.h"

#include <string>

using namespace Vemlo::Data::Properties;
using VemloTest::WriteFile;

namespace {

// A manager of XML files "<name>.xml" in <working directory>/Vemlo/Conf/
// that counts its builds.
class CountingManager : public PropertyManager {
public:
    CountingManager() {
        m_sDefaultName = "net";
        m_sFolderName = "Conf";
        m_sExtension = ".xml";
    }
    IProperty* BuildProperty(const char* path, int type) override {
        ++builds;
        lastType = type;
        lastPath = path;
        if (failNext) {
            failNext = false;
            return nullptr;
        }
        testing::internal::CaptureStdout();
        FileProperty* property = new FileProperty(path);
        testing::internal::GetCapturedStdout();
        return (IProperty*)property; // a manager hands sets out as the interface
    }
    int builds = 0, lastType = 0;
    std::string lastPath;
    bool failNext = false;
};

// One working directory for the program: the folder path is computed once.
class PropertyManagerTest : public testing::Test {
protected:
    static void SetUpTestSuite() { s_config = new VemloTest::TestConfig(); }
    static void TearDownTestSuite() { delete s_config; }
    static std::string folder() { return s_config->folder(); }
    static inline VemloTest::TestConfig* s_config = nullptr;
};

} // namespace

TEST_F(PropertyManagerTest, LoadsEachNameOnceAndCachesIt) {
    const std::string file = folder() + "net.xml";
    WriteFile(file, "<FileProperty><Port>80</Port></FileProperty>");
    CountingManager manager;
    IProperty* net = manager.getInstance();
    ASSERT_NE(net, nullptr);
    EXPECT_EQ(manager.lastPath, file);
    EXPECT_EQ(manager.lastType, 6301);
    EXPECT_STREQ(net->getValue("Port"), "80");

    // Later changes of the file are not seen; a cached name ignores the path.
    WriteFile(file, "<FileProperty><Port>81</Port></FileProperty>");
    EXPECT_EQ(manager.getInstance("net", "/ignored/for/a/cached/name"), net);
    EXPECT_EQ(manager.getInstanceFromQ("never"), nullptr);
    EXPECT_EQ(manager.builds, 1);
    EXPECT_STREQ(net->getValue("Port"), "80");

    const std::string other = folder() + "elsewhere.xml";
    WriteFile(other, "<FileProperty><K>v</K></FileProperty>");
    IProperty* named = manager.getInstance("alias", other.c_str());
    ASSERT_NE(named, nullptr);
    EXPECT_STREQ(named->getValue("K"), "v");
}

TEST_F(PropertyManagerTest, FailedBuildCachesNothingAndACopyHasACacheOfItsOwn) {
    CountingManager manager;
    manager.failNext = true;
    EXPECT_EQ(manager.getInstance("flaky"), nullptr);
    EXPECT_EQ(manager.getInstanceFromQ("flaky"), nullptr);
    IProperty* flaky = manager.getInstance("flaky"); // tried again
    ASSERT_NE(flaky, nullptr);
    EXPECT_EQ(manager.builds, 2);

    CountingManager copy(manager);
    EXPECT_EQ(copy.getInstanceFromQ("flaky"), nullptr);
    EXPECT_NE(copy.getInstance("flaky"), flaky); // each deletes only its own sets
    EXPECT_EQ(copy.lastPath, folder() + "flaky.xml");
}
