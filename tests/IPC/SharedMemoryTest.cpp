//===- IPC/SharedMemoryTest.cpp - System V segments by key ----------------===//
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <cstring>
#include <string>
#include <vector>

#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

using Vemlo::IPC::SharedMemory;
using Vemlo::Log::Logger;
using VemloTest::SyslogRecord;

namespace {

struct ShmEnvironment : testing::Environment {
    VemloTest::TestConfig* config = nullptr;
    void SetUp() override { config = new VemloTest::TestConfig(); }
    void TearDown() override {
        Logger::DestroyLogger();
        delete config;
    }
};

ShmEnvironment* const kEnvironment =
    static_cast<ShmEnvironment*>(testing::AddGlobalTestEnvironment(new ShmEnvironment));

// A key of this process's own (parallel runs do not meet), whose segment is
// removed when the test ends, whatever happened.
struct Key {
    explicit Key(int n) : value(0x5e000000 | ((getpid() & 0xfffff) << 4) | n) {}
    ~Key() {
        const int id = shmget(value, 0, 0);
        if (id >= 0)
            shmctl(id, IPC_RMID, nullptr);
    }
    const int value;
};

} // namespace

TEST(SharedMemoryTest, AMissingKeyIsCreatedEveryCallAttachesAgainAndFailuresGiveNull) {
    VemloTest::SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    SharedMemory shm;
    const Key key(1);
    char* first = static_cast<char*>(shm.GetSharedMemorySpace(key.value, 4096));
    ASSERT_NE(first, nullptr);
    SyslogRecord record; // one line of the "[libVemlo] shm" channel, word for word
    ASSERT_TRUE(sink.next(record));
    EXPECT_EQ(record.identity.compare(0, 14, "[libVemlo] shm"), 0) << record.raw;
    const std::string created =
        "[INFO] [GetSharedMemoryStruct] No segment exists, create memory for this key(";
    EXPECT_EQ(record.text, created + std::to_string(key.value) + ")");
    char* second = static_cast<char*>(shm.GetSharedMemorySpace(key.value, 1024)); // smaller is fine
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first); // a second attachment of the same segment
    std::strcpy(first, "shared");
    EXPECT_STREQ(second, "shared");

    EXPECT_EQ(shm.GetSharedMemorySpace(key.value, 1 << 20), nullptr); // larger than the segment
    const Key empty(2);
    EXPECT_EQ(shm.GetSharedMemorySpace(empty.value, 0), nullptr); // no segment has size 0
    shm.ReleaseSharedMemory(12345, first);
    shm.ReleaseSharedMemory(0, second);
    shm.ReleaseSharedMemory(0, second); // no longer attached
    const std::string size = "[ERROR] [GetSharedMemoryStruct] Cannot access, check memory size of "
                             "already created memory";
    std::vector<std::string> lines;
    for (const SyslogRecord& r : sink.take(4))
        lines.push_back(r.text);
    EXPECT_EQ(lines, (std::vector<std::string>{
                         size, created + std::to_string(empty.value) + ")", size,
                         "[ERROR] [SharedMemory::ReleaseSharedMemory] Release memory failed."}));
    shmid_ds info;
    ASSERT_EQ(shmctl(shmget(key.value, 0, 0), IPC_STAT, &info), 0); // detached, not removed
    EXPECT_EQ(info.shm_nattch, 0u);
}

TEST(SharedMemoryTest, WithoutALogChannelFailuresAreStillNull) {
    // No level in the configuration: the registry has no channel to give.
    ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(kEnvironment->config->file(),
                                                {{"Base.Http.TempPath", "/tmp/x"}}));
    Vemlo::Config::ConfigurationManager::DestroyManager();
    Logger::DestroyLogger();
    ASSERT_EQ(Logger::getLogger()->getLog("[libVemlo] shm"), nullptr);
    SharedMemory shm;

    const Key key(4);
    void* address = shm.GetSharedMemorySpace(key.value, 64);
    EXPECT_EQ(shm.GetSharedMemorySpace(key.value, 128), nullptr);
    int local = 0;
    shm.ReleaseSharedMemory(0, &local); // not attached
    shm.ReleaseSharedMemory(0, address);
}
