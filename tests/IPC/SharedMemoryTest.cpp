//===- IPC/SharedMemoryTest.cpp - System V segments by key ----------------===//
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <cstring>
#include <string>

#include <sys/ipc.h>
#include <sys/shm.h>
#include <syslog.h>
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

const std::string kCannotAccess =
    "[ERROR] [GetSharedMemoryStruct] Cannot access, check memory size of already created memory";

// A key of this process's own (parallel runs do not meet), whose segment is
// removed when the test ends, whatever happened.
struct Key {
    explicit Key(int n) : value(0x5e000000 | ((getpid() & 0xfffff) << 4) | n) {}
    ~Key() {
        const int id = shmget(value, 0, 0);
        if (id >= 0)
            shmctl(id, IPC_RMID, nullptr);
    }
    std::string created() const {
        return "[INFO] [GetSharedMemoryStruct] No segment exists, create memory for this key(" +
               std::to_string(value) + ")";
    }
    const int value;
};

// A line of the "[libVemlo] shm" channel (the process name follows).
void expectLine(const SyslogRecord& record, int priority, const std::string& text) {
    SCOPED_TRACE(record.raw);
    EXPECT_EQ(record.identity.compare(0, 14, "[libVemlo] shm"), 0);
    EXPECT_EQ(record.priority, priority);
    EXPECT_EQ(record.text, text);
}

} // namespace

TEST(SharedMemoryTest, AMissingKeyIsCreatedEveryCallAttachesAgainAndFailuresGiveNull) {
    VemloTest::SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    SharedMemory shm;
    const Key key(1), empty(2);
    char* first = static_cast<char*>(shm.GetSharedMemorySpace(key.value, 4096));
    ASSERT_NE(first, nullptr);
    SyslogRecord record;
    ASSERT_TRUE(sink.next(record));
    expectLine(record, LOG_INFO, key.created());
    EXPECT_EQ(first[0], 0); // a new segment is zero-filled
    char* second = static_cast<char*>(shm.GetSharedMemorySpace(key.value, 1024)); // smaller is fine
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first); // a second attachment of the same segment
    std::strcpy(first, "shared");
    EXPECT_STREQ(second, "shared");

    // Larger than the segment; a new key with a size the system refuses (0).
    EXPECT_EQ(shm.GetSharedMemorySpace(key.value, 1 << 20), nullptr);
    ASSERT_TRUE(sink.next(record));
    expectLine(record, LOG_ERR, kCannotAccess);
    EXPECT_EQ(shm.GetSharedMemorySpace(empty.value, 0), nullptr);
    std::vector<SyslogRecord> lines = sink.take(2);
    ASSERT_EQ(lines.size(), 2u);
    expectLine(lines[1], LOG_ERR, kCannotAccess);
    // Releasing what is not attached.
    int local = 0;
    shm.ReleaseSharedMemory(0, &local);
    ASSERT_TRUE(sink.next(record));
    expectLine(record, LOG_ERR, "[ERROR] [SharedMemory::ReleaseSharedMemory] Release memory failed.");

    shm.ReleaseSharedMemory(12345, first);
    shm.ReleaseSharedMemory(0, second);
    shmid_ds info;
    ASSERT_EQ(shmctl(shmget(key.value, 0, 0), IPC_STAT, &info), 0); // detached, not removed
    EXPECT_EQ(info.shm_nattch, 0u);
    EXPECT_EQ(info.shm_perm.mode & 0777, 0666u);
    EXPECT_FALSE(sink.next(record, std::chrono::milliseconds(200))); // nothing more logged
}

TEST(SharedMemoryTest, WithoutALogChannelFailuresAreStillNull) {
    // No level in the configuration: the registry has no channel to give.
    ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(kEnvironment->config->file(),
                                                {{"Base.Http.TempPath", "/tmp/x"}}));
    Vemlo::Config::ConfigurationManager::DestroyManager();
    Logger::DestroyLogger();
    testing::internal::CaptureStdout();
    SharedMemory shm;
    EXPECT_NE(testing::internal::GetCapturedStdout().find("[getLog] exception msg("),
              std::string::npos);

    const Key key(4);
    void* address = shm.GetSharedMemorySpace(key.value, 64);
    EXPECT_EQ(shm.GetSharedMemorySpace(key.value, 128), nullptr);
    int local = 0;
    shm.ReleaseSharedMemory(0, &local);
    shm.ReleaseSharedMemory(0, address);
}
