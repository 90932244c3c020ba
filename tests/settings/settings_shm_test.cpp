#include "settings/settings_shm.h"

#include "settings/settings_lookup.h"
#include "tests/settings/fake_tessel.h"
#include "tests/support/captured.h"
#include "tests/support/redirect.h"
#include "vcam/tessel/settings_image.h"
#include "vcam/tessel/snapshot.h"

#include <gtest/gtest.h>

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cstring>
#include <fstream>
#include <optional>

namespace {

// The snapshot of a settings daemon, in the kernel's own shared memory and semaphore.
class SnapshotTest : public testing::Test {
protected:
    std::filesystem::path keyFile() const { return dir_.path() / "usr/sbin/tessel"; }
    key_t key() const { return ftok(keyFile().c_str(), 'c'); }

    void publish(const SettingsStore &store) {
        snapshot_.emplace(keyFile());
        ASSERT_TRUE(snapshot_->write(store));
    }

    unsigned attachments() const {
        shmid_ds status = {};
        EXPECT_EQ(0, shmctl(shmget(key(), 0, 0), IPC_STAT, &status));
        return static_cast<unsigned>(status.shm_nattch);
    }

    std::int32_t get(const std::string &key, std::uint32_t room = 4) {
        value_.assign(room + 1, '#');
        const std::int32_t result = settings_shm_get(key.c_str(), value_.data(), room);
        EXPECT_EQ('#', value_[room]); // nothing past the room
        return result;
    }

    // The value, when the whole of it was copied.
    std::string valueOf(const std::string &key, std::uint32_t room = 4) {
        return get(key, room) == 0 ? value_.c_str() : "(none)";
    }

    TemporaryDirectory dir_;
    RedirectedPaths paths_{dir_.path()};
    std::optional<Snapshot> snapshot_;
    std::string value_;
};

TEST_F(SnapshotTest, ReadsValuesAcrossAliases) {
    SettingsStore store;
    store.set("audioout_c0_volume", "80");
    store.set("audioout_c0_long", "1000");
    store.set("audioout_c0_empty", "");
    store.setAlias("old_volume", "audioout_c0_volume");
    store.setAlias("lost", "nowhere_at_all");
    store.setAlias("round", "round_about");
    store.setAlias("round_about", "round");
    store.set("a0", "1");
    for (int i = 1; i <= 17; ++i) {
        store.setAlias("a" + std::to_string(i), "a" + std::to_string(i - 1));
    }
    publish(store);
    EXPECT_EQ("1", valueOf("a16")); // as far as aliases are followed
    EXPECT_EQ("80", valueOf("audioout_c0_volume"));
    EXPECT_EQ(0, std::memcmp(value_.data(), "80\0", 4)); // the rest of the room is zero
    EXPECT_EQ("80", valueOf("old_volume"));
    EXPECT_EQ("", valueOf("audioout_c0_empty"));
    EXPECT_EQ(-1, get("audioout_c0_long"));
    EXPECT_EQ("1000", value_.substr(0, 4));
    EXPECT_EQ("1000", valueOf("audioout_c0_long", 5));
    for (const char *key : {"audioout_c0", "audioout_c0_volume_x", "lost", "a17", "round", ""}) {
        EXPECT_EQ("", errorsOf([&] { EXPECT_EQ(-1, get(key)) << key; })) << key;
    }
}

// The request is made when neither lock nor segment is held any more.
TEST_F(SnapshotTest, FetchesAValueOnDemand) {
    SettingsStore store;
    store.setFetched("on_demand", "42");
    publish(store);
    const FakeTessel tessel(dir_.path(), [&](FakeTessel &self, int fd) {
        self.receive(fd);
        EXPECT_TRUE(snapshot_->write(store)); // would wait for the lock
        EXPECT_EQ(1U, attachments());         // the writer's
        FakeTessel::reply(fd, "42");
    });
    EXPECT_EQ("42", valueOf("on_demand"));
    EXPECT_EQ("get Value 99 0\non_demand", tessel.requests().at(0));
}

TEST_F(SnapshotTest, SaysWhatIsMissing) {
    const auto missing = [this] { EXPECT_EQ(-1, get("audioout_c0_volume")); };
    EXPECT_EQ("ftok: No such file or directory\n", errorsOf(missing));
    std::filesystem::create_directories(keyFile().parent_path());
    std::ofstream(keyFile()) << "x";
    EXPECT_EQ("semget: No such file or directory\n", errorsOf(missing));
    const int semaphore = semget(key(), 1, IPC_CREAT | 0600);
    semctl(semaphore, 0, SETVAL, 1);
    EXPECT_EQ("shmat attach faile. errno = 22 Invalid argument\n", outputOf(missing));
    EXPECT_EQ(1, semctl(semaphore, 0, GETVAL)); // given back
    semctl(semaphore, 0, IPC_RMID);
}

// Lists that bite their own tail: a key that walks the lists again and again must not keep the
// daemon.
TEST(SettingsTree, EndsOnLoops) {
    constexpr std::uint32_t imageBase = 0x40000000;
    const std::vector<unsigned char> whole = settingsImage(SettingsStore::ofCamera(), imageBase);
    std::uint32_t root = 0;
    std::memcpy(&root, whole.data() + 4, sizeof root);
    for (const std::string &key : {"x" + std::string(1000, '_'), std::string(1000, '_')}) {
        std::vector<unsigned char> image(1 << 20);
        std::copy(whole.begin(), whole.end(), image.begin());
        for (const std::size_t link : {24U, 28U}) { // its own child and its own sibling
            std::memcpy(image.data() + (root - imageBase) + link, &root, sizeof root);
        }
        char buffer[4];
        const SettingsTree tree(image.data(), image.size());
        EXPECT_EQ(SettingsLookup::failed, settingsLookUp(tree, key.c_str(), buffer, sizeof buffer));
    }
}

} // namespace
