#include "tests/mpp/mpp_fixture.h"

#include <cstring>

namespace {

class VbTest : public testing::Test {
protected:
    VbTest() {
        device().reset();
        EXPECT_EQ(0, HI_MPI_VB_Init());
        device().clearCalls();
        device().answer(0xC010420B, [](void *record) { // a pool of 64 KiB
            auto *const words = static_cast<std::uint32_t *>(record);
            words[1] = 0x10000;
            words[2] = 0x82000000;
            return 0;
        });
        device().answer(0xC004420C, [this](void *record) {
            *static_cast<std::uint32_t *>(record) = useCount_;
            return 0;
        });
    }
    ~VbTest() override {
        device().reset();
        errorsOf([] {
            HI_MPI_VB_MunmapPool(3);
            HI_MPI_VB_Exit();
        });
        EXPECT_EQ(0U, device().mappingsHeld());
    }

    std::uint32_t useCount_ = 0;
};

TEST_F(VbTest, MapsAPoolOnce) {
    EXPECT_EQ(0, HI_MPI_VB_MmapPool(3));
    EXPECT_EQ("Pool 3 has mapped!\n", messages([] { EXPECT_EQ(0, HI_MPI_VB_MmapPool(3)); }));
    void *first = nullptr;
    void *virt = nullptr;
    EXPECT_EQ(0, HI_MPI_VB_GetBlkVirAddr(3, 0x82000000, &first));
    EXPECT_EQ(0, HI_MPI_VB_GetBlkVirAddr(3, 0x82000000 + 0x1234, &virt));
    EXPECT_EQ(0x1234, static_cast<char *>(virt) - static_cast<char *>(first));
    EXPECT_EQ(err(0xA0018003), HI_MPI_VB_GetBlkVirAddr(3, 0x82010000, &virt)); // behind it
    EXPECT_EQ(err(0xA0018003), HI_MPI_VB_GetBlkVirAddr(3, 0x81FFFFFF, &virt));
    useCount_ = 2;
    EXPECT_EQ("Vb pool 3  is used by some modules!\n",
              messages([] { EXPECT_EQ(err(0xA0018012), HI_MPI_VB_MunmapPool(3)); }));
    useCount_ = 0;
    EXPECT_EQ(0, HI_MPI_VB_MunmapPool(3));
    EXPECT_EQ("Pool 3 hasn't mapped!\n", messages([] { EXPECT_EQ(0, HI_MPI_VB_MunmapPool(3)); }));
    EXPECT_EQ("Pool 3 hasn't mapped!\n", messages([&] {
                  EXPECT_EQ(err(0xA0018010), HI_MPI_VB_GetBlkVirAddr(3, 0x82000000, &virt));
              }));
}

TEST_F(VbTest, TellsWhyAPoolIsNotMapped) {
    EXPECT_EQ("Illegal poolid 256!\n",
              messages([] { EXPECT_EQ(err(0xA0018003), HI_MPI_VB_MmapPool(256)); }));
    device().failMemory(1);
    const std::string reports = messages([] { EXPECT_EQ(err(0xA001800C), HI_MPI_VB_MmapPool(3)); });
    EXPECT_TRUE(reports.ends_with("Get vb pool 3' mmap user addr failed!\n"));
    device().answer(0xC010420B, 8);
    EXPECT_EQ("Get vb pool 3's info failed!\n",
              messages([] { EXPECT_EQ(8, HI_MPI_VB_MmapPool(3)); }));
    EXPECT_EQ(err(0xA0018006), HI_MPI_VB_GetBlkVirAddr(3, 0, nullptr));
}

TEST_F(VbTest, ExchangesTheConfiguration) {
    VB_CONF_S config = {};
    EXPECT_EQ("", errorsOf([] { EXPECT_EQ(err(0xA0018006), HI_MPI_VB_GetConfig(nullptr)); }));
    EXPECT_EQ(0U, device().calls().size());
    EXPECT_EQ(0, HI_MPI_VB_GetConfig(&config));
    config.astCommPool[15] = {4096, 2, {}};
    std::memset(config.astCommPool[15].acMmzName, 'z', 16);
    EXPECT_EQ("mmz name len:16,it's too long\n",
              outputOf([&] { EXPECT_EQ(err(0xA0018003), HI_MPI_VB_SetConfig(&config)); }));
    config.astCommPool[15].u32BlkCnt = 0; // not used, so not looked at
    EXPECT_EQ(0, HI_MPI_VB_SetConfig(&config));
    EXPECT_EQ(388U, device().callsOf(0x4184420A).at(0).record.size());
}

TEST_F(VbTest, HandsOutPoolsAndBlocks) {
    device().answer(0xC0244201, [](void *record) {
        *static_cast<std::uint32_t *>(record) = 9;
        return 0;
    });
    device().answer(0xC0244203, [](void *record) {
        static_cast<std::uint32_t *>(record)[3] = 77;
        return 0;
    });
    device().answer(0xC0044205, [](void *record) {
        *static_cast<std::uint32_t *>(record) = 0x82001000;
        return 0;
    });
    EXPECT_EQ(9U, HI_MPI_VB_CreatePool(4096, 4, "a zone whose name is too long"));
    struct Pool {
        std::uint32_t pool, size, count, none, zero;
        char zone[16];
    };
    const Pool pool = device().callsOf(0xC0244201).at(0).as<Pool>();
    EXPECT_EQ(UINT32_MAX, pool.pool);
    EXPECT_EQ(UINT32_MAX, pool.none);
    EXPECT_STREQ("a zone whose na", pool.zone);
    EXPECT_EQ(77U, HI_MPI_VB_GetBlock(9, 100, "zone"));
    EXPECT_EQ(77U, HI_MPI_VB_GetBlock(VB_INVALID_POOL, 100, "zone"));
    const Pool ofPool = device().callsOf(0xC0244203).at(0).as<Pool>();
    const Pool ofAny = device().callsOf(0xC0244203).at(1).as<Pool>();
    EXPECT_EQ(0U, ofPool.size); // only for any pool
    EXPECT_STREQ("", ofPool.zone);
    EXPECT_EQ(100U, ofAny.size);
    EXPECT_EQ(1U, ofAny.zero);
    EXPECT_STREQ("zone", ofAny.zone);
    EXPECT_EQ(0x82001000U, HI_MPI_VB_BlockToPhysAddr(77));
    EXPECT_EQ(0, HI_MPI_VB_ReleaseBlock(77));
    device().answer(0xC0044206, -1);
    EXPECT_EQ(VB_INVALID_POOL, HI_MPI_VB_BlockToPool(77));
    device().answer(0xC0244203, -1);
    EXPECT_EQ(VB_INVALID_HANDLE, HI_MPI_VB_GetBlock(9, 100, nullptr));
    EXPECT_EQ("Illegal user id 23!\n",
              messages([] { EXPECT_EQ(err(0xA0018003), HI_MPI_VB_InitUserPools(23)); }));
    EXPECT_EQ(0, HI_MPI_VB_InitUserPools(22));
    EXPECT_EQ(0, HI_MPI_VB_DestroyPool(9));
}

TEST_F(VbTest, EndsWithTheDriversResult) {
    EXPECT_EQ(0, HI_MPI_VB_MmapPool(200));
    void *virt = nullptr;
    ASSERT_EQ(0, HI_MPI_VB_GetBlkVirAddr(200, 0x82000000, &virt));
    device().answer(0x00004208, 4);
    EXPECT_EQ(4, HI_MPI_VB_Exit()); // and the mappings are forgotten all the same
    messages([&] { EXPECT_EQ(err(0xA0018010), HI_MPI_VB_GetBlkVirAddr(200, 0x82000000, &virt)); });
    HI_MPI_SYS_Munmap(virt, 0x10000);
    device().answer(0x00004208, 0);
    const std::size_t descriptors = device().openDescriptors();
    EXPECT_EQ(0, HI_MPI_VB_Exit());
    EXPECT_EQ(descriptors - 1, device().openDescriptors());
    device().failOpen("/dev/vb");
    EXPECT_EQ("open err\n: No such file or directory\n",
              errorsOf([] { EXPECT_EQ(err(0xA0018010), HI_MPI_VB_Init()); }));
}

struct BlockRecord {
    std::uint32_t phys, zero1, size, zero2, virt, mapping;
    char name[16];
    char zone[32];
    std::uint32_t zero3;
};
static_assert(sizeof(BlockRecord) == 76);

TEST(ZoneTest, AllocatesAoBlocks) {
    device().reset();
    std::uint32_t phys = 0;
    void *virt = nullptr;
    ASSERT_EQ(0, VB_AllocAoBlock("a name of twenty chars", &phys, &virt, 65536));
    const auto record = device().callsOf(0xC04C6D0A).at(0).as<BlockRecord>();
    EXPECT_EQ(65536U, record.size);
    EXPECT_EQ(0x103U, record.mapping);
    EXPECT_STREQ("a name of twent", record.name);
    std::memset(virt, 1, 65536);
    EXPECT_EQ(0, VB_FreeAoBlock(phys));
    EXPECT_EQ((std::vector<std::uint32_t>{0xC04C6D0A, 0xC04C6D14, 0xC04C6D16, 0x404C6D0C}),
              device().commands());
    EXPECT_EQ(phys, device().callsOf(0xC04C6D16).at(0).as<BlockRecord>().phys);

    void *untouched = &phys;
    device().answer(0xC04C6D14, 0); // says that it has mapped, and has not
    EXPECT_EQ(-1, VB_AllocAoBlock("x", &phys, &untouched, 100));
    EXPECT_EQ(&phys, untouched);
    device().answer(0xC04C6D0A, -1);
    EXPECT_EQ(-1, VB_AllocAoBlock("x", &phys, &untouched, 100));
}

TEST(ZoneTest, AllocatesSystemBlocks) {
    device().reset();
    device().answer(0xC04C6D15, [](void *record) {
        static_cast<BlockRecord *>(record)->virt = 0x30000000;
        return 0;
    });
    std::uint32_t phys = 0;
    void *virt = nullptr;
    ASSERT_EQ(0, HI_MPI_SYS_AllocBlock(&phys, &virt, "name", "zone", 4096));
    EXPECT_STREQ("zone", device().callsOf(0xC04C6D0A).at(0).as<BlockRecord>().zone);
    EXPECT_EQ(0, HI_MPI_SYS_FreeBlock(phys));
    ASSERT_EQ(0, HI_MPI_SYS_AllocBlockCached(&phys, &virt, "name", nullptr, 4096));
    EXPECT_EQ(reinterpret_cast<void *>(std::uintptr_t{0x30000000}), virt);
    device().answer(0xC04C6D17, [](void *record) {
        static_cast<BlockRecord *>(record)->phys = 0x80001001;
        return 0;
    });
    std::uint32_t cached = 0;
    EXPECT_EQ(0, HI_MPI_SYS_LookUpBlock(virt, &phys, &cached));
    EXPECT_EQ(0x80001000U, phys);
    EXPECT_EQ(1U, cached);
    EXPECT_EQ(0, HI_MPI_SYS_FlushBlock(phys, virt, 64));
    EXPECT_EQ(0, HI_MPI_SYS_FlushBlock(0, nullptr, 0));
    EXPECT_EQ(12U, device().callsOf(0x400C6432).at(0).record.size());
    EXPECT_EQ(1U, device().callsOf(0x00006328).size());
    EXPECT_EQ(0, HI_MPI_SYS_FreeBlock(device().callsOf(0xC04C6D15).at(0).as<BlockRecord>().phys));

    const struct {
        std::uint32_t command;
        const char *message;
    } failures[] = {{0xC04C6D0A, "System alloc mmz memory failed!\n"},
                    {0xC04C6D14, "System remap mmz memory failed!\n"},
                    {0xC04C6D16, "System unmap mmz memory failed!\n"},
                    {0x404C6D0C, "System free mmz memory failed!\n"}};
    const std::size_t before = device().blocksHeld();
    for (const auto &failure : failures) {
        device().reset();
        device().answer(failure.command, 6);
        EXPECT_EQ(failure.message, messages([&] {
                      std::int32_t result =
                          HI_MPI_SYS_AllocBlock(&phys, &virt, "name", nullptr, 4096);
                      if (result == 0) {
                          result = HI_MPI_SYS_FreeBlock(phys);
                      }
                      EXPECT_EQ(6, result);
                  }));
        device().reset();
        HI_MPI_SYS_FreeBlock(phys);
        EXPECT_EQ(before, device().blocksHeld()) << failure.message;
    }
}

} // namespace
