//===- Data/Properties/PropertyManagerTest.cpp - Property files by name ---===//
#include "support/TestConfig.h"

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
        testing::internal::CaptureStdout();
        FileProperty* property = new FileProperty(path);
        testing::internal::GetCapturedStdout();
        return (IProperty*)property; // a manager hands sets out as the interface
    }
    int builds = 0, lastType = 0;
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
    EXPECT_EQ(manager.lastType, 6301);

    // Later changes of the file are not seen; a cached name ignores the path.
    WriteFile(file, "<FileProperty><Port>81</Port></FileProperty>");
    EXPECT_EQ(manager.getInstance("net", "/ignored/for/a/cached/name"), net);
    EXPECT_EQ(manager.builds, 1);
    EXPECT_STREQ(net->getValue("Port"), "80");
}
