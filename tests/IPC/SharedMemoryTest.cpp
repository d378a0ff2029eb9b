//===- IPC/SharedMemoryTest.cpp - System V segments by key ----------------===//
#include "support/SyslogSink.h"
#include "support/TestConfig.h"

#include <cstring>
#include <fstream>

#include <sys/prctl.h>
#include <sys/shm.h>

using Vemlo::IPC::SharedMemory;
using namespace VemloTest;

namespace {

using SharedMemoryTest = ConfiguredTest;

// A key of this process's own (parallel runs do not meet), whose segment is
// removed when the test ends, whatever happened.
struct Key {
    explicit Key(int n) : value(0x5e000000 | ((getpid() & 0xfffff) << 4) | n) {}
    ~Key() { shmctl(shmget(value, 0, 0), IPC_RMID, nullptr); } // -1 when none: EINVAL
    const int value;
};

} // namespace

TEST_F(SharedMemoryTest, AMissingKeyIsCreatedEveryCallAttachesAgainAndFailuresGiveNull) {
    const Key key(1), empty(2);
    // In an IPC namespace of its own, with one segment made by root and no
    // room for another: a new key gives null, and so does root's segment for
    // another user (its failed id is then attached). The sink takes this
    // process's lines only, so the child's are not read; the child goes
    // first, before the sink's thread holds memory a child would not free.
    const int code = RunInChild(
        [&] {
            SharedMemory shm;
            const bool made = shmget(key.value, 64, IPC_CREAT | 0600) >= 0; // by root
            std::ofstream("/proc/sys/kernel/shmmni") << "0";
            if (!made || shm.GetSharedMemorySpace(empty.value, 64) != nullptr ||
                seteuid(65534) != 0)
                return 1;
            void* denied = shm.GetSharedMemorySpace(key.value, 64);
            // Root again, and traceable: the leak check and the coverage counts need both.
            if (seteuid(0) != 0 || prctl(PR_SET_DUMPABLE, 1) != 0)
                return 2;
            return denied == nullptr ? 0 : 3;
        },
        true);
    EXPECT_TRUE(code == 0 || code == 77) << code; // 77: no IPC namespace of its own here

    SyslogSink sink;
    SYSLOG_SINK_OR_SKIP(sink);
    SharedMemory shm;
    char* first = static_cast<char*>(shm.GetSharedMemorySpace(key.value, 4096));
    ASSERT_NE(first, nullptr);
    char* second = static_cast<char*>(shm.GetSharedMemorySpace(key.value, 1024)); // smaller is fine
    EXPECT_NE(second, first); // a second attachment of the same segment
    std::strcpy(first, "shared");
    EXPECT_STREQ(second, "shared");

    EXPECT_EQ(shm.GetSharedMemorySpace(key.value, 1 << 20), nullptr); // larger than the segment
    EXPECT_EQ(shm.GetSharedMemorySpace(empty.value, 0), nullptr);     // no segment has size 0
    shm.ReleaseSharedMemory(12345, first);
    shm.ReleaseSharedMemory(0, second);
    shm.ReleaseSharedMemory(0, second); // no longer attached
    const std::string size = "[ERROR] [GetSharedMemoryStruct] Cannot access, check memory size of "
                             "already created memory";
    const std::string created =
        "[INFO] [GetSharedMemoryStruct] No segment exists, create memory for this key(";
    std::vector<std::string> lines; // of the "[libVemlo] shm" channel, word for word
    for (const SyslogRecord& r : sink.take(5)) {
        EXPECT_EQ(r.identity.compare(0, 14, "[libVemlo] shm"), 0) << r.raw;
        lines.push_back(r.text);
    }
    EXPECT_EQ(lines, (std::vector<std::string>{
                         created + std::to_string(key.value) + ")", size,
                         created + std::to_string(empty.value) + ")", size,
                         "[ERROR] [SharedMemory::ReleaseSharedMemory] Release memory failed."}));
    shmid_ds info;
    // Detached, not removed.
    EXPECT_TRUE(shmctl(shmget(key.value, 0, 0), IPC_STAT, &info) == 0 && info.shm_nattch == 0u);

    // Without a log channel (no level in the configuration) failures are
    // still null.
    ASSERT_TRUE(WriteXmlPropertyFile(m_config.file(), {{"Base.Http.TempPath", "/tmp/x"}}));
    Vemlo::Config::ConfigurationManager::DestroyManager();
    Vemlo::Log::Logger::DestroyLogger();
    ASSERT_EQ(Vemlo::Log::Logger::getLogger()->getLog("[libVemlo] shm"), nullptr);
    SharedMemory quiet;
    const Key other(4);
    void* address = quiet.GetSharedMemorySpace(other.value, 64);
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(quiet.GetSharedMemorySpace(other.value, 128), nullptr);
    quiet.ReleaseSharedMemory(0, &info); // not attached
    quiet.ReleaseSharedMemory(0, address);
}
