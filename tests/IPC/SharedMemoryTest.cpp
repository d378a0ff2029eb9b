//===- IPC/SharedMemoryTest.cpp - System V segments by key ----------------===//
#include "support/SyslogSink.h"
#include "support/TestConfig.h"
#include "support/VemloTest.h"

#include <cstring>
#include <string>
#include <vector>

#include <sys/ipc.h>
#include <sys/shm.h>
#include <syslog.h>
#include <unistd.h>

using Vemlo::IPC::SharedMemory;
using Vemlo::Log::Logger;
using VemloTest::SyslogRecord;
using VemloTest::SyslogSink;

namespace {

class ShmEnvironment : public testing::Environment {
public:
    void SetUp() override { m_config = new VemloTest::TestConfig(); }
    void TearDown() override {
        Logger::DestroyLogger();
        delete m_config;
    }

private:
    VemloTest::TestConfig* m_config = nullptr;
};

testing::Environment* const kEnvironment = testing::AddGlobalTestEnvironment(new ShmEnvironment);

// A key of this process's own, so that parallel runs do not meet.
int keyFor(int n) {
    return 0x5e000000 | ((getpid() & 0xfffff) << 4) | n;
}

// Removes the segment of a key when the test ends, whatever happened.
class SegmentGuard {
public:
    explicit SegmentGuard(int key) : m_key(key) {}
    ~SegmentGuard() {
        const int id = shmget(m_key, 0, 0);
        if (id >= 0)
            shmctl(id, IPC_RMID, nullptr);
    }

private:
    int m_key;
};

// The line of the "[libVemlo] shm" channel; its identity carries the
// process name behind the channel name.
void expectLine(const SyslogRecord& record, int priority, const std::string& text) {
    SCOPED_TRACE(record.raw);
    EXPECT_EQ(record.identity.compare(0, 14, "[libVemlo] shm"), 0);
    EXPECT_EQ(record.priority, priority);
    EXPECT_EQ(record.text, text);
}

} // namespace

TEST(SharedMemoryTest, AMissingKeyIsCreatedAndEveryCallAttachesAgain) {
    SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    SharedMemory shm;
    const int key = keyFor(1);
    SegmentGuard guard(key);

    char* first = static_cast<char*>(shm.GetSharedMemorySpace(key, 4096));
    ASSERT_NE(first, nullptr);
    SyslogRecord record;
    ASSERT_TRUE(sink.next(record));
    expectLine(record, LOG_INFO,
               "[INFO] [GetSharedMemoryStruct] No segment exists, create memory for this key(" +
                   std::to_string(key) + ")");
    EXPECT_EQ(first[0], 0); // a new segment is zero-filled

    char* second = static_cast<char*>(shm.GetSharedMemorySpace(key, 1024)); // smaller is fine
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first); // a second attachment of the same segment
    std::strcpy(first, "shared");
    EXPECT_STREQ(second, "shared");
    EXPECT_FALSE(sink.next(record, std::chrono::milliseconds(200))); // nothing logged

    shmid_ds info;
    const int id = shmget(key, 0, 0);
    ASSERT_GE(id, 0);
    ASSERT_EQ(shmctl(id, IPC_STAT, &info), 0);
    EXPECT_EQ(info.shm_segsz, 4096u);
    EXPECT_EQ(info.shm_perm.mode & 0777, 0666u);
    EXPECT_EQ(info.shm_nattch, 2u);

    shm.ReleaseSharedMemory(12345, first);
    shm.ReleaseSharedMemory(0, second);
    ASSERT_EQ(shmctl(id, IPC_STAT, &info), 0); // detached, not removed
    EXPECT_EQ(info.shm_nattch, 0u);
    EXPECT_FALSE(sink.next(record, std::chrono::milliseconds(200)));
}

TEST(SharedMemoryTest, FailuresGiveNullAndOneErrorLine) {
    SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    SharedMemory shm;
    const int key = keyFor(2);
    SegmentGuard guard(key);
    void* small = shm.GetSharedMemorySpace(key, 100);
    ASSERT_NE(small, nullptr);
    sink.drain();

    // The segment exists but is smaller than asked for.
    EXPECT_EQ(shm.GetSharedMemorySpace(key, 1 << 20), nullptr);
    SyslogRecord record;
    ASSERT_TRUE(sink.next(record));
    expectLine(record, LOG_ERR,
               "[ERROR] [GetSharedMemoryStruct] Cannot access, check memory size of already "
               "created memory");

    // A new key with a size the system refuses (0): the creation fails.
    const int empty = keyFor(3);
    SegmentGuard emptyGuard(empty);
    EXPECT_EQ(shm.GetSharedMemorySpace(empty, 0), nullptr);
    std::vector<SyslogRecord> lines = sink.take(2);
    ASSERT_EQ(lines.size(), 2u);
    expectLine(lines[0], LOG_INFO,
               "[INFO] [GetSharedMemoryStruct] No segment exists, create memory for this key(" +
                   std::to_string(empty) + ")");
    expectLine(lines[1], LOG_ERR,
               "[ERROR] [GetSharedMemoryStruct] Cannot access, check memory size of already "
               "created memory");

    // Releasing what is not attached.
    int local = 0;
    shm.ReleaseSharedMemory(0, &local);
    ASSERT_TRUE(sink.next(record));
    expectLine(record, LOG_ERR,
               "[ERROR] [SharedMemory::ReleaseSharedMemory] Release memory failed.");

    shm.ReleaseSharedMemory(0, small);
    EXPECT_FALSE(sink.next(record, std::chrono::milliseconds(200)));
}

TEST(SharedMemoryTest, WithoutALogChannelFailuresAreStillNull) {
    // No level in the configuration: the registry has no channel to give.
    const char* saved = getenv("VEMLO_WORKING_DIRECTORY");
    const std::string conf = std::string(saved ? saved : "") + "/Vemlo/Conf/default.config";
    ASSERT_TRUE(VemloTest::WriteXmlPropertyFile(conf, {{"Base.Http.TempPath", "/tmp/x"}}));
    Vemlo::Config::ConfigurationManager::DestroyManager();
    Logger::DestroyLogger();

    testing::internal::CaptureStdout();
    SharedMemory shm;
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_NE(printed.find("[getLog] exception msg("), std::string::npos);

    const int key = keyFor(4);
    SegmentGuard guard(key);
    void* address = shm.GetSharedMemorySpace(key, 64);
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(shm.GetSharedMemorySpace(key, 128), nullptr);
    int local = 0;
    shm.ReleaseSharedMemory(0, &local);
    shm.ReleaseSharedMemory(0, address);
}
